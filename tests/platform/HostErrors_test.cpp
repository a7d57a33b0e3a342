// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/HostErrors.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace kestrin {
namespace {

TEST(HostErrors, MapsTheCodesThatTheEngineClassifies) {
    struct Row {
        int systemError;
        HostAccess access;
        std::string_view domain;
        int code;
    };
    for (const Row& row : {Row{EACCES, HostAccess::Read, kFileErrorDomain, kFileReadNoPermission},
                           Row{EPERM, HostAccess::Read, kFileErrorDomain, kFileReadNoPermission},
                           Row{EACCES, HostAccess::Write, kFileErrorDomain, kFileWriteNoPermission},
                           Row{EPERM, HostAccess::Write, kFileErrorDomain, kFileWriteNoPermission},
                           Row{EBUSY, HostAccess::Write, kOSStatusErrorDomain, kFileBusy},
                           Row{EROFS, HostAccess::Write, kPOSIXErrorDomain, EROFS},
                           Row{ENOTEMPTY, HostAccess::Write, kPOSIXErrorDomain, ENOTEMPTY}}) {
        const HostError error = errorFromErrno(row.systemError, row.access);
        EXPECT_EQ(error.domain, row.domain) << row.systemError;
        EXPECT_EQ(error.code, row.code) << row.systemError;
        EXPECT_EQ(error.systemError, row.systemError);
    }
}

TEST(HostErrors, CarriesTheSystemsText) {
    EXPECT_EQ(errorFromErrno(ENOENT, HostAccess::Read).localizedDescription(),
              "No such file or directory");
}

}  // namespace
}  // namespace kestrin
