// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/TrashListing.h"

#include <QStringList>
#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {

namespace {

/// The location under which m_open and m_awaited keep the question what is mounted.
const FileUrl& mountsKey() {
    static const auto& key = *new FileUrl;
    return key;
}

/// None when there was no memory for an answer.
template <class T>
std::optional<T> answerTo(const std::function<T()>& question) {
    try {
        return question();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

ListedVolume newVolume(const MountedVolume& mount) {
    ListedVolume volume;
    volume.url = mount.root;
    const std::string_view name = mount.root.lastPathComponent();
    volume.name = QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
    volume.mountId = mount.mountId;
    volume.isNetwork = mount.isNetwork;
    return volume;
}

void takeOver(ListedVolume& volume, ListedVolume answer) {
    if (!answer.name.isEmpty()) volume.name = std::move(answer.name);
    volume.state = answer.state;
    volume.answers = true;
    volume.trashes = std::move(answer.trashes);
    volume.problem = std::move(answer.problem);
}

}  // namespace

TrashListing::TrashListing(Host host) : m_host(std::move(host)) {}

void TrashListing::refresh(std::function<void()> done) {
    m_next.push_back(std::move(done));
    if (!m_isListing) start();
}

Observation TrashListing::observe(std::function<void()> heard) {
    const std::uint64_t number = ++m_lastObserver;
    m_observers.emplace(number, std::move(heard));
    return Observation([this, number, life = std::weak_ptr<bool>(m_life)] {
        if (!life.expired()) m_observers.erase(number);
    });
}

void TrashListing::tellObservers() {
    const auto observers = m_observers;  // one may leave, or another one come
    for (const auto& [number, heard] : observers) {
        if (m_observers.contains(number)) heard();
    }
}

void TrashListing::onMain(std::function<void()> call) const {
    MainThread::post([life = std::weak_ptr<bool>(m_life), call = std::move(call)] {
        if (!life.expired()) call();
    });
}

// --- A listing ---

void TrashListing::start() {
    m_isListing = true;
    m_current = std::exchange(m_next, {});
    const std::uint64_t listing = ++m_listing;
    if (m_open.contains(mountsKey())) return onMain([this, listing] { runOutOfPatience(listing); });
    askMounts();
    MainThread::postAfter(m_host.patience, [this, listing, life = std::weak_ptr<bool>(m_life)] {
        if (!life.expired()) runOutOfPatience(listing);
    });
}

void TrashListing::askMounts() {
    m_open[mountsKey()] = {};
    m_awaited.insert(mountsKey());
    const bool isAsked =
        runAbandoned([this, life = std::weak_ptr<bool>(m_life), mounts = m_host.mounts] {
            MainThread::post([this, life, answer = answerTo(mounts)] {
                if (!life.expired()) takeMounts(answer);
            });
        });
    if (!isAsked) m_open.erase(mountsKey());
}

void TrashListing::takeMounts(const std::optional<std::vector<MountedVolume>>& mounts) {
    m_open.erase(mountsKey());
    if (!mounts || mounts->empty()) {  // a table that can be read has "/" at least
        if (m_awaited.contains(mountsKey())) runOutOfPatience(m_listing);
        return;
    }
    m_knowsTheMounts = true;
    if (m_awaited.erase(mountsKey()) == 0) return refresh();  // too late: the disks are to be asked
    updateVolumes(*mounts);
    forgetQuestionsToOthersThan(*mounts);
    for (ListedVolume& volume : m_volumes) {
        if (!m_failed.contains(volume.url) && !m_open.contains(volume.url)) ask(volume);
    }
    finishWhenAnswered();
}

void TrashListing::updateVolumes(const std::vector<MountedVolume>& mounts) {
    const auto isMounted = [&](const ListedVolume& volume) {
        return std::ranges::any_of(mounts, [&](const MountedVolume& mount) {
            return mount.root == volume.url && mount.mountId == volume.mountId;
        });
    };
    std::erase_if(m_failed, [&](const auto& failed) { return !isMounted(failed.second); });
    std::vector<ListedVolume> volumes;
    for (const MountedVolume& mount : mounts) {
        const auto known = std::ranges::find_if(m_volumes, [&](const ListedVolume& volume) {
            return volume.url == mount.root && volume.mountId == mount.mountId;
        });
        volumes.push_back(known == m_volumes.end() ? newVolume(mount) : std::move(*known));
        const auto failed = m_failed.find(mount.root);
        if (failed != m_failed.end()) takeOver(volumes.back(), failed->second);
    }
    m_volumes = std::move(volumes);
}

/// A volume that hangs may go, and another one may be mounted in its place.
void TrashListing::forgetQuestionsToOthersThan(const std::vector<MountedVolume>& mounts) {
    std::erase_if(m_open, [&](const auto& open) {
        return std::ranges::none_of(mounts, [&](const MountedVolume& mount) {
            return mount.root == open.first && mount.mountId == open.second.mountId;
        });
    });
}

void TrashListing::ask(ListedVolume& volume) {
    const std::uint64_t number = ++m_lastNumber;
    const bool isAsked = runAbandoned(
        [this, life = std::weak_ptr<bool>(m_life), ask = m_host.ask, url = volume.url, number] {
            auto answer = answerTo<ListedVolume>([&] { return ask(url); });
            MainThread::post([this, life, url, number, answer = std::move(answer)]() mutable {
                if (!life.expired()) takeAnswer(url, number, std::move(answer));
            });
        });
    if (!isAsked) {
        volume.answers = false;
        return;
    }
    m_open[volume.url] = {number, volume.mountId};
    m_awaited.insert(volume.url);
}

void TrashListing::takeAnswer(const FileUrl& url, std::uint64_t number,
                              std::optional<ListedVolume> answer) {
    const auto question = m_open.find(url);
    if (question == m_open.end() || question->second.number != number) return;
    m_open.erase(question);
    const auto volume = std::ranges::find(m_volumes, url, &ListedVolume::url);
    if (volume != m_volumes.end() && answer) {
        answer->mountId = volume->mountId;
        if (answer->hasFailedForGood()) m_failed.insert_or_assign(url, *answer);
        takeOver(*volume, *std::move(answer));
    } else if (volume != m_volumes.end()) {
        volume->answers = false;
    }
    const bool wasAwaited = m_awaited.erase(url) != 0;
    tellObservers();
    if (wasAwaited) return finishWhenAnswered();
    if (m_changed) m_changed();
}

void TrashListing::runOutOfPatience(std::uint64_t listing) {
    if (!m_isListing || listing != m_listing) return;
    const bool nobodyKnowsTheMounts =
        m_open.contains(mountsKey()) || m_awaited.contains(mountsKey());
    for (ListedVolume& volume : m_volumes) {
        if (nobodyKnowsTheMounts || m_awaited.contains(volume.url)) volume.answers = false;
    }
    finish();
}

void TrashListing::finishWhenAnswered() {
    if (m_isListing && m_awaited.empty()) finish();
}

void TrashListing::finish() {
    m_isListing = false;
    m_awaited.clear();
    // A handler may serve events for long, as a question does. The next listing must not wait for
    // it.
    const auto waiting = std::exchange(m_current, {});
    if (!m_next.empty()) start();
    if (m_changed) m_changed();
    tellObservers();
    for (const auto& done : waiting) {
        if (done) done();
    }
}

// --- What it found ---

std::vector<TrashLocation> TrashListing::trashes() const {
    std::vector<TrashLocation> trashes;
    for (const ListedVolume& volume : m_volumes) {
        if (volume.state == ListedVolume::State::Usable)
            std::ranges::copy(volume.trashes, std::back_inserter(trashes));
    }
    return trashes;
}

std::vector<TrashLocation> TrashListing::trashesToErase() const {
    std::vector<TrashLocation> trashes;
    for (const ListedVolume& volume : m_volumes) {
        if (volume.mayBeErased()) std::ranges::copy(volume.trashes, std::back_inserter(trashes));
    }
    return trashes;
}

const ListedVolume* TrashListing::volumeOf(const TrashLocation& trash) const {
    const auto volume = std::ranges::find(m_volumes, trash.volumeURL, &ListedVolume::url);
    return volume == m_volumes.end() ? nullptr : &*volume;
}

QString leftOutReason(const ListedVolume& volume, const StringTable& texts) {
    using State = ListedVolume::State;
    if (volume.state == State::NoTrash || volume.state == State::ReadOnly) return {};
    if (!volume.answers) return texts.text("volume_not_answering"_key);
    if (!volume.problem) return {};
    const auto reason = volume.problem->userInfo.find("reason");
    return displayName(reason == volume.problem->userInfo.end()
                           ? volume.problem->localizedDescription()
                           : reason->second);
}

QString volumeNote(const ListedVolume& volume, const StringTable& texts) {
    using State = ListedVolume::State;
    if (volume.state == State::NoTrash) return {};
    if (volume.state == State::ReadOnly) return texts.text("app_row_read_only"_key);
    if (volume.problem) {
        return StringTable::filled(texts.text("app_row_unusable"_key),
                                   {leftOutReason(volume, texts)});
    }
    return volume.answers ? QString() : texts.text("app_row_not_answering"_key);
}

std::vector<LeftOutVolume> leftOutVolumes(const std::vector<ListedVolume>& volumes,
                                          const StringTable& texts) {
    std::vector<LeftOutVolume> leftOut;
    for (const ListedVolume& volume : volumes) {
        const QString reason = leftOutReason(volume, texts);
        if (!reason.isEmpty()) leftOut.push_back({volume.name, reason});
    }
    return leftOut;
}

QStringList leftOutSentences(const std::vector<LeftOutVolume>& leftOut, const StringTable& texts) {
    QStringList sentences;
    for (const LeftOutVolume& volume : leftOut) {
        sentences += StringTable::filled(texts.text("left_out"_key),
                                         {titleName(volume.name), volume.reason});
    }
    return sentences;
}

}  // namespace kestrin
