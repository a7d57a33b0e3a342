// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/VolumeChoice.h"

#include <algorithm>
#include <chrono>
#include <iterator>

#include "base/StringTable.h"
#include "cli/Console.h"
#include "cli/Paths.h"
#include "cli/TrashSurvey.h"
#include "format/DisplayName.h"
#include "platform/processes/AnswerWithin.h"

namespace kestrin {

namespace {

using State = ListedVolume::State;

/// How long the volume behind a path may take to say where links lead.
constexpr std::chrono::seconds kPatience{2};

/// A list of volumes such as "Backup (/media/backup), System (/)".
QString namesAndPaths(const std::vector<ListedVolume>& volumes) {
    QStringList names;
    for (const ListedVolume& volume : volumes)
        names += nameAndPath(volume);
    return names.join(QStringLiteral(", "));
}

void complainOfOperand(const std::string& operand, const std::vector<std::size_t>& meant,
                       const std::vector<ListedVolume>& volumes, Console& console) {
    std::vector<ListedVolume> listed;
    for (const std::size_t index : meant)
        listed.push_back(volumes[index]);
    const std::string_view key =
        meant.empty() ? "cli_unknown_volume"_key : "cli_ambiguous_volume"_key;
    const QString names = namesAndPaths(meant.empty() ? volumes : listed);
    console.complain(console.text(key, {displayName(operand), names}));
}

/// The indexes of the volumes named, in order and without repetition. None after a complaint.
std::optional<std::vector<std::size_t>> volumesNamed(const std::vector<std::string>& operands,
                                                     const std::vector<ListedVolume>& volumes,
                                                     Console& console) {
    std::vector<std::size_t> chosen;
    bool allFound = true;
    for (const std::string& operand : operands) {
        const std::vector<std::size_t> meant = volumesMeantBy(operand, volumes);
        if (meant.size() != 1) {
            complainOfOperand(operand, meant, volumes, console);
            allFound = false;
        } else if (std::ranges::find(chosen, meant.front()) == chosen.end()) {
            chosen.push_back(meant.front());
        }
    }
    if (!allFound) return std::nullopt;
    return chosen;
}

void addVolume(const ListedVolume& volume, ChosenTrashes& chosen, Console& console) {
    if (volume.answers) std::ranges::copy(volume.trashes, std::back_inserter(chosen.trashes));
    if (!complainOfVolume(console, volume)) return;
    chosen.isComplete = false;
    std::ranges::move(leftOutVolumes({volume}, console.texts()),
                      std::back_inserter(chosen.leftOut));
}

}  // namespace

std::vector<std::size_t> volumesMeantBy(const std::string& operand,
                                        const std::vector<ListedVolume>& volumes) {
    std::optional<FileUrl> location = locationOfPath(operand);
    const auto isListed = [&] {
        return std::ranges::find(volumes, *location, &ListedVolume::url) != volumes.end();
    };
    // Links are resolved only where this is needed, since the path may lead to a volume that hangs.
    if (location && !isListed()) {
        const auto real = answerWithin<std::optional<FileUrl>>(
            kPatience, [path = *location] { return resolved(path); });
        location = real.value_or(std::nullopt);
    }
    std::vector<std::size_t> meant;
    for (std::size_t index = 0; index < volumes.size(); ++index) {
        const bool hasName =
            !operand.starts_with('/') && volumes[index].name.toStdString() == operand;
        if (hasName || location == volumes[index].url) meant.push_back(index);
    }
    return meant;
}

std::optional<ChosenTrashes> chooseTrashes(const std::vector<std::string>& operands,
                                           const std::vector<ListedVolume>& volumes,
                                           Console& console) {
    ChosenTrashes chosen;
    if (operands.empty()) {
        for (const ListedVolume& volume : volumes) {
            if (volume.state != State::NoTrash && volume.state != State::ReadOnly)
                addVolume(volume, chosen, console);
        }
        return chosen;
    }
    const auto named = volumesNamed(operands, volumes, console);
    if (!named) return std::nullopt;
    chosen.volumeCount = named->size();
    for (const std::size_t index : *named)
        addVolume(volumes[index], chosen, console);
    return chosen;
}

}  // namespace kestrin
