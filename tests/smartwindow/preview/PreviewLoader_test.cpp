// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PreviewLoader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QBuffer>
#include <QImage>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "inventory/QVSmartWindowItem.h"
#include "inventory/ThumbnailCache.h"
#include "support/ScopedVariable.h"
#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

using namespace std::chrono_literals;

std::size_t descriptorCount() {
    namespace fs = std::filesystem;
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

/// The processes that this one has started and not collected yet.
std::vector<std::string> children() {
    std::vector<std::string> found;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream list(thread.path() / "children");
        for (std::string child; list >> child;)
            found.push_back(child);
    }
    return found;
}

/// A trash of files that say what the decoder is to do with them.
class PreviewLoaderTest : public ::testing::Test {
 protected:
    ~PreviewLoaderTest() override {
        m_loader.reset();
        EXPECT_TRUE(test::waitFor([] { return children().empty(); })) << "no process stays";
        EXPECT_TRUE(test::waitFor([&] { return descriptorCount() == m_descriptors; }))
            << "no descriptor stays: " << descriptorCount() << " and " << m_descriptors;
    }

    void start(const std::string& program = KESTRIN_STAND_IN_DECODER,
               const std::string& standIn = "") {
        m_loader.emplace(
            DecoderProgram{FileUrl::fromPath(program), m_mediaProgram, {"STAND_IN=" + standIn}},
            m_limits);
    }

    std::shared_ptr<const QVSmartWindowItem> item(const std::string& name) const {
        auto item = QVSmartWindowItem::item();
        item->trash = m_trash;
        item->name = name;
        item->identity = identityAt(AT_FDCWD, item->path().c_str());
        item->mode = std::filesystem::is_directory(item->path()) ? S_IFDIR : S_IFREG;
        return item;
    }
    std::shared_ptr<const QVSmartWindowItem> write(const std::string& name,
                                                   const std::string& content) const {
        test::writeFile(m_scratch / name, content);
        return item(name);
    }

    PreviewTicket ask(std::shared_ptr<const QVSmartWindowItem> of) {
        auto into = std::make_shared<std::shared_ptr<const Preview>>();
        m_answers.push_back(into);
        return m_loader->request({std::move(of), QSize(100, 100)},
                                 [into](std::shared_ptr<const Preview> preview) {
                                     EXPECT_FALSE(*into) << "answered twice";
                                     *into = std::move(preview);
                                 });
    }
    /// What the request gives, waited for.
    Preview previewOf(std::shared_ptr<const QVSmartWindowItem> of) {
        const PreviewTicket ticket = ask(std::move(of));
        const auto answer = m_answers.back();
        EXPECT_TRUE(test::waitFor([&] { return *answer != nullptr; }));
        return *answer ? **answer : Preview{};
    }
    PreviewFault faultOf(const std::string& content) {
        return previewOf(write("f", content)).fault;
    }

    const std::size_t m_descriptors = descriptorCount();
    const test::ScratchFolder m_scratch;
    const std::shared_ptr<const FileUrl> m_trash =
        std::make_shared<const FileUrl>(FileUrl::fromPath(m_scratch.path()));
    PreviewLimits m_limits{.decode = 600ms, .greeting = 5000ms};
    std::vector<std::shared_ptr<std::shared_ptr<const Preview>>> m_answers;
    FileUrl m_mediaProgram;
    std::optional<PreviewLoader> m_loader;
};

TEST_F(PreviewLoaderTest, GivesWhatTheDecoderSaysAndRemembersIt) {
    start();
    const auto file = write("a \xff\n;", "show hello");
    const PreviewRequest request{file, QSize(300, 300)};
    EXPECT_FALSE(m_loader->known(request));
    EXPECT_EQ(previewOf(file).text, "hello");
    ASSERT_TRUE(m_loader->known(request));
    EXPECT_EQ(m_loader->known(request)->text, "hello");
    test::writeFile(m_scratch / "new", "show world");
    std::filesystem::rename(m_scratch / "new", m_scratch / file->name);
    EXPECT_EQ(previewOf(file).fault, PreviewFault::Gone) << "it is another file";
    EXPECT_FALSE(m_loader->known({item(file->name), QSize(300, 300)}));
}

TEST_F(PreviewLoaderTest, BelievesNothingAndSurvivesEveryEndOfADecoder) {
    start();
    for (const char* deed : {"dies", "half", "lie", "unsealed", "short", "long", "two", "large"})
        EXPECT_EQ(faultOf(deed), PreviewFault::Crashed) << deed;
    EXPECT_EQ(faultOf("hangs"), PreviewFault::TooSlow);
    for (const char* deed : {"twice", "last", "worn", "show"}) {
        EXPECT_EQ(previewOf(write("f", std::string(deed) + " x")).text, "x") << deed;
        // What it does after its answer must be over, or the next file would find it at that.
        std::this_thread::sleep_for(50ms);
    }
}

