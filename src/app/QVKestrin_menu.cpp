// SPDX-License-Identifier: GPL-3.0-or-later
// The status menu and its rows.
#include <QPalette>
#include <algorithm>
#include <utility>

#include "app/QVKestrin.h"
#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"
#include "platform/desktop/ui/TrashIcon.h"

namespace kestrin {

bool QVKestrin::setupStatusMenu() {
    m_kestrinMenu = std::make_unique<QMenu>();
    m_kestrinMenu->setObjectName(QStringLiteral("kestrinMenu"));
    m_subTrashMenu = new QMenu(m_kestrinMenu.get());
    m_subTrashMenu->setObjectName(QStringLiteral("subTrashMenu"));
    addCommandItems();
    connect(m_kestrinMenu.get(), &QMenu::aboutToShow, this, [this] {
        drawItems();
        menuNeedsUpdate(m_kestrinMenu.get());
    });
    connect(m_subTrashMenu, &QMenu::aboutToShow, this, [this] {
        menuWillOpen();
        menuNeedsUpdate(m_subTrashMenu);
        confinementRectForMenu(*m_subTrashMenu);
    });
    connect(m_subTrashMenu, &QMenu::aboutToHide, this, [this] { menuDidClose(); });

    setupStatusItem();
    if (!m_statusItem && !canDoWithoutStatusArea()) {
        quit();
        return false;
    }
    m_services.trashes.setChangeHandler([this] { trashesChanged(); });
    if (m_services.totals) m_services.totals->setChangeHandler([this] { updateStatusItem(); });
    updateStatusItem();
    m_services.trashes.refresh();
    addSubTrashMenu();
    setupHotKeys();
    return true;
}

void QVKestrin::setupStatusItem() {
    m_statusItem = m_services.makeStatusItem(*m_kestrinMenu);
}

void QVKestrin::statusAreaDidAppear() {
    if (m_statusItem || m_isEnding) return;
    setupStatusItem();
    updateStatusItem();
}

void QVKestrin::addCommandItems() {
    const auto add = [this](std::string_view textKey, int tag) {
        QAction* const item = m_kestrinMenu->addAction(m_services.texts.text(textKey));
        item->setData(tag);
        return item;
    };
    const auto addCommand = [&](std::string_view textKey, int tag) {
        connect(add(textKey, tag), &QAction::triggered, this, [this, tag] { mainMenuAction(tag); });
    };
    addCommand("app_empty_all"_key, MenuTag::kEmptyAll);
    addCommand("app_smart_window"_key, MenuTag::kSmartWindow);
    m_kestrinMenu->addSeparator();
    addCommand("menu_preferences"_key, MenuTag::kPreferences);
    connect(add("menu_updates"_key, MenuTag::kUpdates), &QAction::triggered, this,
            &QVKestrin::checkForUpdate);
    m_kestrinMenu->addMenu(makeServiceMenu());
    m_kestrinMenu->addSeparator();
    QAction* const end = add("app_quit"_key, 0);
    end->setMenuRole(QAction::QuitRole);
    connect(end, &QAction::triggered, this, &QVKestrin::quit);
}

QMenu* QVKestrin::makeServiceMenu() {
    m_serviceMenu = new QMenu(m_services.texts.text("menu_help"_key), m_kestrinMenu.get());
    const auto add = [this](std::string_view textKey, int tag) {
        QAction* const item = m_serviceMenu->addAction(m_services.texts.text(textKey));
        item->setData(tag);
        connect(item, &QAction::triggered, this, [this, tag] { serviceMenuAction(tag); });
    };
    add("menu_welcome"_key, ServiceTag::kWelcome);
    add("menu_newsletter"_key, ServiceTag::kNewsletter);
    m_serviceMenu->addSeparator();
    add("menu_tell_friend"_key, ServiceTag::kTellFriend);
    add("menu_contact"_key, ServiceTag::kContact);
    m_serviceMenu->addSeparator();
    add("menu_uninstall"_key, ServiceTag::kUninstall);
    return m_serviceMenu;
}

/// Draws the pictures when the menu is first looked at, and again when the desktop changes its
/// colours; the start of the program need not wait for them.
void QVKestrin::drawItems() {
    const QColor color = m_kestrinMenu->palette().color(QPalette::WindowText);
    const QColor active = m_kestrinMenu->palette().color(QPalette::HighlightedText);
    if (std::exchange(m_itemsColor, color) == color) return;
    itemWithTag(MenuTag::kEmptyAll)->setIcon(trashIcon(true, color, active));
    itemWithTag(MenuTag::kSmartWindow)->setIcon(toolIcon(Tool::SmartWindow, color, active));
    itemWithTag(MenuTag::kPreferences)->setIcon(toolIcon(Tool::Preferences, color, active));
}

QAction* QVKestrin::itemWithTag(int tag) const {
    for (const QMenu* menu : {m_kestrinMenu.get(), m_subTrashMenu}) {
        if (!menu) continue;
        const QList<QAction*> actions = menu->actions();
        const auto found = std::find_if(actions.begin(), actions.end(), [tag](QAction* action) {
            return action->data().toInt() == tag;
        });
        if (found != actions.end()) return *found;
    }
    return nullptr;
}

std::vector<QVDiskMenuItemView*> QVKestrin::submenuViews() const {
    std::vector<QVDiskMenuItemView*> views;
    for (const DiskRow& row : m_submenuViews)
        views.push_back(row.view);
    return views;
}

/// There is no submenu for a single trash: the item that empties all trashes does the same.
void QVKestrin::addSubTrashMenu() {
    QAction* const item = m_subTrashMenu->menuAction();
    const bool isThere = m_kestrinMenu->actions().contains(item);
    const bool isWanted = m_services.trashes.trashes().size() >= 2;
    if (isThere == isWanted) return;
    if (!isWanted) return m_kestrinMenu->removeAction(item);
    item->setText(m_services.texts.text("empty_bin_menu_item_title"_key));
    item->setData(MenuTag::kDisks);
    const QList<QAction*> actions = m_kestrinMenu->actions();
    const qsizetype next = actions.indexOf(itemWithTag(MenuTag::kEmptyAll)) + 1;
    m_kestrinMenu->insertAction(actions.value(next), item);
}

// --- Opening ---

void QVKestrin::menuNeedsUpdate(QMenu* menu) {
    if (menu == m_subTrashMenu) {
        m_menuTimer.reset();
        if (m_rowsAreStale && !m_isWorking) cleanSubMenuMemory();
        rebuildRows();
    }
    updateEnabledItems();
    m_services.trashes.refresh();
}

void QVKestrin::menuWillOpen() {
    m_menuIsOpen = true;
}

/// Announces the disks' menu by a sound. The empty answer lets menus stand anywhere on the screen.
QRect QVKestrin::confinementRectForMenu(const QMenu& menu) const {
    if (&menu == m_subTrashMenu && m_services.beep) m_services.beep();
    return {};
}

void QVKestrin::menuDidClose() {
    m_menuIsOpen = false;
    installEmptyTimer();
}

/// Called when answers of volumes have come, which may be while the menu is open.
void QVKestrin::trashesChanged() {
    addSubTrashMenu();
    if (m_menuIsOpen) rebuildRows();
    countForToolTip();
    updateStatusItem();
    if (m_services.watchTrashes) m_services.watchTrashes(m_services.trashes.trashes());
    tellOfUnusableTrashes();
}

/// Tells of each volume once. Where there is no submenu, nothing else would tell.
void QVKestrin::tellOfUnusableTrashes() {
    for (const ListedVolume& volume : m_services.trashes.volumes()) {
        const bool isUnusable =
            volume.state == ListedVolume::State::Usable
                ? volume.problem.has_value()
                : volume.state == ListedVolume::State::Unusable && volume.hasFailedForGood();
        if (!isUnusable || !m_toldUnusable.insert(volume.url).second || !m_services.tellUser)
            continue;
        m_services.tellUser(StringTable::filled(
            m_services.texts.text("app_trash_unusable"_key),
            {titleName(volume.name), displayName(volume.problem->localizedDescription())}));
    }
}

void QVKestrin::countForToolTip() {
    if (!m_services.totals || isErasing()) return;  // the end of an erase changes them
    std::vector<FileUrl> full;
    for (const TrashLocation& location : m_services.trashes.trashesToErase()) {
        if (!location.trashIsEmpty) full.push_back(location.trashURL);
    }
    m_services.totals->want(std::move(full));
}

void QVKestrin::rebuildRows() {
    const std::vector<RowContent> contents = rowContents();
    if (showsRows(contents)) {  // in place: the selection of an open menu stays
        for (std::size_t i = 0; i < contents.size(); ++i)
            setRow(m_submenuViews[i], contents[i], MenuTag::kFirstDisk + static_cast<int>(i));
        return;
    }
    for (const DiskRow& row : m_submenuViews)
        m_subTrashMenu->removeAction(row.action.get());
    if (contents.empty()) return;
    if (m_submenuViews.size() < contents.size()) {
        createMenuViews(contents.size() - m_submenuViews.size(), m_submenuViews.empty());
    }
    for (std::size_t i = 0; i < contents.size(); ++i) {
        // When another disk went, a row stays with its own one, whose trash it counted.
        const auto first = m_submenuViews.begin() + static_cast<std::ptrdiff_t>(i);
        const auto own = std::find_if(first, m_submenuViews.end(), [&](const DiskRow& row) {
            return isRowOf(row, contents[i]);
        });
        if (own != m_submenuViews.end()) std::iter_swap(first, own);
        addDiskMenuItem(contents[i], m_submenuViews[i], MenuTag::kFirstDisk + static_cast<int>(i));
    }
    while (m_submenuViews.size() > contents.size()) {
        dropRow(std::move(m_submenuViews.back()));
        m_submenuViews.pop_back();
    }
}

/// Empty when there is no submenu.
std::vector<QVKestrin::RowContent> QVKestrin::rowContents() const {
    std::vector<RowContent> rows;
    if (m_services.trashes.trashes().size() < 2) return rows;
    for (const ListedVolume& volume : m_services.trashes.volumes())
        addRowsOf(volume, rows);
    return rows;
}

void QVKestrin::addRowsOf(const ListedVolume& volume, std::vector<RowContent>& rows) const {
    const bool isUsable = volume.state == ListedVolume::State::Usable;
    const QString silent = m_services.texts.text("app_row_not_answering"_key);
    if (isUsable) {
        for (const TrashLocation& trash : volume.trashes)
            rows.push_back({trash, volume.answers ? QString() : silent});
    }
    const QString note = volumeNote(volume, m_services.texts);
    if (note.isEmpty() || (isUsable && !volume.problem)) return;
    rows.push_back({{{}, volume.url, volume.name, volume.url.path(), true}, note});
}

bool QVKestrin::isRowOf(const DiskRow& row, const RowContent& content) {
    const TrashLocation& shown = row.view->diskDict();
    return shown.trashURL == content.location.trashURL &&
           shown.volumePath == content.location.volumePath;
}

bool QVKestrin::showsRows(const std::vector<RowContent>& contents) const {
    const QList<QAction*> shown = m_subTrashMenu->actions();
    return !contents.empty() &&
           std::equal(m_submenuViews.begin(), m_submenuViews.end(), contents.begin(),
                      contents.end(), [&](const DiskRow& row, const RowContent& content) {
                          return isRowOf(row, content) && shown.contains(row.action.get());
                      });
}

// --- Rows ---

void QVKestrin::createMenuViews(std::size_t count, bool createNewArray) {
    if (createNewArray) m_submenuViews.clear();
    for (; count > 0; --count) {
        DiskRow row{std::make_unique<QWidgetAction>(nullptr)};
        row.view = new QVDiskMenuItemView(m_services.rows, *row.action);
        row.action->setDefaultWidget(row.view);
        connect(row.action.get(), &QAction::triggered, this,
                [this, view = row.view] { emptyHardDriveTrashAction(view); });
        connect(row.view, &QVDiskMenuItemView::counted, this, [this, view = row.view] {
            m_lastFigures[view->diskDict().trashURL] = view->info().value_or(QString());
            updateEnabledItems();
            updateStatusItem();
        });
        m_submenuViews.push_back(std::move(row));
    }
}

void QVKestrin::addDiskMenuItem(const RowContent& content, DiskRow& row, int menuItemTag) {
    setRow(row, content, menuItemTag);
    m_subTrashMenu->addAction(row.action.get());
}

void QVKestrin::setRow(DiskRow& row, const RowContent& content, int menuItemTag) {
    row.view->setDiskDict(content.location);
    const auto known = m_lastFigures.find(content.location.trashURL);
    row.view->setNote(content.note, known == m_lastFigures.end() ? QString() : known->second);
    row.mayBeFull = !content.location.trashIsEmpty && content.note.isEmpty();
    row.action->setData(menuItemTag);
    row.action->setToolTip(QString());
    row.action->setEnabled(row.mayBeFull && !m_isWorking);
    row.view->gatherIfNeeded();  // a host that draws the menu itself never shows the row
}

/// The row may still be on the stack: its disk can go during the question that its own action asks.
void QVKestrin::dropRow(DiskRow row) {
    m_subTrashMenu->removeAction(row.action.get());
    row.action.release()->deleteLater();
}

// --- Mounts ---

void QVKestrin::updateDisksSubmenu(bool added, const std::string& devicePath) {
    const bool wasOpen = std::exchange(m_menuIsOpen, true);
    if (!m_submenuViews.empty()) {
        if (added) {
            addMountedDisk(devicePath);
        } else {
            removeUnmountedDisk(devicePath);
        }
    }
    m_menuIsOpen = wasOpen;
}

void QVKestrin::addMountedDisk(const std::string& devicePath) {
    for (const RowContent& content : rowContents()) {
        const bool hasRow = std::any_of(m_submenuViews.begin(), m_submenuViews.end(),
                                        [&](const DiskRow& row) { return isRowOf(row, content); });
        if (content.location.volumePath != devicePath || hasRow) continue;
        createMenuViews(1, false);
        addDiskMenuItem(content, m_submenuViews.back(),
                        MenuTag::kFirstDisk - 1 + static_cast<int>(m_submenuViews.size()));
    }
}

void QVKestrin::removeUnmountedDisk(const std::string& devicePath) {
    for (std::size_t i = 0; i < m_submenuViews.size() && m_submenuViews.size() > 1;) {
        if (m_submenuViews[i].view->diskDict().volumePath != devicePath) {
            ++i;
            continue;
        }
        dropRow(std::move(m_submenuViews[i]));
        m_submenuViews.erase(m_submenuViews.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

// --- States ---

void QVKestrin::updateEnabledItems() {
    for (const int tag :
         {MenuTag::kPreferences, MenuTag::kSmartWindow, MenuTag::kEmptyAll, MenuTag::kUpdates}) {
        if (QAction* const item = itemWithTag(tag)) item->setEnabled(!m_isWorking);
    }
    for (QAction* const item : m_serviceMenu->actions())
        item->setEnabled(!m_isWorking);
    for (const DiskRow& row : m_submenuViews)
        row.action->setEnabled(row.mayBeFull && !m_isWorking);
}

void QVKestrin::updateStatusItem() {
    if (!m_statusItem) return;
    const auto trashes = m_services.trashes.trashes();
    m_statusItem->setTrashIsFull(
        std::any_of(trashes.begin(), trashes.end(),
                    [](const TrashLocation& location) { return !location.trashIsEmpty; }));
    m_statusItem->setToolTip(statusText());
}

/// None until all rows have counted.
std::optional<TrashFigures> QVKestrin::figuresOfRows() const {
    if (m_submenuViews.empty() || m_rowsAreStale) return std::nullopt;
    TrashFigures sum;
    for (const DiskRow& row : m_submenuViews) {
        if (!row.view->info() && !row.view->diskDict().trashIsEmpty) return std::nullopt;
        sum += {row.view->itemsSize(), row.view->itemsCount()};
    }
    return sum;
}

/// A text such as "3 trashes, 1,204 items, 3.40 GB", without figures that have not been counted.
/// What is known to be left out is named below it.
QString QVKestrin::statusText() const {
    QString notes;
    for (const ListedVolume& volume : m_services.trashes.volumes()) {
        const bool isNothingToEmpty =
            volume.state == ListedVolume::State::ReadOnly &&
            std::ranges::all_of(volume.trashes, &TrashLocation::trashIsEmpty);
        const QString note = isNothingToEmpty ? QString() : volumeNote(volume, m_services.texts);
        if (note.isEmpty()) continue;
        notes += u'\n' + StringTable::filled(m_services.texts.text("app_disk_row"_key),
                                             {titleName(volume.name), note});
    }
    return figuresText(!notes.isEmpty()) + notes;
}

/// What is said when no trash is known to hold anything.
QString QVKestrin::emptyText(bool somethingIsLeftOut) const {
    const auto isAsked = [](const ListedVolume& volume) {
        return volume.state == ListedVolume::State::Unknown && volume.answers;
    };
    const StringTable& texts = m_services.texts;
    if (!m_services.trashes.knowsTheMounts() ||
        std::ranges::any_of(m_services.trashes.volumes(), isAsked)) {
        return texts.text("app_looking"_key);
    }
    if (m_services.trashes.trashes().empty()) return texts.text("app_no_trash"_key);
    return texts.text(somethingIsLeftOut ? "app_usable_trashes_empty"_key
                                         : "app_all_trashes_empty"_key);
}

QString QVKestrin::figuresText(bool somethingIsLeftOut) const {
    const auto trashes = m_services.trashes.trashes();
    const auto number = [this](std::uint64_t value) {
        return m_services.numbers.numberToFormatString(static_cast<double>(value));
    };
    const auto text = [this](std::string_view key, std::uint64_t count) {
        return m_services.texts.text(key, StringTable::Table::Default,
                                     static_cast<long long>(count));
    };
    if (std::ranges::all_of(trashes, &TrashLocation::trashIsEmpty))
        return emptyText(somethingIsLeftOut);
    QString volumes =
        StringTable::filled(text("app_trashes"_key, trashes.size()), {number(trashes.size())});
    std::optional<TrashFigures> known = figuresOfRows();
    if (!known && m_services.totals) known = m_services.totals->figures();
    if (!known) return volumes;
    const QString figures = StringTable::filled(
        text("items_size"_key, known->count),
        {number(known->count), m_services.numbers.sizeToFormatString(known->size, 4, true)});
    return StringTable::filled(m_services.texts.text("app_tool_tip"_key), {volumes, figures});
}

}  // namespace kestrin
