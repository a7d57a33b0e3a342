// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/InputFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/TestEnvironment.h"
#include "viewer/Decoders.h"

namespace kestrin {
namespace {

TEST(InputFile, readsWhatIsLeftOfAFileThatChanges) {
    const test::ScratchFolder scratch;
    std::string bytes(100'000, 'a');
    for (std::size_t at = 0; at < bytes.size(); ++at)
        bytes[at] = static_cast<char>(at % 251);
    test::writeFile(scratch / "file", bytes);
    const int shared = ::open((scratch / "file").c_str(), O_RDONLY | O_CLOEXEC);
    InputFile file{UniqueFd(shared)};
    const auto device = file.device();
    for (const int position : {99'999, 0, 20'000, 20'010, 5, 70'000}) {
        ASSERT_TRUE(device->seek(position));
        const QByteArray part = device->read(30'000);
        EXPECT_EQ(part.toStdString(), bytes.substr(static_cast<std::size_t>(position), 30'000));
    }
    EXPECT_TRUE(device->atEnd());
    EXPECT_FALSE(file.content(99'999));
    test::writeFile(scratch / "file", bytes + "more");  // grows: the size is that of the beginning
    EXPECT_EQ(file.content(100'000)->toStdString(), bytes);
    ASSERT_EQ(::truncate((scratch / "file").c_str(), 10), 0);
    EXPECT_EQ(file.content(100'000)->toStdString(), bytes.substr(0, 10));
    EXPECT_EQ(file.beginning(4).toStdString(), bytes.substr(0, 4));
    EXPECT_FALSE(file.hasFailed());
    EXPECT_EQ(::lseek(shared, 0, SEEK_CUR), 0) << "whoever handed it over finds it as it was";
}

TEST(Decoders, tellApartWhatIsEmptyUnreadableAndUnknown) {
    const test::ScratchFolder scratch;
    const auto faultOf = [](int fd) {
        InputFile file{UniqueFd(fd)};
        const Preview preview = decode(file, {.width = 10, .height = 10});
        EXPECT_EQ(preview.kind, PreviewKind::None);
        return preview.fault;
    };
    test::writeFile(scratch / "empty", "");
    test::writeFile(scratch / "unknown", std::string("\0\1\2\xff\0\0", 6));
    EXPECT_EQ(faultOf(::open((scratch / "empty").c_str(), O_RDONLY)), PreviewFault::Empty);
    EXPECT_EQ(faultOf(::open((scratch / "unknown").c_str(), O_RDONLY)), PreviewFault::None);
    EXPECT_EQ(faultOf(::open((scratch / "unknown").c_str(), O_WRONLY)), PreviewFault::Unreadable);
    EXPECT_EQ(faultOf(::open(scratch.path().c_str(), O_RDONLY)), PreviewFault::Unreadable);
}

}  // namespace
}  // namespace kestrin
