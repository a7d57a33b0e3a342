// SPDX-License-Identifier: GPL-3.0-or-later
// What is new in which version of the program, and up to which version the user was told.
#pragma once

#include <QString>
#include <QVersionNumber>

#include "base/FileUrl.h"

namespace kestrin {

/// The version of this program.
QVersionNumber runningVersion();

/// Whether `version` came after the other one; 3.0 and 3.0.0 are the same.
bool isNewer(const QVersionNumber& version, const QVersionNumber& other);

/// The changes that came after the version `after`, the newest first, up to the running one.
/// `changelog` has the form of CHANGELOG.md. The result is Markdown; it has a heading for each
/// version when it tells of several.
QString changesAfter(const QVersionNumber& after, const QString& changelog);
/// The same of the changelog that was built into this program.
QString changesAfter(const QVersionNumber& after);

/// The version that `file` holds; the null version where there is none, whatever stands there.
QVersionNumber keptVersion(const FileUrl& file);
/// Keeps the running version in `file`. False when that failed, and when a link or a folder stands
/// there, which stays.
bool keepRunningVersion(const FileUrl& file);

}  // namespace kestrin
