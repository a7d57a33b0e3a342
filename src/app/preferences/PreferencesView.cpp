// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/preferences/PreferencesView.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <array>
#include <utility>

#include "app/preferences/HelperSection.h"
#include "app/preferences/Notice.h"
#include "app/preferences/ShortcutsSection.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "erase/QVErrorDelegate.h"
#include "format/QVNumberUtilities.h"
#include "format/SettingsProblemText.h"
#include "widgets/Colors.h"
#include "widgets/ElidedLabel.h"
#include "widgets/Sheet.h"

namespace kestrin {
namespace {

constexpr char kDaysSetting[] = "how_many_days_for_new_log_file";
constexpr char kWriteLogSetting[] = "write_log";
constexpr std::array<long long, 4> kUsualDays = {0, 1, 7, 30};
constexpr int kColumns = 4;  // an indent, labels, fields, buttons
constexpr int kIndent = 8;
constexpr int kMargin = 16;
constexpr int kButtonPadding = 12;
constexpr int kFirstRow = 1;  // of the groups
constexpr int kLettersInLine = 72;
constexpr QSize kTitleAndButtons(8, 90);

/// The first row of a group, below its heading.
void addHeading(QGridLayout& grid, const QString& text) {
    const int row = grid.rowCount();
    auto* const heading = new QLabel(text);
    heading->setTextFormat(Qt::PlainText);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    alignToLeadingEdge(*heading);
    if (row > kFirstRow) heading->setContentsMargins(0, kMargin, 0, 0);
    grid.addWidget(heading, row, 0, 1, kColumns);
}

}  // namespace

PreferencesView::PreferencesView(const PreferencesServices& services) : m_services(services) {
    setObjectName(QStringLiteral("preferences"));
    setWindowTitle(m_services.texts.text("prefs_title"_key));
    setWindowFlags(kDialogFrame);
    m_scrollArea = new QScrollArea;
    m_scrollArea->setFrameShape(QFrame::NoFrame);
    m_scrollArea->setFocusPolicy(Qt::NoFocus);
    m_scrollArea->setWidget(makePage());
    m_scrollArea->widget()->installEventFilter(this);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->addWidget(m_scrollArea);
    m_edge = new QFrame;
    m_edge->setFrameStyle(QFrame::HLine | QFrame::Sunken);
    column->addWidget(m_edge);
    column->addLayout(makeButtons());
    connect(new QShortcut(QKeySequence(QKeySequence::Close), this), &QShortcut::activated, this,
            &QWidget::close);
    // Return would press the first of them, from wherever the focus is.
    for (QPushButton* const button : findChildren<QPushButton*>())
        button->setAutoDefault(false);
    colourBoxes();
    followProblem();
    fit();
}

void PreferencesView::showOn(QWidget* parent) {
    if (isVisible()) {
        setWindowState(windowState() & ~Qt::WindowMinimized);
    } else {
        m_isPlaced = false;
        makeSheet(*this, parent);
        show();
    }
    raise();
    activateWindow();
}

QWidget* PreferencesView::makePage() {
    auto* const page = new QWidget;
    auto* const grid = new QGridLayout(page);
    grid->setContentsMargins(kMargin, kMargin, kMargin, kIndent);
    grid->setColumnMinimumWidth(0, kIndent);
    grid->setColumnStretch(2, 1);
    grid->addWidget(makeProblem(), 0, 0, 1, kColumns);
    addShortcuts(*grid);
    addGeneral(*grid);
    addLog(*grid);
    addHelper(*grid);
    return page;
}

QWidget* PreferencesView::makeProblem() {
    m_problemRow = new QWidget;
    auto* const row = new QHBoxLayout(m_problemRow);
    row->setContentsMargins(0, 0, 0, kMargin);
    row->setSpacing(kIndent);
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    const QIcon sign = style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this);
    auto* const icon = new QLabel;
    icon->setPixmap(sign.pixmap(QSize(side, side), devicePixelRatioF()));
    m_problem = new Notice;
    row->addWidget(icon, 0, Qt::AlignTop);
    row->addWidget(m_problem, 1);
    return m_problemRow;
}

/// Shows as much of the page as the screen has room for. Until the window is in its place the
/// toolkit does not know that place, and a change of the size would move the window into the
/// corner.
void PreferencesView::fit() {
    if (isVisible() && !m_isPlaced) return;
    QWidget& page = *m_scrollArea->widget();
    page.ensurePolished();
    const int line = kLettersInLine * QFontMetrics(font()).averageCharWidth();
    const int width = std::max(page.minimumSizeHint().width(), line);
    page.setFixedSize(width, page.heightForWidth(width));
    const QSize room = screen()->availableSize() - kTitleAndButtons;
    QSize shown = page.size();
    const bool scrolls = page.height() > room.height();
    m_edge->setVisible(scrolls);
    if (scrolls) shown += {style()->pixelMetric(QStyle::PM_ScrollBarExtent), 0};
    m_scrollArea->setFixedSize(shown.boundedTo(room));
}

