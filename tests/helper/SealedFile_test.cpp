// SPDX-License-Identifier: GPL-3.0-or-later
#include "helper/SealedFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

#include "platform/items/UniqueFd.h"

namespace kestrin {
namespace {

constexpr int kAllSeals = F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK;

UniqueFd memoryFile(std::string_view content, int seals) {
    UniqueFd file(memfd_create("list", MFD_ALLOW_SEALING | MFD_CLOEXEC));
    EXPECT_EQ(write(file.get(), content.data(), content.size()),
              static_cast<ssize_t>(content.size()));
    EXPECT_EQ(fcntl(file.get(), F_ADD_SEALS, seals), 0);
    return file;
}

TEST(SealedFile, isReadFromItsBeginningAtMostToTheLimit) {
    const UniqueFd file = memoryFile("content", kAllSeals | F_SEAL_SEAL);
    EXPECT_EQ(*readSealedFile(file.get(), 7), "content") << "its position is at the end";
    EXPECT_EQ(*sizeOfSealedFile(file.get(), 7), 7u);
    EXPECT_EQ(readSealedFile(file.get(), 6).error().systemError, EFBIG);
    EXPECT_EQ(*readSealedFile(memoryFile("", kAllSeals).get(), 7), "");
}

TEST(SealedFile, isNothingThatCanStillChange) {
    for (const int missing : {F_SEAL_WRITE, F_SEAL_GROW, F_SEAL_SHRINK, kAllSeals}) {
        const UniqueFd file = memoryFile("content", kAllSeals & ~missing);
        EXPECT_EQ(readSealedFile(file.get(), 100).error().systemError, EINVAL) << missing;
    }
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const UniqueFd reading(ends[0]), writing(ends[1]);
    const UniqueFd onDisk(open("/etc/passwd", O_RDONLY | O_CLOEXEC));
    const UniqueFd folder(open("/", O_RDONLY | O_CLOEXEC));
    for (const int fd : {reading.get(), onDisk.get(), folder.get(), -1}) {
        EXPECT_EQ(readSealedFile(fd, 100).error().systemError, EINVAL);
    }
}

}  // namespace
}  // namespace kestrin
