// SPDX-License-Identifier: GPL-3.0-or-later
// Every window in both appearances, with long texts and from right to left: nothing may be clipped,
// and a picture of each is kept to be looked at. Also run on finer screens (CMakeLists.txt).
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QTest>
#include <QToolButton>

#include "base/StringTable.h"
#include "erase/ui/AlertDialog.h"
#include "erase/ui/QVProgressWindow.h"
#include "erase/ui/WidgetProgressView.h"
#include "format/QVNumberUtilities.h"
#include "support/WidgetPictures.h"

namespace kestrin {
namespace {

using namespace test;

struct Look {
    const char* name;
    bool isDark;
    bool isLong;
    Qt::LayoutDirection direction;
};

constexpr Look kLooks[] = {{"light", false, false, Qt::LeftToRight},
                           {"dark", true, false, Qt::LeftToRight},
                           {"long", false, true, Qt::LeftToRight},
                           {"rtl", true, false, Qt::RightToLeft}};

class Pictures : public ::testing::TestWithParam<Look> {
 protected:
    void SetUp() override { use(GetParam()); }
    void TearDown() override { use(kLooks[0]); }
    static void use(const Look& look) {
        QApplication::setPalette(look.isDark ? darkPalette() : lightPalette());
        QApplication::setLayoutDirection(look.direction);
    }

    /// The text of a key, with accents and 40 % longer where the look asks for it.
    QString text(const char* key) const { return lengthened(m_texts.text(key)); }
    static QString lengthened(QString text) {
        // A mark that makes the paragraph one of a language written so.
        if (GetParam().direction == Qt::RightToLeft) return QChar(0x200F) + text;
        if (!GetParam().isLong || text.isEmpty()) return text;
        text.replace(u'a', u'å').replace(u'E', u'É').replace(u'g', u'ğ');
        return text + QString(text.size() * 2 / 5, u'~');
    }
    static void check(QWidget& window, const char* name) {
        // An arc or a bar that has just begun shows nothing yet.
        QTest::qWait(200);
        EXPECT_EQ(clippedWidgets(window).join(u' '), QString()) << name;
        EXPECT_TRUE(savePicture(window, QStringLiteral("%1-%2").arg(
                                            QLatin1String(name), QLatin1String(GetParam().name))));
    }
    const StringTable m_texts{QStringLiteral("en")};
};

TEST_P(Pictures, Question) {
    AlertModel model{.notAnswered = kAlertSecondButton};
    model.topic = AlertModel::Topic::EraseConfirmation;
    model.title = text("undeleted_locked_sing_str") +
                  QStringLiteral("WWWWWWWWWW_without_a_single…_blank_to_break_at_WWWWWWW.jpg");
    model.text = text("delete_mess");
    model.buttons = {text("empty_trash_button"), text("cancel_btn"), QString()};
    model.hasSizeLine = true;
    model.suppressionTitle = text("apply_to_all");
    AlertDialog dialog(model, m_texts);
    dialog.setSizeLine(text("gathering_info"), true);
    dialog.bringToFront();
    check(dialog, "question");
}

TEST_P(Pictures, EndReport) {
    AlertModel model{.notAnswered = kAlertFirstButton};
    model.title = lengthened(m_texts.text("user_not_authorized", StringTable::Table::Errors));
    model.details = {
        {QStringLiteral("A"), QString(), text("stayed_busy"), text("stayed_help_busy")}};
    AlertDialog dialog(model, m_texts);
    dialog.bringToFront();
    check(dialog, "report-folded");
    dialog.findChild<QToolButton*>(QStringLiteral("details_button"))->click();
    check(dialog, "report");
}

TEST_P(Pictures, Progress) {
    const QVNumberUtilities numbers("en_US", m_texts);
    WidgetProgressView view(m_texts, numbers, {});
    view.show({.mainText = text("gathering_bin_info")});
    view.open(nullptr);
    check(view.window(), "progress-counting");
    view.show({.mainText = text("progress_main"),
               .infoText = lengthened(QStringLiteral("A disk whose name goes on ").repeated(3)),
               .figures = ProgressFigures{430'519, 1'000'204, 999'460'000'000}});
    for (auto* const label : view.window().findChildren<QLabel*>()) {
        if (label->objectName().endsWith(QLatin1String("label")))
            label->setText(lengthened(label->text()));
    }
    for (auto* const button : view.window().findChildren<QAbstractButton*>())
        button->setText(lengthened(button->text()));
    check(view.window(), "progress");
}

INSTANTIATE_TEST_SUITE_P(Looks, Pictures, ::testing::ValuesIn(kLooks),
                         [](const auto& look) { return std::string(look.param.name); });

}  // namespace
}  // namespace kestrin
