// SPDX-License-Identifier: GPL-3.0-or-later
// What the content list knows of the erase that it started. Main thread.
#pragma once

#include <memory>
#include <vector>

#include "base/NotificationCenter.h"
#include "erase/QVDeleteItems.h"
#include "inventory/TrashCount.h"
#include "smartwindow/CheckedItems.h"
#include "smartwindow/QVListCntrl.h"

namespace kestrin {

/// From the command to its end. While what is checked is still being gathered it has no engine.
struct QVListCntrl::Erase {
    std::shared_ptr<QVDeleteItems> engine;
    SourceItems asked;         ///< whose entries the open question is about
    bool isWithdrawn = false;  ///< the question, since one of them went
    TrashFigures totals;       ///< of what is measured
    /// The sources in which a checked folder is still being measured.
    std::vector<CheckedSource> waiting;
    std::vector<Observation> waitingObservations;
    Observation responseObservation;
    Observation stopObservation;
};

}  // namespace kestrin
