// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <QUtf8StringView>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>

#include "base/WriteAll.h"
#include "platform/items/HostErrors.h"
#include "platform/items/SealedFile.h"
#include "viewer/ViewerProtocol.h"

namespace kestrin {
namespace {

// The file: this header; the delays; the facts, one after the other; the text; the entries, each a
// header and its name; zeros up to a multiple of kFrameAlignment; the frames without gaps.
constexpr std::uint32_t kMark = 0x3150'564b;
constexpr std::size_t kFrameAlignment = 16;
constexpr std::size_t kFactTexts = 5;

struct FileHeader {
    std::uint32_t mark = kMark;
    std::uint32_t kind = 0;
    std::uint32_t fault = 0;
    std::uint32_t isPartial = 0;
    std::uint32_t naturalWidth = 0;
    std::uint32_t naturalHeight = 0;
    std::uint32_t page = 0;
    std::uint32_t pageCount = 0;
    std::uint64_t durationMilliseconds = 0;
    std::uint64_t entryCount = 0;
    std::uint64_t contentSize = 0;
    std::uint32_t frameWidth = 0;
    std::uint32_t frameHeight = 0;
    std::uint32_t frameCount = 0;
    std::uint32_t listedEntries = 0;
    std::uint32_t textLength = 0;
    std::uint32_t factLengths[kFactTexts]{};
};

struct EntryHeader {
    std::uint64_t size = 0;
    std::uint32_t isFolder = 0;
    std::uint32_t nameLength = 0;
};

static_assert(std::has_unique_object_representations_v<FileHeader> &&
              std::has_unique_object_representations_v<EntryHeader>);

bool isUtf8(std::string_view bytes) {
    return QUtf8StringView(bytes.data(), static_cast<qsizetype>(bytes.size())).isValidUtf8();
}

/// The texts of the facts in the order of the file.
template <class Facts>
auto textsOf(Facts& facts) {
    return std::array{&facts.title, &facts.artist, &facts.encoding, &facts.thumbnailUri,
                      &facts.thumbnailTime};
}

/// The rules that both sides hold to, but for the content of texts and frames.
bool isWithinBounds(const FileHeader& header) {
    const auto kind = static_cast<PreviewKind>(header.kind);
    const auto isSide = [](std::uint32_t side) { return side >= 1 && side <= kLargestPreviewSide; };
    constexpr std::uint32_t kLargest = std::numeric_limits<std::int32_t>::max();
    constexpr std::uint64_t kLongest = std::numeric_limits<std::int64_t>::max();
    const bool hasFrames = header.frameCount > 0;
    return header.mark == kMark && kind <= PreviewKind::Entries && header.isPartial <= 1 &&
           header.fault <= static_cast<std::uint32_t>(PreviewFault::Silent) &&
           header.naturalWidth <= kLargest && header.naturalHeight <= kLargest &&
           header.page <= kLargest && header.pageCount <= kLargest &&
           header.durationMilliseconds <= kLongest && header.entryCount <= kLongest &&
           header.contentSize <= kLongest && hasFrames == (kind == PreviewKind::Image) &&
           header.frameCount <= kMostPreviewFrames && hasFrames == isSide(header.frameWidth) &&
           hasFrames == isSide(header.frameHeight) &&
           header.textLength <= (kind == PreviewKind::Text ? kLargestPreviewText : 0) &&
           header.listedEntries <= (kind == PreviewKind::Entries ? kMostPreviewEntries : 0) &&
           std::all_of(std::begin(header.factLengths), std::end(header.factLengths),
                       [](std::uint32_t length) { return length <= kLargestPreviewName; });
}

std::uint64_t bytesOfFrame(const FileHeader& header) {
    return std::uint64_t{4} * header.frameWidth * header.frameHeight;
}

template <class Part>
void append(std::string& bytes, const Part& part) {
    bytes.append(reinterpret_cast<const char*>(&part), sizeof part);
}

/// No character of UTF-16 takes more than three bytes.
std::string cleanFact(const std::string& text) {
    return QString::fromUtf8(text).left(kLargestPreviewName / 3).toStdString();
}

FileHeader headerOf(const Preview& preview, const PreviewFacts& facts) {
    FileHeader header{.kind = static_cast<std::uint32_t>(preview.kind),
                      .fault = static_cast<std::uint32_t>(preview.fault),
                      .isPartial = facts.isPartial,
                      .naturalWidth = facts.naturalWidth,
                      .naturalHeight = facts.naturalHeight,
                      .page = facts.page,
                      .pageCount = facts.pageCount,
                      .durationMilliseconds = facts.durationMilliseconds,
                      .entryCount = facts.entryCount,
                      .contentSize = facts.contentSize,
                      .frameCount = static_cast<std::uint32_t>(preview.frames.size()),
                      .listedEntries = static_cast<std::uint32_t>(preview.entries.size()),
                      .textLength = static_cast<std::uint32_t>(preview.text.size())};
    if (!preview.frames.empty()) {
        header.frameWidth = static_cast<std::uint32_t>(preview.frames.front().width());
        header.frameHeight = static_cast<std::uint32_t>(preview.frames.front().height());
    }
    const auto texts = textsOf(facts);
    for (std::size_t index = 0; index < texts.size(); ++index)
        header.factLengths[index] = static_cast<std::uint32_t>(texts[index]->size());
    return header;
}

/// Everything before the frames.
std::string beginningOf(const Preview& preview, const FileHeader& header,
                        const PreviewFacts& facts) {
    std::string bytes;
    append(bytes, header);
    std::vector<std::uint32_t> delays = preview.frameDelays;
    delays.resize(preview.frames.size());
    for (const std::uint32_t delay : delays)
        append(bytes, delay);
    for (const std::string* text : textsOf(facts))
        bytes += *text;
    bytes += preview.text;
    for (const PreviewEntry& entry : preview.entries) {
        const std::string_view name = std::string_view(entry.name).substr(0, kLargestPreviewName);
        append(bytes,
               EntryHeader{entry.size, entry.isFolder, static_cast<std::uint32_t>(name.size())});
        bytes += name;
    }
    bytes.resize((bytes.size() + kFrameAlignment - 1) / kFrameAlignment * kFrameAlignment);
    return bytes;
}

bool isPremultiplied(QRgb pixel) {
    const int alpha = qAlpha(pixel);
    return (qRed(pixel) <= alpha) & (qGreen(pixel) <= alpha) & (qBlue(pixel) <= alpha);
}

/// Whether a line holds colours alone that its alpha allows. Without a branch for each of millions
/// of pixels.
bool isPremultiplied(const QRgb* line, int width) {
    bool isRight = true;
    for (int x = 0; x < width; ++x)
        isRight &= isPremultiplied(line[x]);
    return isRight;
}

/// The frame as it is sent. A plug-in that rounds a colour above its alpha does no harm.
QImage cleanFrame(const QImage& frame) {
    QImage clean = frame.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < clean.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(clean.constScanLine(y));
        if (isPremultiplied(line, clean.width())) continue;
        auto* pixels = reinterpret_cast<QRgb*>(clean.scanLine(y));
        for (int x = 0; x < clean.width(); ++x) {
            const int alpha = qAlpha(pixels[x]);
            pixels[x] = qRgba(std::min(qRed(pixels[x]), alpha), std::min(qGreen(pixels[x]), alpha),
                              std::min(qBlue(pixels[x]), alpha), alpha);
        }
    }
    return clean;
}

bool writeFrame(int fd, const QImage& frame) {
    const QImage clean = cleanFrame(frame);
    if (clean.isNull()) return errno = ENOMEM, false;
    const std::size_t lineBytes = std::size_t{4} * static_cast<std::size_t>(clean.width());
    if (static_cast<std::size_t>(clean.bytesPerLine()) == lineBytes) {
        return writeAll(fd, {reinterpret_cast<const char*>(clean.constBits()),
                             lineBytes * static_cast<std::size_t>(clean.height())});
    }
    for (int y = 0; y < clean.height(); ++y) {
        if (!writeAll(fd, {reinterpret_cast<const char*>(clean.constScanLine(y)), lineBytes}))
            return false;
    }
    return true;
}

/// 0, or the errno that tells why the preview cannot be written.
int faultOf(const Preview& preview, const FileHeader& header) {
    if (preview.frames.size() > kMostPreviewFrames || preview.text.size() > kLargestPreviewText ||
        preview.entries.size() > kMostPreviewEntries) {
        return EFBIG;
    }
    const bool isOneSize =
        std::all_of(preview.frames.begin(), preview.frames.end(), [&](const QImage& frame) {
            return !frame.isNull() && frame.size() == preview.frames.front().size();
        });
    const bool areNames = std::none_of(
        preview.entries.begin(), preview.entries.end(),
        [](const PreviewEntry& entry) { return entry.name.find('\0') != entry.name.npos; });
    return isWithinBounds(header) && isOneSize && areNames && isUtf8(preview.text) ? 0 : EINVAL;
}

/// A whole file in memory, only to be read; unmapped when it goes.
class Mapping {
 public:
    static std::shared_ptr<const Mapping> of(int fd) {
        const auto sealed = sizeOfSealedFile(fd, kLargestPreviewBytes);
        struct stat status {};
        struct statfs kind {};
        // No pages of another size; and a hole would be filled as it is read, and where there is no
        // memory left, end the reader.
        if (!sealed || *sealed < sizeof(FileHeader) || ::fstatfs(fd, &kind) != 0 ||
            kind.f_type != TMPFS_MAGIC || ::fstat(fd, &status) != 0 ||
            static_cast<std::uint64_t>(status.st_blocks) * 512 < *sealed) {
            return {};
        }
        const std::size_t size = *sealed;
        void* address = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
        if (address == MAP_FAILED) return {};
        return std::shared_ptr<const Mapping>(
            new Mapping({static_cast<const char*>(address), size}));
    }
    ~Mapping() { ::munmap(const_cast<char*>(m_bytes.data()), m_bytes.size()); }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    std::string_view bytes() const { return m_bytes; }

