// SPDX-License-Identifier: GPL-3.0-or-later
// The window that shows the selected entries large, one at a time or all in an index sheet. Main
// thread.
#pragma once

#include <QDialog>
#include <QPointer>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "inventory/QVPreviewItem.h"
#include "platform/desktop/ui/TrashIcon.h"
#include "smartwindow/preview/PreviewPanelSource.h"
#include "smartwindow/preview/PreviewRequest.h"

class QAction;
class QKeyEvent;
class QLabel;
class QStackedWidget;
class QToolBar;

namespace kestrin {

class ElidedLabel;
class PreviewCollectionView;
class PreviewZoom;
class QVQuickLookView;
struct ItemDetails;
struct PreviewServices;

/// It belongs to a window, above which it stays and which gets the keyboard back. Whoever controls
/// it is asked when it is to come, and gives it a source then; it has none while it is closed. It
/// follows that source from one reloadData to the next. Space and Escape close it, and Escape first
/// leaves the full screen. The arrows to the left and right walk through several items, Ctrl and
/// Return shows all of them; the page keys are the content's, any other key is the source's.
///
/// Beside its tools it tells kind, size and date of the entry, for those without a content, too. It
/// is as large as what it shows first, and grows when something larger comes, within the screen. A
/// size that the user gives it stays until it closes.
class PreviewPanel : public QDialog {
    Q_OBJECT

 public:
    using Command = std::function<void(const std::shared_ptr<QVSmartWindowItem>&)>;
    struct Outlets {
        std::function<bool(PreviewPanel&)> acceptsControl;
        /// Called before the panel comes; gives it a source.
        std::function<void(PreviewPanel&)> beginControl;
        std::function<void(PreviewPanel&)> endControl;  ///< called before the panel goes
        std::function<void(PreviewPanel&)> willClose;   ///< the user closes it by its title
        Command open;                                   ///< opens an entry with its default program
        Command reveal;                                 ///< shows it in the file manager
    };
    /// `window` owns the panel. The services must outlive it; every function is given.
    PreviewPanel(const PreviewServices& services, Outlets outlets, QWidget& window);
    ~PreviewPanel() override;

    /// True from makeKeyAndOrderFront to orderOut.
    bool isOpen() const { return m_isOpen; }
    /// Opens the panel with the keyboard, or brings it forward.
    void makeKeyAndOrderFront();
    void orderOut();  ///< closes it at once
    void zoomOut();   ///< closes it towards the place of its item

    void setSource(PreviewPanelSource source);
    /// To be called when the source has other items. The panel stays at its item if that is still
    /// there.
    void reloadData();
    std::size_t currentPreviewItemIndex() const { return m_index; }
    void setCurrentPreviewItemIndex(std::size_t index);

    /// Does what the key means for the panel, whichever of the two windows it was pressed in. False
    /// when it means nothing.
    bool handleKeyOfEitherWindow(QKeyEvent& event);

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

 private:
    void makeToolBar();
    QAction* addTool(Tool tool, const QString& text);
    void colourTools();
    void command(const Command& command);
    std::optional<std::size_t> indexOfShownItem() const;
    void showCurrentItem();
    void showContent();
    void showFacts(const ItemDetails& details);
    void makeIndexSheet();
    void step(int by);
    bool handleKey(QKeyEvent& event);
    void growToContent();
    QRect areaOnScreen() const;
    QSize sizeForContent() const;
    void present();
    void fadeIn();
    void leaveFor(const QRect& place);
    QRect origin() const;
    int duration() const;

    const PreviewServices& m_services;
    const Outlets m_outlets;
    PreviewPanelSource m_source;
    std::shared_ptr<QVPreviewItem> m_item;  ///< nullptr when there is none
    std::size_t m_index = 0;
    std::size_t m_count = 0;
    bool m_isOpen = false;
    bool m_wasSizedByUser = false;
    QSize m_givenSize;  ///< by the panel itself
    QPointer<PreviewZoom> m_zoom;
    PreviewTicket m_detailsTicket;

    QToolBar* m_bar = nullptr;
    QLabel* m_position = nullptr;
    ElidedLabel* m_facts = nullptr;  ///< kind, size and date
    QAction* m_previous = nullptr;
    QAction* m_next = nullptr;
    QAction* m_indexSheet = nullptr;
    QAction* m_fullScreen = nullptr;
    std::vector<std::pair<QAction*, Tool>> m_tools;
    std::vector<QAction*> m_toolsOfSeveral;
    std::vector<QAction*> m_toolsOfItem;
    QStackedWidget* m_stack = nullptr;
    QLabel* m_nothing = nullptr;
    QVQuickLookView* m_view = nullptr;
    PreviewCollectionView* m_sheet = nullptr;  ///< made when it is asked for
};

}  // namespace kestrin