TEST_F(PreviewLoaderTest, WithoutADecoderSaysSoAndTriesAgainLater) {
    m_limits.pause = 300ms;
    m_limits.greeting = 200ms;
    for (const char* standIn : {"dies", "old", "silent"}) {
        start(KESTRIN_STAND_IN_DECODER, standIn);
        EXPECT_EQ(faultOf("show x"), PreviewFault::NoViewer) << standIn;
    }
    const std::string program = m_scratch / "decoder";
    start(program);
    EXPECT_EQ(faultOf("show x"), PreviewFault::NoViewer);
    std::filesystem::copy(KESTRIN_STAND_IN_DECODER, program);
    EXPECT_EQ(faultOf("show x"), PreviewFault::NoViewer) << "not at every request";
    EXPECT_TRUE(test::waitFor([&] { return faultOf("show x") == PreviewFault::None; }));
}

TEST_F(PreviewLoaderTest, AudioAndVideoHaveADecoderOfTheirOwnBesideTheOther) {
    m_mediaProgram = FileUrl::fromPath(KESTRIN_STAND_IN_DECODER);
    start();
    const auto decoderOf = [&](const std::string& name) {
        return previewOf(write(name, "show x")).facts.title;
    };
    const std::string document = decoderOf("a.txt"), media = decoderOf("a.mp3");
    EXPECT_NE(document, media);
    EXPECT_EQ(decoderOf("b.png"), document);
    EXPECT_EQ(decoderOf("b.mkv"), media);
    EXPECT_EQ(children().size(), 2U);
}

TEST_F(PreviewLoaderTest, OpensRegularFilesAloneAndChangesNothing) {
    start();
    write("f", "show x");
    ASSERT_EQ(::mkfifo((m_scratch / "fifo").c_str(), 0600), 0);
    std::filesystem::create_symlink("f", m_scratch / "link");
    const std::string before = test::listing(m_scratch.path());
    for (const char* name : {"fifo", "link"})
        EXPECT_EQ(previewOf(item(name)).fault, PreviewFault::NotAFile) << name;
    EXPECT_EQ(previewOf(item("absent")).fault, PreviewFault::Gone);
    EXPECT_EQ(previewOf(item("f")).text, "x");
    EXPECT_EQ(test::listing(m_scratch.path()), before);
    std::filesystem::permissions(m_scratch / "f", std::filesystem::perms::none);
    EXPECT_EQ(previewOf(item("f")).fault, PreviewFault::Unreadable);
}

TEST_F(PreviewLoaderTest, OfManyQuickRequestsTheLastCountsAndWithdrawnOnesAreNeverAnswered) {
    start();
    constexpr int kCount = 1000;
    PreviewTicket ticket;
    for (int row = 0; row < kCount; ++row) {
        const std::string text = std::to_string(row);
        ticket = ask(write(text, "slow " + text));
        test::waitFor([] { return true; });
    }
    const auto last = m_answers.back();
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(test::waitFor([&] { return *last != nullptr; }));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
    EXPECT_EQ((*last)->text, "999");
    for (int row = 0; row < kCount; ++row)
        EXPECT_TRUE(!*m_answers[row] || (*m_answers[row])->text == std::to_string(row));
}

TEST_F(PreviewLoaderTest, ASpareTakesOverFromADecoderAtWorkThatNobodyWants) {
    m_limits.decode = 60s;
    start();
    PreviewTicket ticket = ask(write("a", "hangs"));
    ASSERT_TRUE(test::waitFor([] { return children().size() == 2; })) << "one works, one is spare";
    std::this_thread::sleep_for(300ms);
    const auto begin = std::chrono::steady_clock::now();
    ticket.reset();
    EXPECT_EQ(previewOf(write("b", "show b")).text, "b");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms);
    m_loader->setWindowIsOpen(false);
    ticket = ask(write("c", "hangs"));
    ASSERT_TRUE(test::waitFor([] { return children().size() == 2; }));
    std::this_thread::sleep_for(300ms);
    ticket.reset();
    EXPECT_TRUE(test::waitFor([] { return children().empty(); }, 2000)) << "nobody asks again";
}

TEST_F(PreviewLoaderTest, DecodersAreReplacedWhenWornAndEndWhenIdle) {
    m_limits.filesPerDecoder = 3;
    m_limits.idle = 300ms;
    start();
    m_loader->setWindowIsOpen(true);
    EXPECT_TRUE(test::waitFor([] { return children().size() == 1; })) << "one is ready";
    std::multiset<std::string> processes;
    for (int file = 0; file < 9; ++file)
        processes.insert(previewOf(write("f", "show x")).facts.title);
    for (const std::string& process : processes)
        EXPECT_EQ(processes.count(process), 3U);
    EXPECT_FALSE(children().empty());
    EXPECT_TRUE(test::waitFor([] { return children().empty(); }));
    EXPECT_EQ(faultOf("show x"), PreviewFault::None);
    m_loader->setWindowIsOpen(false);
    EXPECT_TRUE(test::waitFor([] { return children().empty(); }, 250));
}

