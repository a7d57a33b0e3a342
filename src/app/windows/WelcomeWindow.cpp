// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/WelcomeWindow.h"

#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

#include "app/windows/ReleaseNotes.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "widgets/Colors.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

constexpr int kSpacing = 12;

QLabel* plainLabel(const QString& text) {
    auto* const label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    alignToLeadingEdge(*label);
    return label;
}

QLabel* shortcutLabel(const char* name) {
    QLabel* const label = plainLabel({});
    label->setObjectName(QLatin1String(name));
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    return label;
}

}  // namespace

WelcomeWindow::WelcomeWindow(const WindowServices& services)
    : SmallWindow(services.texts.text("welcome_title"_key)),
      m_services(services),
      m_emptyAll(shortcutLabel("empty_trash")),
      m_smartWindow(shortcutLabel("smart_delete")) {
    auto* const column = new QVBoxLayout;
    column->addWidget(titleLabel(m_services.texts.text("welcome_title"_key)));
    column->addWidget(paragraph(QStringLiteral("text"), m_services.texts.text("welcome_text"_key)));
    column->addSpacing(kSpacing);
    column->addLayout(makeShortcuts());
    column->addSpacing(kSpacing);
    column->addWidget(makeLogin());
    auto* const head = new QHBoxLayout;
    head->setSpacing(kSpacing);
    head->addWidget(iconLabel(*this), 0, Qt::AlignTop);
    head->addLayout(column, 1);
    auto* const layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addLayout(head);
    addButtons(*addButtonRow(*layout));
    showShortcuts();
}

QLayout* WelcomeWindow::makeShortcuts() {
    auto* const grid = new QGridLayout;
    grid->setHorizontalSpacing(2 * kSpacing);
    const auto add = [&](int row, std::string_view key, QLabel* shortcut) {
        grid->addWidget(plainLabel(m_services.texts.text(key)), row, 0);
        grid->addWidget(shortcut, row, 1);
    };
    add(0, "welcome_empty_all"_key, m_emptyAll);
    add(1, "welcome_smart_window"_key, m_smartWindow);
    grid->setColumnStretch(1, 1);
    if (m_services.observeShortcuts)
        m_shortcutObservation = m_services.observeShortcuts([this] { showShortcuts(); });
    return grid;
}

QWidget* WelcomeWindow::makeLogin() {
    m_login = new QCheckBox(m_services.texts.text("welcome_login"_key));
    m_login->setObjectName(QStringLiteral("login"));
    m_login->setPalette(checkBoxPalette(palette()));
    UserDefaults& defaults = m_services.defaults;
    m_loginObservation = defaults.observe(
        "values.launch_at_login", UserDefaults::Notify::NowAndOnChange, [this](const auto&) {
            m_login->setChecked(m_services.defaults.boolForKey("launch_at_login"));
        });
    connect(m_login, &QCheckBox::clicked, this,
            [&defaults](bool isOn) { defaults.set("launch_at_login", isOn); });
    return m_login;
}

void WelcomeWindow::addButtons(QBoxLayout& row) {
    const StringTable& texts = m_services.texts;
    if (m_services.showPreferences) {
        connect(addButton(row, "shortcuts_button", texts.text("welcome_shortcuts_button"_key)),
                &QPushButton::clicked, this, m_services.showPreferences);
    }
    row.addStretch();
    if (m_services.openSmartWindow) {
        connect(addButton(row, "open_button", texts.text("welcome_open_button"_key)),
                &QPushButton::clicked, this, [this] {
                    close();  // the other window comes in the place of this one
                    m_services.openSmartWindow();
                });
    }
    addDoneButton(row, *this, texts.text("done_button"_key));
}

void WelcomeWindow::showShortcuts() {
    const auto show = [this](QLabel& label, std::string_view key, std::string_view command) {
        const auto keys = m_services.shortcutText ? m_services.shortcutText(key) : QString();
        const bool works = keys && !keys->isEmpty();
        const auto without = keys ? "welcome_no_shortcut"_key : "welcome_shortcut_asked"_key;
        label.setText(works ? *keys : m_services.texts.text(without));
        label.setEnabled(works);
        label.setAccessibleName(
            StringTable::filled(m_services.texts.text("welcome_shortcut"_key),
                                {m_services.texts.text(command), label.text()}));
    };
    show(*m_emptyAll, "empty_trash", "welcome_empty_all"_key);
    show(*m_smartWindow, "smart_delete", "welcome_smart_window"_key);
}

void WelcomeWindow::changeEvent(QEvent* event) {
    SmallWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_login)
        m_login->setPalette(checkBoxPalette(palette()));
}

void showWelcomeWindow(const WindowServices& services) {
    showOne<WelcomeWindow>(services);
    if (!services.defaults.boolForKey("is_first_run")) return;
    services.defaults.setQuietly("is_first_run", false);
    // A new user is told what is new from the next version on.
    keepRunningVersion(services.shownVersionFile);
    services.center.post("openForTheFirstTime", &kBundleIdentifier);
}

}  // namespace kestrin
