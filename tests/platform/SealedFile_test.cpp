// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SealedFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

namespace kestrin {
namespace {

TEST(SealedFile, HoldsItsBytesForGood) {
    const std::string bytes(100'000, 'k');
    const auto file = sealedFile(bytes);
    ASSERT_TRUE(file);
    std::string read(bytes.size() + 1, '\0');
    EXPECT_EQ(::pread(file->get(), read.data(), read.size(), 0), ssize_t(bytes.size()));
    read.resize(bytes.size());
    EXPECT_EQ(read, bytes);
    EXPECT_LT(::pwrite(file->get(), "x", 1, 0), 0);
    EXPECT_NE(::ftruncate(file->get(), 1), 0);
    EXPECT_NE(::ftruncate(file->get(), 1'000'000), 0);
    EXPECT_NE(::fcntl(file->get(), F_ADD_SEALS, F_SEAL_SEAL), 0);
}

}  // namespace
}  // namespace kestrin
