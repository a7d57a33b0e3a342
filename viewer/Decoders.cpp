// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/Decoders.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "viewer/Pictures.h"

namespace kestrin {
namespace {

struct Decoder {
    /// Beginnings of MIME types, separated by blanks; empty: no type hints at this kind.
    std::string_view types;
    std::optional<Preview> (*decode)(InputFile& file, const DecodeRequest& request);
};

/// In the order in which the content is asked: the surest marks first.
const std::vector<Decoder>& decoders() {
    static const std::vector<Decoder> all{
        {"application/pdf", decodePdf}, {"image/svg", decodeSvg},
        {"image/", decodeImage},        {"font/ application/x-font", decodeFont},
        {"", decodeOfficeThumbnail},    {"", decodeArchive},
        {"text/", decodeText},
    };
    return all;
}

bool isHintedAt(const Decoder& decoder, std::string_view type) {
    std::string_view rest = decoder.types;
    while (!rest.empty()) {
        const std::string_view beginning = rest.substr(0, rest.find(' '));
        if (type.starts_with(beginning)) return true;
        rest.remove_prefix(std::min(beginning.size() + 1, rest.size()));
    }
    return false;
}

std::optional<Preview> decodeByHintThenContent(InputFile& file, const DecodeRequest& request) {
    for (const bool isHint : {true, false}) {
        for (const Decoder& decoder : decoders()) {
            if (isHintedAt(decoder, request.type) != isHint) continue;
            if (auto preview = decoder.decode(file, request)) return preview;
        }
    }
    return std::nullopt;
}

/// What a file is that no decoder knows. Under the name of a kind that has marks to be known by it
/// is damaged; there is no saying what else may be called a text, or an image of an unknown format.
Preview unknown(std::string_view type) {
    const auto isDamaged = [type](const Decoder& decoder) {
        if (!isHintedAt(decoder, type) || decoder.decode == decodeText) return false;
        return decoder.decode != decodeImage || isImageType(type);
    };
    const bool any = std::any_of(decoders().begin(), decoders().end(), isDamaged);
    return {.fault = any ? PreviewFault::Damaged : PreviewFault::None};
}

}  // namespace

Preview decode(InputFile& file, const DecodeRequest& request) {
    if (file.size() == 0 && !file.hasFailed()) return {.fault = PreviewFault::Empty};
    if (request.purpose == DecodePurpose::CachedThumbnail)
        return decodeCachedThumbnail(file, request).value_or(Preview{});
    char first = 0;
    (void)file.readAt(0, {&first, 1});  // also where no decoder asks
    auto known = decodeByHintThenContent(file, request);
    Preview preview = known ? *std::move(known) : unknown(request.type);
    // What the disk did not give looks like damage to who reads it.
    if (preview.kind == PreviewKind::None && file.hasFailed())
        preview.fault = PreviewFault::Unreadable;
    return preview;
}

}  // namespace kestrin
