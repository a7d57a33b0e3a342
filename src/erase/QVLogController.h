// SPDX-License-Identifier: GPL-3.0-or-later
// The log of one erase run: a start line, one numbered line an item, an end line, appended to a
// plain-text file that the runs of some days share.
//
// Format: UTF-8, lines end with one line feed. A path in a line is written as appendEscapedName
// gives it, so that an item is always one line and its exact bytes can be had back.
#pragma once

#include <QString>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "base/FileUrl.h"
#include "platform/items/UniqueFd.h"

namespace kestrin {

enum class DateStyle : unsigned;
class QVDateUtilities;
class QVNumberUtilities;
class StringTable;

/// What a run writes, and where.
struct LogSettings {
    std::string startStr;    ///< key of the start line's text, "start_delete_all" and the like
    std::string endStr;      ///< key of the end line's text
    QString partialLogName;  ///< text that names the sub-folder and begins the file name
    /// Days for which runs share a file; 0 or less: a file a run. Read as a signed 16-bit number.
    long long gapTime = 0;
};

/// Writes one log. Thread: any; lines are numbered and stand in the order of the calls. Lines are
/// buffered and reach the file when 64 KiB are together, when a line comes a second after the last
/// time, and at the end.
class QVLogController {
 public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    /// The references must outlive the log.
    QVLogController(LogSettings settings, const StringTable& texts,
                    const QVNumberUtilities& numbers, const QVDateUtilities& dates,
                    Clock now = &std::chrono::system_clock::now);
    /// Writes out what is buffered, without an end line.
    ~QVLogController();
    QVLogController(const QVLogController&) = delete;
    QVLogController& operator=(const QVLogController&) = delete;

    static std::unique_ptr<QVLogController> initWitDictionary(LogSettings settings,
                                                              const StringTable& texts,
                                                              const QVNumberUtilities& numbers,
                                                              const QVDateUtilities& dates);

    /// Chooses or creates the file and opens it. False when the folder or the file cannot be
    /// created. True also when the file exists and cannot be opened: nothing is written then, and
    /// `writeFailed` is true. Whenever something went wrong, `lastProblem` says what.
    bool openLogFile();
    /// One sentence for the user that names the path and what is wrong with it; empty when all went
    /// well.
    QString lastProblem() const;

    void writeStartSession();
    /// Counts the item and writes its line.
    void writeEntryWithPath(std::string_view path, std::uint64_t itemSize);
    void writeEndSessionAndCloseFile();
    void closeLogFile();

    /// The file lacks lines of this run, for example because the disk is full: writing stopped at
    /// the first failure, which the system log tells once and `lastProblem` names.
    bool writeFailed() const;
    std::uint64_t totSize() const;     ///< bytes of the items of this run
    std::uint64_t itemsCount() const;  ///< items of this run
    FileUrl currLogURL() const;        ///< none when no file is chosen

    /// The folder `name` in the log root, both created when missing, for their user alone (0700).
    /// None when one of them is a link or a file, or cannot be created.
    std::optional<FileUrl> urlWithFolderName(const QString& name);
    /// Takes the newest regular file of the folder, hidden ones left out, as `currLogURL`; true
    /// when it is younger than `days` days.
    bool searchLogFileWithURL(const FileUrl& folder, int days);

 private:
    UniqueFd openLogFolder(const QString& name, FileUrl& url);
    bool searchFolder(const FileUrl& folder, int days);
    bool createLogFile(int folder, const FileUrl& url);
    void openHandle(int folder);
    void reportProblem(const FileUrl& item, int error);
    void close();
    void flush();
    void failWriting(int error);
    QString dateText(DateStyle style) const;
    double now() const;
    bool isWriting() const { return m_handle && !m_writeFailed; }

    const StringTable& m_texts;
    const QVNumberUtilities& m_numbers;
    const QVDateUtilities& m_dates;
    const Clock m_now;

    mutable std::mutex m_lock;  // guards what follows; private functions are called with it held
    LogSettings m_settings;
    UniqueFd m_handle;
    FileUrl m_currLogURL;
    std::uint64_t m_totSize = 0;
    std::uint64_t m_itemsCount = 0;
    std::string m_buffer;
    std::chrono::steady_clock::time_point m_lastFlush;
    bool m_writeFailed = false;
    QString m_problem;
};

}  // namespace kestrin
