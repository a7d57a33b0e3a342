// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/WidgetAlertPanel.h"

#include <QApplication>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "erase/ui/AlertDialog.h"
#include "erase/ui/QVProgressWindow.h"
#include "widgets/Sheet.h"

namespace kestrin {
namespace {

bool aWindowStaysOnTop() {
    return std::ranges::any_of(QGuiApplication::topLevelWindows(), [](const QWindow* window) {
        return window->isVisible() && window->flags().testFlag(Qt::WindowStaysOnTopHint);
    });
}

/// The window that an alert is about: a sheet or the progress that waits for its answer, else the
/// one that the user works in; nullptr when there is none.
const QWidget* windowBelow() {
    if (const QWidget* const modal = QApplication::activeModalWidget()) return modal;
    if (const QWidget* const progress = QVProgressWindow::shown()) return progress;
    return QApplication::activeWindow();
}

}  // namespace

WidgetAlertPanel::WidgetAlertPanel(const StringTable& texts) : m_texts(texts) {}

WidgetAlertPanel::~WidgetAlertPanel() = default;

AlertDialog& WidgetAlertPanel::makeDialog(const AlertModel& model) {
    m_dialog = std::make_unique<AlertDialog>(model, m_texts);
    m_dialog->setSizeLine(m_sizeLine, m_isSpinning);
    return *m_dialog;
}

int WidgetAlertPanel::runModal(const AlertModel& model) {
    AlertDialog& dialog = makeDialog(model);
    dialog.setWindowModality(Qt::ApplicationModal);
    // Below such a window the alert would not be seen.
    if (aWindowStaysOnTop()) dialog.setWindowFlag(Qt::WindowStaysOnTopHint);
    // Desktops keep a window in front of the one that it belongs to. Without that a window that
    // opens at the same moment may cover the question.
    dialog.winId();
    if (const QWidget* const below = windowBelow())
        dialog.windowHandle()->setTransientParent(below->windowHandle());
    dialog.bringToFront();
    dialog.exec();
    // An event loop that ended from outside leaves the dialog without an answer.
    if (dialog.result() < kAlertFirstButton) dialog.reject();
    return dialog.result();
}

void WidgetAlertPanel::beginSheet(const AlertModel& model, WindowHandle parent,
                                  std::function<void(int)> answered) {
    AlertDialog& dialog = makeDialog(model);
    QWidget* const widget = livingWidget(parent);
    makeSheet(dialog, widget);
    // Queued: whoever hears the answer may let go of the panel, and the dialog with it.
    QObject::connect(&dialog, &QDialog::finished, &dialog, std::move(answered),
                     Qt::QueuedConnection);
    if (parent && !widget) return dialog.reject();
    if (widget) QObject::connect(widget->window(), &QObject::destroyed, &dialog, &QDialog::reject);
    dialog.bringToFront();
}

bool WidgetAlertPanel::suppressionIsOn() const {
    return m_dialog && m_dialog->suppressionIsOn();
}

void WidgetAlertPanel::setSizeLine(const QString& text, bool spinning) {
    m_sizeLine = text;
    m_isSpinning = spinning;
    if (m_dialog) m_dialog->setSizeLine(text, spinning);
}

void WidgetAlertPanel::dismissAll() {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const dialog = qobject_cast<AlertDialog*>(widget);
        if (dialog && dialog->isVisible()) dialog->reject();
    }
}

}  // namespace kestrin
