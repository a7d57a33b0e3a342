// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "viewer/Archives.h"
#include "viewer/DecodedBytes.h"

namespace kestrin {
namespace {

using namespace std::string_literals;
using test::archiveOf;
using test::Content;
using test::decodedBytes;

const std::vector<Content> kContents = {
    {"folder/", ""}, {"folder/\n.txt", "hello"}, {"ünïcode", std::string(70'000, 'z')}};

std::string gzipOf(std::string bytes) {
    return archiveOf({{"data", std::move(bytes)}}, archive_write_set_format_raw,
                     archive_write_add_filter_gzip);
}

TEST(ArchiveDecoder, listsEveryFormatAsItIsNamed) {
    const struct {
        int (*format)(archive*);
        int (*filter)(archive*);
    } kKinds[] = {
        {archive_write_set_format_zip, archive_write_add_filter_none},
        {archive_write_set_format_gnutar, archive_write_add_filter_none},
        {archive_write_set_format_gnutar, archive_write_add_filter_gzip},
        {archive_write_set_format_gnutar, archive_write_add_filter_bzip2},
        {archive_write_set_format_gnutar, archive_write_add_filter_xz},
        {archive_write_set_format_gnutar, archive_write_add_filter_zstd},
        {archive_write_set_format_gnutar, archive_write_add_filter_lz4},
        {archive_write_set_format_gnutar, archive_write_add_filter_compress},
        {archive_write_set_format_cpio_newc, archive_write_add_filter_gzip},
        {archive_write_set_format_ustar, archive_write_add_filter_lzip},
    };
    for (const auto& [format, filter] : kKinds) {
        const Preview preview = decodedBytes(archiveOf(kContents, format, filter), "text/plain");
        ASSERT_EQ(preview.entries.size(), 3U) << (&format - &kKinds[0].format) / 2;
        EXPECT_TRUE(preview.entries[0].isFolder);
        EXPECT_EQ(preview.entries[1].name, kContents[1].name);
        EXPECT_EQ(preview.entries[1].size, 5U);
        EXPECT_EQ(preview.entries[2].name, "ünïcode");
        EXPECT_EQ(preview.entries[2].size, 70'000U);
        EXPECT_EQ(preview.facts.entryCount, 3U);
        EXPECT_EQ(preview.facts.contentSize, 70'005U);
        EXPECT_FALSE(preview.facts.isPartial);
    }
}

TEST(ArchiveDecoder, tellsWhatASingleCompressedFileHolds) {
    Preview preview = decodedBytes(gzipOf(std::string(300'000, 'a')));
    ASSERT_EQ(preview.entries.size(), 1U);
    EXPECT_EQ(preview.entries[0].size, 300'000U);
    EXPECT_FALSE(preview.facts.isPartial);
    preview = decodedBytes(gzipOf(gzipOf("nested")));
    ASSERT_EQ(preview.entries.size(), 1U);
}

TEST(ArchiveDecoder, showsTheBeginningOfWhatHasNoEnd) {
    std::vector<Content> many(3000, {"name", ""});
    Preview preview = decodedBytes(archiveOf(many, archive_write_set_format_zip));
    EXPECT_EQ(preview.entries.size(), 1000U);
    EXPECT_EQ(preview.facts.entryCount, 3000U);
    EXPECT_FALSE(preview.facts.isPartial);

    many.assign(10, {std::string(60'000, 'n'), ""});
    preview = decodedBytes(archiveOf(many, archive_write_set_format_zip));
    ASSERT_EQ(preview.entries.size(), 10U);
    EXPECT_EQ(preview.entries[0].name.size(), 4096U);

    // A bomb: 2 GB of zeros, compressed twice.
    const std::string zeros(64 << 20, '\0');
    std::string bomb;
    for (int i = 0; i < 32; ++i)
        bomb += i == 0 ? gzipOf(zeros) : bomb.substr(0, bomb.size() / i);
    preview = decodedBytes(gzipOf(bomb));
    ASSERT_EQ(preview.entries.size(), 1U) << static_cast<int>(preview.fault);
    EXPECT_TRUE(preview.facts.isPartial);
}

TEST(ArchiveDecoder, survivesWhatIsDamaged) {
    for (const auto format : {archive_write_set_format_zip, archive_write_set_format_7zip,
                              archive_write_set_format_gnutar, archive_write_set_format_iso9660,
                              archive_write_set_format_xar, archive_write_set_format_ar_bsd}) {
        const std::string whole =
            archiveOf({{"one", "1"}, {"two", std::string(9000, '2')}, {"three", "3"}}, format);
        EXPECT_EQ(decodedBytes(whole).facts.entryCount, 3U);
        for (std::size_t tenth = 1; tenth < 10; ++tenth) {
            const Preview cut = decodedBytes(whole.substr(0, whole.size() * tenth / 10));
            EXPECT_LE(cut.entries.size(), 3U);
            std::string bytes = whole;
            for (std::size_t at = 8 + tenth; at < bytes.size(); at += 10)
                bytes[at] = static_cast<char>(bytes[at] * 7 + 1);
            decodedBytes(bytes);
        }
    }
    for (const std::string& beginning : {"PK\3\4"s, "7z\xBC\xAF\x27\x1C"s, "Rar!\x1A\7\0"s,
                                         "Rar!\x1A\7\1\0"s, "\x1F\x8B\x08"s, "xar!\0\x1C\0\1"s}) {
        const Preview preview = decodedBytes(beginning + std::string(500, '\xA7'));
        EXPECT_EQ(preview.fault, PreviewFault::Damaged) << beginning;
    }
    EXPECT_EQ(decodedBytes(std::string(20'000, '\0')).kind, PreviewKind::None);
    const std::string tar = archiveOf({{"\xFF\xE2\x80\xAE", ""}}, archive_write_set_format_gnutar);
    EXPECT_EQ(decodedBytes(tar).entries.at(0).name, "\xFF\xE2\x80\xAE");
}

}  // namespace
}  // namespace kestrin
