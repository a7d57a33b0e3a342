// SPDX-License-Identifier: GPL-3.0-or-later
// The privileged helper: a root service that the system bus starts on demand. What the bus starts
// becomes the parent; the service and the workers are its children.
#include <unistd.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QSocketNotifier>
#include <charconv>
#include <cstdio>
#include <optional>
#include <string_view>
#include <utility>

#include "helper/Hardening.h"
#include "helper/HelperProtocol.h"
#include "helper/HelperService.h"
#include "helper/Parent.h"
#include "helper/QVHelperToolProtocolAdaptor.h"
#include "platform/items/UniqueFd.h"
#include "platform/processes/PacketSocket.h"

namespace {

using namespace kestrin;

constexpr char kUsage[] =
    "com.quorvane.Kestrin3Helper [--idle-seconds=N]   started as root by the system bus\n"
    "com.quorvane.Kestrin3Helper --version\n";

int fail(const char* why) {
    std::fprintf(stderr, "%s: %s\n", kHelperService, why);
    return 1;
}

/// How long the helper stays without being asked for anything. None when the words are anything but
/// that one option.
std::optional<std::chrono::seconds> idleTime(int argc, char** argv) {
    constexpr std::string_view kOption = "--idle-seconds=";
    int seconds = 60;
    for (int index = 1; index < argc; ++index) {
        std::string_view argument = argv[index];
        if (!argument.starts_with(kOption)) return std::nullopt;
        argument.remove_prefix(kOption.size());
        const char* const end = argument.data() + argument.size();
        const auto [stop, error] = std::from_chars(argument.data(), end, seconds);
        if (error != std::errc() || stop != end || seconds < 1) return std::nullopt;
    }
    return std::chrono::seconds(seconds);
}

int serveOnBus(std::chrono::seconds idle, UniqueFd parent) {
    const UniqueFd signals = takeSignals(Signals::OfTheEnd);
    registerHelperTypes();
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) return fail("there is no system bus");
    HelperService service(bus, std::move(parent), idle);
    new QVHelperToolProtocolAdaptor(&service);
    QSocketNotifier signalled(signals.get(), QSocketNotifier::Read);
    QObject::connect(&signalled, &QSocketNotifier::activated, &service, [&] {
        signalled.setEnabled(false);
        service.shutDown();
    });
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                &service, SLOT(shutDown()));
    // The object is made before anybody can know the name.
    if (!bus.registerObject(QString::fromLatin1(kHelperPath), &service)) {
        return fail("the object cannot be registered");
    }
    if (!service.start()) return fail("the name on the system bus is taken, or not to be had");
    giveUpUnusedMemory();
    return QCoreApplication::exec();
}

int runService(std::chrono::seconds idle, UniqueFd parent, char** argv) {
    giveUpAllCapabilities();
    giveUpFiles();
    giveBackFreedMemory();
    int applicationArguments = 1;
    const QCoreApplication application(applicationArguments, argv);
    return serveOnBus(idle, std::move(parent));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "--version") {
        std::puts(kHelperVersion);
        return 0;
    }
    const auto idle = idleTime(argc, argv);
    if (!idle) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (::geteuid() != 0) return fail("must be started as root, by the system bus");
    giveUpWhatNobodyNeeds();
    auto sockets = packetSockets();
    // Before anything else is there to be inherited: the process that has root's powers reads
    // nothing of a user's, and the one that does has none of them.
    const pid_t service = sockets ? ::fork() : -1;
    if (service < 0) return fail("the process of the service cannot be made");
    if (service == 0) {
        sockets->one.reset();
        return runService(*idle, std::move(sockets->other), argv);
    }
    sockets->other.reset();
    keepCapabilitiesForFiles();
    giveUpUnusedMemory();
    return runParent(std::move(sockets->one), service);
}
