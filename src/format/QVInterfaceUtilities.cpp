// SPDX-License-Identifier: GPL-3.0-or-later
#include "format/QVInterfaceUtilities.h"

namespace kestrin {

QVInterfaceUtilities& QVInterfaceUtilities::sharedControl() {
    static QVInterfaceUtilities shared;
    return shared;
}

QString QVInterfaceUtilities::replaceContentOfString(QString text,
                                                     const QStringList& strings) const {
    constexpr QLatin1String placeholder("%@");
    for (const QString& string : strings) {
        const qsizetype position = text.indexOf(placeholder);
        if (position < 0) break;
        text.replace(position, placeholder.size(), string);
    }
    return text;
}

}  // namespace kestrin
