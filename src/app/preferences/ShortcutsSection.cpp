// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/preferences/ShortcutsSection.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <algorithm>
#include <utility>

#include "app/preferences/Notice.h"
#include "app/preferences/ShortcutRecorder.h"
#include "base/StringTable.h"
#include "platform/desktop/ui/HotKeys.h"
#include "platform/desktop/ui/KeyNames.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {

ShortcutsSection::ShortcutsSection(const PreferencesServices& services, QGridLayout& grid,
                                   QObject* parent)
    : QObject(parent),
      m_services(services),
      m_rows{Row{"empty_trash", services.texts.text("prefs_keys_of_empty_all"_key),
                 services.emptyAllCommand},
             Row{"smart_delete", services.texts.text("prefs_keys_of_smart_window"_key),
                 services.smartWindowCommand}} {
    addRow(m_rows[0], grid, "prefs_empty_all"_key);
    addRow(m_rows[1], grid, "prefs_smart_window"_key);
    addFoot(grid);
    if (HotKeyCenter* const hotKeys = services.hotKeys) {
        connect(hotKeys, &HotKeyCenter::changed, this, &ShortcutsSection::showAll);
        hotKeys->retry();
    }
    showAll();
}

void ShortcutsSection::addRow(Row& row, QGridLayout& grid, std::string_view title) {
    const int at = grid.rowCount();
    row.label = new QLabel(m_services.texts.text(title));
    alignToLeadingEdge(*row.label);
    row.recorder =
        new ShortcutRecorder(m_services.texts, row.what, m_services.hotKeys,
                             [this, &row](const auto& keys) { return judge(row, keys); });
    row.recorder->setObjectName(QString::fromStdString(row.setting));
    connect(row.recorder, &ShortcutRecorder::clearPressed, this, [this, &row] { clear(row); });
    connect(row.recorder, &ShortcutRecorder::recordingBegan, this, [this, &row] {
        row.refusal.clear();
        show(row);
    });
    row.field = new QLineEdit;
    row.field->setReadOnly(true);
    row.field->setAccessibleName(row.what);
    row.notice = new Notice;
    grid.addWidget(row.label, at, 1);
    grid.addWidget(row.recorder, at, 2, 1, 2);
    grid.addWidget(row.field, at, 2, 1, 2);
    grid.addWidget(row.notice, at + 1, 2, 1, 2);
}

void ShortcutsSection::addFoot(QGridLayout& grid) {
    const int at = grid.rowCount();
    m_foot = new Notice;
    m_configure = new QPushButton(m_services.texts.text("prefs_keys_configure"_key));
    m_configure->setObjectName(QStringLiteral("configure_keys"));
    connect(m_configure, &QPushButton::clicked, this, [this] { m_services.hotKeys->configure(); });
    grid.addWidget(m_foot, at, 1, 1, 2);
    grid.addWidget(m_configure, at, 3, Qt::AlignTop);
}

// --- What is shown ---

bool ShortcutsSection::isManagedByDesktop() const {
    return m_services.hotKeys && m_services.hotKeys->way() == HotKeyCenter::Way::Portal;
}

/// Whether the keys are set in a dialog of the desktop, and so not here.
bool ShortcutsSection::canConfigure() const {
    return m_services.hotKeys && m_services.hotKeys->canConfigure();
}

bool ShortcutsSection::isUnanswered() const {
    return m_services.hotKeys && m_services.hotKeys->way() == HotKeyCenter::Way::Unknown;
}

bool ShortcutsSection::hasNoHotKeys() const {
    return m_services.hotKeys && m_services.hotKeys->way() == HotKeyCenter::Way::None;
}

void ShortcutsSection::setupHotKeys() {
    showAll();
}

void ShortcutsSection::settingDidChange(std::string_view setting) {
    const auto row = std::ranges::find(m_rows, setting, &Row::setting);
    if (row != m_rows.end()) row->isCleared = false;
    setupHotKeys();
}

void ShortcutsSection::showAll() {
    for (const Row& row : m_rows)
        show(row);
    showFoot();
}

void ShortcutsSection::show(const Row& row) {
    const bool showsCommand = hasNoHotKeys();
    const bool isFixed = showsCommand || canConfigure();
    const QString keys = shownText(row);
    row.recorder->setVisible(!isFixed);
    row.recorder->setShownText(keys);
    row.field->setVisible(isFixed);
    const QString text = showsCommand ? row.command : keys;
    row.field->setText(text.isEmpty() ? m_services.texts.text("prefs_keys_none"_key) : text);
    row.field->setCursorPosition(0);
    row.label->setBuddy(isFixed ? static_cast<QWidget*>(row.field) : row.recorder->button());
    row.notice->setNotice(showsCommand ? QString() : note(row));
}

