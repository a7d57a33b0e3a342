// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/HomeFolder.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "base/FileUrl.h"

namespace kestrin {

std::string homeFolder() {
    const char* folder = std::getenv("HOME");
    if (folder && *folder == '/') return FileUrl::fromPath(folder).path();
    // A user without a home, such as a service's, has "/" as its home: nothing there is writable.
    const std::string home = homeFromUserDatabase(::geteuid());
    return FileUrl::fromPath(home.empty() ? "/" : home).path();
}

std::string homeFromUserDatabase(uid_t user) {
    std::vector<char> buffer(1024);
    passwd entry;
    passwd* found = nullptr;
    while (::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    return found && found->pw_dir && found->pw_dir[0] == '/' ? found->pw_dir : "";
}

}  // namespace kestrin