 private:
    explicit Mapping(std::string_view bytes) : m_bytes(bytes) {}
    const std::string_view m_bytes;
};

/// Takes one part after the other from bytes; once there is too little left, nothing is there.
class Parts {
 public:
    explicit Parts(std::string_view bytes) : m_rest(bytes) {}

    std::optional<std::string_view> takeBytes(std::size_t length) {
        if (length > m_rest.size()) return std::nullopt;
        const std::string_view part = m_rest.substr(0, length);
        m_rest.remove_prefix(length);
        return part;
    }
    template <class Part>
    bool take(Part& part) {
        const auto bytes = takeBytes(sizeof part);
        if (bytes) std::memcpy(&part, bytes->data(), sizeof part);
        return bytes.has_value();
    }
    bool takeUtf8(std::string& text, std::size_t length) {
        const auto bytes = takeBytes(length);
        if (!bytes || !isUtf8(*bytes)) return false;
        text = *bytes;
        return true;
    }
    std::string_view rest() const { return m_rest; }

 private:
    std::string_view m_rest;
};

bool takeFacts(Parts& parts, const FileHeader& header, PreviewFacts& facts) {
    facts = {.naturalWidth = header.naturalWidth,
             .naturalHeight = header.naturalHeight,
             .page = header.page,
             .pageCount = header.pageCount,
             .durationMilliseconds = header.durationMilliseconds,
             .entryCount = header.entryCount,
             .contentSize = header.contentSize,
             .isPartial = header.isPartial != 0};
    const auto texts = textsOf(facts);
    for (std::size_t index = 0; index < texts.size(); ++index) {
        if (!parts.takeUtf8(*texts[index], header.factLengths[index])) return false;
    }
    return true;
}

bool takeEntries(Parts& parts, std::size_t count, std::vector<PreviewEntry>& entries) {
    for (std::size_t index = 0; index < count; ++index) {
        EntryHeader header;
        if (!parts.take(header) || header.isFolder > 1 || header.nameLength > kLargestPreviewName)
            return false;
        const auto name = parts.takeBytes(header.nameLength);
        if (!name || name->find('\0') != name->npos) return false;
        entries.push_back({std::string(*name), header.size, header.isFolder != 0});
    }
    return true;
}

using Owner = std::shared_ptr<const Mapping>;

/// The frames in `bytes`, which must be exactly theirs; they keep the mapping.
bool takeFrames(const std::shared_ptr<const Mapping>& mapping, std::string_view bytes,
                const FileHeader& header, std::vector<QImage>& frames) {
    const std::uint64_t frameBytes = bytesOfFrame(header);
    if (bytes.size() != frameBytes * header.frameCount) return false;
    const auto width = static_cast<int>(header.frameWidth);
    const auto height = static_cast<int>(header.frameHeight);
    for (std::size_t index = 0; index < header.frameCount; ++index) {
        const auto* pixels = reinterpret_cast<const uchar*>(bytes.data() + index * frameBytes);
        for (int y = 0; y < height; ++y) {
            const auto* line = reinterpret_cast<const QRgb*>(pixels) +
                               static_cast<std::size_t>(y) * header.frameWidth;
            if (!isPremultiplied(line, width)) return false;
        }
        auto owner = std::make_unique<Owner>(mapping);
        QImage frame(
            pixels, width, height, 4 * width, QImage::Format_ARGB32_Premultiplied,
            [](void* gone) { delete static_cast<Owner*>(gone); }, owner.get());
        if (frame.isNull()) return false;
        (void)owner.release();  // the frame's now
        frames.push_back(std::move(frame));
    }
    return true;
}

}  // namespace

