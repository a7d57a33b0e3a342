// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/CheckedDetails.h"

#include <QStringList>
#include <algorithm>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"

namespace kestrin {
namespace {

constexpr std::uint16_t kSizeScale = 4;  // up to terabytes

/// "%@" and the like in a text that has forms for one and for many, filled with a number.
QString counted(std::string_view key, std::uint64_t count, QStringList others,
                const StringTable& texts, const QVNumberUtilities& numbers) {
    others << numbers.numberToFormatString(static_cast<double>(count));
    return StringTable::filled(
        texts.text(key, StringTable::Table::Default, static_cast<long long>(count)), others);
}

/// The rows of all volumes, one below the other.
class CheckedRows {
 public:
    CheckedRows(std::vector<CheckedVolume> volumes, const StringTable& texts,
                const QVNumberUtilities& numbers)
        : m_volumes(std::move(volumes)), m_texts(texts), m_numbers(numbers) {
        for (const CheckedVolume& volume : m_volumes) {
            m_headings.push_back(m_count);
            m_count += 1 + volume.count;
        }
    }

    std::size_t count() const { return m_count; }
    const std::vector<std::size_t>& headings() const { return m_headings; }
    AlertDetail row(std::size_t row) const {
        const auto next = std::ranges::upper_bound(m_headings, row);
        const std::size_t heading = *std::prev(next);
        const auto index = static_cast<std::size_t>(next - m_headings.begin()) - 1;
        const CheckedVolume& volume = m_volumes[index];
        if (row == heading) return headingOf(volume);
        return detailOf(volume.entry(row - heading - 1));
    }

 private:
    AlertDetail headingOf(const CheckedVolume& volume) const {
        return {.cells = {counted("checked_volume"_key, volume.count, {titleName(volume.name)},
                                  m_texts, m_numbers)},
                .fullName = displayName(volume.name)};
    }
    AlertDetail detailOf(const CheckedEntry& entry) const {
        const QString folder = displayName(std::string_view(entry.originalFolder));
        const QString name = displayName(std::string_view(entry.name));
        const QString size =
            entry.size ? m_numbers.sizeToFormatString(*entry.size, kSizeScale, true) : QString();
        return {.cells = {name, folder, size},
                .fullName = folder.isEmpty() ? name : folder + u'/' + name};
    }

    const std::vector<CheckedVolume> m_volumes;
    const StringTable& m_texts;
    const QVNumberUtilities& m_numbers;
    std::vector<std::size_t> m_headings;  ///< the row of each volume's heading
    std::size_t m_count = 0;
};

}  // namespace

AlertDetails checkedDetails(std::vector<CheckedVolume> volumes, const StringTable& texts,
                            const QVNumberUtilities& numbers) {
    const auto rows = std::make_shared<const CheckedRows>(std::move(volumes), texts, numbers);
    return {.title = texts.text("checked_details"_key),
            .columns = {texts.text("checked_name"_key), texts.text("checked_folder"_key),
                        texts.text("checked_size"_key)},
            .count = rows->count(),
            .row = [rows](std::size_t row) { return rows->row(row); },
            .headings = rows->headings(),
            .endsWithNumbers = true};
}

QString hiddenSentence(std::uint64_t hiddenCount, const StringTable& texts,
                       const QVNumberUtilities& numbers) {
    if (hiddenCount == 0) return {};
    return counted("checked_hidden"_key, hiddenCount, {}, texts, numbers);
}

}  // namespace kestrin
