// SPDX-License-Identifier: GPL-3.0-or-later
// Archives: the names and sizes of what is in them. Nothing is unpacked, an archive in an archive
// is an entry.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "viewer/BoundedArchive.h"
#include "viewer/Decoders.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

constexpr auto kTime = 1500ms;
constexpr auto kTimeWithoutDirectory = 500ms;
constexpr std::size_t kMostShown = 1000;
constexpr std::size_t kMostNameBytes = 512 << 10;  ///< of all that are shown
constexpr std::uint64_t kMostCounted = 200'000;
constexpr std::uint64_t kMostDecompressed = 1 << 30;  ///< bytes

/// Whether the file says of itself that it is an archive, so that one that cannot be read is
/// damaged.
bool hasSignature(InputFile& file) {
    using namespace std::string_view_literals;
    static constexpr std::array kSignatures = {"PK\3\4"sv,
                                               "PK\5\6"sv,
                                               "7z\xBC\xAF\x27\x1C"sv,
                                               "Rar!\x1A\7"sv,
                                               "\x1F\x8B\x08"sv,
                                               "\xFD"
                                               "7zXZ\0"sv,
                                               "\x28\xB5\x2F\xFD"sv,
                                               "\x04\x22\x4D\x18"sv,
                                               "MSCF\0\0\0\0"sv,
                                               "xar!\0\x1C"sv,
                                               "\xED\xAB\xEE\xDB"sv,
                                               "!<arch>\n"sv,
                                               "LZIP"sv};
    std::array<char, 8> bytes{};
    const std::string_view beginning(bytes.data(), file.readAt(0, bytes));
    const bool isBzip2 = beginning.starts_with("BZh"sv) && beginning.size() >= 4 &&
                         beginning[3] >= '1' && beginning[3] <= '9';
    return isBzip2 || std::ranges::any_of(kSignatures, [beginning](std::string_view signature) {
               return beginning.starts_with(signature);
           });
}

/// Takes the entries of an archive, as many of them as the bounds allow.
class EntryList {
 public:
    void add(BoundedArchive& archive) {
        PreviewEntry entry{archive.name(), archive.size(), archive.isFolder()};
        if (entry.name == "." || entry.name == "./") return;  // the archive itself
        if (archive.isCompressed()) {
            const std::uint64_t read = archive.readContent(kMostDecompressed - m_decompressed);
            m_decompressed += read;
            if (!archive.hasSize()) entry.size = read;
        }
        ++m_count;
        m_size += std::min(entry.size, UINT64_MAX - m_size);
        m_nameBytes += entry.name.size();
        if (m_entries.size() < kMostShown && m_nameBytes <= kMostNameBytes)
            m_entries.push_back(std::move(entry));
    }

    bool isFull() const { return m_count == kMostCounted || m_decompressed == kMostDecompressed; }

    Preview preview(bool isComplete) && {
        Preview preview{.kind = PreviewKind::Entries};
        preview.facts.entryCount = m_count;
        preview.facts.contentSize = m_size;
        preview.facts.isPartial = !isComplete;
        preview.entries = std::move(m_entries);
        return preview;
    }

 private:
    std::vector<PreviewEntry> m_entries;
    std::uint64_t m_count = 0;
    std::uint64_t m_size = 0;
    std::uint64_t m_decompressed = 0;
    std::size_t m_nameBytes = 0;
};

/// The entries from the one on that the archive stands at.
Preview listed(BoundedArchive& archive) {
    EntryList entries;
    do {
        entries.add(archive);
    } while (!entries.isFull() && archive.next());
    return std::move(entries).preview(archive.isAtEnd());
}

/// What a file is of which not even a first entry can be read.
std::optional<Preview> withoutEntries(InputFile& file, const BoundedArchive& archive) {
    // A file of zeros could be an empty archive, too.
    if (!hasSignature(file)) return std::nullopt;
    if (archive.isAtEnd() && archive.isCompressed()) {
        BoundedArchive single(file, ArchiveKinds::SingleFile, kTime);
        if (single.next()) return listed(single);
    }
    if (archive.isAtEnd()) return Preview{.kind = PreviewKind::Entries};
    if (archive.isOutOfTime()) {
        BoundedArchive beginning(file, ArchiveKinds::ZipFromItsStart, kTimeWithoutDirectory);
        if (beginning.next()) {
            Preview preview = listed(beginning);
            preview.facts.isPartial = true;
            return preview;
        }
    }
    if (archive.hasHiddenNames()) return Preview{.fault = PreviewFault::Encrypted};
    return Preview{.fault = archive.isOutOfTime() ? PreviewFault::TooSlow : PreviewFault::Damaged};
}

}  // namespace

std::optional<Preview> decodeArchive(InputFile& file, const DecodeRequest& /*request*/) {
    BoundedArchive archive(file, ArchiveKinds::Any, kTime);
    // Whatever is no archive is a single file.
    const bool hasEntries = archive.next();
    if (!hasEntries || (archive.isSingleFile() && !archive.isSurelyCompressed()))
        return withoutEntries(file, archive);
    return listed(archive);
}

}  // namespace kestrin
