// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/preferences/PreferencesView.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStyle>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "app/preferences/HelperSection.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "format/QVNumberUtilities.h"
#include "widgets/Colors.h"
#include "widgets/Sheet.h"

namespace kestrin {
namespace {

constexpr char kDaysSetting[] = "how_many_days_for_new_log_file";
constexpr char kWriteLogSetting[] = "write_log";
constexpr std::array<long long, 4> kUsualDays = {0, 1, 7, 30};

/// A heading that begins a group; `grid` goes on below it.
void addHeading(QGridLayout& grid, const QString& text) {
    const int row = grid.rowCount();
    auto* const heading = new QLabel(text);
    heading->setTextFormat(Qt::PlainText);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    const int gap = heading->style()->pixelMetric(QStyle::PM_LayoutVerticalSpacing);
    if (row > 1) grid.setRowMinimumHeight(row, 2 * gap);
    grid.addWidget(heading, row + 1, 0, 1, 2);
}

}  // namespace

PreferencesView::PreferencesView(const PreferencesServices& services) : m_services(services) {
    setObjectName(QStringLiteral("preferences"));
    setWindowTitle(m_services.texts.text("prefs_title"_key));
    setWindowFlags(kDialogFrame);
    auto* const column = new QVBoxLayout(this);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->addLayout(makeGroups());
    column->addLayout(makeRestoreButtons());
    for (const auto key : {QKeySequence::Close, QKeySequence::Cancel})
        connect(new QShortcut(QKeySequence(key), this), &QShortcut::activated, this,
                &QWidget::close);
    colourBoxes();
}

void PreferencesView::showOn(QWidget* parent) {
    if (isVisible()) {
        setWindowState(windowState() & ~Qt::WindowMinimized);
    } else {
        if (parent != this) makeSheet(*this, parent);
        show();
    }
    raise();
    activateWindow();
}

QLayout* PreferencesView::makeGroups() {
    auto* const grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    addGeneral(*grid);
    addLog(*grid);
    addHelper(*grid);
    return grid;
}

void PreferencesView::addGeneral(QGridLayout& grid) {
    addHeading(grid, m_services.texts.text("prefs_general"_key));
    for (QCheckBox* const box : {makeCheckBox("launch_at_login", "prefs_login"_key),
                                 makeCheckBox("show_alert", "prefs_ask"_key),
                                 makeCheckBox("delete_locked", "prefs_locked"_key)})
        grid.addWidget(box, grid.rowCount(), 0, 1, 2);
}

void PreferencesView::addLog(QGridLayout& grid) {
    addHeading(grid, m_services.texts.text("prefs_log"_key));
    grid.addWidget(makeCheckBox(kWriteLogSetting, "prefs_write_log"_key), grid.rowCount(), 0, 1, 2);
    auto* const label = new QLabel(m_services.texts.text("prefs_log_days"_key));
    m_days = makeDays();
    label->setBuddy(m_days);
    auto* const show = new QPushButton(m_services.texts.text("prefs_show_logs"_key));
    show->setObjectName(QStringLiteral("show_logs"));
    connect(show, &QPushButton::clicked, this, &PreferencesView::showLogs);
    const int row = grid.rowCount();
    grid.addWidget(label, row, 0);
    grid.addWidget(m_days, row, 1);
    grid.addWidget(show, row, 2);
    follow(kWriteLogSetting, [this, label] {
        const bool writes = m_services.defaults.boolForKey(kWriteLogSetting);
        label->setEnabled(writes);
        m_days->setEnabled(writes);
    });
}

void PreferencesView::addHelper(QGridLayout& grid) {
    addHeading(grid, m_services.texts.text("prefs_helper"_key));
    grid.addWidget(new HelperSection(m_services), grid.rowCount(), 0, 1, 3);
}

QLayout* PreferencesView::makeRestoreButtons() {
    auto* const row = new QHBoxLayout;
    const auto add = [&](std::string_view text, const QString& name, auto clicked) {
        auto* const button = new QPushButton(m_services.texts.text(text));
        button->setObjectName(name);
        connect(button, &QPushButton::clicked, this, clicked);
        row->addWidget(button);
    };
    row->addStretch();
    add("prefs_restore_values"_key, QStringLiteral("restore_values"),
        &PreferencesView::restoreValuesClicked);
    add("prefs_restore_warnings"_key, QStringLiteral("restore_warnings"),
        &PreferencesView::restoreWarningsClicked);
    return row;
}

// --- Fields and settings ---

/// Calls `show` at once, and whenever the setting changes.
void PreferencesView::follow(const std::string& key, std::function<void()> show) {
    m_observations.push_back(
        m_services.defaults.observe("values." + key, UserDefaults::Notify::NowAndOnChange,
                                    [show = std::move(show)](const auto&) { show(); }));
}

QCheckBox* PreferencesView::makeCheckBox(const std::string& key, std::string_view text) {
    auto* const box = new QCheckBox(m_services.texts.text(text));
    box->setObjectName(QString::fromStdString(key));
    m_boxes.push_back(box);
    follow(key, [this, box, key] {
        const QSignalBlocker blocker(box);
        box->setChecked(m_services.defaults.boolForKey(key));
    });
    connect(box, &QCheckBox::toggled, this,
            [this, key](bool isOn) { m_services.defaults.set(key, isOn); });
    return box;
}

QComboBox* PreferencesView::makeDays() {
    auto* const days = new QComboBox;
    days->setObjectName(QLatin1String(kDaysSetting));
    m_days = days;
    follow(kDaysSetting, [this] { showDays(); });
    connect(days, &QComboBox::activated, this, [this, days](int index) {
        m_services.defaults.set(kDaysSetting, days->itemData(index));
    });
    return days;
}

/// The usual numbers, and the one that somebody wrote into the file.
void PreferencesView::showDays() {
    const long long set = std::max(m_services.defaults.integerForKey(kDaysSetting), 0LL);
    std::vector<long long> choices(kUsualDays.begin(), kUsualDays.end());
    if (std::ranges::find(choices, set) == choices.end())
        choices.insert(std::ranges::upper_bound(choices, set), set);
    m_days->clear();
    for (const long long days : choices) {
        const QString text =
            days == 0 ? m_services.texts.text("prefs_log_each"_key)
                      : StringTable::filled(
                            m_services.texts.text("prefs_log_every"_key,
                                                  StringTable::Table::Default, days),
                            {m_services.numbers.numberToFormatString(static_cast<double>(days))});
        m_days->addItem(text, days);
    }
    m_days->setCurrentIndex(m_days->findData(set));
}

void PreferencesView::showLogs() {
    if (!m_services.showLogs || m_services.showLogs()) return;
    m_services.presenter.showMessagePanel(this, "prefs_no_logs"_key, "prefs_no_logs_mess"_key, {});
}

// --- Events ---

void PreferencesView::closeEvent(QCloseEvent* event) {
    event->accept();
    if (isVisible()) Q_EMIT willClose();
}

void PreferencesView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) colourBoxes();
}

void PreferencesView::colourBoxes() {
    for (QCheckBox* const box : m_boxes)
        box->setPalette(checkBoxPalette(palette()));
}

}  // namespace kestrin
