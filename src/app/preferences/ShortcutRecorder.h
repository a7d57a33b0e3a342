// SPDX-License-Identifier: GPL-3.0-or-later
// A field that takes a shortcut by its being pressed. Main thread only.
#pragma once

#include <QWidget>
#include <functional>
#include <optional>

#include "platform/desktop/Shortcut.h"
#include "platform/desktop/ui/HotKeys.h"

class QKeyEvent;
class QPushButton;
class QToolButton;

namespace kestrin {

class StringTable;

/// A button that shows the shortcut, and one beside it that clears it. A click, Space or Return on
/// the first begins recording, Delete or Backspace clears. While it records no hot key of the
/// program works, and on X11 no other program gets the keyboard. Escape, Tab, another click and the
/// loss of the focus end recording. It goes on being deaf until the keys that were taken are
/// released, so that they start nothing themselves. Object names: "keys", "clear".
class ShortcutRecorder : public QWidget {
    Q_OBJECT

 public:
    /// Is asked about keys that were pressed, without a value for a key that no shortcut can have.
    /// Recording ends when it takes them.
    using Judge = std::function<bool(const std::optional<Shortcut>&)>;

    /// `what` says what the shortcut does. The references must outlive the recorder; `hotKeys` may
    /// be nullptr.
    ShortcutRecorder(const StringTable& texts, const QString& what, HotKeyCenter* hotKeys,
                     Judge judge);
    ~ShortcutRecorder() override;

    /// What it shows while it does not record; empty for no shortcut.
    void setShownText(const QString& text);
    /// The button that begins recording: what a label is the label of.
    QPushButton* button() const { return m_keys; }

 Q_SIGNALS:
    void recordingBegan();
    void clearPressed();

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

 private:
    enum class Phase {
        Idle,
        Recording,
        Taken,  ///< the keys were taken, and are still held down
    };

    void begin();
    void end();
    void showState();
    bool keyWasPressed(const QKeyEvent& event);
    bool keyWasReleased(const QKeyEvent& event);
    bool record(const QKeyEvent& event);

    const StringTable& m_texts;
    const QString m_what;
    HotKeyCenter* const m_hotKeys;
    const Judge m_judge;
    QPushButton* m_keys;
    QToolButton* m_clear;
    QString m_shownText;
    Phase m_phase = Phase::Idle;
    Qt::KeyboardModifiers m_held;  ///< the modifiers that are down while it records
    unsigned m_takenKey = 0;       ///< the scan code of the key that was taken
    std::optional<HotKeyCenter::Suspension> m_suspension;
};

}  // namespace kestrin
