// SPDX-License-Identifier: GPL-3.0-or-later
// The one presenter of error panels, information panels and questions. Callers give keys of the
// string table, names to insert and keys of button titles, from any thread; alerts are made and run
// on the main thread. A key that the tables lack shows itself, so finished texts can be given as
// well.
#pragma once

#include <QString>
#include <QStringList>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/StringTable.h"
#include "erase/AlertPanel.h"

namespace kestrin {

class UserDefaults;

/// What goes wrong, for showError. Keys of the table "Errors".
struct ErrorReport {
    std::string error;           ///< key of the title
    std::string message;         ///< key of the text; may be empty
    QStringList additionalName;  ///< inserted into the title
    AlertDetails details{};
};

/// An error panel. Keys of the table "Errors".
struct ErrorPanelInfo {
    std::string error;
    std::string messKey;
    QStringList names;
    std::optional<QStringList> mess_names;  ///< inserted into the text
    WindowHandle window = nullptr;          ///< a sheet on it; none: modal
    AlertDetails details{};
};

/// A question. All its texts come from "Errors" when `treatsAsError`, else from the default table.
struct Question {
    std::string question;           ///< key of the title
    std::string message{};          ///< key of the text; may be empty
    QStringList additionalNames{};  ///< inserted into the title
    std::string defaultButton;      ///< key of the first button's title
    std::string alternateButton;    ///< of the second's
    std::string otherButton{};      ///< of the third's; a button without a key has no title
    NotAnswered notAnswered;        ///< also the answer when nobody can be asked any more
    bool showView = false;          ///< with a box "apply to all"
    bool* viewStatus = nullptr;     ///< where the state of that box goes
    std::string preferenceKey{};    ///< the setting of the box "do not ask again"
    bool preferenceAsks = false;    ///< the setting says to ask, and the box takes that back
    bool treatsAsError = false;
    WindowHandle parentWindow = nullptr;  ///< a sheet on it; none: modal
    AlertModel::Topic topic = AlertModel::Topic::Other;
    QString fullName{};  ///< the name or path that the title may show shortened
};

/// Presents errors, messages and questions. Thread: any; a call from another thread is performed on
/// the main thread and waited for, a call on the main thread runs at once. Names are shown as
/// titleName gives them.
class QVErrorDelegate {
 public:
    /// The first instance of the process is the shared one as long as it lives. The references must
    /// outlive the presenter.
    QVErrorDelegate(AlertPanelFactory makePanel, const StringTable& texts, UserDefaults& defaults);
    ~QVErrorDelegate();
    QVErrorDelegate(const QVErrorDelegate&) = delete;
    QVErrorDelegate& operator=(const QVErrorDelegate&) = delete;

    /// The shared instance; nullptr before the first is made and after it went.
    static QVErrorDelegate* sharedControl();

    // --- Errors and messages ---

    /// Shows a modal warning with one default button. An empty key of the title shows nothing.
    void showError(const ErrorReport& report);
    void showError(std::string_view error, std::string_view message = {},
                   const QStringList& additionalNames = {});
    /// The warning itself. Main thread.
    void showErrorWithDict(const ErrorPanelInfo& panel);
    /// Shows a warning as a sheet on `window` and returns at once; without a window it is modal.
    void showErrorForWindow(WindowHandle window, std::string_view infoMessage,
                            std::string_view message, const QStringList& additionalNames);
    /// Does the same for information, with texts from the default table.
    void showMessagePanel(WindowHandle window, std::string_view infoMessage,
                          std::string_view message, const QStringList& additionalNames);
    /// Shows a message with a "do not show again" box, unless the setting `preferenceKey` is on; a
    /// ticked box sets it. False when nothing was shown.
    bool showMessagePanelWithView(std::string_view infoMessage, std::string_view message,
                                  const QStringList& additionalNames,
                                  std::string_view preferenceKey, bool treatsAsError);

    // --- Questions ---

    /// Asks and returns the button. With a parent window the question is a sheet, and the call
    /// returns 0 before the user has answered.
    int askToTheUser(const Question& question);
    /// Asks with a "do not ask again" box, unless the setting `preferenceKey` says not to: then
    /// kAlertFirstButton at once. A ticked box sets it so.
    int askToTheUserWithView(const Question& question);

    /// The button of the last question; 0 while it is open and before the first.
    int lastResult() const { return m_lastResult; }

    // --- Helpers ---

    /// Puts each name in the place of the first "%@" of the text so far, also of one that came in
    /// with a name. Names that find none are dropped, placeholders left over stay.
    static QString replaceContentOfString(const QString& content, const QStringList& names);
    /// A new panel, made on the main thread; also what QVAlert can be given as its factory.
    /// nullptr when it cannot be made. Whoever takes it lets it go on the main thread.
    std::unique_ptr<AlertPanel> alertPanel();

 private:
    using Table = StringTable::Table;

    static Table tableOf(bool treatsAsError);
    QString text(std::string_view key, Table table) const;
    AlertModel panelModel(std::string_view title, std::string_view message,
                          const QStringList& names, Table table) const;
    AlertModel questionModel(const Question& question) const;
    int askToTheUserWithDict(const Question& question);
    int askToTheUserWithViewAndDict(const Question& question);
    void showPanel(const AlertModel& model, WindowHandle window);
    void beginSheet(std::unique_ptr<AlertPanel> panel, const AlertModel& model, WindowHandle window,
                    std::function<void(int)> answered);
    void closeSheet(const AlertPanel* sheet);
    std::optional<int> runSuppressible(AlertModel& model, std::string_view preferenceKey,
                                       bool suppressed = true);

    const AlertPanelFactory m_makePanel;
    const StringTable& m_texts;
    UserDefaults& m_defaults;
    std::atomic<int> m_lastResult{0};
    std::vector<std::unique_ptr<AlertPanel>> m_sheets;  ///< still open; main thread
};

}  // namespace kestrin
