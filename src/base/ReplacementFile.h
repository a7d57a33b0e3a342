// SPDX-License-Identifier: GPL-3.0-or-later
// A file written in full beside its place before it goes there, so that neither a full disk nor a
// crash ever leaves half of it.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

namespace kestrin {

/// New content for a path. One that does not take its place is removed again, and the errno of the
/// caller is kept. One thread at a time.
class ReplacementFile {
 public:
    /// Writes `bytes` into a new file in the same folder, with these permissions, and waits until
    /// they are on the disk. The folder must be there.
    ReplacementFile(std::string path, std::string_view bytes, mode_t mode);
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    /// Whether all of it is on the disk. When not, errno says why right after the constructor.
    bool isComplete() const { return m_isComplete; }

    /// Puts it in the place of what is there, in one step; a link there is replaced, not followed.
    /// False with errno. Requires: isComplete().
    bool replace();
    /// Puts it where nothing is. False with errno: EEXIST when something is there.
    bool appear();
    /// Puts it in the place of what is there, whatever that is, which is renamed to `aside`. Where
    /// the file system can exchange two names, nobody ever finds that place empty, not even after a
    /// crash. False with errno: EEXIST when something has the name `aside`.
    bool replaceAndKeep(const std::string& aside);

 private:
    const std::string m_path;
    std::string m_temporary;  ///< empty when it is not on the disk under a name of its own
    bool m_isComplete = false;
};

/// Gives what is at `from` the name `to` unless something has it. False with errno.
bool renameToFreeName(const std::string& from, const std::string& to);

/// Makes the folder and those above it that are missing, for the user alone. False with errno.
bool makeFolders(const std::string& path);

}  // namespace kestrin
