// SPDX-License-Identifier: GPL-3.0-or-later
// The decoder as it ships.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QBuffer>
#include <QPainter>

#include "base/SanitizedBuild.h"
#include "platform/items/SealedFile.h"
#include "platform/processes/ChildProgram.h"
#include "support/TestEnvironment.h"
#include "viewer/DecodedBytes.h"
#include "viewer/Sandbox.h"

namespace kestrin {
namespace {

bool waitToRead(int socket) {
    pollfd waiting{.fd = socket, .events = POLLIN};
    return ::poll(&waiting, 1, 20'000) == 1;
}

struct Answer {
    std::optional<Preview> preview;
    bool isLast = false;
};

Answer answerOf(const ChildProgram& decoder, const QByteArray& bytes) {
    const auto file = sealedFile({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    static std::uint64_t number = 0;
    const DecodeRequest request{.number = ++number, .width = 800, .height = 600};
    if (!file || sendRequest(decoder.socket(), request, file->get()) ||
        !waitToRead(decoder.socket())) {
        return {};
    }
    const auto answer = receiveAnswer(decoder.socket());
    if (!answer || answer->number != number) return {};
    return {readPreview(answer->preview.get()), answer->isLast};
}

/// Enough pixels for Qt to share the work among threads.
QByteArray largePicture() {
    QImage image(1600, 1200, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    QPainter(&image).drawEllipse(100, 100, 1000, 900);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

/// A page with that content, and a font that is not in the file.
QByteArray page(const QByteArray& content) {
    // Packed, without the length that Qt puts before it.
    const QByteArray packed = qCompress(content).mid(4);
    return "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
           "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
           "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 300 100]/Contents 4 0 R/Resources<</Font"
           "<</F<</Type/Font/Subtype/Type1/BaseFont/Times-Italic>>>>>>>>endobj\n"
           "4 0 obj<</Filter/FlateDecode/Length " +
           QByteArray::number(packed.size()) + ">>stream\n" + packed +
           "\nendstream endobj\ntrailer<</Root 1 0 R>>\n%%EOF\n";
}

const QByteArray kPage = page("BT /F 20 Tf 9 9 Td (Sealed) Tj ET");

class Viewer : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Programs, Viewer, testing::Values(KESTRIN_VIEWERS));

TEST_P(Viewer, showsBehindItsSealWhatIsSeenInTheOpen) {
    auto decoder = ChildProgram::start(FileUrl::fromPath(GetParam()), {});
    ASSERT_TRUE(decoder);
    ASSERT_TRUE(waitToRead(decoder->socket()));
    const auto greeting = receiveGreeting(decoder->socket());
    ASSERT_TRUE(greeting);
    const SandboxPlan plan = planSandbox(askKernel(), kIsSanitizedBuild);
    EXPECT_EQ(greeting->protections.callFilter, plan.filtersCalls);
    EXPECT_EQ(greeting->protections.fileRules, plan.fileRules.size > 0);
    EXPECT_EQ(greeting->protections.memoryLimit, plan.limitsMemory);
    if (!plan.allowsOpening) GTEST_SKIP() << "without Landlock no font is opened";

    const QByteArray drawing =
        "<svg xmlns='http://www.w3.org/2000/svg' width='99' height='40'>"
        "<text y='30' font-family='Times' font-weight='bold'>Sealed</text></svg>";
    for (const QByteArray& bytes : {largePicture(), kPage, drawing}) {
        InputFile file = test::fileOf({bytes.constData(), static_cast<std::size_t>(bytes.size())});
        const Preview open = decode(file, {.width = 800, .height = 600});
        const auto sealed = answerOf(*decoder, bytes).preview;
        ASSERT_TRUE(sealed) << bytes.left(4).toStdString();
        ASSERT_EQ(open.frames.size(), 1u);
        ASSERT_EQ(sealed->frames.size(), 1u);
        EXPECT_EQ(sealed->frames[0].convertToFormat(QImage::Format_ARGB32),
                  open.frames[0].convertToFormat(QImage::Format_ARGB32))
            << bytes.left(4).toStdString();
    }
    if (!plan.limitsMemory) return;
    // A page that saves its state again and again until there is no memory left.
    const Answer exhausted = answerOf(*decoder, page(QByteArray("q ").repeated(5'000'000)));
    EXPECT_TRUE(exhausted.preview && exhausted.preview->fault == PreviewFault::TooLarge);
    EXPECT_TRUE(exhausted.isLast) << "the next file would find no memory";
}

TEST_P(Viewer, endsWithItsProgramEvenWhereItHearsNothing) {
    ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    const pid_t program = ::fork();
    if (program == 0) {
        ::setpgid(0, 0);
        const auto decoder = ChildProgram::start(FileUrl::fromPath(GetParam()), {});
        if (decoder && waitToRead(decoder->socket())) ::kill(0, SIGSTOP);  // both
        ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(program, &status, WUNTRACED), program);
    ASSERT_TRUE(WIFSTOPPED(status));
    ::kill(program, SIGKILL);
    ASSERT_EQ(::waitpid(program, &status, 0), program);
    EXPECT_TRUE(test::waitFor([&] { return ::waitpid(-program, &status, WNOHANG) > 0; }, 2000));
    ::kill(-program, SIGKILL);
}

#ifdef KESTRIN_MEDIA_VIEWER
TEST(MediaViewer, decodesVideosBehindItsSeal) {
    auto decoder = ChildProgram::start(FileUrl::fromPath(KESTRIN_MEDIA_VIEWER), {});
    ASSERT_TRUE(decoder);
    ASSERT_TRUE(waitToRead(decoder->socket()));
    ASSERT_TRUE(receiveGreeting(decoder->socket()));
    for (const char* const name : {"h264.mp4", "vp9.webm", "mpeg4.avi", "theora.ogv"}) {
        const std::string bytes = test::readFile(std::string(KESTRIN_MEDIA_SAMPLES "/") + name);
        const auto preview = answerOf(*decoder, QByteArray::fromStdString(bytes)).preview;
        ASSERT_TRUE(preview && preview->kind == PreviewKind::Image) << name;
        EXPECT_EQ(preview->frames.at(0).size(), QSize(32, 32)) << name;
    }
}
#endif

}  // namespace
}  // namespace kestrin
