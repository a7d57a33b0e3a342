// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/SealedFile.h"

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
    EXPECT_TRUE(read.starts_with(bytes));
    EXPECT_EQ(::fcntl(file->get(), F_GET_SEALS),
              F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL);
}

}  // namespace
}  // namespace kestrin
