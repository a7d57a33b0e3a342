// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVSmartWindowSplitViewCntrl.h"

#include "base/StringTable.h"
#include "smartwindow/QVSmartWindowSourceViewCntrl.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace Name = SmartWindowNotification;

QVSmartWindowSplitViewCntrl::QVSmartWindowSplitViewCntrl(QWidget* sources, QWidget* content,
                                                         const StringTable& texts,
                                                         NotificationCenter& center)
    : CollapsingSplitter(sources, content, 0), m_texts(texts) {
    connect(this, &CollapsingSplitter::collapseDidChange, this, [this] { writeTitle(); });
    m_selectionObservation = center.observe(
        Name::kShowSelectedItems,
        [this](const Notification&) {
            if (isCollapsed()) writeTitle();
        },
        &Name::kShowSelectedItems);
}

void QVSmartWindowSplitViewCntrl::writeTitle() {
    const QString& shown = currentSelectedSourceName();
    const QString title = isCollapsed() && !shown.isEmpty()
                              ? StringTable::filled(m_texts.text("smart_window_name"_key), {shown})
                              : m_texts.text("smart_window_name_default"_key);
    window()->setWindowTitle(plainWindowTitle(title));
}

}  // namespace kestrin
