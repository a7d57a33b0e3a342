// SPDX-License-Identifier: GPL-3.0-or-later
// The texts that users read, by key.
#pragma once

#include <QString>
#include <cstddef>
#include <memory>
#include <string_view>

class QTranslator;

namespace kestrin {

/// Marks a literal as a key of the default string table: "erase_all"_key. A test checks that the
/// English table holds every key so marked.
constexpr std::string_view operator""_key(const char* text, std::size_t length) {
    return {text, length};
}
/// The same for the table "Errors".
constexpr std::string_view operator""_errorKey(const char* text, std::size_t length) {
    return {text, length};
}

/// Two tables of texts: the default one and "Errors". Keys are Qt translation ids; the catalogues
/// are compiled into the program (":/i18n/kestrin_LANG.qm", ":/i18n/errors_LANG.qm"). Look-ups may
/// come from any thread once the tables are loaded.
class StringTable {
 public:
    enum class Table {
        Default,
        Errors,
    };

    /// Loads the tables of the user's interface language. English stands in for keys that they
    /// lack.
    StringTable();
    /// Loads the tables of a language ("en", "de"). English stands in for keys that they lack.
    explicit StringTable(const QString& language);
    ~StringTable();
    StringTable(const StringTable&) = delete;
    StringTable& operator=(const StringTable&) = delete;

    static StringTable& sharedControl();

    /// The text of `key`; the key itself when the table lacks it. `count` chooses the plural form
    /// of texts that have several ("%@ item" for 1, "%@ items" for 2); it is not inserted.
    QString text(std::string_view key, Table table = Table::Default, long long count = -1) const;

    /// Fills the placeholders of a format text: the N-th "%@" takes the N-th argument. Arguments
    /// are inserted as they are, whatever they hold. Placeholders without an argument stay.
    static QString filled(const QString& format, const QStringList& arguments);

 private:
    struct Catalogues;
    std::unique_ptr<Catalogues> m_catalogues;
};

}  // namespace kestrin
