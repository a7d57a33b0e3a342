// SPDX-License-Identifier: GPL-3.0-or-later
// The helper's client as a library of its own, which the terminal commands load when an entry needs
// the helper, and not before: they start without Qt DBus.
#pragma once

#include <QString>
#include <memory>

#include "erase/HelperClient.h"

namespace kestrin {

class QVErrorDelegate;
class StringTable;
class UserDefaults;

/// Main thread. Lives until the process ends.
class HelperLibrary {
 public:
    virtual ~HelperLibrary() = default;
    /// Empty when the helper is installed and of the version that is needed; else why it cannot be
    /// used, one sentence for the user. Waits for the helper at most 5 s, and serves events.
    virtual QString problem() = 0;
    virtual std::unique_ptr<HelperClient> makeClient(HelperDelegate& delegate) = 0;
};

}  // namespace kestrin

/// The library, made at the first call. What it is given must live as long.
extern "C" __attribute__((visibility("default"))) kestrin::HelperLibrary* kestrinHelperLibrary(
    const kestrin::StringTable& texts, kestrin::QVErrorDelegate& presenter,
    kestrin::UserDefaults& defaults);
