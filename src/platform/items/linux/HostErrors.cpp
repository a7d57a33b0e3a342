// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/HostErrors.h"

#include <QString>
#include <cerrno>
#include <cstring>
#include <new>
#include <system_error>

namespace kestrin {
namespace {

std::string systemText(int systemError) {
    char buffer[256];
    return QString::fromLocal8Bit(strerror_r(systemError, buffer, sizeof buffer)).toStdString();
}

}  // namespace

HostError errorFromErrno(int systemError, HostAccess access) {
    HostError error;
    error.systemError = systemError;
    error.userInfo["errorString"] = systemText(systemError);
    if (systemError == EACCES || systemError == EPERM) {
        error.domain = kFileErrorDomain;
        error.code = access == HostAccess::Write ? kFileWriteNoPermission : kFileReadNoPermission;
    } else if (systemError == EBUSY) {
        error.domain = kOSStatusErrorDomain;
        error.code = kFileBusy;
    } else {
        error.domain = kPOSIXErrorDomain;
        error.code = systemError;
    }
    return error;
}

HostError errorFromException(const std::exception& failure) {
    if (dynamic_cast<const std::bad_alloc*>(&failure))
        return errorFromErrno(ENOMEM, HostAccess::Write);
    if (const auto* const error = dynamic_cast<const std::system_error*>(&failure))
        return errorFromErrno(error->code().value(), HostAccess::Write);
    HostError error;
    error.userInfo["errorString"] = failure.what();
    return error;
}

}  // namespace kestrin
