// SPDX-License-Identifier: GPL-3.0-or-later
// Every window in both appearances, with long texts and from right to left: nothing may be clipped,
// and a picture of each is kept to be looked at. Also run on finer screens (CMakeLists.txt).
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QTest>
#include <QToolButton>
#include <functional>

#include "base/StringTable.h"
#include "erase/QVErrorDelegate.h"
#include "erase/ui/AlertDialog.h"
#include "erase/ui/QVProgressWindow.h"
#include "erase/ui/WidgetProgressView.h"
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
    void SetUp() override {
        QApplication::setPalette(GetParam().isDark ? darkPalette() : lightPalette());
        QApplication::setLayoutDirection(GetParam().direction);
    }
    void TearDown() override {
        QApplication::setPalette(lightPalette());
        QApplication::setLayoutDirection(Qt::LeftToRight);
    }

    /// The text of a key, with accents and 40 % longer where the look asks for it.
    QString text(const char* key) const { return lengthened(m_texts.text(key)); }
    static QString lengthened(QString text) {
        // A mark that makes the paragraph one of a language written so.
        if (GetParam().direction == Qt::RightToLeft) return QChar(0x200F) + text;
        if (!GetParam().isLong) return text;
        text.replace(u'a', u'å').replace(u'E', u'É').replace(u'g', u'ğ');
        return text + QString(text.size() * 2 / 5, u'~');
    }
    static void lengthenLabels(QWidget& window) {
        if (!GetParam().isLong) return;
        for (auto* const label : window.findChildren<QLabel*>())
            if (!label->text().isEmpty()) label->setText(lengthened(label->text()));
        for (auto* const button : window.findChildren<QAbstractButton*>())
            button->setText(lengthened(button->text()));
    }

    static void check(QWidget& window, const char* name) {
        // An arc or a bar that has just begun shows nothing yet.
        QTest::qWait(200);
        EXPECT_EQ(clippedWidgets(window).join(u' '), QString()) << name;
        EXPECT_TRUE(savePicture(window, QStringLiteral("%1-%2").arg(
                                            QLatin1String(name), QLatin1String(GetParam().name))));
    }

    AlertModel confirmation() const {
        AlertModel model;
        model.style = AlertModel::Style::Critical;
        model.topic = AlertModel::Topic::EraseConfirmation;
        model.title = text("erase_all");
        model.text = text("delete_mess");
        model.buttons = {text("empty_trash_button"), text("cancel_btn"), QString()};
        model.hasSizeLine = true;
        return model;
    }

    const StringTable m_texts{QStringLiteral("en")};
};

TEST_P(Pictures, Confirmation) {
    AlertDialog dialog(confirmation(), m_texts);
    dialog.setSizeLine(text("gathering_info"), true);
    dialog.bringToFront();
    check(dialog, "confirmation-gathering");
    dialog.setSizeLine(StringTable::filled(text("all_disks"),
                                           {QStringLiteral("1,204"), QStringLiteral("3.40 GB")}),
                       false);
    check(dialog, "confirmation-figures");
}

TEST_P(Pictures, Question) {
    AlertModel model;
    model.style = AlertModel::Style::Warning;
    model.topic = AlertModel::Topic::LockedQuestion;
    model.title = QVErrorDelegate::replaceContentOfString(
        lengthened(m_texts.text("undeleted_locked_sing_str")),
        {QStringLiteral("WWWWWWWWWW_A_name_without_a_single…_blank_to_break_at_WWWWWWW.jpg")});
    model.text = text("delete_mess");
    model.buttons = {text("skip"), text("erase"), QString()};
    model.suppressionTitle = text("apply_to_all");
    AlertDialog dialog(model, m_texts);
    dialog.bringToFront();
    check(dialog, "question");
}

TEST_P(Pictures, EndReport) {
    AlertModel model;
    model.style = AlertModel::Style::Warning;
    model.title = QVErrorDelegate::replaceContentOfString(
        lengthened(m_texts.text("busy_plur", StringTable::Table::Errors)), {QStringLiteral("2")});
    model.details = {{QStringLiteral("holiday.jpg"), QStringLiteral("/media/disk/holiday.jpg"),
                      text("stayed_locked"), lengthened(QStringLiteral("Unlock it"))},
                     {QStringLiteral("a name that is longer than its column.txt"), QString(),
                      text("stayed_busy"), lengthened(QStringLiteral("Close what uses it"))}};
    AlertDialog dialog(model, m_texts);
    dialog.bringToFront();
    check(dialog, "report-folded");
    dialog.findChild<QToolButton*>(QStringLiteral("details_button"))->click();
    check(dialog, "report");
}

TEST_P(Pictures, Progress) {
    WidgetProgressView view(m_texts, {});
    view.hideInfoSizeFields(true);
    view.spinner().startIndeterminateAnimation();
    view.setMainText(text("gathering_bin_info"));
    lengthenLabels(view.window());
    view.show();
    check(view.window(), "progress-counting");

    view.hideInfoSizeFields(false);
    view.spinner().startDeterminateAnimation();
    view.setMainText(text("erasing_all"));
    view.setInfoText(lengthened(StringTable::filled(m_texts.text("erasing"),
                                                    {QStringLiteral("A disk whose name goes on and "
                                                                    "on and on and on and on")})));
    view.setCountText(StringTable::filled(
        view.countFormat(), {QStringLiteral("999,519"), QStringLiteral("1,000,204")}));
    view.setSizeText(QStringLiteral("999.46 GB"));
    view.spinner().updateProgress(43);
    check(view.window(), "progress");
    view.window().stop();
    check(view.window(), "progress-stopping");
}

INSTANTIATE_TEST_SUITE_P(Looks, Pictures, ::testing::ValuesIn(kLooks),
                         [](const auto& look) { return std::string(look.param.name); });

}  // namespace
}  // namespace kestrin
