// SPDX-License-Identifier: GPL-3.0-or-later
// A dock that shows progress on the entries of programs, on the private bus.
#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <vector>

namespace kestrin::test {

/// Requires: there is a private bus.
class LauncherDock : public QObject {
    Q_OBJECT

 public:
    LauncherDock();

    Q_SLOT void update(const QString& address, const QVariantMap& properties);

    std::vector<double> shown;  ///< progress as it changed, 0 to 1; -1: hidden
};

}  // namespace kestrin::test
