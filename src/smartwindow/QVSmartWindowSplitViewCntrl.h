// SPDX-License-Identifier: GPL-3.0-or-later
// The outer splitter of the browsing window: the trashes, and beside them the contents of one.
#pragma once

#include "base/NotificationCenter.h"
#include "smartwindow/CollapsingSplitter.h"

namespace kestrin {

class StringTable;

/// While the list of the trashes is collapsed, the title of the window names the one that is shown.
/// Main thread.
class QVSmartWindowSplitViewCntrl : public CollapsingSplitter {
    Q_OBJECT

 public:
    /// The splitter owns the panes. `texts` must outlive it.
    QVSmartWindowSplitViewCntrl(QWidget* sources, QWidget* content, const StringTable& texts,
                                NotificationCenter& center);

 private:
    void writeTitle();

    const StringTable& m_texts;
    Observation m_selectionObservation;
};

}  // namespace kestrin
