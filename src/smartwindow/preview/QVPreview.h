// SPDX-License-Identifier: GPL-3.0-or-later
// The cell of the collection that shows one selected entry. Main thread.
#pragma once

#include <QIcon>
#include <QImage>
#include <QWidget>
#include <array>
#include <memory>
#include <string_view>
#include <vector>

#include "base/NotificationCenter.h"
#include "inventory/QVPreviewItem.h"
#include "smartwindow/preview/ItemDetails.h"
#include "smartwindow/preview/PreviewRequest.h"

class QFrame;
class QLabel;
class QMenu;

namespace kestrin {

class ElidedLabel;
class InformationView;
class PathView;
class PreviewCollectionView;
class QVQuickLookView;
struct PreviewServices;

/// Shows the content of an entry, what is known of it in words, and its place in the trash with a
/// menu that reveals or opens each folder on the way. Where the collection scrolls down, these lie
/// one below the other and the place has a row a folder; else they lie side by side above the place
/// on one line. In a grid the cell is a tile with a thumbnail and the name.
///
/// A part that is not for the entry is hidden, so that neither the keyboard nor assistive tools
/// find it.
class QVPreview : public QWidget {
    Q_OBJECT

 public:
    /// What the commands of both menus do, by their tags; any other tag does nothing.
    static constexpr int kRevealTag = 100;  ///< in the file manager
    static constexpr int kOpenTag = 102;    ///< with the default program

    /// `collectionView` says how the cell is laid out. It and the services must outlive the cell.
    QVPreview(const PreviewServices& services, const PreviewCollectionView& collectionView);
    ~QVPreview() override;

    /// Shows an entry; with nullptr the cell is blank. The content is loaded when the event loop is
    /// reached again.
    void setRepresentedObject(std::shared_ptr<QVPreviewItem> object);
    const std::shared_ptr<QVPreviewItem>& previewItem() const { return m_previewItem; }
    /// The rows of the place, outermost folder first. Until the disk has answered they go by the
    /// names alone.
    const std::vector<ServiceDictionary>& oldStylePath() const { return m_details.path; }
    /// To be called when the size of the entry may have been measured.
    void updateFigures();
    /// Whether the tile is the current one of its grid.
    void setIsCurrent(bool isCurrent);
    bool isLiveResize() const { return m_isLiveResize; }

    // --- Layout, in points (QVPreview_layout.cpp) ---

    bool isVertical() const;
    /// The width of what stands below the content: 322, or less where the cell is not wider.
    double verticalOtherViewWidth() const;
    /// Where that begins, given its width.
    double verticalOtherViewXWithWidth(double width) const;
    /// The size of the tile, whatever the width.
    QSize sizeWithWidth(double width) const;

    /// The badge of a label, 11 by 11 points; a null image for a number below 1. The selection does
    /// not change it.
    QImage finderTagImage(int label, bool isSelected) const;

    // --- Menus ---

    /// Runs a command of a menu on the part of the place that it was opened for.
    void contextualMenuAction(int tag);         ///< of the place on one line
    void oldPathContextualMenuAction(int tag);  ///< of the place in rows

 protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

 private:
    using Fields = std::array<QLabel*, 5>;

    // Making
    void createQLView();
    void makeDescriptionView();
    QWidget* makeMetadataView(const std::array<std::string_view, 5>& titles,
                              std::string_view position, Fields& fields);
    QMenu* intitializeContextualMenu();
    QMenu* intitializeOldPathContextualMenu();
    QMenu* makeMenu();
    void observe();

    // Showing
    void load();
    void clear();
    void showMetadata();
    void setDetails(const ItemDetails& details);
    void requestThumbnail();
    void showThumbnail();
    void updateAlphas();
    void updateSeparators();

    // Menus
    void openMenu(QMenu& menu, int row, const QPoint& globalPosition);
    void menuNeedsUpdate(QMenu& menu);
    void runCommand(int tag);
    void revealInFinder();
    void launchInFinder();

    // Layout
    void updateObjectsGeometry();
    void updateFrame();
    void updateFrameForOtherItems();
    void layOut(int detailHeight);
    void layOutDown(int detailHeight);
    void layOutSideBySide(int detailHeight);
    void place(QWidget* part, const QRect& frame);

    // Live resize
    void viewWillStartLiveResize();
    void viewDidEndLiveResize();
    void updateLayer();
    void splitViewPositionDidSwitch();

    const PreviewServices& m_services;
    const PreviewCollectionView& m_collectionView;
    const bool m_isByGrid;

    QWidget* m_previewView = nullptr;  ///< holds the quick-look view
    QVQuickLookView* m_qlView = nullptr;
    QWidget* m_infoView = nullptr;  ///< holds the details of images and of sounds
    QWidget* m_exifView = nullptr;
    QWidget* m_songView = nullptr;
    Fields m_exifFields{};                 ///< date taken, dimension, camera, latitude, longitude
    Fields m_songFields{};                 ///< song name, artist, album, time, bit rate
    QWidget* m_descriptionView = nullptr;  ///< the tile
    QLabel* m_thumbnail = nullptr;
    ElidedLabel* m_nameFld = nullptr;
    InformationView* m_informationView = nullptr;
    QFrame* m_horizontalSeparator = nullptr;   ///< below the content
    QFrame* m_horizontalSeparator2 = nullptr;  ///< above the place
    PathView* m_pathBtn = nullptr;             ///< the place on one line
    PathView* m_pathTableView = nullptr;       ///< the place in rows
    QMenu* m_pathMenu = nullptr;
    QMenu* m_oldPathMenu = nullptr;

    QIcon m_folderIcon;

    std::shared_ptr<QVPreviewItem> m_previewItem;
    ItemDetails m_details;
    bool m_diskHasAnswered = false;
    FileUrl m_clickedUrl;  ///< that a menu acts on
    bool m_isCurrent = false;
    bool m_isLiveResize = false;
    std::vector<Observation> m_observations;
    PreviewTicket m_detailsTicket;
};

}  // namespace kestrin
