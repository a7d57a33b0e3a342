// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DisplayFailure.h"

#include <unistd.h>

#include <QString>
#include <QStringList>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

#include "base/StringTable.h"
#include "format/DisplayName.h"

namespace kestrin {
namespace {

/// A message of the toolkit that is kept back.
struct Message {
    QtMsgType type;
    QString text;
};
std::mutex s_mutex;  // guards what follows: threads of the toolkit speak, too
std::vector<Message> s_heldBack;

/// The variable that named the display, as "DISPLAY=:7".
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

/// Some plugins name no category when they speak of displays, so no message passes before it is
/// known how the start ended.
void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type == QtFatalMsg) leave();
    const std::string_view category = context.category ? context.category : "";
    if (category.starts_with("qt.qpa.")) return;
    const std::lock_guard lock(s_mutex);
    s_heldBack.push_back({type, text});
}

}  // namespace

DisplayFailure::DisplayFailure() : m_previous(qInstallMessageHandler(handleMessage)) {}

DisplayFailure::~DisplayFailure() {
    qInstallMessageHandler(m_previous);
    const std::lock_guard lock(s_mutex);
    for (const Message& message : std::exchange(s_heldBack, {}))
        m_previous(message.type, QMessageLogContext(), message.text);
}

}  // namespace kestrin
