// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DisplayFailure.h"

#include <unistd.h>

#include <QString>
#include <QStringList>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/StringTable.h"
#include "erase/DisplayName.h"

namespace kestrin {
namespace {

QtMessageHandler s_previous = nullptr;

/// "DISPLAY=:7": what the toolkit went by.
QStringList displaySettings() {
    QStringList settings;
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char* value = std::getenv(name);
        if (!value || !*value) continue;
        settings << QLatin1String(name) + QLatin1Char('=') + displayName(std::string_view(value));
    }
    return settings;
}

[[noreturn]] void leave() {
    const QString text =
        StringTable::filled(StringTable::sharedControl().text("app_no_display"_key),
                            {displaySettings().join(QStringLiteral(", "))});
    std::fprintf(stderr, "kestrin: %s\n", text.toUtf8().constData());
    ::_exit(kStatusNoDisplay);
}

void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type == QtFatalMsg) leave();
    const std::string_view category = context.category ? context.category : "";
    if (!category.starts_with("qt.qpa.")) s_previous(type, context, text);
}

}  // namespace

DisplayFailure::DisplayFailure() : m_previous(qInstallMessageHandler(handleMessage)) {
    s_previous = m_previous;
}

DisplayFailure::~DisplayFailure() {
    qInstallMessageHandler(m_previous);
}

}  // namespace kestrin
