// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/ReleaseNotes.h"

#include <QFile>
#include <QLatin1String>
#include <QStringList>
#include <vector>

#include "base/ReplacementFile.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/SmallFile.h"

/// The changelog sits in a static library: naming it here is what links it in.
static void loadChangelog() {
    Q_INIT_RESOURCE(changelog);
}

namespace kestrin {
namespace {

constexpr std::size_t kLongestVersion = 100;
constexpr QLatin1String kBeginOfVersion("## [");

struct Release {
    QVersionNumber version;
    QString changes;
};

/// The versions of the changelog. What stands above the first one is about the changelog itself.
std::vector<Release> releasesOf(const QString& changelog) {
    std::vector<Release> releases;
    for (const QString& line : changelog.split(u'\n')) {
        if (line.startsWith(kBeginOfVersion)) {
            releases.push_back(
                {QVersionNumber::fromString(line.sliced(kBeginOfVersion.size())), {}});
        } else if (!releases.empty()) {
            releases.back().changes += line + u'\n';
        }
    }
    return releases;
}

}  // namespace

QVersionNumber runningVersion() {
    return QVersionNumber::fromString(QLatin1String(KESTRIN_VERSION));
}

bool isNewer(const QVersionNumber& version, const QVersionNumber& other) {
    return version.normalized() > other.normalized();
}

QString changesAfter(const QVersionNumber& after, const QString& changelog) {
    std::vector<Release> releases = releasesOf(changelog);
    std::erase_if(releases, [&](const Release& release) {
        return !isNewer(release.version, after) || isNewer(release.version, runningVersion());
    });
    QString text;
    for (const Release& release : releases) {
        if (releases.size() > 1) text += QLatin1String("## ") + release.version.toString() + u'\n';
        text += release.changes;
    }
    return text.trimmed();
}

QString changesAfter(const QVersionNumber& after) {
    loadChangelog();
    QFile changelog(QStringLiteral(":/changelog/CHANGELOG.md"));
    if (!changelog.open(QIODevice::ReadOnly)) qFatal("the program lacks its changelog");
    return changesAfter(after, QString::fromUtf8(changelog.readAll()));
}

QVersionNumber keptVersion(const FileUrl& file) {
    const auto text = readSmallFile(file, kLongestVersion, LastLink::Refuse);
    return QVersionNumber::fromString(QString::fromStdString(text.value_or("")).trimmed());
}

bool keepRunningVersion(const FileUrl& file) {
    const auto attributes = itemAttributes(file);
    if (attributes && !attributes->isRegularFile()) return false;
    if (!makeFolders(file.parent().path())) return false;
    ReplacementFile kept(file.path(), KESTRIN_VERSION "\n", 0600);
    return kept.isComplete() && kept.replace();
}

}  // namespace kestrin
