// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVSmartWindowSourceViewCntrl.h"

#include <QItemSelectionModel>
#include <QPointer>
#include <algorithm>
#include <chrono>
#include <mutex>
#include <utility>

#include "base/StringTable.h"
#include "inventory/TrashListing.h"
#include "smartwindow/ListQueue.h"
#include "smartwindow/QVSourceTableView.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/SmartWindowServices.h"

namespace kestrin {

namespace {

namespace Key = SmartWindowNotification;
using namespace std::chrono_literals;

/// While folders are measured the marks of a source are summed up this often at most.
constexpr auto kMarksInterval = 100ms;
/// How long a source that is not the first one waits to be shown for those above it.
constexpr auto kFirstSourcePatience = 500ms;
/// While trashes are read or measured the listing is asked this often whether their volumes answer.
constexpr auto kSilenceInterval = 5s;

bool hasChildren(const QVSourceItem& source) {
    const std::lock_guard lock(source.lock);
    return !source.children.empty();
}

QString& selectedSourceName() {
    static auto& name = *new QString;
    return name;
}

}  // namespace

const QString& currentSelectedSourceName() {
    return selectedSourceName();
}

void setCurrentSelectedSourceName(const QString& name) {
    selectedSourceName() = name;
}

QVSmartWindowSourceViewCntrl::QVSmartWindowSourceViewCntrl(const SmartWindowServices& services,
                                                           QVSourceTableView& tableView,
                                                           QObject* parent)
    : QObject(parent), m_services(services), m_tableView(tableView), m_model(services) {
    m_marksTimer.setSingleShot(true);
    m_marksTimer.setInterval(kMarksInterval);
    connect(&m_marksTimer, &QTimer::timeout, this, [this] {
        for (const SourcePtr& source : std::exchange(m_marksDue, {}))
            updateMarkedItems(source);
    });
    m_silenceTimer.setInterval(kSilenceInterval);
    connect(&m_silenceTimer, &QTimer::timeout, this, [this] {
        if (!isBusy()) return m_silenceTimer.stop();
        listVolumes();
    });
    connect(&m_model, &SourceListModel::checkBtnClicked, this,
            &QVSmartWindowSourceViewCntrl::checkBtnAction);
}

QVSmartWindowSourceViewCntrl::~QVSmartWindowSourceViewCntrl() {
    m_isChangingRows = true;
    while (!sourceItems().empty())
        removeSource(static_cast<int>(sourceItems().size()) - 1);
    stopListening();
}

// --- Life of the window ---

void QVSmartWindowSourceViewCntrl::viewDidLoad() {
    m_tableView.setModel(&m_model);
    connect(m_tableView.selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { tableViewSelectionDidChange(); });
    observe();
    if (m_services.trashes.knowsTheMounts()) listingDidChange();
    listVolumes();
    QTimer::singleShot(kFirstSourcePatience, this, [this] {
        m_waitsForFirst = false;
        showFirstSourceIfNoneIs();
    });
}

void QVSmartWindowSourceViewCntrl::observe() {
    m_observations.push_back(m_services.center.observe(
        Key::kContentListDidLoad,
        [this](const Notification&) {
            if (m_shown) postShowNotification();
        },
        &Key::kContentListDidLoad));
    m_observations.push_back(m_services.center.observe(
        Key::kUpdateMarkedInfo,
        [this](const Notification& notification) {
            if (const auto source = notification.userInfo.value<SourcePtr>(Key::kSourceItem))
                updateMarkedItems(source);
        },
        &Key::kUpdateMarkedInfo));
    m_observations.push_back(m_services.center.observe(
        Key::kMountedVolumeDidChange,
        [this](const Notification& notification) { mountedVolumeDidChange(notification); }));
    m_observations.push_back(m_services.trashes.observe([this] { listingDidChange(); }));
}

void QVSmartWindowSourceViewCntrl::viewDidAppear() {
    if (!std::exchange(m_isClosed, false)) return;
    for (const SourcePtr& source : sourceItems()) {
        source->stop = std::stop_source();
        ReadingState& reading = m_readings[source.get()];
        reading.wasCutShort = reading.isReading;
        if (!reading.isReading) goOnMeasuring(source);
    }
    if (sourceItems().empty()) listingDidChange();
    postShowNotification();
    refreshAction();
}

void QVSmartWindowSourceViewCntrl::forgetSources() {
    if (removeSources([](const QVSourceItem&) { return true; })) Q_EMIT sourcesDidChange();
}

void QVSmartWindowSourceViewCntrl::windowWillClose() {
    m_isClosed = true;
    for (const SourcePtr& source : sourceItems())
        source->stop.request_stop();
}

/// Once: later the name is that of another window.
void QVSmartWindowSourceViewCntrl::stopListening() {
    if (std::exchange(m_observations, {}).empty()) return;
    setCurrentSelectedSourceName({});
}

// --- Commands and events ---

void QVSmartWindowSourceViewCntrl::refreshAction() {
    listVolumes();
    readAll();
}

void QVSmartWindowSourceViewCntrl::trashContentsDidChange() {
    if (m_isClosed) return forgetSources();
    readAll();
}

void QVSmartWindowSourceViewCntrl::mountedVolumeDidChange(const Notification& notification) {
    const auto path = notification.userInfo.value<std::string>(Key::kDevicePath);
    if (notification.userInfo.value<bool>(Key::kDiskWasAdded)) {
        std::erase_if(m_gone, [&](const auto& gone) { return gone.first == path; });
    } else {
        const bool isChanged = removeSources([&](const QVSourceItem& source) {
            if (source.volumePath() != path) return false;
            m_gone.insert({path, source.mountId});
            return true;
        });
        if (isChanged) Q_EMIT sourcesDidChange();
    }
    listingDidChange();
}

void QVSmartWindowSourceViewCntrl::setIsCollapsed(bool isCollapsed) {
    m_isCollapsed = isCollapsed;
    for (const SourcePtr& source : sourceItems())
        source->isCollapsed = isCollapsed;
}

void QVSmartWindowSourceViewCntrl::setTakesChecks(bool takesChecks) {
    m_takesChecks = takesChecks;
    m_model.setTakesChecks(takesChecks);
    if (!takesChecks) return;
    for (const SourcePtr& source : sourceItems()) {
        if (m_readings[source.get()].isWanted) read(source);
    }
}

// --- The list ---

void QVSmartWindowSourceViewCntrl::listVolumes() {
    m_services.trashes.refresh([this, owner = QPointer(this)] {
        if (!owner) return;
        const bool isFirst = !std::exchange(m_isListed, true);
        listingDidChange();
        if (isFirst) Q_EMIT sourcesDidChange();
    });
}

void QVSmartWindowSourceViewCntrl::listingDidChange() {
    if (m_isClosed) return;  // viewDidAppear looks
    std::erase_if(m_gone, [this](const auto& gone) {
        return std::ranges::none_of(m_services.trashes.volumes(), [&](const ListedVolume& volume) {
            return volume.url.path() == gone.first && volume.mountId == gone.second;
        });
    });
    bool isChanged =
        removeSources([this](const QVSourceItem& source) { return !isStillListed(source); });
    isChanged = addNewSources() || isChanged;
    isChanged = updateNotes() || isChanged;
    setDisabledRows();
    if (isChanged) Q_EMIT sourcesDidChange();
    showFirstSourceIfNoneIs();
}

/// Whether its trash can be used now, or could when its volume last answered.
bool QVSmartWindowSourceViewCntrl::isStillListed(const QVSourceItem& source) const {
    const ListedVolume* const volume = m_services.trashes.volumeOf(source.location);
    if (!volume || volume->state != ListedVolume::State::Usable ||
        volume->mountId != source.mountId)
        return false;
    return std::ranges::any_of(volume->trashes, [&](const TrashLocation& listed) {
        return listed.trashURL == source.url() && listed.mountId == source.location.mountId;
    });
}

/// False when there is no such source. When the shown one is among them, the first one that is left
/// and can be chosen is shown.
bool QVSmartWindowSourceViewCntrl::removeSources(
    const std::function<bool(const QVSourceItem&)>& isLost) {
    const std::size_t before = sourceItems().size();
    const bool wasShowing = m_shown != nullptr;
    for (int row = static_cast<int>(before); row-- > 0;) {
        if (isLost(*sourceItems()[static_cast<std::size_t>(row)])) removeSource(row);
    }
    if (sourceItems().size() == before) return false;
    if (m_shown) {
        selectRow(lastSelectedRow());
    } else if (wasShowing) {
        showFirstSource();
    }
    return true;
}

bool QVSmartWindowSourceViewCntrl::addNewSources() {
    bool isChanged = false;
    for (const ListedVolume& volume : m_services.trashes.volumes()) {
        if (volume.state != ListedVolume::State::Usable ||
            m_gone.contains({volume.url.path(), volume.mountId}))
            continue;
        for (const TrashLocation& trash : volume.trashes) {
            const bool isKnown = std::ranges::any_of(
                sourceItems(), [&](const auto& source) { return source->url() == trash.trashURL; });
            if (isKnown) continue;
            createNewSourceItem(trash, volume.mountId);
            isChanged = true;
        }
    }
    return isChanged;
}

void QVSmartWindowSourceViewCntrl::createNewSourceItem(const TrashLocation& trash, int mountId) {
    const auto source = std::make_shared<QVSourceItem>(trash, mountId);
    const int row = rowForNewSource(trash);
    source->row = static_cast<std::uint64_t>(row);
    source->isCollapsed = m_isCollapsed;
    source->note = noteOf(*source);  // a silent volume is not read
    m_model.insertSource(row, source);
    read(source);
}

/// In the order of the volumes while these answer for the first time; at the end later.
int QVSmartWindowSourceViewCntrl::rowForNewSource(const TrashLocation& trash) const {
    if (m_isListed) return static_cast<int>(sourceItems().size());
    const std::vector<TrashLocation> order = m_services.trashes.trashes();
    const auto placeOf = [&](const FileUrl& url) {
        return std::ranges::find(order, url, &TrashLocation::trashURL);
    };
    const auto place = placeOf(trash.trashURL);
    return static_cast<int>(std::ranges::count_if(
        sourceItems(), [&](const auto& source) { return placeOf(source->url()) < place; }));
}

QString QVSmartWindowSourceViewCntrl::noteOf(const QVSourceItem& source) const {
    const ListedVolume* const volume = m_services.trashes.volumeOf(source.location);
    return volume && volume->answers ? QString()
                                     : m_services.texts.text("app_row_not_answering"_key);
}

bool QVSmartWindowSourceViewCntrl::updateNotes() {
    bool isChanged = false;
    for (const SourcePtr& source : sourceItems()) {
        const QString note = noteOf(*source);
        if (note == source->note) continue;
        source->note = note;
        m_model.reload(*source);
        if (note.isEmpty()) read(source);
        isChanged = true;
    }
    return isChanged;
}

void QVSmartWindowSourceViewCntrl::setDisabledRows() {
    std::vector<SourceListModel::DisabledRow> rows;
    for (const ListedVolume& volume : m_services.trashes.volumes()) {
        const QString note = volumeNote(volume, m_services.texts);
        const bool hasSources = volume.state == ListedVolume::State::Usable;
        if (note.isEmpty() || (hasSources && !volume.problem) ||
            m_gone.contains({volume.url.path(), volume.mountId}))
            continue;
        rows.push_back({{{}, volume.url, volume.name, volume.url.path(), true}, note});
    }
    m_model.setDisabledRows(std::move(rows));
}

void QVSmartWindowSourceViewCntrl::removeSource(int row) {
    const bool isChanging = std::exchange(m_isChangingRows, true);  // the view selects a neighbour
    SourcePtr source = m_model.takeSource(row);
    m_isChangingRows = isChanging;
    m_readings.erase(source.get());
    m_marksDue.erase(source);
    if (source == m_shown) m_shown.reset();
    source->stop.request_stop();
    freeOnListQueue([source = std::move(source)] {});
}

// --- Marks ---

void QVSmartWindowSourceViewCntrl::checkBtnAction(const SourcePtr& source) {
    bool mark = false;
    {
        const std::lock_guard lock(source->lock);
        mark = source->markedCount == 0 || source->markedCount < source->children.size();
        for (const auto& child : source->children) {
            if (child->isMarked != mark) child->isMarked = mark;
        }
    }
    source->markedStatus = mark ? 1 : 0;
    if (source != m_shown) return updateMarkedItems(source);
    m_model.reload(*source);
    m_services.center.post(Key::kSourceCheckBtnDidClick, source.get(),
                           UserInfo().set(Key::kMark, mark));
}

void QVSmartWindowSourceViewCntrl::updateMarkedItems(const SourcePtr& source) {
    m_marksDue.erase(source);
    std::uint64_t size = 0, count = 0, children = 0;
    {
        const std::lock_guard lock(source->lock);
        children = source->children.size();
        for (const auto& child : source->children) {
            if (!child->isMarked) continue;
            size += child->size;
            ++count;
        }
    }
    const bool isChanged = source->markedSize != size || source->markedCount != count;
    source->markedSize = size;
    source->markedCount = count;
    const bool isMixed = count != 0 && count < children;
    source->markedStatus = isMixed ? -1 : count != 0 ? 1 : 0;
    m_model.reload(*source);
    if (isChanged) Q_EMIT sourcesDidChange();
}

void QVSmartWindowSourceViewCntrl::updateMarkedItemsSoon(const SourcePtr& source) {
    m_marksDue.insert(source);
    if (!m_marksTimer.isActive()) m_marksTimer.start();
}

// --- Selection ---

void QVSmartWindowSourceViewCntrl::tableViewSelectionDidChange() {
    if (m_isChangingRows) return;
    const auto rows = m_tableView.selectionModel()->selectedRows();
    if (rows.size() != 1) return;
    const SourcePtr source = sourceItems()[static_cast<std::size_t>(rows.first().row())];
    if (source != m_shown) show(source);
}

void QVSmartWindowSourceViewCntrl::show(const SourcePtr& source) {
    m_shown = source;
    setCurrentSelectedSourceName(source ? source->displayName : QString());
    postShowNotification();
}

/// The window that was opened in the place of a closed one hears this, too.
void QVSmartWindowSourceViewCntrl::postShowNotification() {
    if (m_isClosed) return;  // viewDidAppear posts it
    m_services.center.post(
        Key::kShowSelectedItems, &Key::kShowSelectedItems,
        UserInfo().set(Key::kSourceItem, m_shown).set(Key::kAllSourceItems, sourceItems()));
}

/// Shows the first source that can be chosen, or none when there is no such source.
void QVSmartWindowSourceViewCntrl::showFirstSource() {
    const auto first = std::ranges::find_if(
        sourceItems(), [](const auto& source) { return SourceListModel::canBeSelected(*source); });
    if (first == sourceItems().end()) {
        m_tableView.selectionModel()->clear();
        return show(nullptr);
    }
    const SourcePtr source = *first;
    selectRow(m_model.rowOf(source.get()));
    if (m_shown != source) show(source);  // the view had selected it already
}

/// A source can be shown when its first entries are there. For a moment it waits for those above
/// it.
void QVSmartWindowSourceViewCntrl::showFirstSourceIfNoneIs() {
    if (m_shown || m_isClosed) return;
    for (const SourcePtr& source : sourceItems()) {
        if (!SourceListModel::canBeSelected(*source) || !source->note.isEmpty()) continue;
        if (hasChildren(*source) && (!m_waitsForFirst || isKnownWhatComesBefore(*source)))
            return selectRow(m_model.rowOf(source.get()));
        if (m_waitsForFirst) return;
    }
}

bool QVSmartWindowSourceViewCntrl::isKnownWhatComesBefore(const QVSourceItem& source) const {
    if (m_isListed) return true;
    const auto& volumes = m_services.trashes.volumes();
    const auto own = std::ranges::find(volumes, source.volumeUrl(), &ListedVolume::url);
    return std::none_of(volumes.begin(), own, [](const ListedVolume& volume) {
        return volume.state == ListedVolume::State::Unknown && volume.answers;
    });
}

void QVSmartWindowSourceViewCntrl::selectRow(int row) {
    if (row < 0) return;
    m_tableView.selectionModel()->setCurrentIndex(m_model.index(row),
                                                  QItemSelectionModel::ClearAndSelect);
}

}  // namespace kestrin
