// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVLogController.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QStringList>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

#include "base/StringTable.h"
#include "base/SystemLog.h"
#include "base/WriteAll.h"
#include "format/DisplayName.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "platform/desktop/Places.h"
#include "platform/items/FolderWalk.h"
#include "platform/items/ItemAttributes.h"

namespace kestrin {
namespace {

constexpr std::size_t kBufferSize = std::size_t{64} << 10;
constexpr std::chrono::seconds kFlushInterval{1};
constexpr double kSecondsPerDay = 86400;
constexpr std::uint16_t kSizeScale = 4;  // up to terabytes
constexpr std::chrono::sys_seconds kReferenceDate{std::chrono::seconds{978307200}};

/// Links are not followed, and a pipe or a device in the place of the file neither blocks nor acts.
constexpr int kOpenLogFile = O_RDWR | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

/// Makes the folders above `folder` that are missing, but neither the home folder nor what it is
/// in.
void createFoldersAbove(const FileUrl& folder) {
    const FileUrl home = FileUrl::fromPath(homeFolder());
    std::vector<FileUrl> missing;
    for (FileUrl level = folder.parent(); level != home && !home.isBelow(level) &&
                                          level != level.parent() && !pathExists(level.path());
         level = level.parent())
        missing.push_back(level);
    for (auto level = missing.rbegin(); level != missing.rend(); ++level)
        mkdir(level->path().c_str(), 0700);
}

UniqueFd openFolder(int parent, const std::string& name, int flags = O_NOFOLLOW) {
    return UniqueFd(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
}

/// The folder `name` in `parent`, made when missing. None and errno when it cannot be had.
UniqueFd openOrCreateFolder(int parent, const std::string& name) {
    UniqueFd folder = openFolder(parent, name);
    if (folder || errno != ENOENT) return folder;
    if (mkdirat(parent, name.c_str(), 0700) != 0 && errno != EEXIST) return {};
    return openFolder(parent, name);
}

bool isRegularFile(int fd) {
    struct stat status;
    return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

/// Whether the file ends in the middle of a line, as a full disk or a power cut leaves it.
bool endsInsideALine(int fd) {
    const off_t size = lseek(fd, 0, SEEK_END);
    char last = '\n';
    return size > 0 && pread(fd, &last, 1, size - 1) == 1 && last != '\n';
}

/// When a regular file was created, or last changed where the file system does not know; none for
/// anything else.
std::optional<double> dateCreated(const FileUrl& file) {
    const Result<ItemAttributes> attributes = itemAttributes(file);
    if (!attributes || !attributes->isRegularFile()) return std::nullopt;
    return attributes->dateCreated.value_or(attributes->dateModified);
}

/// A text as the name of one file.
std::string fileName(QString text) {
    return text.replace(QLatin1Char('/'), QLatin1Char('-')).toStdString();
}

}  // namespace

QVLogController::QVLogController(LogSettings settings, const StringTable& texts,
                                 const QVNumberUtilities& numbers, const QVDateUtilities& dates,
                                 Clock now)
    : m_texts(texts),
      m_numbers(numbers),
      m_dates(dates),
      m_now(std::move(now)),
      m_settings(std::move(settings)) {}

QVLogController::~QVLogController() {
    closeLogFile();
}

std::unique_ptr<QVLogController> QVLogController::initWitDictionary(
    LogSettings settings, const StringTable& texts, const QVNumberUtilities& numbers,
    const QVDateUtilities& dates) {
    return std::make_unique<QVLogController>(std::move(settings), texts, numbers, dates);
}

// --- Choosing the file ---

bool QVLogController::openLogFile() {
    const std::scoped_lock guard(m_lock);
    m_problem.clear();
    FileUrl url;
    const UniqueFd folder = openLogFolder(m_settings.partialLogName, url);
    if (!folder) return false;
    const bool exists = searchFolder(url, static_cast<std::int16_t>(m_settings.gapTime)) ||
                        createLogFile(folder.get(), url);
    if (exists) openHandle(folder.get());
    m_totSize = 0;
    m_itemsCount = 0;
    m_writeFailed = exists && !m_handle;
    return exists;
}

std::optional<FileUrl> QVLogController::urlWithFolderName(const QString& name) {
    const std::scoped_lock guard(m_lock);
    FileUrl url;
    if (!openLogFolder(name, url)) return std::nullopt;
    return url;
}

bool QVLogController::searchLogFileWithURL(const FileUrl& folder, int days) {
    const std::scoped_lock guard(m_lock);
    return searchFolder(folder, days);
}

/// The folder `name` in the log root, level by level on descriptors, so that no link in the place
/// of one leads elsewhere. `url` becomes its location, or that of the level that could not be had.
UniqueFd QVLogController::openLogFolder(const QString& name, FileUrl& url) {
    const FileUrl root = location(Place::Logs);
    createFoldersAbove(root);
    url = root.parent();
    UniqueFd folder = openFolder(AT_FDCWD, url.path(), 0);
    int error = errno;
    for (const std::string& level : {std::string(root.lastPathComponent()), fileName(name)}) {
        if (!folder) break;
        url = url.appending(level);
        UniqueFd next = openOrCreateFolder(folder.get(), level);
        error = errno;
        folder = std::move(next);
    }
    if (!folder) reportProblem(url, error);
    return folder;
}

bool QVLogController::searchFolder(const FileUrl& folder, int days) {
    std::optional<double> newest;
    const auto look = [&](std::string_view name, EntryType) {
        if (name.starts_with('.')) return true;
        const FileUrl file = folder.appending(name);
        const std::optional<double> created = dateCreated(file);
        if (!created || (newest && *created <= *newest)) return true;
        newest = created;
        m_currLogURL = file;
        return true;
    };
    if (visitFolder(folder, look)) return false;
    return newest && days > 0 && days * kSecondsPerDay > now() - *newest;
}

/// Makes the empty file. One of that name, begun by another run in the same second, is as good.
bool QVLogController::createLogFile(int folder, const FileUrl& url) {
    const QString format = m_settings.partialLogName + m_texts.text("log_name"_key);
    const std::string name = fileName(StringTable::filled(format, {dateText(DateStyle::Long)}));
    const UniqueFd file(openat(folder, name.c_str(), kOpenLogFile | O_CREAT | O_EXCL, 0600));
    const int error = errno;
    m_currLogURL = url.appending(name);
    if (file || error == EEXIST) return true;
    reportProblem(m_currLogURL, error);
    m_currLogURL = {};
    return false;
}

void QVLogController::openHandle(int folder) {
    const std::string name(m_currLogURL.lastPathComponent());
    UniqueFd file(openat(folder, name.c_str(), kOpenLogFile));
    const int error = file ? 0 : errno;
    if (!file || !isRegularFile(file.get())) return reportProblem(m_currLogURL, error);
    m_handle = std::move(file);
    m_lastFlush = std::chrono::steady_clock::now();
}

/// `error` 0: the item is there and can be opened, but is no file.
void QVLogController::reportProblem(const FileUrl& item, int error) {
    const Result<ItemAttributes> found = itemAttributes(item);
    const QString path = displayName(item.path());
    if (found && found->isSymbolicLink())
        m_problem = StringTable::filled(m_texts.text("log_is_a_link"_key), {path});
    else if (error == 0)
        m_problem = StringTable::filled(m_texts.text("log_is_not_a_file"_key), {path});
    else
        m_problem = StringTable::filled(
            m_texts.text("log_cannot_be_used"_key),
            {path, QString::fromStdString(std::generic_category().message(error))});
}

// --- Writing ---

void QVLogController::writeStartSession() {
    const std::scoped_lock guard(m_lock);
    if (!isWriting()) return;
    // An earlier run may have been cut short within a line.
    if (endsInsideALine(m_handle.get())) m_buffer += '\n';
    const QString text = m_texts.text(m_settings.startStr);
    m_buffer += (dateText(DateStyle::Full) + QLatin1Char(' ') + text).toStdString() + '\n';
    flush();
}

void QVLogController::writeEntryWithPath(std::string_view path, std::uint64_t itemSize) {
    const std::scoped_lock guard(m_lock);
    m_totSize += itemSize;
    ++m_itemsCount;
    if (!isWriting()) return;
    const QString number = m_numbers.numberToFormatString(static_cast<double>(m_itemsCount));
    m_buffer += number.toStdString();
    m_buffer += ' ';
    appendEscapedName(m_buffer, path);
    m_buffer += '\n';
    if (m_buffer.size() >= kBufferSize ||
        std::chrono::steady_clock::now() - m_lastFlush >= kFlushInterval)
        flush();
}

void QVLogController::writeEndSessionAndCloseFile() {
    const std::scoped_lock guard(m_lock);
    if (isWriting()) {
        const QString size = m_numbers.sizeToFormatString(m_totSize, kSizeScale, true);
        const QStringList facts{size, dateText(DateStyle::Full), m_texts.text(m_settings.endStr)};
        m_buffer += StringTable::filled(m_texts.text("items_erased"_key), facts).toStdString();
    }
    close();
}

void QVLogController::closeLogFile() {
    const std::scoped_lock guard(m_lock);
    close();
}

void QVLogController::close() {
    flush();
    // Some network file systems only tell now that their disk is full.
    if (m_handle && ::close(m_handle.release()) != 0) failWriting(errno);
    m_currLogURL = {};
    m_settings = {};
}

void QVLogController::flush() {
    if (isWriting() && !writeAll(m_handle.get(), m_buffer)) failWriting(errno);
    m_buffer.clear();
    m_lastFlush = std::chrono::steady_clock::now();
}

void QVLogController::failWriting(int error) {
    if (std::exchange(m_writeFailed, true)) return;
    reportProblem(m_currLogURL, error);
    qCWarning(lcErase, "The erase log is incomplete: %s", qUtf8Printable(m_problem));
}

QString QVLogController::dateText(DateStyle style) const {
    return m_dates.stringWithSeconds(now(), style, true, true);
}

/// Seconds since the reference date.
double QVLogController::now() const {
    return std::chrono::duration<double>(m_now() - kReferenceDate).count();
}

// --- What it knows ---

QString QVLogController::lastProblem() const {
    const std::scoped_lock guard(m_lock);
    return m_problem;
}

bool QVLogController::writeFailed() const {
    const std::scoped_lock guard(m_lock);
    return m_writeFailed;
}

std::uint64_t QVLogController::totSize() const {
    const std::scoped_lock guard(m_lock);
    return m_totSize;
}

std::uint64_t QVLogController::itemsCount() const {
    const std::scoped_lock guard(m_lock);
    return m_itemsCount;
}

FileUrl QVLogController::currLogURL() const {
    const std::scoped_lock guard(m_lock);
    return m_currLogURL;
}

}  // namespace kestrin
