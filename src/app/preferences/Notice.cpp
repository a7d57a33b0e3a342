// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/preferences/Notice.h"

#include <QAccessible>

#include "widgets/ElidedLabel.h"

namespace kestrin {

Notice::Notice() {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    alignToLeadingEdge(*this);
    // A command or a path in it can be copied.
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    hide();
}

void Notice::setNotice(const QString& text) {
    if (text == this->text()) return;
    setText(text);
    setVisible(!text.isEmpty());
    if (!isVisible()) return;
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

}  // namespace kestrin
