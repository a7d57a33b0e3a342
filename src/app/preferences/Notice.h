// SPDX-License-Identifier: GPL-3.0-or-later
// A text of the preferences that may be there or not. Main thread only.
#pragma once

#include <QLabel>

namespace kestrin {

/// Lines of plain text, as wide as there is room and as high as they need. Without a text it takes
/// no room. A text that comes while it can be seen is told to assistive tools.
class Notice : public QLabel {
    Q_OBJECT

 public:
    Notice();

    void setNotice(const QString& text);
};

}  // namespace kestrin