// --- With the decoder that ships ---

/// A picture of noise, which takes a while to read.
std::string noise(int width, int height, const char* format = "PNG", const std::string& uri = "",
                  int modified = 0) {
    QImage image(width, height, QImage::Format_RGB32);
    std::mt19937 random(7);
    std::generate_n(reinterpret_cast<std::uint32_t*>(image.bits()), width * height, random);
    image.setText(QStringLiteral("Thumb::URI"), QString::fromStdString(uri));
    image.setText(QStringLiteral("Thumb::MTime"), QString::number(modified));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    EXPECT_TRUE(image.save(&buffer, format));
    return bytes.toStdString();
}

TEST_F(PreviewLoaderTest, FilesThatChangeWhileTheyAreReadHarmNothing) {
    m_limits.decode = 8000ms;
    start(KESTRIN_VIEWER);
    const std::string picture = noise(1200, 900), path = m_scratch / "p.png";
    const std::string good = m_scratch / "good.png";
    test::writeFile(good, picture);
    const timespec longAgo[2] = {{1000, 0}, {2000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, good.c_str(), longAgo, 0), 0);
    const std::vector<std::function<void()>> changes{
        [&] { std::filesystem::resize_file(path, 3000); },
        [&] { std::filesystem::resize_file(path, 0); },
        [&] { std::ofstream(path, std::ios::app) << picture; },
        [&] { std::filesystem::remove(path); }, [&] { std::filesystem::rename(good, path); }};
    for (const auto& change : changes) {
        for (const auto delay : {0ms, 2ms, 10ms, 40ms}) {
            const PreviewTicket ticket = ask(write("p.png", picture));
            const auto answer = m_answers.back();
            std::this_thread::sleep_for(delay);
            change();
            ASSERT_TRUE(test::waitFor([&] { return *answer != nullptr; }));
            EXPECT_NE((*answer)->fault, PreviewFault::Crashed);
            if (!test::exists(good)) test::writeFile(good, picture);
        }
    }
    ASSERT_EQ(utimensat(AT_FDCWD, good.c_str(), longAgo, 0), 0);
    EXPECT_EQ(previewOf(item("good.png")).kind, PreviewKind::Image);
    struct stat status {};
    ASSERT_EQ(::stat(good.c_str(), &status), 0);
    EXPECT_EQ(status.st_atime, 1000);
}

TEST_F(PreviewLoaderTest, ThumbnailsComeFromTheCacheWhenTheyAreOfThisFileAndElseFromTheFile) {
    start(KESTRIN_VIEWER);
    const test::ScopedVariable cache("XDG_CACHE_HOME", m_scratch.path());
    const auto file = write("f.png", noise(300, 150));
    const int modified = 1'700'000'000;
    const timespec times[2] = {{modified, 0}, {modified, 999'000'000}};
    ASSERT_EQ(utimensat(AT_FDCWD, file->path().c_str(), times, 0), 0);
    const auto thumbnails = cachedThumbnailsOf(file->url());
    const auto thumbnail = [&](int side) {
        auto made = std::async([&, side] { return m_loader->thumbnail(*file, side).size(); });
        return made.get();
    };
    const auto isOfTheCache = [](QSize size) { return size.height() < size.width() / 10; };
    const auto cacheAt = [&](std::size_t index, int width, const std::string& uri, int time) {
        test::writeFile(thumbnails[index].file.path(), noise(width, 10, "PNG", uri, time));
    };
    const std::string uri = thumbnailUri(file->url());
    cacheAt(0, 128, uri, modified - 1);
    cacheAt(1, 256, "file:///elsewhere", modified);
    EXPECT_EQ(thumbnail(100), QSize(100, 50)) << "of another time, of another file";
    cacheAt(0, 128, uri, modified);
    EXPECT_TRUE(isOfTheCache(thumbnail(100))) << "the smallest that need not be enlarged";
    EXPECT_EQ(thumbnail(200), QSize(200, 100)) << "better than one that must be";
    cacheAt(2, 512, uri, modified);
    EXPECT_TRUE(isOfTheCache(thumbnail(200)));
    test::writeFile(file->path(), "\x89PNG is broken");
    ASSERT_EQ(utimensat(AT_FDCWD, file->path().c_str(), times, 0), 0);
    std::filesystem::remove(thumbnails[2].file.path());
    EXPECT_TRUE(isOfTheCache(thumbnail(200))) << "better than none";
}

}  // namespace
}  // namespace kestrin
