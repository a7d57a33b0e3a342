// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/QVPreview.h"

#include <QEvent>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPointer>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QVBoxLayout>
#include <utility>

#include "base/StringTable.h"
#include "fsutil/QVFinderLabels.h"
#include "smartwindow/preview/InformationView.h"
#include "smartwindow/preview/ItemDetails.h"
#include "smartwindow/preview/PathView.h"
#include "smartwindow/preview/PreviewCollectionView.h"
#include "smartwindow/preview/PreviewNotifications.h"
#include "smartwindow/preview/PreviewServices.h"
#include "smartwindow/preview/QVQuickLookView.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

namespace Name = PreviewNotification;

// Where the parts of a row of the place begin, in points.
constexpr double kOriginalFinderTagX = 3;
constexpr double kOriginalPathIconX = 25;
constexpr double kOriginalPathNameX = 50;

constexpr QSizeF kTagSize{11, 11};
constexpr int kThumbnailSide = 96;
constexpr QSize kIconSize{64, 64};
constexpr int kTileMargin = 6;
constexpr int kEdgeAlpha = 77;  // of black in the edge of a thumbnail
constexpr QSize kFolderDrawing{64, 64};

/// A part that is not seen takes no keys and is not read out either.
void setAlpha(QWidget* part, double alpha) {
    part->setVisible(alpha != 0);
}

/// White paper stands out from a white ground. Icons do not reach their corners.
void paintEdge(QImage& image) {
    if (qAlpha(image.pixel(0, 0)) < 255) return;
    QPainter painter(&image);
    painter.setPen(QColor(0, 0, 0, kEdgeAlpha));
    painter.drawRect(image.rect().adjusted(0, 0, -1, -1));
}

QFrame* makeSeparator(QWidget* parent) {
    auto* const line = new QFrame(parent);
    line->setFrameStyle(QFrame::HLine | QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    return line;
}

}  // namespace

QVPreview::QVPreview(const PreviewServices& services, const PreviewCollectionView& collectionView)
    : m_services(services),
      m_collectionView(collectionView),
      m_isByGrid(collectionView.isByGrid()) {
    m_previewView = new QWidget(this);
    createQLView();
    m_informationView = new InformationView(m_services.texts, this);
    m_infoView = new QWidget(this);
    m_exifView = makeMetadataView({"entry_date_taken"_key, "entry_dimension"_key,
                                   "entry_camera"_key, "entry_latitude"_key, "entry_longitude"_key},
                                  "x_position_EXIF_field"_key, m_exifFields);
    m_songView = makeMetadataView({"entry_song_name"_key, "entry_artist"_key, "entry_album"_key,
                                   "entry_time"_key, "entry_bit_rate"_key},
                                  "x_position_TAG_field"_key, m_songFields);
    makeDescriptionView();
    m_folderIcon = QIcon::fromTheme(
        QStringLiteral("folder"),
        QPixmap::fromImage(m_services.files.drawnIconWithSize(kFolderDrawing, true)));
    m_horizontalSeparator = makeSeparator(this);
    m_horizontalSeparator2 = makeSeparator(this);
    const PathView::Positions positions{kOriginalFinderTagX, kOriginalPathIconX,
                                        kOriginalPathNameX};
    m_pathBtn = new PathView(Qt::Horizontal, positions, this);
    m_pathTableView = new PathView(Qt::Vertical, positions, this);
    for (PathView* const path : {m_pathBtn, m_pathTableView})
        path->setAccessibleName(m_services.texts.text("entry_place"_key));
    m_pathMenu = intitializeContextualMenu();
    m_oldPathMenu = intitializeOldPathContextualMenu();
    observe();
    updateAlphas();
    updateSeparators();
}

QVPreview::~QVPreview() = default;

// --- Making ---

void QVPreview::createQLView() {
    m_qlView = new QVQuickLookView(m_services, m_previewView);
    auto* const layout = new QVBoxLayout(m_previewView);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_qlView);
}

