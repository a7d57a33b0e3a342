// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/QVQuickLookView.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>
#include <set>

#include "smartwindow/preview/IconView.h"
#include "smartwindow/preview/PictureView.h"
#include "smartwindow/preview/PreviewNotifications.h"
#include "smartwindow/preview/PreviewTexts.h"
#include "smartwindow/preview/TextView.h"
#include "smartwindow/preview/support/PreviewWorld.h"

namespace kestrin {
namespace {

using test::picture;
using test::PreviewedEntry;

constexpr QSize kSize(300, 300);

Preview text(std::string content) {
    Preview preview{.kind = PreviewKind::Text, .text = std::move(content)};
    preview.facts.encoding = "UTF-8";
    return preview;
}

/// Counts the keys that a content leaves to the window around it.
class Window : public QWidget {
 public:
    int keys = 0;

 protected:
    void keyPressEvent(QKeyEvent* event) override {
        ++keys;
        QWidget::keyPressEvent(event);
    }
};

class QVQuickLookViewTest : public ::testing::Test {
 protected:
    QVQuickLookViewTest() {
        window.resize(kSize);
        view.resize(kSize);
        window.show();
    }
    QColor middle() { return view.grab().toImage().pixelColor(view.rect().center()); }
    QSize askedPixels() const { return world.asked.back().request.pixels; }
    void resizeAndSettle(QSize size) {
        const Observation observation = world.center.observe(
            PreviewNotification::kViewDidEndLiveResize,
            [this](const Notification&) { ++settledCount; }, &view);
        const int before = settledCount;
        view.resize(size);
        EXPECT_TRUE(QTest::qWaitFor([&] { return settledCount > before; }));
    }

