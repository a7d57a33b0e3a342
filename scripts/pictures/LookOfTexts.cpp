// SPDX-License-Identifier: GPL-3.0-or-later
// Loaded into the program by LD_PRELOAD: longer texts (they are resources of this library), and a
// language that is written from right to left where KESTRIN_RIGHT_TO_LEFT is set.
#include <QCoreApplication>
#include <QGuiApplication>
#include <QTimer>

static void turnAround() {
    if (!qEnvironmentVariableIsSet("KESTRIN_RIGHT_TO_LEFT")) return;
    // Once the application is there: it sets a direction of its own.
    QTimer::singleShot(0, qApp, [] { QGuiApplication::setLayoutDirection(Qt::RightToLeft); });
}
Q_COREAPP_STARTUP_FUNCTION(turnAround)