/// Titles in one column, and behind `position`, a number as a text, the fields.
QWidget* QVPreview::makeMetadataView(const std::array<std::string_view, 5>& titles,
                                     std::string_view position, Fields& fields) {
    auto* const view = new QWidget(m_infoView);
    auto* const grid = new QGridLayout(view);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setColumnMinimumWidth(0, m_services.texts.text(position).toInt());
    grid->setColumnStretch(1, 1);
    for (std::size_t row = 0; row < titles.size(); ++row) {
        fields.at(row) = new QLabel;
        fields.at(row)->setTextFormat(Qt::PlainText);
        grid->addWidget(new QLabel(m_services.texts.text(titles.at(row))), int(row), 0);
        grid->addWidget(fields.at(row), int(row), 1);
    }
    return view;
}

void QVPreview::makeDescriptionView() {
    m_descriptionView = new QWidget(this);
    m_descriptionView->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_thumbnail = new QLabel;
    m_thumbnail->setAlignment(Qt::AlignCenter);
    m_thumbnail->setMinimumSize(1, 1);
    m_nameFld = new ElidedLabel(Qt::ElideMiddle);
    m_nameFld->setAlignment(Qt::AlignCenter);
    auto* const column = new QVBoxLayout(m_descriptionView);
    column->setContentsMargins(kTileMargin, kTileMargin, kTileMargin, kTileMargin);
    column->addWidget(m_thumbnail, 1);
    column->addWidget(m_nameFld);
}

QMenu* QVPreview::makeMenu() {
    auto* const menu = new QMenu(this);
    menu->addAction(m_services.texts.text("menu_open"_key))->setData(kOpenTag);
    menu->addAction(m_services.texts.text("menu_reveal"_key))->setData(kRevealTag);
    return menu;
}

QMenu* QVPreview::intitializeContextualMenu() {
    QMenu* const menu = makeMenu();
    connect(menu, &QMenu::triggered, this,
            [this](const QAction* action) { contextualMenuAction(action->data().toInt()); });
    connect(m_pathBtn, &PathView::menuRequested, menu,
            [this, menu](int row, const QPoint& place) { openMenu(*menu, row, place); });
    return menu;
}

QMenu* QVPreview::intitializeOldPathContextualMenu() {
    QMenu* const menu = makeMenu();
    connect(menu, &QMenu::triggered, this,
            [this](const QAction* action) { oldPathContextualMenuAction(action->data().toInt()); });
    connect(m_pathTableView, &PathView::menuRequested, menu,
            [this, menu](int row, const QPoint& place) { openMenu(*menu, row, place); });
    return menu;
}

void QVPreview::observe() {
    connect(m_qlView, &QVQuickLookView::liveResizeDidStart, this,
            &QVPreview::viewWillStartLiveResize);
    m_observations.push_back(m_services.center.observe(
        Name::kViewDidEndLiveResize, [this](const auto&) { viewDidEndLiveResize(); }, m_qlView));
    m_observations.push_back(m_services.center.observe(
        Name::kSplitViewPositionDidSwitch, [this](const Notification& switched) {
            if (switched.sender == m_infoView->window()) splitViewPositionDidSwitch();
        }));
}

// --- Showing ---

void QVPreview::setRepresentedObject(std::shared_ptr<QVPreviewItem> object) {
    clear();
    m_previewItem = std::move(object);
    updateAlphas();
    updateSeparators();
    if (!m_previewItem) return;
    QMetaObject::invokeMethod(
        this,
        [this, asked = std::weak_ptr(m_previewItem)] {
            if (m_previewItem && asked.lock() == m_previewItem) load();
        },
        Qt::QueuedConnection);
    setAccessibleName(m_previewItem->name());
    m_nameFld->setFullText(m_previewItem->name());
    const auto item = m_previewItem->item();
    if (item && !m_isByGrid) {
        showMetadata();
        setDetails(knownDetails(*item));
        m_detailsTicket = m_services.requestDetails(item, [this](const ItemDetails& details) {
            m_diskHasAnswered = true;
            setDetails(details);
        });
    }
    updateObjectsGeometry();
}

