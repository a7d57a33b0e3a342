// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/SettingValues.h"

#include "base/IniFile.h"

namespace kestrin {
namespace {

std::string textOf(const QVariant& value) {
    return value.toString().toStdString();
}

QVariant readText(const std::string& text) {
    return QString::fromStdString(text);
}

bool isDictionary(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<QVariantMap>();
}

void setDictionary(IniFile& file, std::string_view key, const QVariantMap& dictionary) {
    const auto sections = file.sections();
    if (const auto section = sections.find(key); section != sections.end()) {
        for (const auto& [name, text] : section->second) {
            if (!dictionary.contains(QString::fromStdString(name))) file.remove(key, name);
        }
    }
    file.remove(IniFile::kGeneral, key);
    file.addSection(key);
    for (auto entry = dictionary.begin(); entry != dictionary.end(); ++entry) {
        file.set(key, entry.key().toStdString(), textOf(entry.value()));
    }
}

}  // namespace

SettingsMap settingsOf(const IniFile& file) {
    SettingsMap values;
    for (const auto& [name, section] : file.sections()) {
        QVariantMap dictionary;
        for (const auto& [key, text] : section) {
            if (name == IniFile::kGeneral) {
                if (key != kSettingsFormat) values[key] = readText(text);
            } else {
                dictionary[QString::fromStdString(key)] = readText(text);
            }
        }
        if (name != IniFile::kGeneral) values[name] = dictionary;
    }
    return values;
}

void removeSetting(IniFile& file, std::string_view key) {
    file.remove(IniFile::kGeneral, key);
    if (key != IniFile::kGeneral) file.removeSection(key);
}

void setSetting(IniFile& file, std::string_view key, const QVariant& value) {
    if (isDictionary(value)) {
        setDictionary(file, key, value.toMap());
    } else {
        file.removeSection(key);
        file.set(IniFile::kGeneral, key, textOf(value));
    }
}

std::optional<bool> readBool(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<bool>()) return value.toBool();
    const QString text = value.toString().trimmed().toLower();
    if (text == QLatin1String("true") || text == QLatin1String("yes") ||
        text == QLatin1String("on")) {
        return true;
    }
    if (text == QLatin1String("false") || text == QLatin1String("no") ||
        text == QLatin1String("off")) {
        return false;
    }
    bool isNumber = false;
    const long long number = text.toLongLong(&isNumber);
    if (isNumber) return number != 0;
    return std::nullopt;
}

std::optional<int> readInteger(const QVariant& value) {
    const QString text = value.toString().trimmed();
    const bool isHexadecimal = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    bool isNumber = false;
    const int number = isHexadecimal ? text.toInt(&isNumber, 16) : text.toInt(&isNumber, 10);
    return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<QVariant> typed(const QVariant& value, const QVariant& byDefault) {
    if (isDictionary(value) != isDictionary(byDefault)) return std::nullopt;
    if (isDictionary(value)) {
        QVariantMap dictionary = value.toMap();
        const QVariantMap defaults = byDefault.toMap();
        for (auto entry = defaults.begin(); entry != defaults.end(); ++entry) {
            const auto read = typed(dictionary.value(entry.key()), entry.value());
            if (!read) return std::nullopt;
            dictionary[entry.key()] = *read;
        }
        return dictionary;
    }
    if (byDefault.metaType() == QMetaType::fromType<bool>()) return readBool(value);
    if (byDefault.metaType() == QMetaType::fromType<int>()) return readInteger(value);
    return value;
}

}  // namespace kestrin
