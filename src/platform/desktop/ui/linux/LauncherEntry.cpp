// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/LauncherEntry.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>
#include <algorithm>
#include <cmath>

#include "platform/desktop/ui/SingleInstance.h"

namespace kestrin {

namespace {

void sendUpdate(const QVariantMap& properties) {
    // The path is ours to choose: the docks tell entries apart by the address in the signal.
    QDBusMessage update = QDBusMessage::createSignal(
        QStringLiteral("/com/quorvane/Kestrin3/Launcher"),
        QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    update.setArguments({QStringLiteral("application://") + QLatin1String(kApplicationId) +
                             QStringLiteral(".desktop"),
                         properties});
    QDBusConnection::sessionBus().send(update);
}

}  // namespace

LauncherEntry::~LauncherEntry() {
    hide();
}

void LauncherEntry::setProgress(double percent) {
    const int whole = static_cast<int>(std::floor(std::clamp(percent, 0.0, 100.0)));
    if (whole == m_shownPercent) return;
    m_shownPercent = whole;
    sendUpdate(
        {{QStringLiteral("progress"), whole / 100.0}, {QStringLiteral("progress-visible"), true}});
}

void LauncherEntry::hide() {
    if (m_shownPercent == kHidden) return;
    m_shownPercent = kHidden;
    sendUpdate({{QStringLiteral("progress"), 0.0}, {QStringLiteral("progress-visible"), false}});
}

}  // namespace kestrin