/// Loads the content. An entry that has no location any more is told by a beep.
void QVPreview::load() {
    if (m_previewItem->url().isEmpty()) m_services.beep();
    if (m_isByGrid) return requestThumbnail();
    m_qlView->setAutostarts(false);
    m_qlView->setPreviewItem(m_previewItem);
}

/// Nothing of what was shown stays, and answers that are still to come never come.
void QVPreview::clear() {
    m_detailsTicket.reset();
    m_previewItem.reset();
    m_details = {};
    m_diskHasAnswered = false;
    m_clickedUrl = {};
    m_pathMenu->close();
    m_oldPathMenu->close();
    m_qlView->setPreviewItem(nullptr);
    m_informationView->clear();
    m_thumbnail->clear();
    m_nameFld->setFullText({});
    setAccessibleName({});
}

void QVPreview::updateAlphas() {
    const bool isShown = m_previewItem != nullptr;
    const bool isImage = isShown && m_previewItem->isImage();
    const bool isSong = isShown && m_previewItem->isSong();
    const bool isContent = isShown && !m_isByGrid;
    setAlpha(m_qlView, isContent);
    setAlpha(m_infoView, isImage || isSong);
    setAlpha(m_exifView, isImage);
    setAlpha(m_songView, isSong);
    setAlpha(m_previewView, isContent);
    setAlpha(m_descriptionView, isShown && m_isByGrid);
    setAlpha(m_informationView, isContent);
    setAlpha(m_pathBtn, isContent && !isVertical());
    setAlpha(m_pathTableView, isContent && isVertical());
}

/// A line stands between the content and what is below it, and above the place.
void QVPreview::updateSeparators() {
    const bool isContent = m_previewItem && !m_isByGrid;
    setAlpha(m_horizontalSeparator, isContent && isVertical());
    setAlpha(m_horizontalSeparator2, isContent);
}

void QVPreview::showMetadata() {
    const QVPreviewItem& item = *m_previewItem;
    const auto fill = [](const Fields& fields, const std::array<QString, 5>& texts) {
        for (std::size_t row = 0; row < texts.size(); ++row)
            fields.at(row)->setText(texts.at(row));
    };
    fill(m_exifFields,
         {item.dateTaken(), item.dimension(), item.camera(), item.latitude(), item.longitude()});
    fill(m_songFields, {item.songName(), item.artist(), item.album(), item.time(), item.bitRate()});
}

void QVPreview::setDetails(const ItemDetails& details) {
    const auto item = m_previewItem ? m_previewItem->item() : nullptr;
    if (!item) return;
    m_details = details;
    m_informationView->setDetails(m_details, m_diskHasAnswered);
    const auto& labels = QVFinderLabels::sharedControl();
    const PathView::Icons icons{
        .folder = m_folderIcon,
        .entry = m_services.iconOf(*item),
        .badge = [this](int label) { return QPixmap::fromImage(finderTagImage(label, false)); },
        .labelName = [&labels](int label) { return labels.labelNameWithKey(label); }};
    for (PathView* const path : {m_pathBtn, m_pathTableView})
        path->setPath(m_details.path, icons);
    updateObjectsGeometry();
}

void QVPreview::updateFigures() {
    const auto item = m_previewItem ? m_previewItem->item() : nullptr;
    if (!item || m_isByGrid || !m_details.size.isEmpty()) return;
    m_details.size = knownDetails(*item).size;
    m_informationView->setDetails(m_details, m_diskHasAnswered);
}

