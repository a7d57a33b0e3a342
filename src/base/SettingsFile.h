// SPDX-License-Identifier: GPL-3.0-or-later
// The settings file on the disk: what stands in its place, and how it is replaced. Whatever is
// found there is somebody's: nothing is ever destroyed. UserDefaults knows what the values mean.
#pragma once

#include <string>

#include "base/IniFile.h"

namespace kestrin {

/// One thread at a time. The failures of the disk are told by errno.
class SettingsFile {
 public:
    enum class State {
        Absent,      ///< nothing has the name
        Usable,      ///< a text file with settings, or an empty one
        Unusable,    ///< something that holds no settings, or that may not be read
        Unreachable  ///< the disk or the process failed, which may pass: nothing is known
    };
    struct Content {
        State state = State::Absent;
        /// Why it is unusable or unreachable; 0 when it is a file that holds something else.
        int reason = 0;
        IniFile settings = {};  ///< empty unless the file is usable
    };

    /// The file at `path`. An empty path stands for a file that can be neither read nor written.
    explicit SettingsFile(std::string path) : m_path(std::move(path)) {}

    const std::string& path() const { return m_path; }

    /// Reads a regular file of at most 1 MiB, through links. Nothing is waited for.
    Content read() const;

    /// Puts `text` in the place of an absent or usable file, in one step. A link stays, its target
    /// is replaced; the permissions stay. False with errno; a file that is write-protected is not
    /// replaced (EACCES).
    bool write(std::string_view text) const;

    /// Renames what is in the place to NAME.broken-DATE, or with a number behind that, and puts
    /// `text` there. Returns the new path of the old thing; empty, with errno, when one of the two
    /// cannot be done: then everything is as it was.
    std::string moveAsideAndWrite(std::string_view text) const;

 private:
    std::string m_path;
};

}  // namespace kestrin
