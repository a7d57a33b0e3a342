// SPDX-License-Identifier: GPL-3.0-or-later
#include <dlfcn.h>
#include <langinfo.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/Program.h"
#include "base/LastLogLines.h"
#include "base/MainThread.h"
#include "cli/Arguments.h"
#include "cli/CommandLine.h"
#include "platform/desktop/Places.h"
#include "platform/processes/CrashHandler.h"

namespace {

/// Qt switches to UTF-8 in a locale of another encoding, which is wanted, and complains about it on
/// standard error, which is not: that line would stand in the output of every cron job.
std::unique_ptr<QCoreApplication> startQuietly(int& argc, char** argv) {
    std::setlocale(LC_ALL, "");
    const bool isUtf8 = std::string_view(::nl_langinfo(CODESET)) == "UTF-8";
    QtMessageHandler before = nullptr;
    if (!isUtf8) {
        before =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    }
    auto application = std::make_unique<QCoreApplication>(argc, argv);
    if (!isUtf8) qInstallMessageHandler(before);
    return application;
}

/// Ends the process without destroying anything: work in the background may still use it.
[[noreturn]] void leave(int status) {
    std::fflush(nullptr);
    ::_exit(status);
}

bool hasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char* value = std::getenv(name);
        if (value && *value) return true;
    }
    return false;
}

/// What the words ask of the program in the status area, or "" when they only start it; none when
/// they are a command of the terminal.
std::optional<std::string> programAction(const std::vector<std::string>& words) {
    if (words.size() > 1 || !hasDisplay()) return std::nullopt;
    if (words.empty()) return "";
    return kestrin::isDesktopOption(words[0]) ? std::make_optional(words[0].substr(2))
                                              : std::nullopt;
}

/// Runs the program in the status area. Returns only when it could not be loaded.
void runProgram(int& argc, char** argv, const std::string& action) {
    void* const library = ::dlopen("libkestrin_app.so", RTLD_NOW | RTLD_LOCAL);
    void* const entry = library ? ::dlsym(library, "kestrinRunProgram") : nullptr;
    if (entry)
        leave(reinterpret_cast<decltype(&kestrinRunProgram)>(entry)(&argc, argv, action.c_str()));
    std::fprintf(stderr, "kestrin: %s\n", ::dlerror());
}

}  // namespace

#ifdef __SANITIZE_THREAD__
// Threads that still run when the program leaves are no mistake here, children of Qt's execute, and
// what Qt DBus and xcb hand over between their threads the sanitizer cannot see.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1:report_thread_leaks=0:die_after_fork=0";
}
#endif

int main(int argc, char** argv) {
    kestrin::keepLastLogLines();
    kestrin::installCrashHandler(kestrin::location(kestrin::Place::CrashReports), KESTRIN_VERSION);
    // The words are read before QCoreApplication takes options of its own out of the list.
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (const auto action = programAction(words)) runProgram(argc, argv, *action);
    const std::unique_ptr<QCoreApplication> application = startQuietly(argc, argv);
    // On a terminal only what went wrong is shown; QT_LOGGING_RULES brings the rest back.
    QLoggingCategory::setFilterRules(QStringLiteral("kestrin.*.info=false"));
    const kestrin::MainThread mainThread;
    kestrin::CommandLine commandLine;
    leave(commandLine.run(words));
}