Result<UniqueFd> writePreview(const Preview& preview) {
    PreviewFacts facts = preview.facts;
    for (std::string* text : textsOf(facts))
        *text = cleanFact(*text);
    const FileHeader header = headerOf(preview, facts);
    if (const int fault = faultOf(preview, header)) return errorFromErrno(fault, HostAccess::Write);
    const std::string beginning = beginningOf(preview, header, facts);
    if (beginning.size() + bytesOfFrame(header) * header.frameCount > kLargestPreviewBytes)
        return errorFromErrno(EFBIG, HostAccess::Write);
    UniqueFd file(::memfd_create("preview", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    constexpr int kSeals = F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL;
    if (!file || !writeAll(file.get(), beginning) ||
        !std::all_of(preview.frames.begin(), preview.frames.end(),
                     [&](const QImage& frame) { return writeFrame(file.get(), frame); }) ||
        ::fcntl(file.get(), F_ADD_SEALS, kSeals) != 0) {
        return errorFromErrno(errno, HostAccess::Write);
    }
    return file;
}

std::optional<Preview> readPreview(int fd) {
    const auto mapping = Mapping::of(fd);
    if (!mapping) return std::nullopt;
    Parts parts(mapping->bytes());
    FileHeader header;
    if (!parts.take(header) || !isWithinBounds(header)) return std::nullopt;
    Preview preview{.kind = static_cast<PreviewKind>(header.kind),
                    .fault = static_cast<PreviewFault>(header.fault)};
    preview.frameDelays.resize(header.frameCount);
    for (std::uint32_t& delay : preview.frameDelays) {
        if (!parts.take(delay)) return std::nullopt;
    }
    if (!takeFacts(parts, header, preview.facts) ||
        !parts.takeUtf8(preview.text, header.textLength) ||
        !takeEntries(parts, header.listedEntries, preview.entries)) {
        return std::nullopt;
    }
    const std::size_t taken = mapping->bytes().size() - parts.rest().size();
    const auto padding =
        parts.takeBytes((kFrameAlignment - taken % kFrameAlignment) % kFrameAlignment);
    if (!padding || padding->find_first_not_of('\0') != padding->npos ||
        !takeFrames(mapping, parts.rest(), header, preview.frames)) {
        return std::nullopt;
    }
    return preview;
}

}  // namespace kestrin
