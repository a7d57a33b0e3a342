// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/InformationWindow.h"

#include <QLabel>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "app/windows/ReleaseNotes.h"
#include "base/StringTable.h"

namespace kestrin {
namespace {

constexpr QSize kTextSize(560, 380);
constexpr int kIndent = 20;

}  // namespace

InformationWindow::InformationWindow(const WindowServices& services, const QVersionNumber& after)
    : SmallWindow(StringTable::filled(services.texts.text("info_title"_key),
                                      {runningVersion().toString()})) {
    auto* const changes = new QTextBrowser;
    changes->setObjectName(QStringLiteral("changes"));
    changes->setAccessibleName(windowTitle());
    changes->setOpenLinks(false);
    changes->setMarkdown(changesAfter(after));
    changes->setMinimumSize(kTextSize / 2);
    changes->document()->setIndentWidth(kIndent);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(titleLabel(windowTitle()));
    layout->addWidget(changes, 1);
    QBoxLayout* const buttons = addButtonRow(*layout);
    buttons->addStretch();
    addDoneButton(*buttons, *this, services.texts.text("done_button"_key));
    resize(kTextSize);
}

void showInformationWindow(const WindowServices& services) {
    showOne<InformationWindow>(services, QVersionNumber());
}

void showInformationWindowIfNew(const WindowServices& services) {
    const QVersionNumber kept = keptVersion(services.shownVersionFile);
    if (!isNewer(runningVersion(), kept)) return;
    const bool isKept = keepRunningVersion(services.shownVersionFile);
    if (isKept && !kept.isNull()) showOne<InformationWindow>(services, kept);
}

}  // namespace kestrin
