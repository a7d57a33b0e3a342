// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ThemeIcons.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "platform/desktop/Places.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/KeyFile.h"

namespace kestrin {
namespace {

/// A chain of themes longer than this goes in circles.
constexpr std::size_t kMaximumThemes = 16;

int number(const std::optional<std::string_view>& text, int fallback) {
    if (!text) return fallback;
    int value = fallback;
    std::from_chars(text->data(), text->data() + text->size(), value);
    return value;
}

std::vector<std::string> listItems(std::string_view list) {
    std::vector<std::string> items;
    while (!list.empty()) {
        const std::size_t comma = list.find(',');
        if (comma != 0) items.emplace_back(list.substr(0, comma));
        list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
    }
    return items;
}

std::vector<FileUrl> iconFolders() {
    std::vector<FileUrl> folders{FileUrl::fromPath(homeFolder()).appending(".icons")};
    for (const FileUrl& folder : dataFolders())
        folders.push_back(folder.appending("icons"));
    return folders;
}

/// How far the pictures of an index's folder are from `size`: 0 for fitting ones.
int sizeDistance(const KeyFile& index, std::string_view folder, int size) {
    const int nominal = number(index.rawValue(folder, "Size"), 48);
    const auto type = index.rawValue(folder, "Type").value_or("Threshold");
    int smallest = nominal;
    int largest = nominal;
    if (type == "Scalable") {
        smallest = number(index.rawValue(folder, "MinSize"), nominal);
        largest = number(index.rawValue(folder, "MaxSize"), nominal);
    } else if (type == "Threshold") {
        const int threshold = number(index.rawValue(folder, "Threshold"), 2);
        smallest = nominal - threshold;
        largest = nominal + threshold;
    }
    return std::max({0, smallest - size, size - largest});
}

/// The folders of a theme, those with the best size first.
std::vector<std::string> foldersBySize(const KeyFile& index, int size) {
    std::vector<std::pair<int, std::string>> rated;
    for (auto& folder : listItems(index.rawValue("Icon Theme", "Directories").value_or(""))) {
        // Pictures for screens of a higher density have finer lines than this size deserves.
        if (number(index.rawValue(folder, "Scale"), 1) != 1) continue;
        rated.emplace_back(sizeDistance(index, folder, size), std::move(folder));
    }
    std::ranges::stable_sort(rated, {}, &std::pair<int, std::string>::first);
    std::vector<std::string> folders;
    folders.reserve(rated.size());
    for (auto& [distance, folder] : rated)
        folders.push_back(std::move(folder));
    return folders;
}

class ThemeSearch {
 public:
    ThemeSearch(int size, IconFormats formats) : m_size(size), m_roots(iconFolders()) {
        if (formats == IconFormats::PngAndSvg) m_suffixes.emplace_back(".svg");
    }

    std::optional<FileUrl> find(const std::vector<std::string>& names) const {
        std::vector<std::string> themes{userTheme()};
        for (std::size_t i = 0; i < themes.size() && i < kMaximumThemes; ++i) {
            const auto index = indexOf(themes[i]);
            if (!index) continue;
            if (auto found = findInTheme(themes[i], *index, names)) return found;
            addInherited(themes, *index);
        }
        if (const auto index = indexOf("hicolor")) {
            if (auto found = findInTheme("hicolor", *index, names)) return found;
        }
        return findPixmap(names);
    }

 private:
    /// What the desktop's settings name; "Adwaita", the widest spread, where they name none.
    static std::string userTheme() {
        const FileUrl settings = location(Place::PreferencesFile).parent();
        if (const auto gtk =
                KeyFile::read(settings.appending("gtk-3.0/settings.ini"), LastLink::Follow)) {
            std::string theme = gtk->text("Settings", "gtk-icon-theme-name");
            if (isThemeIconName(theme)) return theme;
        }
        if (const auto kde = KeyFile::read(settings.appending("kdeglobals"), LastLink::Follow)) {
            std::string theme = kde->text("Icons", "Theme");
            if (isThemeIconName(theme)) return theme;
        }
        return "Adwaita";
    }

    static void addInherited(std::vector<std::string>& themes, const KeyFile& index) {
        for (auto& theme : listItems(index.rawValue("Icon Theme", "Inherits").value_or(""))) {
            const bool isNew = std::ranges::find(themes, theme) == themes.end();
            if (isNew && theme != "hicolor") themes.push_back(std::move(theme));
        }
    }

    std::optional<KeyFile> indexOf(const std::string& theme) const {
        for (const FileUrl& root : m_roots) {
            const FileUrl file = root.appending(theme).appending("index.theme");
            if (auto index = KeyFile::read(file, LastLink::Follow)) return index;
        }
        return std::nullopt;
    }

    std::optional<FileUrl> findInTheme(const std::string& theme, const KeyFile& index,
                                       const std::vector<std::string>& names) const {
        const auto folders = foldersBySize(index, m_size);
        std::vector<FileUrl> present;
        for (const FileUrl& root : m_roots) {
            if (pathExists(root.appending(theme).path())) present.push_back(root.appending(theme));
        }
        for (const std::string& name : names) {
            for (const std::string& folder : folders) {
                for (const FileUrl& root : present) {
                    if (auto found = findInFolder(root.appending(folder), name)) return found;
                }
            }
        }
        return std::nullopt;
    }

    std::optional<FileUrl> findPixmap(const std::vector<std::string>& names) const {
        for (const FileUrl& folder : dataFolders()) {
            for (const std::string& name : names) {
                if (auto found = findInFolder(folder.appending("pixmaps"), name)) return found;
            }
        }
        return std::nullopt;
    }

    std::optional<FileUrl> findInFolder(const FileUrl& folder, const std::string& name) const {
        for (const std::string& suffix : m_suffixes) {
            FileUrl file = folder.appending(name + suffix);
            if (pathExists(file.path())) return file;
        }
        return std::nullopt;
    }

    int m_size;
    std::vector<FileUrl> m_roots;
    std::vector<std::string> m_suffixes{".png"};
};

}  // namespace

bool isThemeIconName(std::string_view name) {
    constexpr std::string_view kAllowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-+";
    return !name.empty() && name.front() != '.' &&
           name.find_first_not_of(kAllowed) == std::string_view::npos;
}

std::optional<FileUrl> themeIconFile(const std::vector<std::string>& names, int size,
                                     IconFormats formats) {
    std::vector<std::string> usable;
    std::ranges::copy_if(names, std::back_inserter(usable), isThemeIconName);
    if (usable.empty()) return std::nullopt;
    return ThemeSearch(size, formats).find(usable);
}

}  // namespace kestrin
