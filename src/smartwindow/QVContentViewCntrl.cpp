// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVContentViewCntrl.h"

#include <QGridLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "base/NotificationCenter.h"
#include "base/StringTable.h"
#include "smartwindow/CollapsingSplitter.h"
#include "smartwindow/QVContentTableView.h"
#include "smartwindow/QVListCntrl.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/SmartWindowServices.h"
#include "smartwindow/preview/PreviewCollectionView.h"
#include "smartwindow/preview/PreviewNotifications.h"
#include "smartwindow/preview/PreviewPanel.h"
#include "widgets/BusySpinner.h"
#include "widgets/ElidedLabel.h"
#include "widgets/Fade.h"
#include "widgets/QVWorkingProgressView.h"

namespace kestrin {
namespace {

namespace Name = SmartWindowNotification;

constexpr int kSpinnerSide = 32;
constexpr int kPreviewWidth = 230;
constexpr int kLeastPreviewWidth = 216;  // a long date is not cut in it
constexpr int kLeastListWidth = 260;
constexpr int kMargin = 6;

/// The view of work in progress, with its spinner in the middle.
QVWorkingProgressView* makeProgressView() {
    auto* const view = new QVWorkingProgressView;
    auto* const spinner = new BusySpinner;
    spinner->setFixedSize(kSpinnerSide, kSpinnerSide);
    auto* const layout = new QVBoxLayout(view);
    layout->addWidget(spinner, 0, Qt::AlignCenter);
    view->setSpinner(spinner);
    return view;
}

}  // namespace

QVContentViewCntrl::QVContentViewCntrl(const SmartWindowServices& services, Outlets outlets)
    : m_services(services),
      m_outlets(std::move(outlets)),
      m_kindIcons(services.files),
      m_previewServices(previewServices()) {
    m_splitView = new CollapsingSplitter(makeListPane(), makePreviewPane(), 1);
    m_splitView->setStretchFactor(0, 1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_splitView);
    connect(m_splitView, &CollapsingSplitter::collapseDidChange, this,
            &QVContentViewCntrl::splitViewDidResize);
    connect(m_splitView, &QSplitter::splitterMoved, this, [this] {
        m_services.center.post(PreviewNotification::kSplitViewPositionDidSwitch, window());
    });
    makeListCntrl();
}

/// The controller goes before the views that it works with, and these before what they work with.
QVContentViewCntrl::~QVContentViewCntrl() {
    delete m_panel;
    delete m_listCntrl;
    delete m_splitView;
}

// --- What it holds ---

QWidget* QVContentViewCntrl::makeListPane() {
    auto* const pane = new QWidget;
    pane->setMinimumWidth(kLeastListWidth);
    m_tableView = new QVContentTableView(m_services.dates);
    m_tableView->setFrameShape(QFrame::NoFrame);
    m_workingProgressView = makeProgressView();
    m_workingProgressView->setAccessibleName(m_services.texts.text("smart_window_loading"_key));
    m_emptyView = new EmptyStateView(m_services.texts);
    auto* const covered = new QGridLayout;  // one upon the other
    for (QWidget* const widget :
         std::initializer_list<QWidget*>{m_tableView, m_emptyView, m_workingProgressView}) {
        covered->addWidget(widget, 0, 0);
        widget->raise();
    }

    m_infoFld = new QLabel;
    m_infoFld->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    m_infoFld->setTextFormat(Qt::PlainText);
    auto* const column = new QVBoxLayout(pane);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(covered, 1);
    column->addWidget(m_infoFld);
    return pane;
}

PreviewServices QVContentViewCntrl::previewServices() {
    const auto iconOf = [this](const QVSmartWindowItem& item) {
        return m_kindIcons.iconOf(item.name, item.mode);
    };
    const auto open = [this](const auto& paths) { m_listCntrl->launchPaths(paths); };
    return {.center = m_services.center,
            .texts = m_services.texts,
            .numbers = m_services.numbers,
            .files = m_services.files,
            .beep = m_services.beep,
            .reveal = m_services.reveal,
            .open = open,
            .iconOf = iconOf,
            .request = m_services.requestPreview,
            .known = m_services.knownPreview,
            .requestDetails =
                [this](std::shared_ptr<const QVSmartWindowItem> item,
                       ItemDetailsReader::Answer answer) {
                    return m_details.request(std::move(item), std::move(answer));
                },
            .imageMakers = {
                .icon = [iconOf](const QVSmartWindowItem& item,
                                 int value) { return iconOf(item).pixmap(value).toImage(); },
                .thumbnail = m_services.thumbnail}};
}

QWidget* QVContentViewCntrl::makePreviewPane() {
    m_collectionView = new PreviewCollectionView(m_previewServices, false);
    m_collectionView->setAccessibleName(m_services.texts.text("smart_window_preview"_key));
    m_emptyPreviewView = new EmptyStateView(m_services.texts);
    m_emptyPreviewView->setState(EmptyState::NothingSelected);
    auto* const pane = new QWidget;
    pane->setMinimumWidth(kLeastPreviewWidth);
    pane->setBackgroundRole(QPalette::Base);
    pane->setAutoFillBackground(true);
    auto* const covered = new QGridLayout(pane);
    covered->setContentsMargins(0, 0, 0, 0);
    covered->addWidget(m_collectionView, 0, 0);
    covered->addWidget(m_emptyPreviewView, 0, 0);
    return pane;
}

void QVContentViewCntrl::makeListCntrl() {
    m_listCntrl =
        new QVListCntrl(m_services,
                        {.tableView = *m_tableView,
                         .infoFld = *m_infoFld,
                         .previewServices = m_previewServices,
                         .collectionPreview = *m_collectionView,
                         .emptyPreviewView = *m_emptyPreviewView,
                         .splitView = *m_splitView,
                         .showProgressView = [this](bool isShown) { showProgressView(isShown); },
                         .setWindowLevel = m_outlets.setWindowLevel,
                         .closeWindow = m_outlets.closeWindow,
                         .sourceItems = m_outlets.sourceItems},
                        this);
    connect(m_listCntrl, &QVListCntrl::rowsDidChange, this, &QVContentViewCntrl::showEmptyState);
    connect(m_listCntrl, &QVListCntrl::rowsDidChange, m_collectionView,
            &PreviewCollectionView::updateFigures);
    // The question is put upon the window, and nothing beside it can be used meanwhile.
    connect(m_listCntrl, &QVListCntrl::isErasingDidChange, this,
            &QVContentViewCntrl::closeQLWindow);
    connect(m_tableView, &QVContentTableView::spacePressed, this, [this] {
        if (m_tableView->selectionModel()->hasSelection()) {
            quickLookAction();
        } else {
            m_services.beep();
        }
    });
}

// --- Nothing to show ---

void QVContentViewCntrl::sourcesDidChange() {
    m_listCntrl->sourcesDidChange();
    showEmptyState();
}

EmptyState QVContentViewCntrl::emptyState() const {
    if (const auto& shown = m_listCntrl->sourceItem()) {
        if (m_listCntrl->isLoading() || m_listCntrl->model().rowCount() != 0)
            return EmptyState::None;
        if (shown->trashIsEmpty) return EmptyState::TrashIsEmpty;
        if (!m_listCntrl->filter().isEmpty()) return EmptyState::NothingMatches;
        return shown->note.isEmpty() ? EmptyState::None : EmptyState::NotAnswering;
    }
    if (!m_outlets.sourcesAreListed()) return EmptyState::None;
    const SourceItems sources = m_outlets.sourceItems();
    if (sources.empty()) return EmptyState::NoTrash;
    const auto isEmpty = [](const auto& source) { return source->trashIsEmpty.load(); };
    if (std::ranges::all_of(sources, isEmpty)) return EmptyState::AllAreEmpty;
    const auto answers = [&](const auto& source) {
        return source->note.isEmpty() && !isEmpty(source);
    };
    return std::ranges::any_of(sources, answers) ? EmptyState::None : EmptyState::NotAnswering;
}

void QVContentViewCntrl::showEmptyState() {
    const EmptyState state = emptyState();
    m_emptyView->setState(state);
    if (state != EmptyState::None) showProgressView(false);
}

// --- Panes ---

void QVContentViewCntrl::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (std::exchange(m_wasShown, true)) return;
    // Before this has its size, a splitter keeps none of its panes'.
    m_splitView->setSizes({width() - kPreviewWidth, kPreviewWidth});
    if (width() < kLeastListWidth + kLeastPreviewWidth) setIsCollapsed(true);
}

bool QVContentViewCntrl::isCollapsed() const {
    return m_splitView->isCollapsed();
}

void QVContentViewCntrl::setIsCollapsed(bool isCollapsed) {
    m_splitView->setIsCollapsed(isCollapsed);
}

void QVContentViewCntrl::splitViewDidResize(bool isCollapsed) {
    m_services.center.post(
        isCollapsed ? Name::kSplitViewDidCollapse : Name::kSplitViewDidUncollapse, m_splitView);
    Q_EMIT collapseDidChange(isCollapsed);
}

void QVContentViewCntrl::showProgressView(bool isShown) {
    animateAlpha(*m_workingProgressView, isShown ? 1 : 0);
}

// --- Erasing ---

void QVContentViewCntrl::deleteItemsAction() {
    m_listCntrl->deleteBtnDidClick();
}

bool QVContentViewCntrl::isDeleting() const {
    return m_listCntrl->isErasing();
}

}  // namespace kestrin
