// SPDX-License-Identifier: GPL-3.0-or-later
// The line below the content of an entry. Main thread only.
#pragma once

#include <QWidget>

class QToolButton;

namespace kestrin {

class BusySpinner;
class ElidedLabel;
class StringTable;

/// What is to be told of the content, with the buttons that it needs: pages of a document, playing
/// of an animation. Its height is the same with and without, so that nothing above it moves.
class PreviewFooter : public QWidget {
    Q_OBJECT

 public:
    /// `texts` must outlive it.
    explicit PreviewFooter(const StringTable& texts, QWidget* parent = nullptr);

    /// What the buttons are for; without any of it they are not seen.
    struct Controls {
        bool hasPages = false;
        bool hasPrevious = false;
        bool hasNext = false;
        bool isAnimation = false;
        bool isPlaying = false;
    };
    void show(const QString& caption, const Controls& controls);
    QString caption() const;
    /// Whether it tells that something is on its way.
    void setBusy(bool isBusy);

 Q_SIGNALS:
    void previousPageWanted();
    void nextPageWanted();
    void playingToggled();

 protected:
    void changeEvent(QEvent* event) override;

 private:
    void useColours();
    void nameButton(QToolButton* button, std::string_view key);

    const StringTable& m_texts;
    BusySpinner* m_spinner;
    ElidedLabel* m_caption;
    QToolButton* m_previous;
    QToolButton* m_next;
    QToolButton* m_play;
    bool m_isPlaying = false;
};

}  // namespace kestrin
