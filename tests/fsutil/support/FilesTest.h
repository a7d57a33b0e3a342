// SPDX-License-Identifier: GPL-3.0-or-later
// Files, folders and links in a scratch folder, for what is asked of them.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "fsutil/QVFilesUtilities.h"
#include "support/TestEnvironment.h"

namespace kestrin::test {

class FilesTest : public ::testing::Test {
 protected:
    FileUrl at(const std::string& name) const { return FileUrl::fromPath(scratch / name); }
    FileUrl file(const std::string& name, std::string_view content = "x") const {
        writeFile(scratch / name, content);
        return at(name);
    }
    FileUrl folder(const std::string& name) const {
        makeFolder(scratch / name);
        return at(name);
    }
    FileUrl link(const std::string& name, const std::string& destination) const {
        EXPECT_EQ(symlink(destination.c_str(), (scratch / name).c_str()), 0);
        return at(name);
    }

    ScratchFolder scratch;
    QVFilesUtilities utilities;
};

}  // namespace kestrin::test
