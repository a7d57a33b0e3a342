// SPDX-License-Identifier: GPL-3.0-or-later
// The way to the helper over a bus of the test's own, with nothing but questions at its end.
#pragma once

#include <gtest/gtest.h>

#include <optional>

#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "erase/QVSecureAccess.h"
#include "erase/support/FakeHelper.h"
#include "platform/desktop/ui/support/PrivateBus.h"
#include "support/ScopedVariable.h"
#include "support/ScriptedAlertPanel.h"
#include "support/TestEnvironment.h"

namespace kestrin::test {

class SecureAccessTest : public ::testing::Test {
 protected:
    void SetUp() override { KESTRIN_REQUIRE_BUS(); }
    void TearDown() override { access.reset(); }

    SecureAccessServices services() {
        return {.texts = texts,
                .presenter = presenter,
                .defaults = defaults,
                .openBus =
                    [this](const QString& name) {
                        return QDBusConnection::connectToBus(address(), name);
                    },
                .helperFile = FileUrl::fromPath(helperFile)};
    }
    static QString address() { return qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"); }
    QString errorText(std::string_view key) const {
        return texts.text(key, StringTable::Table::Errors);
    }

    ScratchFolder scratch;
    const std::string helperFile = scratch / "helper";
    std::optional<PrivateBus> bus{std::in_place};
    StringTable texts{QStringLiteral("en")};
    ScriptedAlerts alerts;
    UserDefaults defaults{scratch / "settings.conf"};
    QVErrorDelegate presenter{alerts.factory(), texts, defaults};
    std::optional<QVSecureAccess> access;
};

}  // namespace kestrin::test
