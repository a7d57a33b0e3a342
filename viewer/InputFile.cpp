// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/InputFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace kestrin {
namespace {

/// QIODevice keeps a position of its own for what it has buffered, and calls seek() before it reads
/// where the two differ.
class InputDevice final : public QIODevice {
 public:
    explicit InputDevice(InputFile& file) : m_file(file) { open(QIODevice::ReadOnly); }

    qint64 size() const override { return static_cast<qint64>(m_file.size()); }
    bool seek(qint64 position) override {
        if (!QIODevice::seek(position)) return false;
        m_offset = position;
        return true;
    }

 protected:
    qint64 readData(char* data, qint64 length) override {
        const std::size_t got =
            m_file.readAt(static_cast<std::uint64_t>(m_offset),
                          {data, static_cast<std::size_t>(std::max<qint64>(length, 0))});
        m_offset += static_cast<qint64>(got);
        return static_cast<qint64>(got);
    }
    qint64 writeData(const char* /*data*/, qint64 /*length*/) override { return -1; }

 private:
    InputFile& m_file;
    qint64 m_offset = 0;
};

}  // namespace

InputFile::InputFile(UniqueFd file) : m_file(std::move(file)) {
    struct stat status {};
    if (::fstat(m_file.get(), &status) == 0 && S_ISREG(status.st_mode))
        m_size = static_cast<std::uint64_t>(status.st_size);
    else
        m_hasFailed = true;
}

std::size_t InputFile::readAt(std::uint64_t offset, std::span<char> bytes) {
    if (offset >= m_size) return 0;
    bytes = bytes.first(
        static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), m_size - offset)));
    std::size_t got = 0;
    while (got < bytes.size()) {
        const ssize_t length = ::pread(m_file.get(), bytes.data() + got, bytes.size() - got,
                                       static_cast<off_t>(offset + got));
        if (length < 0 && errno == EINTR) continue;
        if (length < 0) m_hasFailed = true;
        if (length <= 0) break;
        got += static_cast<std::size_t>(length);
    }
    return got;
}

QByteArray InputFile::beginning(std::size_t length) {
    QByteArray bytes(static_cast<qsizetype>(std::min<std::uint64_t>(length, m_size)),
                     Qt::Uninitialized);
    bytes.truncate(
        static_cast<qsizetype>(readAt(0, {bytes.data(), static_cast<std::size_t>(bytes.size())})));
    return bytes;
}

std::optional<QByteArray> InputFile::content(std::size_t limit) {
    if (m_size > limit) return std::nullopt;
    return beginning(limit);
}

std::unique_ptr<QIODevice> InputFile::device() {
    return std::make_unique<InputDevice>(*this);
}

}  // namespace kestrin
