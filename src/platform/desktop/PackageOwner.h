// SPDX-License-Identifier: GPL-3.0-or-later
// Which package of the system a file came with.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "base/FileUrl.h"
#include "base/Result.h"

namespace kestrin {

/// A package, and the commands by which an administrator changes it in a terminal.
struct PackageOwner {
    std::string package;        ///< its name, as the commands take it
    std::string removeCommand;  ///< such as "sudo apt-get remove NAME"
    std::string updateCommand;
};

/// None inside a value: no package has the file.
using PackageAnswer = Result<std::optional<PackageOwner>>;

/// Asks the databases of dpkg and rpm, by their own programs, which package installed `file`. The
/// path must be the one that the package names: absolute, and without links on the way. A host
/// without these programs has no packages. Errors: a database cannot be read (EIO), or has not
/// answered within `limit` (ETIMEDOUT). Thread: any but the main one, since it waits for a program.
PackageAnswer packageOwnerOf(const FileUrl& file,
                             std::chrono::milliseconds limit = std::chrono::seconds(10));

/// The same for the main thread, at once and without a wait: `found` is called there later, and
/// exactly once unless the program ends before.
void findPackageOwner(const FileUrl& file, std::function<void(const PackageAnswer&)> found,
                      std::chrono::milliseconds limit = std::chrono::seconds(10));

/// The same for the program that runs.
void findOwnPackage(std::function<void(const PackageAnswer&)> found);

}  // namespace kestrin
