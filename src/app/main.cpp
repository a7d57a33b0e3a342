// SPDX-License-Identifier: GPL-3.0-or-later
#include <langinfo.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <clocale>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/MainThread.h"
#include "cli/CommandLine.h"

namespace {

/// Qt switches to UTF-8 in a locale of another encoding, which is wanted, and complains about it on
/// standard error, which is not: that line would stand in the output of every cron job.
std::unique_ptr<QCoreApplication> startQuietly(int& argc, char** argv) {
    std::setlocale(LC_ALL, "");
    const bool isUtf8 = std::string_view(::nl_langinfo(CODESET)) == "UTF-8";
    if (!isUtf8) {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    }
    auto application = std::make_unique<QCoreApplication>(argc, argv);
    if (!isUtf8) qInstallMessageHandler(nullptr);
    return application;
}

/// Ends the process without taking anything down: work in the background may still be in use of it.
[[noreturn]] void leave(int status) {
    std::fflush(nullptr);
    ::_exit(status);
}

}  // namespace

#ifdef __SANITIZE_THREAD__
// Threads that still run when the program leaves are no mistake here.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "report_thread_leaks=0";
}
#endif

int main(int argc, char** argv) {
    // Before QCoreApplication, which takes options of its own out of the list.
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    const std::unique_ptr<QCoreApplication> application = startQuietly(argc, argv);
    // A terminal is told what went wrong; QT_LOGGING_RULES brings the rest back.
    QLoggingCategory::setFilterRules(QStringLiteral("kestrin.*.info=false"));
    const kestrin::MainThread mainThread;
    kestrin::CommandLine commandLine;
    leave(commandLine.run(words));
}
