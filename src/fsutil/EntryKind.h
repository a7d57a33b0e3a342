// SPDX-License-Identifier: GPL-3.0-or-later
// The kinds by which people choose entries of a trash. Thread: any.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kestrin {

/// Every entry is of exactly one kind. This is also the order in which kinds are listed and sorted.
enum class EntryKind : std::uint8_t {
    Images,     ///< pictures and drawings, icons and photographs as the camera made them
    Sounds,     ///< also lists of sounds
    Movies,     ///< also lists of movies
    Archives,   ///< packed data, packages of software, and images of disks
    Documents,  ///< what word processors, spreadsheets and the like make; books
    Text,       ///< what an editor of plain text opens: source code, web pages, settings, mail
    Fonts,
    Folders,  ///< whatever their names are, packages too
    Other,    ///< everything else: programs, data, links, FIFOs, sockets, devices
};

inline constexpr std::array kEntryKinds = {
    EntryKind::Images,   EntryKind::Sounds,    EntryKind::Movies,
    EntryKind::Archives, EntryKind::Documents, EntryKind::Text,
    EntryKind::Fonts,    EntryKind::Folders,   EntryKind::Other};

/// The kind of an entry with the exact name `name` and the type bits of `mode` (stat(2)). A regular
/// file is of the kind to which the type belongs that the shared MIME database gives its name, in
/// any case of letters. Where that tells nothing the tables of extensions are asked. Nothing is
/// opened. An entry whose type bits are not known is Other.
EntryKind entryKindOf(std::string_view name, std::uint32_t mode);

/// The word for a kind on the command line and in JSON: "images", "sounds", and so on to "other".
std::string_view kindWord(EntryKind kind);
/// The kind with exactly this word; none for any other.
std::optional<EntryKind> kindWithWord(std::string_view word);
/// The key of the name that users read in the string table ("Images").
std::string_view kindTextKey(EntryKind kind);

}  // namespace kestrin
