// SPDX-License-Identifier: GPL-3.0-or-later
// How alerts reach the user: the model of one alert, and what shows it. Windows, the terminal and
// scripted tests have one implementation each. Main thread only.
#pragma once

#include <QString>
#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace kestrin {

/// Results of an alert: which button ended it.
inline constexpr int kAlertFirstButton = 1000;
inline constexpr int kAlertSecondButton = 1001;
inline constexpr int kAlertThirdButton = 1002;

/// The button that an alert counts as when nobody answers it: it was closed, Escape was pressed,
/// the program or the session ends, or there is nobody to ask. It is the button that does nothing,
/// never one that installs, agrees, erases or removes. There is no default, so that whoever makes
/// an alert has to think of it.
struct NotAnswered {
    constexpr NotAnswered(int result) : button(result) {}
    constexpr operator int() const { return button; }

    int button;
};

/// Names a window that sheets may be attached to, without knowing what a window is. The
/// implementation of the panel knows: a widget, or nothing at all in a terminal.
using WindowHandle = void*;

/// One row of the list that an alert can unfold. All of it is fit to be read.
struct AlertDetail {
    std::array<QString, 3> cells;
    QString fullName;  ///< the whole path of what the first cell names; may be empty
};

/// The list that an alert can unfold. A row is made when it is looked at, so that a million of them
/// cost nothing before.
struct AlertDetails {
    QString title;                   ///< of the button that unfolds the list
    std::array<QString, 3> columns;  ///< their titles
    std::size_t count = 0;           ///< of rows; 0: there is no list
    /// Makes a row, on the main thread, as long as the alert shows.
    std::function<AlertDetail(std::size_t row)> row;
    /// Rows that head those below them, in ascending order. The first of their cells has the whole
    /// width.
    std::vector<std::size_t> headings{};
    bool endsWithNumbers = false;  ///< the last column holds numbers, which stand at its end
};

/// What an alert says and offers.
struct AlertModel {
    enum class Style { Informational, Warning, Critical };
    /// What is asked, so that a terminal can answer it by an option. Decides nothing about looks.
    enum class Topic { Other, EraseConfirmation, LockedQuestion, ForbiddenQuestion };

    NotAnswered notAnswered;
    Style style = Style::Informational;
    Topic topic = Topic::Other;
    QString title;
    QString text;
    QString fullName;  ///< the untruncated name or path the title speaks of; may be empty
    /// Titles of the three buttons, first to third. One with an empty title exists (its result is
    /// reserved) and is not drawn; when all are empty the panel offers its one default button.
    std::array<QString, 3> buttons;
    std::optional<QString> suppressionTitle;  ///< with a value: a check box of that title
    bool hasSizeLine = false;  ///< the confirmation's accessory line: spinner and text
    AlertDetails details;
};

/// One alert on its way to the user.
class AlertPanel {
 public:
    virtual ~AlertPanel() = default;

    /// Shows the alert and returns the result when the user has answered, or the model's
    /// `notAnswered`; other calls on the main thread are served meanwhile (the one nested event
    /// loop of the program).
    virtual int runModal(const AlertModel& model) = 0;
    /// Shows the alert on `parent` and returns at once; `answered` is called on the main thread.
    virtual void beginSheet(const AlertModel& model, WindowHandle parent,
                            std::function<void(int)> answered) = 0;
    /// Whether the check box is ticked; false when the user closed the alert without an answer.
    virtual bool suppressionIsOn() const = 0;
    /// Replaces the text of the accessory line and turns its spinner on or off.
    virtual void setSizeLine(const QString& text, bool spinning) = 0;
};

/// Makes the panel of an alert. Called on the main thread.
using AlertPanelFactory = std::function<std::unique_ptr<AlertPanel>()>;

}  // namespace kestrin
