// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QApplication>
#include <QFileDialog>
#include <QGraphicsEffect>
#include <QImage>
#include <QPropertyAnimation>
#include <QTest>
#include <QTextDocument>

#include "support/TestEnvironment.h"
#include "widgets/AnimatedProgressBar.h"
#include "widgets/BusySpinner.h"
#include "widgets/ElidedLabel.h"
#include "widgets/Fade.h"
#include "widgets/FolderPanel.h"

namespace kestrin {
namespace {

TEST(AnimatedProgressBar, StandsAtItsFirstFigureThenGlidesWithItsTextAndNeverGoesBack) {
    AnimatedProgressBar bar;
    bar.setLocale(QLocale(QLocale::German));
    const auto isAt = [&bar](double percent) {
        return bar.value() == bar.maximum() * percent / 100;
    };
    bar.show();
    bar.setPercent({});
    EXPECT_EQ(bar.minimum(), bar.maximum());
    bar.setPercent(30);
    EXPECT_TRUE(isAt(30));
    for (const double percent : {60.7, 40.0, 0.0, -5.0, std::nan("")})
        bar.setPercent(percent);
    EXPECT_TRUE(isAt(30));
    EXPECT_EQ(bar.text(), QStringLiteral("30\u00a0%"));
    auto& glide = *bar.findChild<QPropertyAnimation*>();
    EXPECT_EQ(glide.state(), QAbstractAnimation::Running);
    EXPECT_LT(glide.duration(), 200);
    glide.setCurrentTime(glide.duration());
    EXPECT_TRUE(isAt(60.7));
    EXPECT_EQ(bar.text(), QStringLiteral("60\u00a0%"));
    bar.setPercent({});
    bar.setPercent(250);
    EXPECT_TRUE(isAt(100));
}

TEST(BusySpinner, TurnsOnlyWhileItIsStartedAndCanBeSeen) {
    BusySpinner spinner;
    spinner.startAnimation();
    EXPECT_FALSE(spinner.isTurning()) << "woke up without being seen";
    spinner.show();
    const QImage first = spinner.grab().toImage();
    QTest::qWait(150);
    EXPECT_NE(spinner.grab().toImage(), first);
    spinner.hide();
    EXPECT_FALSE(spinner.isTurning());
    spinner.show();
    EXPECT_TRUE(spinner.isTurning());
    spinner.stopAnimation();
    EXPECT_FALSE(spinner.isTurning());
}

TEST(Fade, EndsWithAWidgetThatIsThereOrIsNot) {
    QWidget ground;
    QWidget widget(&ground);
    EXPECT_EQ(alphaOf(widget), 1);
    animateAlpha(widget, 0);
    EXPECT_TRUE(widget.isHidden()) << "nobody could see it fade";
    ground.show();
    animateAlpha(widget, 1);
    EXPECT_EQ(alphaOf(widget), 1) << "where it goes counts";
    EXPECT_TRUE(QTest::qWaitFor([&] { return !widget.graphicsEffect()->isEnabled(); }));
    EXPECT_TRUE(widget.isVisible());
    animateAlpha(widget, 0);
    EXPECT_TRUE(widget.isVisible()) << "it is fading";
    setAlpha(widget, 0);
    EXPECT_TRUE(widget.isHidden());
}

TEST(ElidedLabel, CutsWhereThereIsNoRoomAndShowsTheWholeAgain) {
    ElidedLabel label(Qt::ElideMiddle);
    const int height = label.sizeHint().height();
    label.setFullText(QStringLiteral("one\ntwo"));
    EXPECT_EQ(label.sizeHint().height(), height);
    EXPECT_FALSE(label.text().contains(u'\n'));
    const QString name = QStringLiteral("begin <b>of</b> a long name that goes on to its end");
    label.setFullText(name);
    label.resize(120, 20);
    label.show();
    EXPECT_TRUE(label.text().startsWith(QLatin1String("begin")));
    EXPECT_TRUE(label.text().endsWith(QLatin1String("end")));
    EXPECT_FALSE(label.toolTip().isEmpty());
    EXPECT_EQ(label.accessibleName(), name);
    label.resize(label.sizeHint());
    EXPECT_EQ(label.text(), name);
    EXPECT_TRUE(label.toolTip().isEmpty());
}

TEST(FolderPanel, TellsTheFolderOrThatNoneWasChosen) {
    const test::ScratchFolder scratch;
    const auto answer = [&](const QString& choice, QDialog::DialogCode code) {
        std::optional<std::string> told;
        openFolderPanel(FileUrl::fromPath(scratch.path()), QStringLiteral("Choose"),
                        [&](int response, const std::vector<FileUrl>& folders) {
                            told = std::to_string(response);
                            for (const FileUrl& folder : folders)
                                *told += ' ' + folder.path();
                        });
        QFileDialog* panel = nullptr;
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            if (widget->isVisible() && widget->inherits("QFileDialog"))
                panel = static_cast<QFileDialog*>(widget);
        }
        if (!panel || told) return std::string("not open");
        panel->selectFile(choice);
        static_cast<QDialog*>(panel)->done(code);
        return told.value_or("nothing");
    };
    test::makeFolder(scratch / "a b%20");
    const QString folder = QString::fromStdString(scratch.path());
    EXPECT_EQ(answer(folder + QStringLiteral("/a b%20"), QDialog::Accepted),
              "1 " + scratch.path() + "/a b%20");
    EXPECT_EQ(answer(folder, QDialog::Rejected), "0");
    EXPECT_EQ(answer(folder + QStringLiteral("/\ufffd"), QDialog::Accepted), "0")
        << "no folder has that name";
}

TEST(PlainTexts, AreShownAsTheyStand) {
    const QString name = QStringLiteral("<img src='/etc/hostname'> & \"x\"\nsecond");
    QTextDocument shown;
    shown.setHtml(plainToolTip(name));
    EXPECT_EQ(shown.toPlainText(), name);
    EXPECT_EQ(plainWindowTitle(QStringLiteral("a[*]b")), QStringLiteral("a[*][*]b"));
}

}  // namespace
}  // namespace kestrin
