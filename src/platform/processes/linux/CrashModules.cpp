// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/linux/CrashModules.h"

#include <fcntl.h>
#include <link.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <optional>

namespace kestrin {
namespace {

/// The lines of /proc/self/maps. A line that is longer than any path allows is cut.
class MapLines {
 public:
    MapLines() : m_descriptor(::open("/proc/self/maps", O_RDONLY | O_CLOEXEC)) {}
    ~MapLines() {
        if (m_descriptor >= 0) ::close(m_descriptor);
    }
    MapLines(const MapLines&) = delete;
    MapLines& operator=(const MapLines&) = delete;

    /// Valid until the next call.
    std::optional<std::string_view> next();

 private:
    void fill();

    // Too large for a signal stack. Only one thread reads, for it is the one that ends the process.
    static std::array<char, PATH_MAX + 512> s_buffer;
    const int m_descriptor;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

std::array<char, PATH_MAX + 512> MapLines::s_buffer;

void MapLines::fill() {
    std::memmove(s_buffer.data(), s_buffer.data() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
    while (m_descriptor >= 0 && m_end < s_buffer.size()) {
        const ssize_t got = ::read(m_descriptor, s_buffer.data() + m_end, s_buffer.size() - m_end);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return;
        m_end += static_cast<std::size_t>(got);
    }
}

std::optional<std::string_view> MapLines::next() {
    std::string_view rest(s_buffer.data() + m_begin, m_end - m_begin);
    if (rest.find('\n') == rest.npos) {
        fill();
        rest = {s_buffer.data(), m_end};
    }
    if (rest.empty()) return std::nullopt;
    const std::size_t length = std::min(rest.find('\n'), rest.size());
    m_begin = std::min(m_begin + length + 1, m_end);
    return rest.substr(0, length);
}

/// Takes a hexadecimal number, and the one character behind it, off the line.
std::uintptr_t takeNumber(std::string_view& line) {
    std::uintptr_t number = 0;
    while (!line.empty()) {
        const char digit = line.front();
        line.remove_prefix(1);
        if (digit >= '0' && digit <= '9') {
            number = number * 16 + static_cast<std::uintptr_t>(digit - '0');
        } else if (digit >= 'a' && digit <= 'f') {
            number = number * 16 + static_cast<std::uintptr_t>(digit - 'a' + 10);
        } else {
            break;
        }
    }
    return number;
}

/// "BEGIN-END rwxp OFFSET MAJOR:MINOR INODE    PATH"; no path: memory without a file.
struct Mapping {
    std::uintptr_t begin;
    std::uintptr_t end;
    std::uintptr_t offset;
    std::string_view path;
};

Mapping mappingOf(std::string_view line) {
    Mapping mapping{};
    mapping.begin = takeNumber(line);
    mapping.end = takeNumber(line);
    line.remove_prefix(std::min(line.size(), std::string_view("rwxp ").size()));
    mapping.offset = takeNumber(line);
    const std::size_t path = line.find('/');
    if (path != line.npos) mapping.path = line.substr(path);
    return mapping;
}

void findBuildId(std::uintptr_t notes, std::size_t size, MappedModule& module) {
    constexpr auto padded = [](std::size_t bytes) { return (bytes + 3) & ~std::size_t{3}; };
    ElfW(Nhdr) note;
    for (std::size_t at = 0; at + sizeof(note) <= size;) {
        if (!readOwnMemory(notes + at, &note, sizeof(note))) return;
        const std::uintptr_t name = notes + at + sizeof(note);
        std::array<char, 4> owner{};
        const bool isOurs = note.n_type == NT_GNU_BUILD_ID && note.n_namesz == owner.size() &&
                            readOwnMemory(name, owner.data(), owner.size()) &&
                            std::string_view(owner.data(), 3) == ELF_NOTE_GNU;
        if (isOurs && note.n_descsz <= module.buildId.size()) {
            if (readOwnMemory(name + owner.size(), module.buildId.data(), note.n_descsz))
                module.buildIdLength = note.n_descsz;
            return;
        }
        at += sizeof(note) + padded(note.n_namesz) + padded(note.n_descsz);
    }
}

/// False when what is mapped is neither a program nor a library.
bool examine(MappedModule& module) {
    ElfW(Ehdr) header;
    if (!readOwnMemory(module.begin, &header, sizeof(header))) return false;
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return false;
    for (std::size_t at = 0; at < header.e_phnum && module.buildIdLength == 0; ++at) {
        ElfW(Phdr) segment;
        const std::uintptr_t place = module.begin + header.e_phoff + at * sizeof(segment);
        if (!readOwnMemory(place, &segment, sizeof(segment))) break;
        // The notes stand in the file's first pages, which are mapped at its beginning.
        if (segment.p_type == PT_NOTE)
            findBuildId(module.begin + segment.p_offset, segment.p_filesz, module);
    }
    return true;
}

}  // namespace

bool readOwnMemory(std::uintptr_t address, void* to, std::size_t bytes) {
    const iovec here{to, bytes};
    const iovec there{reinterpret_cast<void*>(address), bytes};
    return ::process_vm_readv(::getpid(), &here, 1, &there, 1, 0) == static_cast<ssize_t>(bytes);
}

void forEachModule(void (*take)(const MappedModule&)) {
    MapLines lines;
    static std::array<char, PATH_MAX> path;
    MappedModule module;
    bool isModule = false;
    while (const auto line = lines.next()) {
        const Mapping mapping = mappingOf(*line);
        // The mappings of a module follow each other; its zeroed data at their end has no file.
        if (isModule && mapping.path == module.path) {
            module.end = mapping.end;
            continue;
        }
        if (isModule) take(module);
        const std::size_t length = mapping.path.copy(path.data(), path.size());
        module = {mapping.begin, mapping.end, {}, 0, {path.data(), length}};
        isModule = length > 0 && mapping.offset == 0 && examine(module);
    }
    if (isModule) take(module);
}

}  // namespace kestrin