QImage QVPreview::finderTagImage(int label, bool) const {
    if (label < 1) return {};
    return QVFinderLabels::sharedControl().imageLabelWithBackgroundWithKey(label, kTagSize,
                                                                           devicePixelRatioF());
}

// --- The tile ---

/// Shows the icon until there is a thumbnail.
void QVPreview::requestThumbnail() {
    const auto item = m_previewItem->item();
    if (!item) return;
    m_thumbnail->setPixmap(m_services.iconOf(*item).pixmap(kIconSize, devicePixelRatioF()));
    if (!m_services.imageMakers.thumbnail) return;
    m_previewItem->requestPreviewImageWithValue(
        kThumbnailSide * devicePixelRatioF(), m_services.imageMakers,
        [cell = QPointer(this), asked = std::weak_ptr(m_previewItem)] {
            if (cell && cell->m_previewItem == asked.lock()) cell->showThumbnail();
        });
    showThumbnail();
}

void QVPreview::showThumbnail() {
    QImage image = m_previewItem ? m_previewItem->previewImage() : QImage();
    if (image.isNull()) return;
    const double ratio = devicePixelRatioF();
    const QSize box = QSize(kThumbnailSide, kThumbnailSide) * ratio;
    if (image.width() > box.width() || image.height() > box.height())
        image = image.scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    paintEdge(image);
    image.setDevicePixelRatio(ratio);
    m_thumbnail->setPixmap(QPixmap::fromImage(image));
}

void QVPreview::setIsCurrent(bool isCurrent) {
    if (std::exchange(m_isCurrent, isCurrent) == isCurrent) return;
    m_nameFld->setForegroundRole(isCurrent ? QPalette::HighlightedText : QPalette::WindowText);
    update();
}

void QVPreview::paintEvent(QPaintEvent*) {
    if (!m_isCurrent) return;
    QPainter painter(this);
    QStyleOptionViewItem option;
    option.initFrom(this);
    option.state |= QStyle::State_Selected;
    option.showDecorationSelected = true;
    style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, &painter, this);
}

// --- Menus ---

void QVPreview::openMenu(QMenu& menu, int row, const QPoint& globalPosition) {
    if (row < 0 || std::size_t(row) >= oldStylePath().size()) return;
    m_clickedUrl = oldStylePath().at(std::size_t(row)).url;
    menuNeedsUpdate(menu);
    menu.popup(globalPosition);
}

/// Others may add commands of their own.
void QVPreview::menuNeedsUpdate(QMenu& menu) {
    m_services.center.post(Name::kPreviewMenuNeedsUpdate, m_collectionView.window(),
                           UserInfo().set(Name::kMenu, &menu).set(Name::kUrl, m_clickedUrl));
}

void QVPreview::contextualMenuAction(int tag) {
    if (tag == kRevealTag) revealInFinder();
    if (tag == kOpenTag) launchInFinder();
}

void QVPreview::oldPathContextualMenuAction(int tag) {
    contextualMenuAction(tag);
}

void QVPreview::revealInFinder() {
    if (!m_clickedUrl.isEmpty()) m_services.reveal({m_clickedUrl});
}

void QVPreview::launchInFinder() {
    if (!m_clickedUrl.isEmpty()) m_services.open({m_clickedUrl.path()});
}

// --- Live resize ---

void QVPreview::viewWillStartLiveResize() {
    m_isLiveResize = true;
    splitViewPositionDidSwitch();
}

void QVPreview::viewDidEndLiveResize() {
    m_isLiveResize = false;
}

/// The frame changed.
void QVPreview::updateLayer() {
    if (m_previewItem && !m_previewItem->dontUpdate) updateObjectsGeometry();
}

void QVPreview::splitViewPositionDidSwitch() {
    if (m_previewItem) m_previewItem->dontUpdate = false;
}

void QVPreview::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    updateLayer();
}

void QVPreview::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange || event->type() == QEvent::FontChange)
        updateLayer();
}

}  // namespace kestrin