void ShortcutsSection::showFoot() {
    const auto text = [&](std::string_view key) { return m_services.texts.text(key); };
    m_configure->setVisible(canConfigure());
    if (hasNoHotKeys()) return m_foot->setNotice(text("prefs_keys_no_way"_key));
    if (isUnanswered()) return m_foot->setNotice(text("prefs_keys_pending"_key));
    m_foot->setNotice(isManagedByDesktop() ? text("prefs_keys_of_desktop"_key) : QString());
}

QString ShortcutsSection::shownText(const Row& row) const {
    if (row.isCleared) return {};
    if (isManagedByDesktop()) {
        const QString text = m_services.hotKeys->shownText(row.identifier());
        if (canConfigure() || !text.isEmpty()) return text;
    }
    const auto shortcut = stored(row);
    return shortcut ? shortcutText(*shortcut) : QString();
}

QString ShortcutsSection::note(const Row& row) const {
    if (!row.refusal.isEmpty()) return row.refusal;
    if (row.isCleared)
        return StringTable::filled(m_services.texts.text("prefs_keys_default"_key),
                                   {shortcutText(defaultOf(row))});
    return m_services.hotKeys && !isUnanswered() ? noteOfState(row) : QString();
}

QString ShortcutsSection::noteOfState(const Row& row) const {
    const StringTable& texts = m_services.texts;
    const QStringList names{shownText(row)};
    switch (m_services.hotKeys->state(row.identifier())) {
        case HotKeyCenter::State::Registered:
            return {};
        case HotKeyCenter::State::Pending:
            return texts.text("prefs_keys_pending"_key);
        case HotKeyCenter::State::Taken:
            if (isManagedByDesktop()) break;
            return StringTable::filled(texts.text("prefs_keys_taken"_key), names);
        case HotKeyCenter::State::Unavailable:
            if (isManagedByDesktop()) break;
            return StringTable::filled(texts.text("prefs_keys_unavailable"_key), names);
    }
    return texts.text("prefs_keys_refused"_key);
}

std::optional<Shortcut> ShortcutsSection::stored(const Row& row) const {
    return Shortcut::fromDictionary(m_services.defaults.dictionaryForKey(row.setting));
}

Shortcut ShortcutsSection::defaultOf(const Row& row) const {
    const QVariant value = generalDefaultSettings().at(row.setting);
    return Shortcut::fromDictionary(value.toMap()).value_or(Shortcut());
}

// --- What the user does ---

bool ShortcutsSection::judge(Row& row, const std::optional<Shortcut>& keys) {
    row.refusal = refusalOf(row, keys);
    const bool isNew = row.isCleared || stored(row) != keys;
    if (row.refusal.isEmpty() && isNew) {
        row.isCleared = false;
        m_services.defaults.set(row.setting, keys->dictionaryRepresentation());
    }
    show(row);
    return row.refusal.isEmpty();
}

QString ShortcutsSection::refusalOf(const Row& row, const std::optional<Shortcut>& keys) const {
    const StringTable& texts = m_services.texts;
    if (!keys) return texts.text("prefs_keys_unknown"_key);
    if (!isAllowed(*keys)) return texts.text("prefs_keys_need_modifier"_key);
    const QString name = shortcutText(*keys);
    if (const QString other = holder(row, *keys); !other.isEmpty())
        return StringTable::filled(texts.text("prefs_keys_taken_by"_key), {name, other});
    if (m_services.hotKeys && m_services.hotKeys->isTaken(*keys, row.identifier()))
        return StringTable::filled(texts.text("prefs_keys_taken"_key), {name});
    return {};
}

/// What of this program has these keys already; empty for nothing.
QString ShortcutsSection::holder(const Row& row, const Shortcut& keys) const {
    for (const Row& other : m_rows)
        if (&other != &row && !other.isCleared && stored(other) == keys) return other.what;
    return {};
}

/// The default comes back when the window closes; until then the hot key does not work.
void ShortcutsSection::clear(Row& row) {
    row.isCleared = true;
    row.refusal.clear();
    if (m_services.hotKeys) m_services.hotKeys->unregisterHotKey(row.identifier());
    show(row);
}

/// What was recorded is stored already.
void ShortcutsSection::saveHotKey() {
    for (Row& row : m_rows) {
        if (!std::exchange(row.isCleared, false)) continue;
        m_services.defaults.set(row.setting, defaultOf(row).dictionaryRepresentation());
    }
}

}  // namespace kestrin