void PreferencesView::addShortcuts(QGridLayout& grid) {
    addHeading(grid, m_services.texts.text("prefs_shortcuts"_key));
    m_shortcuts = new ShortcutsSection(m_services, grid, this);
}

void PreferencesView::addGeneral(QGridLayout& grid) {
    addHeading(grid, m_services.texts.text("prefs_general"_key));
    for (QCheckBox* const box : {makeCheckBox("launch_at_login", "prefs_login"_key),
                                 makeCheckBox("show_alert", "prefs_ask"_key),
                                 makeCheckBox("delete_locked", "prefs_locked"_key)})
        grid.addWidget(box, grid.rowCount(), 1, 1, kColumns - 1);
}

void PreferencesView::addLog(QGridLayout& grid) {
    addHeading(grid, m_services.texts.text("prefs_log"_key));
    grid.addWidget(makeCheckBox(kWriteLogSetting, "prefs_write_log"_key), grid.rowCount(), 1, 1,
                   kColumns - 1);
    auto* const label = new QLabel(m_services.texts.text("prefs_log_days"_key));
    alignToLeadingEdge(*label);
    m_days = makeDays();
    label->setBuddy(m_days);
    auto* const show = new QPushButton(m_services.texts.text("prefs_show_logs"_key));
    show->setObjectName(QStringLiteral("show_logs"));
    connect(show, &QPushButton::clicked, this, &PreferencesView::showLogs);
    const int row = grid.rowCount();
    grid.addWidget(label, row, 1);
    grid.addWidget(m_days, row, 2);
    grid.addWidget(show, row, 3);
    follow(kWriteLogSetting, [this, label] {
        const bool writes = m_services.defaults.boolForKey(kWriteLogSetting);
        label->setEnabled(writes);
        m_days->setEnabled(writes);
    });
}

void PreferencesView::addHelper(QGridLayout& grid) {
    addHeading(grid, m_services.texts.text("prefs_helper"_key));
    new HelperSection(m_services, grid, this);
}

QLayout* PreferencesView::makeButtons() {
    auto* const row = new QHBoxLayout;
    row->setContentsMargins(kMargin, kIndent, kMargin, kMargin);
    row->setSpacing(kIndent);
    const auto add = [&](std::string_view text, const QString& name, auto clicked) {
        auto* const button = new QPushButton(m_services.texts.text(text));
        button->setObjectName(name);
        connect(button, &QPushButton::clicked, this, clicked);
        button->setMinimumWidth(button->sizeHint().width() + kButtonPadding);
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

/// Every change is written, whichever part of the window makes it.
void PreferencesView::followProblem() {
    for (const auto& [key, value] : defaultSettings())
        m_observations.push_back(
            m_services.defaults.observe("values." + key, UserDefaults::Notify::OnChange,
                                        [this](const auto&) { showProblem(); }));
    showProblem();
}

void PreferencesView::showProblem() {
    const auto problem = m_services.defaults.problem();
    m_problemRow->setVisible(problem.has_value());
    m_problem->setNotice(problem ? settingsProblemText(*problem, m_services.texts) : QString());
}

void PreferencesView::showLogs() {
    if (!m_services.showLogs || m_services.showLogs()) return;
    m_services.presenter.showMessagePanel(this, "prefs_no_logs"_key, "prefs_no_logs_mess"_key, {});
}

// --- Events ---

bool PreferencesView::eventFilter(QObject* watched, QEvent* event) {
    const bool isOfPage = watched == m_scrollArea->widget();
    if (isOfPage && event->type() == QEvent::LayoutRequest) fit();
    return QDialog::eventFilter(watched, event);
}

void PreferencesView::closeEvent(QCloseEvent* event) {
    event->accept();
    if (isVisible()) Q_EMIT willClose();
}

void PreferencesView::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) colourBoxes();
    if (event->type() != QEvent::ActivationChange || !isActiveWindow()) return;
    m_isPlaced = true;
    fit();
}

void PreferencesView::colourBoxes() {
    for (QCheckBox* const box : m_boxes)
        box->setPalette(checkBoxPalette(palette()));
}

}  // namespace kestrin
