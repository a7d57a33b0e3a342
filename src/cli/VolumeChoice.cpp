// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/VolumeChoice.h"

#include <algorithm>
#include <iterator>

#include "base/StringTable.h"
#include "cli/Console.h"
#include "cli/Paths.h"
#include "cli/TrashSurvey.h"
#include "format/DisplayName.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {

namespace {

bool hasPath(const VolumeRecord& volume, const std::string& operand) {
    const std::optional<FileUrl> location = locationOfPath(operand);
    if (!location) return false;
    return *location == volume.url || resolved(*location) == volume.url;
}

QString nameAndPath(const VolumeRecord& volume) {
    return displayName(volume.name) + QStringLiteral(" (") + displayName(volume.url.path()) + u')';
}

/// "Backup (/media/backup), System (/)".
QString namesAndPaths(const std::vector<VolumeRecord>& volumes) {
    QStringList names;
    for (const VolumeRecord& volume : volumes)
        names += nameAndPath(volume);
    return names.join(QStringLiteral(", "));
}

/// Finds the volume of each operand; complains of those that it does not find.
class Chooser {
 public:
    Chooser(QVFilesUtilities& files, Console& console)
        : m_files(files), m_console(console), m_volumes(files.volumesLocationArray()) {}

    /// Indexes of the volumes named, in order and without repetition; none after a complaint.
    std::optional<std::vector<std::size_t>> volumesNamed(const std::vector<std::string>& operands);
    ChosenTrashes trashesOf(const std::vector<std::size_t>& chosen);

 private:
    std::optional<std::size_t> volumeNamed(const std::string& operand);
    void complain(const std::string& operand, const std::vector<std::size_t>& meant);
    bool addTrashes(const VolumeRecord& volume, const std::vector<TrashLocation>& listed,
                    std::vector<TrashLocation>& trashes);

    QVFilesUtilities& m_files;
    Console& m_console;
    const std::vector<VolumeRecord> m_volumes;
};

std::optional<std::vector<std::size_t>> Chooser::volumesNamed(
    const std::vector<std::string>& operands) {
    std::vector<std::size_t> chosen;
    bool allFound = true;
    for (const std::string& operand : operands) {
        const std::optional<std::size_t> index = volumeNamed(operand);
        if (!index) {
            allFound = false;
        } else if (std::ranges::find(chosen, *index) == chosen.end()) {
            chosen.push_back(*index);
        }
    }
    if (!allFound) return std::nullopt;
    return chosen;
}

std::optional<std::size_t> Chooser::volumeNamed(const std::string& operand) {
    const std::vector<std::size_t> meant = volumesMeantBy(operand, m_volumes);
    if (meant.size() == 1) return meant.front();
    complain(operand, meant);
    return std::nullopt;
}

void Chooser::complain(const std::string& operand, const std::vector<std::size_t>& meant) {
    std::vector<VolumeRecord> listed;
    for (const std::size_t index : meant)
        listed.push_back(m_volumes[index]);
    const std::string_view key =
        meant.empty() ? "cli_unknown_volume"_key : "cli_ambiguous_volume"_key;
    const QString names = namesAndPaths(meant.empty() ? m_volumes : listed);
    m_console.complain(m_console.text(key, {displayName(operand), names}));
}

ChosenTrashes Chooser::trashesOf(const std::vector<std::size_t>& chosen) {
    const std::vector<TrashLocation> listed = m_files.trashesAndVolumesLocations();
    ChosenTrashes result{.trashes = {}, .volumeCount = chosen.size(), .isComplete = true};
    for (const std::size_t index : chosen) {
        if (!addTrashes(m_volumes[index], listed, result.trashes)) result.isComplete = false;
    }
    return result;
}

/// False after a complaint: the volume's trash cannot be used.
bool Chooser::addTrashes(const VolumeRecord& volume, const std::vector<TrashLocation>& listed,
                         std::vector<TrashLocation>& trashes) {
    const std::size_t before = trashes.size();
    std::ranges::copy_if(listed, std::back_inserter(trashes), [&](const TrashLocation& location) {
        return location.volumePath == volume.url.path();
    });
    if (trashes.size() > before) return true;
    const Result<std::vector<TrashFolder>> folders = trashFoldersOfVolume(volume.url);
    const bool isReadOnly = volume.isLocked.value_or(false);
    if (!folders) {
        // Where nothing can be written, a trash that is not there cannot be made: nothing is wrong.
        if (isReadOnly) return true;
        m_console.complain(m_console.text(
            "cli_unusable_trash"_key,
            {nameAndPath(volume),
             displayName(std::string_view(folders.error().localizedDescription()))}));
        return false;
    }
    for (const TrashFolder& folder : *folders) {
        trashes.push_back({folder.files, volume.url, volume.name, volume.url.path(),
                           m_files.trashAtURLIsEmpty(folder.files)});
    }
    return true;
}

}  // namespace

std::vector<std::size_t> volumesMeantBy(const std::string& operand,
                                        const std::vector<VolumeRecord>& volumes) {
    std::vector<std::size_t> meant;
    for (std::size_t index = 0; index < volumes.size(); ++index) {
        const bool hasName =
            !operand.starts_with('/') && volumes[index].name.toStdString() == operand;
        if (hasName || hasPath(volumes[index], operand)) meant.push_back(index);
    }
    return meant;
}

std::optional<ChosenTrashes> chooseTrashes(const std::vector<std::string>& operands,
                                           QVFilesUtilities& files, Console& console) {
    if (operands.empty()) {
        ChosenTrashes all{.trashes = files.trashesAndVolumesLocations()};
        all.isComplete = complainOfFailures(console, files.trashFailures());
        return all;
    }
    Chooser chooser(files, console);
    const std::optional<std::vector<std::size_t>> chosen = chooser.volumesNamed(operands);
    if (!chosen) return std::nullopt;
    return chooser.trashesOf(*chosen);
}

}  // namespace kestrin
