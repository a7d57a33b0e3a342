// SPDX-License-Identifier: GPL-3.0-or-later
// One disk in the status menu: icon, name and what its trash holds. Choosing the row triggers the
// menu's action, which empties that trash. Main thread.
#pragma once

#include <QAction>
#include <QBasicTimer>
#include <QIcon>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "fsutil/QVFilesUtilities.h"
#include "inventory/TrashCount.h"

class QLabel;

namespace kestrin {

class BusySpinner;
class ElidedLabel;
class NotificationCenter;
class QVNumberUtilities;
class StringTable;

/// What the rows work with. All of it must outlive them.
struct DiskRowServices {
    NotificationCenter& center;
    const StringTable& texts;
    const QVNumberUtilities& numbers;
    TrashCount::Counter count;
    std::function<QIcon(const TrashLocation&)> icon;
};

/// The widget of a menu row. The action's text always says all that the row shows, for hosts that
/// draw the menu themselves and never show the widget.
class QVDiskMenuItemView : public QWidget {
    Q_OBJECT

 public:
    static constexpr int kWidth = 250;
    static constexpr int kHeight = 44;
    static constexpr int kNameWidth = 161;  ///< names up to this width fit a row of kWidth

    /// `action` outlives the row: it is the action that shows it.
    QVDiskMenuItemView(const DiskRowServices& services, QAction& action);
    ~QVDiskMenuItemView() override;

    const TrashLocation& diskDict() const { return m_diskDict; }
    /// Shows the trash of `location`. The figures of another trash are forgotten; those of the same
    /// trash stay.
    void setDiskDict(const TrashLocation& location);
    /// Sets what the second line says of the disk besides the figures; empty for nothing. A row
    /// with a note begins no count when it shows; `lastFigures` stand beside the note when it has
    /// none of its own.
    void setNote(const QString& note, const QString& lastFigures = {});

    std::uint64_t itemsSize() const { return contents().figures.size; }
    std::uint64_t itemsCount() const { return contents().figures.count; }
    SharedItemsToErase itemsToErase() const { return contents().itemsToErase; }
    /// Whether the background count was started; stays true when it is over.
    bool sizeIsWorking() const { return m_count != nullptr; }
    /// Whether the count was started and has not answered yet.
    bool isCounting() const;
    /// The count whose figures the row shows; the sender of "updateCountAndSizeToDelete". nullptr
    /// before it was started.
    const TrashCount* count() const { return m_count.get(); }
    bool isDeleting() const { return m_isDeleting; }
    void setIsDeleting(bool isDeleting) { m_isDeleting = isDeleting; }
    /// Whether the row was chosen and waits for the end of the erase.
    bool isWorking() const;
    /// The count-and-size line; none before the count is over.
    const std::optional<QString>& info() const { return m_info; }

    QString title() const;
    bool isMenuItemEnabled() const { return m_action.isEnabled(); }
    bool menuItemIsSelected() const { return m_isSelected; }

    /// Counts the trash in the background. Does nothing when the count of this trash was started
    /// before.
    void gatherTrashInfo();
    /// Does the same for a row that is about to show, unless its trash is known to be empty or the
    /// row has a note.
    void gatherIfNeeded();
    /// From now to the end of the erase by `engine`, which posts "stopWorking", the figures of a
    /// count that is still under way are posted as "updateCountAndSizeToDelete".
    void waitForStopWorking(const void* engine);
    /// Flashes the selection, closes the menu and triggers the action. Does nothing when the action
    /// is disabled.
    void chosenItemAction();

    QSize sizeHint() const override;

 Q_SIGNALS:
    /// The figures have arrived.
    void counted();

 protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

 private:
    struct Wait;

    const TrashContents& contents() const;
    void forgetCount();
    void buildLayout();
    void finishCount();
    void animateDismiss();
    void sendAction();
    void setSelected(bool isSelected);
    bool isHighlighted() const;
    void updateColors();
    void updateTexts();
    void updateViewSizeIfNeeded();
    QString subName() const;

    const DiskRowServices& m_services;
    QAction& m_action;
    QLabel* m_diskIcon = nullptr;
    ElidedLabel* m_diskName = nullptr;
    ElidedLabel* m_subName = nullptr;
    BusySpinner* m_spinner = nullptr;

    TrashLocation m_diskDict;
    QString m_note;
    std::optional<QString> m_info;
    QString m_lastFigures;
    std::shared_ptr<TrashCount> m_count;
    std::shared_ptr<Wait> m_wait;  ///< for the end of the erase; it is made with the count
    int m_width = kWidth;
    bool m_isDeleting = false;
    bool m_isSelected = false;
    bool m_mouseDownInside = false;
    QBasicTimer m_flash;
    std::int16_t m_fireTimes = 0;
};

}  // namespace kestrin
