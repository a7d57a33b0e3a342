// SPDX-License-Identifier: GPL-3.0-or-later
// Programs that the desktop knows.
#include <QDesktopServices>
#include <QUrl>
#include <algorithm>
#include <utility>

#include "base/MainThread.h"
#include "fsutil/HostLocation.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/desktop/DesktopApplications.h"
#include "platform/desktop/SafeToOpen.h"
#include "platform/items/KeyFile.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {
namespace {

constexpr std::string_view kGroup = "Desktop Entry";
constexpr std::string_view kNameKey = "Name";

/// The key "Version" is that of the file format; these are what packagers write.
constexpr std::string_view kVersionKeys[] = {"X-AppVersion", "X-AppImage-Version",
                                             "X-GNOME-Bugzilla-Version"};

/// The file name of an entry without its extension.
QString fileNameOf(const FileUrl& entry) {
    std::string_view name = entry.lastPathComponent();
    name.remove_suffix(entry.pathExtension().size() + 1);
    return displayText(name);
}

/// An item, and Opened when it may be.
struct Verdict {
    FileUrl item;
    LaunchResult result = LaunchResult::Unreadable;
};

Verdict verdictOn(const std::string& path) {
    const FileUrl item = FileUrl::fromPath(hostPath(FileUrl::fromPath(path)));
    if (!item.path().starts_with('/')) return {item, LaunchResult::Unreadable};
    const auto isSafe = isSafeToOpen(item);
    if (!isSafe) return {item, LaunchResult::Unreadable};
    return {item, *isSafe ? LaunchResult::Opened : LaunchResult::Refused};
}

LaunchResult launch(const Verdict& verdict) {
    if (verdict.result != LaunchResult::Opened) return verdict.result;
    // Percent-encoded, which keeps every byte of the name.
    const QUrl url = QUrl::fromEncoded(QByteArray::fromStdString(verdict.item.toString()));
    return QDesktopServices::openUrl(url) ? LaunchResult::Opened : LaunchResult::NoOpener;
}

std::vector<Verdict> verdictsOn(const std::vector<std::string>& paths) {
    std::vector<Verdict> verdicts;
    for (const std::string& path : paths)
        verdicts.push_back(verdictOn(path));
    return verdicts;
}

}  // namespace

std::optional<FileUrl> QVFilesUtilities::appURLWithIdentifier(const std::string& identifier) const {
    return desktopEntryWithId(identifier);
}

QImage QVFilesUtilities::appIconWithIdentifier(const std::string& identifier) const {
    const auto entry = appURLWithIdentifier(identifier);
    return iconForItemPath(entry ? entry->path() : std::string());
}

QString QVFilesUtilities::originalAppNameWithIdentifier(const std::string& identifier) const {
    const auto entry = appURLWithIdentifier(identifier);
    return entry ? fileNameOf(*entry) : QString();
}

QString QVFilesUtilities::appNameWithIdentifier(const std::string& identifier) const {
    const auto entry = appURLWithIdentifier(identifier);
    if (!entry) return {};
    const auto content = KeyFile::read(*entry, LastLink::Follow);
    const std::string name = content ? content->localizedText(kGroup, kNameKey) : std::string();
    return name.empty() ? fileNameOf(*entry) : displayText(name);
}

bool QVFilesUtilities::appWithIdentifierExists(const std::string& identifier) const {
    return appURLWithIdentifier(identifier).has_value();
}

QString QVFilesUtilities::appVersionWithURL(const FileUrl& url) const {
    const FileUrl item = hostLocation(url);
    const auto content = KeyFile::read(item, LastLink::Follow);
    if (item.isEmpty() || !content) return {};
    for (const std::string_view key : kVersionKeys) {
        const std::string version = content->text(kGroup, key);
        if (!version.empty()) return displayText(version);
    }
    return {};
}

void QVFilesUtilities::launchItems(std::vector<std::string> paths, LaunchAnswer done,
                                   std::chrono::milliseconds patience) const {
    const std::size_t count = paths.size();
    const auto answer = [count, done = std::move(done)](const std::vector<Verdict>& verdicts) {
        std::vector<LaunchResult> results(count, LaunchResult::Silent);
        std::ranges::transform(verdicts, results.begin(), launch);
        done(results);
    };
    const bool isAsked = runAbandoned([paths = std::move(paths), patience, answer] {
        const auto verdicts =
            answerWithin<std::vector<Verdict>>(patience, [paths] { return verdictsOn(paths); });
        MainThread::post(
            [verdicts = verdicts.value_or(std::vector<Verdict>()), answer] { answer(verdicts); });
    });
    if (!isAsked) answer({});
}

}  // namespace kestrin
