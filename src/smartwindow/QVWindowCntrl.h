// SPDX-License-Identifier: GPL-3.0-or-later
// The window that browses the trashes and erases what is checked in them. Main thread.
#pragma once

#include <QMainWindow>
#include <optional>
#include <utility>
#include <vector>

#include "platform/desktop/ui/TrashIcon.h"
#include "smartwindow/SmartWindowServices.h"

class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace kestrin {

class QVContentViewCntrl;
class QVSmartWindowSourceViewCntrl;
class QVSmartWindowSplitViewCntrl;
class QVSourceTableCellView;
class QVSourceTableView;

/// The frame of the window: toolbar, splitters, erase button, and its place on the screen. It stays
/// above ordinary windows but for an erase, and is moved by its background. It does not close while
/// a sheet is open or an erase is under way. Closing stops what is being listed and measured, saves
/// the frame in the setting "smart_delete_window" and posts "smartWindowDidClose". On Wayland,
/// where a window neither learns nor says where it is, its size alone is saved, beside the place
/// that the setting had before, and it is a window among others.
class QVWindowCntrl : public QMainWindow {
    Q_OBJECT

 public:
    /// The services must outlive it.
    explicit QVWindowCntrl(const SmartWindowServices& services);
    ~QVWindowCntrl() override;

    /// Shows the window in front.
    void showWindow();
    /// Whether it shows; a closed window keeps what it showed, but for the filter, until it is let
    /// go.
    bool isOpen() const { return m_isOpen; }
    /// To be called when somebody filled or emptied a trash.
    void trashContentsDidChange();
    /// Closes the window, if it is open, whatever is open on it. It deletes itself as soon as no
    /// sheet, alert or menu is open; nobody may use it any more.
    void letGo();

 protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

 private:
    void makePanes();
    QWidget* makeBottomBar();
    void openSourceMenu(const QModelIndex& row, const QPoint& place);
    void makeToolBar();
    QWidget* makeFilter();
    void applyFilter();
    QAction* addPaneAction(const QString& text, Qt::Key key);
    void colourTools();
    void makeShortcuts();
    void restoreFrame();
    std::optional<QRect> savedFrame() const;
    QRect frameToSave() const;
    /// 8 keeps the window above ordinary ones; 0 does not.
    void setLevel(int level);
    void windowWillClose();
    void deleteWhenFree();
    void showFigures();

    const SmartWindowServices& m_services;
    QVSourceTableView* m_sourceTable = nullptr;
    QVSourceTableCellView* m_sourceCells = nullptr;
    QVContentViewCntrl* m_content = nullptr;
    QVSmartWindowSplitViewCntrl* m_splitView = nullptr;
    QVSmartWindowSourceViewCntrl* m_sources = nullptr;
    QComboBox* m_kind = nullptr;      ///< the kind that the list shows; its data is an EntryKind
    QLineEdit* m_filter = nullptr;    ///< the text that shown entries have
    QLabel* m_checkedInfo = nullptr;  ///< in the toolbar
    QLabel* m_hiddenInfo = nullptr;   ///< beside the erase button
    QPushButton* m_eraseBtn = nullptr;
    std::vector<std::pair<QAction*, Tool>> m_tools;
    QPoint m_edges;  ///< from the corner of its frame to its own, when it last came forward
    bool m_isOpen = false;
};

}  // namespace kestrin
