// SPDX-License-Identifier: GPL-3.0-or-later
// The confirmation of an erase: an alert with a line that says how many items and bytes will go,
// and fills in when the count arrives.
#pragma once

#include <QString>
#include <cstdint>
#include <memory>
#include <string>

#include "erase/AlertPanel.h"

namespace kestrin {

class QVNumberUtilities;
class StringTable;

/// What the confirmation says of the trash.
struct TrashInfo {
    QString information;        ///< title: a finished text or a key of the string table
    std::string message;        ///< key of the text
    std::string calculatedStr;  ///< key of the size line: "all_disks", "single_disk", "smart_erase"
    std::uint64_t size = 0;     ///< bytes known already
    std::uint64_t count = 0;    ///< items known already; 0: they are still being counted
    bool isSmartErase = false;
    QString volumeName;  ///< the disk's name for the size line's first placeholder; may be empty
    QString notes{};     ///< finished sentences below the text; may be empty
    AlertDetails details{};
};

/// One confirmation. Made and shown on the main thread; figures may come, and the end of the sheet
/// may be waited for, on any thread. It may be let go on any thread: an open sheet then closes.
class QVAlert {
 public:
    /// The references must outlive the alert. `makePanel` is called on the main thread;
    /// QVErrorDelegate::alertPanel serves.
    QVAlert(AlertPanelFactory makePanel, const StringTable& texts,
            const QVNumberUtilities& numbers);
    ~QVAlert();
    QVAlert(const QVAlert&) = delete;
    QVAlert& operator=(const QVAlert&) = delete;

    /// Without a window: runs the alert and returns its button, kAlertFirstButton to erase or
    /// kAlertSecondButton to cancel. With a window: has a sheet begun on it and returns 0 at once;
    /// waitUntilSheetWindowIsClosed has the answer. Main thread.
    int showAlertWithTrashInfo(const TrashInfo& trashInfo, WindowHandle window);

    /// Adds figures and rewrites the size line: the gathering text while the items are 0. With
    /// exactly one item the key of the line gets "_single" joined, for good.
    void showSizeInfoStringWithSize(std::uint64_t size, std::uint64_t count);

    /// Waits for the answer and returns it; kAlertSecondButton when the panel goes without one.
    /// Never on the main thread. Requires: showAlertWithTrashInfo was called.
    int waitUntilSheetWindowIsClosed();

    /// Takes the sheet away, or has none opened. It counts as not answered, unless its answer has
    /// been given already. Main thread.
    void withdraw();

    /// The answer; 0 while there is none.
    int choice() const;
    /// The size line as shown.
    QString sizeInfoStr() const;
    /// Whether the figures have arrived.
    bool stopped() const;

 private:
    struct Answer;
    struct SizeLine;
    struct Sheet;

    AlertModel model(const TrashInfo& trashInfo) const;
    void runModal(const AlertModel& model);
    void beginSheet(const AlertModel& model, WindowHandle window);
    QString sizeText(const SizeLine& line) const;

    const AlertPanelFactory m_makePanel;
    const StringTable& m_texts;
    const QVNumberUtilities& m_numbers;
    const std::shared_ptr<Answer> m_answer;
    const std::shared_ptr<SizeLine> m_line;
};

}  // namespace kestrin
