// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/processes/Symbols.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <elfutils/libdwfl.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <memory>
#include <sstream>
#include <string_view>

#include "platform/items/UniqueFd.h"

namespace kestrin {
namespace {

/// The functions of libdw, loaded when they are needed: every start would wait for it, and hardly
/// any has something to ask.
class Libdw {
 public:
    Libdw() : m_library(::dlopen("libdw.so.1", RTLD_NOW | RTLD_LOCAL)) {
        isThere = m_library && load(begin, "dwfl_begin") && load(end, "dwfl_end") &&
                  load(reportElf, "dwfl_report_elf") && load(buildId, "dwfl_module_build_id") &&
                  load(symbolAt, "dwfl_module_addrinfo") && load(lineAt, "dwfl_module_getsrc") &&
                  load(lineInfo, "dwfl_lineinfo") &&
                  load(findDebugInfo, "dwfl_build_id_find_debuginfo") &&
                  load(sectionAddress, "dwfl_offline_section_address");
    }
    ~Libdw() {
        if (m_library) ::dlclose(m_library);
    }
    Libdw(const Libdw&) = delete;
    Libdw& operator=(const Libdw&) = delete;

    bool isThere = false;
    decltype(&::dwfl_begin) begin = nullptr;
    decltype(&::dwfl_end) end = nullptr;
    decltype(&::dwfl_report_elf) reportElf = nullptr;
    decltype(&::dwfl_module_build_id) buildId = nullptr;
    decltype(&::dwfl_module_addrinfo) symbolAt = nullptr;
    decltype(&::dwfl_module_getsrc) lineAt = nullptr;
    decltype(&::dwfl_lineinfo) lineInfo = nullptr;
    decltype(&::dwfl_build_id_find_debuginfo) findDebugInfo = nullptr;
    decltype(&::dwfl_offline_section_address) sectionAddress = nullptr;

 private:
    template <class Function>
    bool load(Function& function, const char* name) {
        function = reinterpret_cast<Function>(::dlsym(m_library, name));
        return function != nullptr;
    }
    void* const m_library;
};

/// The files of one process, as libdw knows them.
class Session {
 public:
    explicit Session(const Libdw& libdw)
        : m_libdw(libdw),
          // This finds what is installed. The library's usual way may ask servers as well.
          m_callbacks{.find_elf = nullptr,
                      .find_debuginfo = libdw.findDebugInfo,
                      .section_address = libdw.sectionAddress,
                      .debuginfo_path = nullptr},
          m_session(libdw.begin(&m_callbacks)) {}
    ~Session() { m_libdw.end(m_session); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// nullptr when the file is not the one that was loaded.
    Dwfl_Module* add(const CodeModule& module);
    std::string symbolAt(Dwfl_Module* module, GElf_Addr address) const;

 private:
    const Libdw& m_libdw;
    const Dwfl_Callbacks m_callbacks;
    Dwfl* const m_session;
};

Dwfl_Module* Session::add(const CodeModule& module) {
    UniqueFd file(::open(module.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
    const std::string name = std::to_string(module.begin);  // unlike those of other modules
    Dwfl_Module* const added = m_libdw.reportElf(m_session, name.c_str(), module.path.c_str(),
                                                 file.get(), module.begin, false);
    if (!added) return nullptr;
    file.release();  // the session's from now on
    const unsigned char* bytes = nullptr;
    GElf_Addr address = 0;
    const int length = m_libdw.buildId(added, &bytes, &address);
    std::ostringstream buildId;
    for (int at = 0; at < length; ++at)
        buildId << std::hex << std::setw(2) << std::setfill('0') << int{bytes[at]};
    return length > 0 && buildId.str() == module.buildId ? added : nullptr;
}

std::string Session::symbolAt(Dwfl_Module* module, GElf_Addr address) const {
    GElf_Off offset = 0;
    GElf_Sym symbol{};
    const char* const name =
        m_libdw.symbolAt(module, address, &offset, &symbol, nullptr, nullptr, nullptr);
    if (!name) return {};
    std::ostringstream text;
    text << plainSymbol(name) << " + 0x" << std::hex << offset;
    int line = 0;
    Dwfl_Line* const source = m_libdw.lineAt(module, address);
    const char* const file =
        source ? m_libdw.lineInfo(source, nullptr, &line, nullptr, nullptr, nullptr) : nullptr;
    if (file) {
        const std::string_view path(file);
        text << " (" << path.substr(path.rfind('/') + 1) << ':' << std::dec << line << ')';
    }
    return text.str();
}

}  // namespace

std::vector<std::string> symbolsAt(const std::vector<std::uint64_t>& addresses,
                                   const std::vector<CodeModule>& modules) {
    std::vector<std::string> symbols(addresses.size());
    const Libdw libdw;
    if (!libdw.isThere) return symbols;
    Session session(libdw);
    for (const CodeModule& module : modules) {
        const auto isInside = [&module](std::uint64_t address) {
            return address >= module.begin && address < module.end;
        };
        if (std::none_of(addresses.begin(), addresses.end(), isInside)) continue;
        Dwfl_Module* const added = session.add(module);
        for (std::size_t at = 0; added && at < addresses.size(); ++at) {
            if (isInside(addresses[at])) symbols[at] = session.symbolAt(added, addresses[at]);
        }
    }
    return symbols;
}

std::string plainSymbol(const std::string& name) {
    const std::unique_ptr<char, decltype(&std::free)> plain(
        abi::__cxa_demangle(name.c_str(), nullptr, nullptr, nullptr), &std::free);
    return plain ? plain.get() : name;
}

}  // namespace kestrin
