// SPDX-License-Identifier: GPL-3.0-or-later
// Text in any encoding: the beginning of the file, when that is text.
#include <unicode/uchar.h>
#include <unicode/ucsdet.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "viewer/Decoders.h"
#include "viewer/VisibleText.h"

namespace kestrin {
namespace {

constexpr std::size_t kMostBytes = 1 << 20;
constexpr std::size_t kBytesToDetect = 64 << 10;
/// Of so many characters one may be no text.
constexpr int32_t kCharactersForABadOne = 50;

struct Encoding {
    std::string name;           ///< one that ICU knows
    std::size_t markBytes = 0;  ///< of its byte order mark
};

std::optional<Encoding> encodingOfMark(std::string_view bytes) {
    using namespace std::string_view_literals;
    // The mark of UTF-32LE begins with that of UTF-16LE.
    static constexpr std::array<std::pair<std::string_view, const char*>, 6> kMarks{{
        {"\xEF\xBB\xBF"sv, "UTF-8"},
        {"\xFF\xFE\0\0"sv, "UTF-32LE"},
        {"\0\0\xFE\xFF"sv, "UTF-32BE"},
        {"\xFF\xFE"sv, "UTF-16LE"},
        {"\xFE\xFF"sv, "UTF-16BE"},
        {"\x84\x31\x95\x33"sv, "GB18030"},
    }};
    for (const auto& [mark, name] : kMarks) {
        if (bytes.starts_with(mark)) return Encoding{name, mark.size()};
    }
    return std::nullopt;
}

/// The length without the beginning of a character that the end of `bytes` cuts.
std::size_t wholeUtf8(std::string_view bytes) {
    auto length = static_cast<int32_t>(bytes.size());
    U8_TRUNCATE_IF_INCOMPLETE(bytes.data(), 0, length);
    return static_cast<std::size_t>(length);
}

bool isUtf8(std::string_view bytes) {
    const auto length = static_cast<int32_t>(bytes.size());
    for (int32_t at = 0; at < length;) {
        UChar32 c = 0;
        U8_NEXT(bytes.data(), at, length, c);
        if (c < 0) return false;
    }
    return true;
}

/// UTF-16 without a mark: where most characters are of ASCII or blanks, every other byte is often
/// 0, and never one beside it.
const char* encodingOfZeros(std::string_view bytes) {
    std::array<std::size_t, 2> zeros{};
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if (bytes[at] == '\0') ++zeros[at % 2];
    }
    const std::size_t enough = bytes.size() / 20;
    if (zeros[0] == 0 && zeros[1] > enough) return "UTF-16LE";
    if (zeros[1] == 0 && zeros[0] > enough) return "UTF-16BE";
    return nullptr;
}

/// What the bytes are most likely in, by their statistics; "" when nothing speaks for any.
std::string likelyEncoding(std::string_view bytes) {
    constexpr int32_t kLeastConfidence = 10;  // of 100
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UCharsetDetector, decltype(&ucsdet_close)> detector(ucsdet_open(&status),
                                                                              ucsdet_close);
    const auto length = static_cast<int32_t>(std::min(bytes.size(), kBytesToDetect));
    ucsdet_setText(detector.get(), bytes.data(), length, &status);
    int32_t count = 0;
    const UCharsetMatch** const matches = ucsdet_detectAll(detector.get(), &count, &status);
    for (int32_t at = 0; U_SUCCESS(status) && at < count; ++at) {
        const std::string_view name = ucsdet_getName(matches[at], &status);
        // Mainframes' encodings fit short texts by chance, and UTF was looked for before.
        const bool isPlausible = !name.starts_with("IBM") && !name.starts_with("UTF");
        if (isPlausible && ucsdet_getConfidence(matches[at], &status) >= kLeastConfidence) {
            return std::string(name);
        }
    }
    return {};
}

/// The encoding of what may be text; none when it is not.
std::optional<Encoding> encodingOf(std::string_view bytes, bool isTextByName) {
    if (auto marked = encodingOfMark(bytes)) return marked;
    if (isUtf8(bytes)) return Encoding{"UTF-8"};
    if (bytes.find('\0') != bytes.npos) {
        const char* const wide = encodingOfZeros(bytes);
        return wide ? std::optional(Encoding{wide}) : std::nullopt;
    }
    std::string likely = likelyEncoding(bytes);
    if (likely.empty() && isTextByName) likely = "windows-1252";
    return likely.empty() ? std::nullopt : std::optional(Encoding{std::move(likely)});
}

bool isBad(UChar32 c) {
    constexpr std::string_view kOrdinaryControls = "\t\n\f\r\b\x1B";
    if (c < 0x20) return kOrdinaryControls.find(static_cast<char>(c)) == std::string_view::npos;
    switch (u_charType(c)) {
        case U_CONTROL_CHAR:
            return c != 0x85;
        case U_UNASSIGNED:
        case U_SURROGATE:
        case U_PRIVATE_USE_CHAR:
            return true;
        default:
            return c == 0xFFFD;
    }
}

bool isMostlyText(const icu::UnicodeString& text, bool isTextByName) {
    int32_t bad = 0;
    for (int32_t at = 0; at < text.length(); at = text.moveIndex32(at, 1))
        bad += isBad(text.char32At(at)) ? 1 : 0;
    const int32_t allowed = text.length() / kCharactersForABadOne;
    return bad <= allowed + (isTextByName ? 1 : 0);
}

bool isLineEnd(UChar32 c) {
    return c == '\n' || c == '\r' || c == 0x85 || c == 0x2028 || c == 0x2029;
}

/// The text as it is shown, in UTF-8 and with line feeds as its only line ends.
std::string shownText(const icu::UnicodeString& text) {
    std::string shown;
    shown.reserve(static_cast<std::size_t>(text.length()) + text.length() / 8);
    for (int32_t at = 0; at < text.length(); at = text.moveIndex32(at, 1)) {
        const UChar32 c = text.char32At(at);
        if (isLineEnd(c)) {
            if (c == '\n' && at > 0 && text[at - 1] == '\r') continue;
            shown.push_back('\n');
        } else if (c == '\t') {
            shown.push_back('\t');
        } else {
            appendVisible(shown, static_cast<char32_t>(c));
        }
    }
    return shown;
}

}  // namespace

std::optional<Preview> decodeText(InputFile& file, const DecodeRequest& request) {
    std::string bytes(kMostBytes + 1, '\0');
    bytes.resize(file.readAt(0, bytes));
    if (bytes.empty()) return std::nullopt;
    const bool isPartial = bytes.size() > kMostBytes;
    if (isPartial) bytes.resize(wholeUtf8(std::string_view(bytes).substr(0, kMostBytes)));

    const bool isTextByName = request.type.starts_with("text/");
    const auto encoding = encodingOf(bytes, isTextByName);
    if (!encoding) return std::nullopt;
    const std::string_view content = std::string_view(bytes).substr(encoding->markBytes);
    const icu::UnicodeString text(content.data(), static_cast<int32_t>(content.size()),
                                  encoding->name.c_str());
    if (!isMostlyText(text, isTextByName)) return std::nullopt;

    Preview preview;
    preview.kind = PreviewKind::Text;
    preview.facts.encoding = encoding->name;
    preview.facts.isPartial = isPartial;
    preview.text = shownText(text);
    return preview;
}

}  // namespace kestrin