    test::PreviewWorld world;
    Window window;
    QVQuickLookView view{world.services, &window};
    PreviewedEntry first{"first.png"}, second{"second.png"};
    int settledCount = 0;
};

TEST_F(QVQuickLookViewTest, NeverShowsWhatBelongsToAnotherEntry) {
    view.setPreviewItem(first.item);
    EXPECT_TRUE(world.asked.back().isWanted());
    const auto red = world.answer(picture({400, 400}, Qt::red));
    EXPECT_EQ(middle(), QColor(Qt::red));
    view.setPreviewItem(second.item);
    EXPECT_NE(middle(), QColor(Qt::red)) << "the icon stands at once";
    EXPECT_TRUE(red.expired());
    world.known = std::make_shared<Preview>(picture({200, 200}, Qt::green));
    view.setPreviewItem(first.item);
    EXPECT_EQ(middle(), QColor(Qt::green)) << "what is known of it stands at once";
    EXPECT_FALSE(world.asked[1].isWanted()) << "what was asked for the second is withdrawn";
    EXPECT_TRUE(world.asked[2].isWanted());
    world.answer(picture({400, 400}, Qt::blue));
    view.setPreviewItem(std::make_shared<QVPreviewItem>(first.entry, 7));
    EXPECT_EQ(middle(), QColor(Qt::blue)) << "it is the same entry in another row";
    EXPECT_EQ(world.asked.size(), 3U);
    view.setPreviewItem(second.item);
    world.answer({.fault = PreviewFault::Damaged});
    EXPECT_NE(middle(), QColor(Qt::green)) << "what was known does not hold any more";
    PreviewedEntry gone("gone.png");
    gone.entry.reset();
    view.setPreviewItem(gone.item);
    EXPECT_FALSE(world.asked.back().isWanted()) << "an entry that has gone clears the view";
}

TEST_F(QVQuickLookViewTest, HoldsNothingAndAsksForNothingWhileItIsHidden) {
    const auto contents = {picture({400, 400}), text("text"),
                           Preview{.kind = PreviewKind::Entries, .entries = {{"name"}}}};
    for (const Preview& content : contents) {
        view.setPreviewItem(first.item);
        const auto shown = world.answer(content);
        EXPECT_FALSE(shown.expired());
        view.hide();
        EXPECT_TRUE(shown.expired());
        const std::size_t asked = world.asked.size();
        view.setPreviewItem(second.item);
        EXPECT_EQ(world.asked.size(), asked);
        view.show();
        EXPECT_EQ(world.asked.back().request.item, second.entry);
    }
    view.hide();
    EXPECT_FALSE(world.asked.back().isWanted());
}

TEST_F(QVQuickLookViewTest, AsksForMorePixelsOnceItsSizeHasSettled) {
    view.setPreviewItem(first.item);
    EXPECT_EQ(askedPixels().width(), 300);
    world.answer(picture({300, 200}, Qt::red));
    QSignalSpy started(&view, &QVQuickLookView::liveResizeDidStart);
    view.resize(400, 400);
    resizeAndSettle({600, 600});
    EXPECT_EQ(started.size(), 1);
    ASSERT_EQ(world.asked.size(), 2U) << "once, and not for each step";
    EXPECT_EQ(askedPixels().width(), 600);
    world.answer({.fault = PreviewFault::TooSlow});
    EXPECT_EQ(middle(), QColor(Qt::red)) << "less sharp is better than nothing";
    resizeAndSettle({650, 650});
    world.answer(picture({500, 400}, Qt::blue));
    EXPECT_EQ(middle(), QColor(Qt::blue));
    const std::size_t asked = world.asked.size();
    resizeAndSettle({900, 900});
    EXPECT_EQ(world.asked.size(), asked) << "that file has no more pixels";
}

TEST_F(QVQuickLookViewTest, TurnsThePagesOfADocument) {
    Preview page = picture({200, 280}, Qt::red);
    page.facts.pageCount = 2;
    view.setPreviewItem(first.item);
    view.setFocus();
    QTest::keyClick(&view, Qt::Key_PageDown);
    EXPECT_EQ(window.keys, 1) << "nothing is known of pages";
    world.answer(page);
    EXPECT_EQ(view.caption(), QStringLiteral("Page 1 of 2"));
    QTest::keyClick(&view, Qt::Key_PageUp);
    EXPECT_EQ(world.asked.size(), 1U);
    for (int press = 0; press < 3; ++press)
        QTest::keyClick(&view, Qt::Key_PageDown);
    ASSERT_EQ(world.asked.size(), 2U);
    EXPECT_EQ(world.asked.back().request.page, 1U);
    EXPECT_EQ(middle(), QColor(Qt::red)) << "the page before stays until the next is there";
    page.facts.page = 1;
    world.answer(page);
    EXPECT_EQ(view.caption(), QStringLiteral("Page 2 of 2"));
    view.setPage(7);
    EXPECT_EQ(view.page(), 1U);
    EXPECT_EQ(view.accessibleName(), QStringLiteral("Picture of first.png"));
    EXPECT_EQ(view.accessibleDescription(), QStringLiteral("Page 2 of 2"));
    const auto* const shown = view.findChild<PictureView*>();
    QTest::keyClick(&view, Qt::Key_Plus, Qt::ControlModifier);
    EXPECT_GT(shown->zoom(), 1);
    QTest::keyClick(&view, Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(shown->zoom(), 1);
    view.setPreviewItem(second.item);
    EXPECT_EQ(world.asked.back().request.page, 0U);
}

TEST_F(QVQuickLookViewTest, ShowsTextAsNothingButText) {
    view.setPreviewItem(first.item);
    const std::string longLine(2500, 'x');
    world.answer(
        text("<b>bold</b>\r\n\n\tback\xE2\x80\xAEwards\x1b[1m\xEF\xB7\x90\n" + longLine + "\nend"));
    auto* const shown = view.findChild<TextView*>();
    EXPECT_TRUE(shown->toPlainText().startsWith(
        QStringLiteral("<b>bold</b>\n\n\tback‹U+202E›wards‹U+001B›[1m‹U+FDD0›\n")));
    EXPECT_EQ(view.caption(), QStringLiteral("UTF-8"));
    shown->selectAll();
    shown->copy();
    const QString copied = QApplication::clipboard()->text();
    EXPECT_EQ(copied.section(u'\n', 3), QString::fromStdString(longLine) + QStringLiteral("\nend"))
        << "a line that was cut to be laid out is whole again";
    QTextCursor lines = shown->textCursor();
    lines.setPosition(11);
    lines.setPosition(12, QTextCursor::KeepAnchor);
    shown->setTextCursor(lines);
    shown->copy();
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("\n")) << "an empty line counts";
    shown->setFocus();
    for (const auto key : {Qt::Key_Space, Qt::Key_Escape})
        QTest::keyClick(shown, key);
    EXPECT_EQ(window.keys, 2);
    QTest::keyClick(shown, Qt::Key_Down);
    const bool scrolls = shown->verticalScrollBar()->maximum() > 0;
    EXPECT_EQ(window.keys, scrolls ? 2 : 3);
}

TEST_F(QVQuickLookViewTest, FillsALongTextInPiecesAndStopsAtTheNextEntry) {
    std::string lines(1'000'000, '\n');
    view.setPreviewItem(first.item);
    world.answer(text(lines));
    auto* const shown = view.findChild<TextView*>();
    EXPECT_FALSE(shown->isFilled());
    view.setPreviewItem(second.item);
    EXPECT_TRUE(shown->isFilled()) << "nothing is filled in any more";
    world.answer(text(lines));
    EXPECT_TRUE(QTest::qWaitFor([shown] { return shown->isFilled(); }, 20'000));
    EXPECT_EQ(shown->blockCount(), TextView::kMostLines);
    QTest::keyClick(&view, Qt::Key_PageDown);
    EXPECT_GT(shown->verticalScrollBar()->value(), 0);
    EXPECT_EQ(view.caption(), QStringLiteral("UTF-8 · Only the first 50,000 lines are shown"));
}

TEST_F(QVQuickLookViewTest, ListsWhatIsInAFolder) {
    Preview content{.kind = PreviewKind::Entries,
                    .entries = {{"sub", 0, true}, {"a\nb\xFF.txt", 1234, false}}};
    content.facts.entryCount = 1500;
    content.facts.contentSize = 5'000'000;
    view.setPreviewItem(first.item);
    world.answer(content);
    const auto* const list = view.findChild<QTreeView*>();
    EXPECT_EQ(list->model()->index(1, 0).data().toString(), QStringLiteral("a\\nb\uFFFD.txt"));
    EXPECT_EQ(list->model()->index(1, 1).data().toString(), QStringLiteral("1.23 kB"));
    EXPECT_EQ(list->model()->index(0, 1).data().toString(), QString()) << "a folder has no size";
    EXPECT_EQ(view.caption(), QStringLiteral("The first 2 of 1,500 items"));
    EXPECT_EQ(previewTotals(content, world.texts, world.numbers),
              QStringLiteral("1,500 items · 5.00 MB"));
    content.facts.isPartial = true;
    EXPECT_EQ(previewTotals(content, world.texts, world.numbers),
              QStringLiteral("At least 1,500 items · 5.00 MB"));
}

TEST_F(QVQuickLookViewTest, SaysTheWholeReasonInANarrowPane) {
    view.resize(140, 120);
    view.setPreviewItem(first.item);
    world.answer({.fault = PreviewFault::NoViewer});
    const auto* const reason = view.findChild<IconView*>()->findChild<QLabel*>();
    EXPECT_GE(reason->height(), reason->heightForWidth(reason->width()));
    EXPECT_TRUE(reason->parentWidget()->rect().contains(reason->geometry()));
}

TEST(PreviewTexts, HasASentenceForEveryFault) {
    const StringTable texts(QStringLiteral("en"));
    std::set<QString> sentences;
    int faults = 0;
    for (auto fault = PreviewFault::Damaged; fault <= PreviewFault::Silent; ++faults) {
        const QString sentence = previewFaultText(fault, false, texts);
        EXPECT_TRUE(sentence.endsWith(u'.')) << sentence.toStdString();
        sentences.insert(sentence);
        fault = static_cast<PreviewFault>(static_cast<std::uint32_t>(fault) + 1);
    }
    EXPECT_EQ(static_cast<int>(sentences.size()), faults);
    EXPECT_EQ(previewFaultText(PreviewFault::None, false, texts), QString());
}

class PictureViewTest : public ::testing::Test {
 protected:
    QRectF placeOf(const Preview& preview) {
        view.setPreview(std::make_shared<const Preview>(preview));
        return view.pictureRect();
    }

    PictureViewTest() {
        view.resize(kSize);
        view.show();
    }
    PictureView view;
};

TEST_F(PictureViewTest, FitsPicturesAndEnlargesTheTinyAlone) {
    EXPECT_EQ(placeOf(picture({300, 150})), QRectF(0, 75, 300, 150));
    EXPECT_EQ(placeOf(picture({900, 300})), QRectF(0, 100, 300, 100));
    EXPECT_EQ(placeOf(picture({100, 80})), QRectF(100, 110, 100, 80));
    EXPECT_EQ(placeOf(picture({16, 16})).size(), QSizeF(128, 128));
    Preview scaled = picture({300, 225});
    scaled.facts.naturalWidth = 3000;
    scaled.facts.naturalHeight = 4000;
    EXPECT_EQ(placeOf(scaled).size(), QSizeF(300, 225)) << "it was turned while it was decoded";
    Preview drawing = picture({200, 200});
    drawing.facts.naturalWidth = drawing.facts.naturalHeight = 24;
    EXPECT_EQ(placeOf(drawing).size(), QSizeF(300, 300)) << "drawings are sharp at any size";
    EXPECT_EQ(placeOf(Preview{}), QRectF());
}

TEST_F(PictureViewTest, ZoomsAroundThePointerAndStaysInView) {
    placeOf(picture({300, 300}));
    view.zoomBy(0.5, {0, 0});
    EXPECT_EQ(view.zoom(), 1) << "no smaller than fitted";
    view.zoomBy(2, {0, 0});
    EXPECT_EQ(view.pictureRect(), QRectF(0, 0, 600, 600));
    QTest::mousePress(&view, Qt::LeftButton, {}, {200, 200});
    QTest::mouseMove(&view, {100, 250});
    QMouseEvent drag(QEvent::MouseMove, QPointF(100, 250), QPointF(100, 250), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&view, &drag);
    EXPECT_EQ(view.pictureRect().topLeft(), QPointF(-100, 0)) << "it leaves no gap at the top";
    view.setSharperPreview(std::make_shared<const Preview>(picture({600, 600})));
    EXPECT_EQ(view.pictureRect().topLeft(), QPointF(-100, 0));
    view.zoomToFit();
    EXPECT_EQ(view.pictureRect(), QRectF(0, 0, 300, 300));
}

TEST_F(PictureViewTest, PlaysAnAnimationWhileItIsSeen) {
    Preview animation = picture({300, 300}, Qt::red);
    animation.frames.push_back(picture({300, 300}, Qt::blue).frames.front());
    animation.frameDelays = {30, 1'000'000};
    view.hide();
    view.setPlaying(true);
    placeOf(animation);
    const auto colour = [this] { return view.grab().toImage().pixelColor(150, 150); };
    QTest::qWait(60);
    EXPECT_EQ(colour(), QColor(Qt::red)) << "nobody saw it";
    view.show();
    EXPECT_TRUE(QTest::qWaitFor([&] { return colour() == QColor(Qt::blue); }));
    view.setPreview(nullptr);
    EXPECT_FALSE(view.isAnimation());
}

}  // namespace
}  // namespace kestrin
