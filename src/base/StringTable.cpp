// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/StringTable.h"

#include <QLocale>
#include <QStringList>
#include <QTranslator>
#include <array>
#include <string>

/// The catalogues sit in a static library: naming them here is what links them into every program.
static void loadCatalogueResources() {
    Q_INIT_RESOURCE(i18n);
}

namespace kestrin {
namespace {

constexpr std::array kTableNames = {QLatin1String("kestrin"), QLatin1String("errors")};
constexpr QLatin1String kFolder(":/i18n");
constexpr QLatin1String kPlaceholder("%@");

/// One table: the texts in the chosen language, and the English ones behind them.
struct Catalogue {
    QTranslator chosen;
    QTranslator english;

    QString find(const char* key, int count) const {
        const QString text = chosen.translate(nullptr, key, nullptr, count);
        return text.isNull() ? english.translate(nullptr, key, nullptr, count) : text;
    }
};

}  // namespace

/// Only read after construction, and QTranslator looks up without changing itself.
struct StringTable::Catalogues {
    std::array<Catalogue, kTableNames.size()> tables;

    explicit Catalogues(const QLocale& locale) {
        loadCatalogueResources();
        for (std::size_t i = 0; i < tables.size(); ++i) {
            const QString name = kTableNames[i];
            [[maybe_unused]] const bool isTranslated =
                tables[i].chosen.load(locale, name, QStringLiteral("_"), kFolder);
            if (!tables[i].english.load(name + QLatin1String("_en"), kFolder)) {
                qFatal("The English texts are not in this program");
            }
        }
    }
};

StringTable::StringTable() : m_catalogues(new Catalogues(QLocale::system())) {}

StringTable::StringTable(const QString& language)
    : m_catalogues(new Catalogues(QLocale(language))) {}

StringTable::~StringTable() = default;

StringTable& StringTable::sharedControl() {
    // Never destroyed: a worker that is still busy when the process ends may ask for a text.
    static auto& table = *new StringTable;
    return table;
}

QString StringTable::text(std::string_view key, Table table, long long count) const {
    // The plural form hangs on small numbers and on last digits; both survive this.
    constexpr long long kRound = 1'000'000;
    const int number = static_cast<int>(count < kRound ? count : kRound + count % kRound);
    const auto& catalogue = m_catalogues->tables[static_cast<std::size_t>(table)];
    const QString text = catalogue.find(std::string(key).c_str(), number);
    return text.isNull() ? QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size())) : text;
}

QString StringTable::filled(const QString& format, const QStringList& arguments) {
    QString text;
    qsizetype from = 0;
    for (const QString& argument : arguments) {
        const auto placeholder = format.indexOf(kPlaceholder, from);
        if (placeholder < 0) break;
        text += QStringView(format).mid(from, placeholder - from);
        text += argument;
        from = placeholder + kPlaceholder.size();
    }
    text += QStringView(format).mid(from);
    return text;
}

}  // namespace kestrin
