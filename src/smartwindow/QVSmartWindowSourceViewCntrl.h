// SPDX-License-Identifier: GPL-3.0-or-later
// The controller of the list of the trashes: it makes a source for the trash of each volume, reads
// what they hold, measures their folders in the background, and says which source is shown.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/NotificationCenter.h"
#include "inventory/QVSourceItem.h"
#include "smartwindow/SourceListModel.h"
#include "smartwindow/SourceReading.h"

namespace kestrin {

class QVSourceTableView;
struct SmartWindowServices;

/// The name of the volume that is shown, for the window's title; empty when none is. Main thread.
const QString& currentSelectedSourceName();
void setCurrentSelectedSourceName(const QString& name);

/// It asks no disk itself, and may be destroyed at any moment: what works for it in the background
/// then ends, or hangs with its volume and is never heard of again. Main thread.
class QVSmartWindowSourceViewCntrl : public QObject {
    Q_OBJECT

 public:
    /// The services and the view must outlive it.
    QVSmartWindowSourceViewCntrl(const SmartWindowServices& services, QVSourceTableView& tableView,
                                 QObject* parent = nullptr);
    ~QVSmartWindowSourceViewCntrl() override;

    // --- Life of the window ---

    /// Has the view show the list, and begins to list the volumes.
    void viewDidLoad();
    /// To be called whenever the window is shown. After windowWillClose it goes on where it was
    /// stopped.
    void viewDidAppear();
    /// Ends all work in the background.
    void windowWillClose();
    /// To be called when the trashes change while the window is closed: what it lists when it is
    /// shown again is read from the start, and nothing is checked. A reading compares names alone,
    /// and the mark of an entry must not pass to another one that has its name by then.
    void forgetSources();
    /// To be called when the window is let go, since another one may be there soon: it follows
    /// nothing any more, and no source of it is the current one.
    void stopListening();

    // --- Commands and events ---

    /// Asks which volumes there are, and reads every trash anew.
    void refreshAction();
    /// To be called when somebody filled or emptied a trash: reads every trash anew, or forgets
    /// what it read while the window is closed.
    void trashContentsDidChange();
    /// Answers "mountedVolumeDidChange".
    void mountedVolumeDidChange(const Notification& notification);
    /// The pane of the list was collapsed, or is back.
    void setIsCollapsed(bool isCollapsed);
    bool isCollapsed() const { return m_isCollapsed; }
    /// While false, from the erase command to the erase's end, no check box can be used and no
    /// trash is read.
    void setTakesChecks(bool takesChecks);

    // --- State ---

    const SourceItems& sourceItems() const { return m_model.sourceItems(); }
    SourceListModel& model() { return m_model; }
    /// Whether the first listing is over. Until then no list of sources means that there are none.
    bool isListed() const { return m_isListed; }
    /// The row of the source that is shown; -1 when none is. It follows its source.
    int lastSelectedRow() const { return m_model.rowOf(m_shown.get()); }

 Q_SIGNALS:
    /// Sources came or went, what they say of themselves or how much of them is checked changed, or
    /// the first listing is over.
    void sourcesDidChange();

 private:
    /// How far the entries of a source are known. A source is read by one thread at a time.
    struct ReadingState {
        bool isReading = false;
        /// It was stopped and goes on: the folders that it listed may still be unmeasured.
        bool wasCutShort = false;
        bool isWanted = false;  ///< once more, when the reading is over or possible again
        bool isLoaded = false;  ///< it was read before
    };
    using SourcePtr = std::shared_ptr<QVSourceItem>;

    void observe();

    // The list
    void listVolumes();
    void listingDidChange();
    bool removeSources(const std::function<bool(const QVSourceItem&)>& isLost);
    bool addNewSources();
    void createNewSourceItem(const TrashLocation& trash, int mountId);
    int rowForNewSource(const TrashLocation& trash) const;
    bool updateNotes();
    QString noteOf(const QVSourceItem& source) const;
    bool isStillListed(const QVSourceItem& source) const;
    void removeSource(int row);
    void setDisabledRows();

    // Reading and measuring (QVSmartWindowSourceViewCntrl_reading.cpp)
    bool canRead(const QVSourceItem& source) const;
    bool isBusy() const;
    void readAll();
    void read(const SourcePtr& source);
    void begin(const SourcePtr& source);
    ReadingReports reportsFor(const SourcePtr& source);
    void itemsDidArrive(const SourcePtr& source);
    void readingDidEnd(const SourcePtr& source, const ReadingResult& result);
    void foldersWereMeasured(const SourcePtr& source);
    void endGathering(const SourcePtr& source);
    void goOnMeasuring(const SourcePtr& source);
    void postUpdateItemsList(const SourcePtr& source);

    // Marks
    void checkBtnAction(const SourcePtr& source);
    void updateMarkedItems(const SourcePtr& source);
    void updateMarkedItemsSoon(const SourcePtr& source);

    // Selection
    void tableViewSelectionDidChange();
    void show(const SourcePtr& source);
    void postShowNotification();
    void showFirstSource();
    void showFirstSourceIfNoneIs();
    bool isKnownWhatComesBefore(const QVSourceItem& source) const;
    void selectRow(int row);

    const SmartWindowServices& m_services;
    QVSourceTableView& m_tableView;
    SourceListModel m_model;
    SourcePtr m_shown;
    std::map<const QVSourceItem*, ReadingState> m_readings;
    /// Volumes that are about to go, or went, and are still in the last listing.
    std::set<std::pair<std::string, int>> m_gone;
    std::set<SourcePtr> m_marksDue;  ///< sources whose marks are to be summed up
    QTimer m_marksTimer;
    QTimer m_silenceTimer;          ///< runs while something is read or measured
    bool m_waitsForFirst = true;    ///< the first source is waited for
    bool m_isListed = false;        ///< the first listing is over
    bool m_isChangingRows = false;  ///< what the view then selects means nothing
    bool m_isClosed = false;
    bool m_isCollapsed = false;
    bool m_takesChecks = true;
    std::vector<Observation> m_observations;
};

}  // namespace kestrin
