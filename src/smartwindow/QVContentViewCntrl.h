// SPDX-License-Identifier: GPL-3.0-or-later
// The right part of the browsing window: the entries of one trash, and the preview beside them.
// Main thread.
#pragma once

#include <QWidget>
#include <functional>

#include "smartwindow/EmptyStateView.h"
#include "smartwindow/KindIcons.h"
#include "smartwindow/SourceListModel.h"
#include "smartwindow/preview/ItemDetails.h"
#include "smartwindow/preview/PreviewServices.h"

class QLabel;

namespace kestrin {

class CollapsingSplitter;
class PreviewCollectionView;
class PreviewPanel;
class QVContentTableView;
class QVListCntrl;
class QVWorkingProgressView;
struct SmartWindowServices;

/// Holds the table with the text below it, the view of work in progress that covers the table until
/// there are entries to show, and the preview pane, the only one that can be collapsed.
class QVContentViewCntrl : public QWidget {
    Q_OBJECT

 public:
    /// What it needs of the window around it. Every function is given.
    struct Outlets {
        /// 8: the window stays on top; 0: it is one among others.
        std::function<void(int level)> setWindowLevel;
        std::function<void()> closeWindow;
        /// The sources of the window as they are now.
        std::function<SourceItems()> sourceItems;
        std::function<bool()> sourcesAreListed;  ///< whether those are all that there are
    };
    /// The services must outlive it.
    QVContentViewCntrl(const SmartWindowServices& services, Outlets outlets);
    ~QVContentViewCntrl() override;

    QVContentTableView& tableView() const { return *m_tableView; }
    QVListCntrl& listCntrl() const { return *m_listCntrl; }

    bool isCollapsed() const;
    void setIsCollapsed(bool isCollapsed);

    /// To be called when sources came or went, or what they say of themselves changed.
    void sourcesDidChange();

    // --- The quick-look window (QVContentViewCntrl_panel.cpp) ---

    /// Closes the quick-look window when it is open, else opens it when the event loop is reached
    /// again.
    void quickLookAction();
    void closeQLWindow();
    /// What the panel asks and tells whoever controls it. Its coming and going is posted as
    /// "quickLookWindowVisibilityWillChange", with the window as the sender.
    bool acceptsPreviewPanelControl(const PreviewPanel& panel) const;
    void beginPreviewPanelControl(PreviewPanel& panel);
    void endPreviewPanelControl(PreviewPanel& panel);

    /// Starts the erase of everything that is checked.
    void deleteItemsAction();
    /// True from the erase command to its end. Meanwhile no mark changes and the window stays open.
    bool isDeleting() const;

 Q_SIGNALS:
    void collapseDidChange(bool isCollapsed);

 protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

 private:
    QWidget* makeListPane();
    PreviewServices previewServices();
    QWidget* makePreviewPane();
    void makeListCntrl();
    EmptyState emptyState() const;
    void showEmptyState();
    void showProgressView(bool isShown);
    void splitViewDidResize(bool isCollapsed);
    PreviewPanel& panel();
    void qlWindowWillClose(const QWidget& window);
    void qlPanelIsClosing();
    void postPanelIsVisible(bool isVisible);

    const SmartWindowServices& m_services;
    const Outlets m_outlets;
    KindIcons m_kindIcons;
    ItemDetailsReader m_details;
    const PreviewServices m_previewServices;
    QVContentTableView* m_tableView = nullptr;
    EmptyStateView* m_emptyView = nullptr;
    PreviewCollectionView* m_collectionView = nullptr;  ///< what is selected
    EmptyStateView* m_emptyPreviewView = nullptr;       ///< stands there while nothing is
    QVWorkingProgressView* m_workingProgressView = nullptr;
    QLabel* m_infoFld = nullptr;  ///< below the table
    CollapsingSplitter* m_splitView = nullptr;
    bool m_wasShown = false;
    QVListCntrl* m_listCntrl = nullptr;
    PreviewPanel* m_panel = nullptr;  ///< made when it is opened first
    bool m_panelIsVisible = false;    ///< as was posted last
};

}  // namespace kestrin
