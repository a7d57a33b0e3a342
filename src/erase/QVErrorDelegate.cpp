// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVErrorDelegate.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/MainThread.h"
#include "base/UserDefaults.h"
#include "format/DisplayName.h"
#include "format/QVInterfaceUtilities.h"

namespace kestrin {
namespace {

std::atomic<QVErrorDelegate*> s_shared{nullptr};

AlertModel::Style styleOf(bool treatsAsError) {
    return treatsAsError ? AlertModel::Style::Warning : AlertModel::Style::Informational;
}

QStringList titleNames(const QStringList& names) {
    QStringList shown;
    for (const QString& name : names)
        shown << titleName(name);
    return shown;
}

/// The first name that a title shows shortened, whole; empty when all fit.
QString firstCutName(const QStringList& names) {
    for (const QString& name : names) {
        const QString whole = displayName(name);
        if (whole != titleName(name)) return whole;
    }
    return {};
}

}  // namespace

QVErrorDelegate::QVErrorDelegate(AlertPanelFactory makePanel, const StringTable& texts,
                                 UserDefaults& defaults)
    : m_makePanel(std::move(makePanel)), m_texts(texts), m_defaults(defaults) {
    QVErrorDelegate* none = nullptr;
    s_shared.compare_exchange_strong(none, this);
}

QVErrorDelegate::~QVErrorDelegate() {
    QVErrorDelegate* self = this;
    s_shared.compare_exchange_strong(self, nullptr);
}

QVErrorDelegate* QVErrorDelegate::sharedControl() {
    return s_shared;
}

// --- Errors and messages ---

void QVErrorDelegate::showError(const ErrorReport& report) {
    if (report.error.empty()) return;
    const ErrorPanelInfo panel{report.error, report.message, report.additionalName,
                               {},           nullptr,        report.details};
    MainThread::postAndWait([&] { showErrorWithDict(panel); });
}

void QVErrorDelegate::showError(std::string_view error, std::string_view message,
                                const QStringList& additionalNames) {
    showError({std::string(error), std::string(message), additionalNames});
}

void QVErrorDelegate::showErrorForWindow(WindowHandle window, std::string_view infoMessage,
                                         std::string_view message,
                                         const QStringList& additionalNames) {
    if (infoMessage.empty()) return;
    const ErrorPanelInfo panel{
        std::string(infoMessage), std::string(message), additionalNames, {}, window};
    MainThread::postAndWait([&] { showErrorWithDict(panel); });
}

void QVErrorDelegate::showErrorWithDict(const ErrorPanelInfo& panel) {
    AlertModel model = panelModel(panel.error, panel.messKey, panel.names, Table::Errors);
    if (panel.mess_names)
        model.text = replaceContentOfString(model.text, titleNames(*panel.mess_names));
    model.details = panel.details;
    showPanel(model, panel.window);
}

void QVErrorDelegate::showMessagePanel(WindowHandle window, std::string_view infoMessage,
                                       std::string_view message,
                                       const QStringList& additionalNames) {
    if (infoMessage.empty()) return;
    MainThread::postAndWait([&] {
        showPanel(panelModel(infoMessage, message, additionalNames, Table::Default), window);
    });
}

bool QVErrorDelegate::showMessagePanelWithView(std::string_view infoMessage,
                                               std::string_view message,
                                               const QStringList& additionalNames,
                                               std::string_view preferenceKey, bool treatsAsError) {
    if (m_defaults.boolForKey(preferenceKey)) return false;
    bool wasShown = false;
    MainThread::postAndWait([&] {
        AlertModel model =
            panelModel(infoMessage, message, additionalNames, tableOf(treatsAsError));
        wasShown = runSuppressible(model, preferenceKey).has_value();
    });
    return wasShown;
}

// --- Questions ---

int QVErrorDelegate::askToTheUser(const Question& question) {
    int result = question.notAnswered;
    MainThread::postAndWait([&] { result = askToTheUserWithDict(question); });
    return result;
}

int QVErrorDelegate::askToTheUserWithDict(const Question& question) {
    AlertModel model = questionModel(question);
    if (question.showView) model.suppressionTitle = m_texts.text("apply_to_all"_key);
    m_lastResult = 0;
    std::unique_ptr<AlertPanel> panel = m_makePanel();
    if (!panel) return m_lastResult = question.notAnswered;
    const AlertPanel& shown = *panel;
    int result = 0;
    if (question.parentWindow) {
        beginSheet(std::move(panel), model, question.parentWindow,
                   [this](int answer) { m_lastResult = answer; });
    } else {
        m_lastResult = result = panel->runModal(model);
    }
    if (question.showView && question.viewStatus) *question.viewStatus = shown.suppressionIsOn();
    return result;
}

int QVErrorDelegate::askToTheUserWithView(const Question& question) {
    if (m_defaults.boolForKey(question.preferenceKey) != question.preferenceAsks)
        return kAlertFirstButton;
    int result = question.notAnswered;
    MainThread::postAndWait([&] { result = askToTheUserWithViewAndDict(question); });
    return result;
}

int QVErrorDelegate::askToTheUserWithViewAndDict(const Question& question) {
    m_lastResult = 0;
    AlertModel model = questionModel(question);
    return m_lastResult = runSuppressible(model, question.preferenceKey, !question.preferenceAsks)
                              .value_or(question.notAnswered);
}

// --- Helpers ---

QString QVErrorDelegate::replaceContentOfString(const QString& content, const QStringList& names) {
    return QVInterfaceUtilities::sharedControl().replaceContentOfString(content, names);
}

std::unique_ptr<AlertPanel> QVErrorDelegate::alertPanel() {
    std::unique_ptr<AlertPanel> panel;
    MainThread::postAndWait([&] { panel = m_makePanel(); });
    return panel;
}

StringTable::Table QVErrorDelegate::tableOf(bool treatsAsError) {
    return treatsAsError ? Table::Errors : Table::Default;
}

QString QVErrorDelegate::text(std::string_view key, Table table) const {
    return key.empty() ? QString() : m_texts.text(key, table);
}

AlertModel QVErrorDelegate::panelModel(std::string_view title, std::string_view message,
                                       const QStringList& names, Table table) const {
    AlertModel model{.notAnswered = kAlertFirstButton};  // its only one
    model.style = styleOf(table == Table::Errors);
    model.title = replaceContentOfString(text(title, table), titleNames(names));
    model.text = text(message, table);
    model.fullName = firstCutName(names);
    return model;
}

AlertModel QVErrorDelegate::questionModel(const Question& question) const {
    const Table table = tableOf(question.treatsAsError);
    AlertModel model =
        panelModel(question.question, question.message, question.additionalNames, table);
    model.notAnswered = question.notAnswered;
    model.topic = question.topic;
    model.buttons = {text(question.defaultButton, table), text(question.alternateButton, table),
                     text(question.otherButton, table)};
    if (!question.fullName.isEmpty()) model.fullName = displayName(question.fullName);
    return model;
}

void QVErrorDelegate::showPanel(const AlertModel& model, WindowHandle window) {
    std::unique_ptr<AlertPanel> panel = m_makePanel();
    if (!panel) return;
    if (window)
        beginSheet(std::move(panel), model, window, [](int) {});
    else
        panel->runModal(model);
}

void QVErrorDelegate::beginSheet(std::unique_ptr<AlertPanel> panel, const AlertModel& model,
                                 WindowHandle window, std::function<void(int)> answered) {
    AlertPanel* const sheet = m_sheets.emplace_back(std::move(panel)).get();
    sheet->beginSheet(model, window, [this, sheet, answered = std::move(answered)](int result) {
        answered(result);
        closeSheet(sheet);
    });
}

/// The panel is still busy with the call that brought its answer: it goes in a later one.
void QVErrorDelegate::closeSheet(const AlertPanel* sheet) {
    const auto found = std::ranges::find(m_sheets, sheet, &std::unique_ptr<AlertPanel>::get);
    if (found == m_sheets.end()) return;
    std::shared_ptr<AlertPanel> closing = std::move(*found);
    m_sheets.erase(found);
    MainThread::post([closing] {});
}

std::optional<int> QVErrorDelegate::runSuppressible(AlertModel& model,
                                                    std::string_view preferenceKey,
                                                    bool suppressed) {
    model.suppressionTitle = m_texts.text("suppression_message_text"_key);
    const std::unique_ptr<AlertPanel> panel = m_makePanel();
    if (!panel) return std::nullopt;
    const int result = panel->runModal(model);
    if (panel->suppressionIsOn()) m_defaults.set(preferenceKey, suppressed);
    return result;
}

}  // namespace kestrin
