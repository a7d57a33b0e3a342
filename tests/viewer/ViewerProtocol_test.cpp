// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/ViewerProtocol.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QColor>
#include <cerrno>
#include <cstring>

#include "support/TestEnvironment.h"

namespace kestrin {
namespace {

QImage coloured(int width, int height, QColor color) {
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

Preview animation() {
    Preview preview{.kind = PreviewKind::Image,
                    .facts = {.naturalWidth = 600, .naturalHeight = 400, .title = "Ä"},
                    .frames = {coloured(7, 5, QColor(200, 10, 20, 128)),
                               coloured(7, 5, Qt::green).convertToFormat(QImage::Format_RGB888)},
                    .frameDelays = {40, 50}};
    return preview;
}

Preview archive() {
    return {.kind = PreviewKind::Entries,
            .fault = PreviewFault::Damaged,
            .facts = {.entryCount = 1u << 20,
                      .contentSize = ~std::uint64_t{0} >> 1,
                      .isPartial = true,
                      .artist = std::string(5000, 'x'),
                      .encoding = "bad \xff"},
            .entries = {
                {"a\n\xff", 5, false}, {"folder", 0, true}, {std::string(5000, 'n'), 1, false}}};
}

std::string bytesOf(int fd) {
    std::string bytes(static_cast<std::size_t>(::lseek(fd, 0, SEEK_END)), '\0');
    EXPECT_EQ(::pread(fd, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    return bytes;
}

UniqueFd memoryFile(std::string_view bytes, int seals) {
    UniqueFd file(::memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    EXPECT_EQ(::write(file.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    EXPECT_EQ(::fcntl(file.get(), F_ADD_SEALS, seals), 0);
    return file;
}
constexpr int kAllSeals = F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK;

TEST(ViewerPreview, carriesEachKind) {
    std::optional<Preview> read = readPreview(writePreview(animation())->get());
    ASSERT_TRUE(read);
    const Preview copy = *read;
    read.reset();
    EXPECT_EQ(copy.frames[0], animation().frames[0]) << "lives as long as the last image";
    EXPECT_EQ(copy.frames[1].format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(copy.frames[1].pixelColor(6, 4), QColor(Qt::green));
    EXPECT_EQ(copy.frameDelays, animation().frameDelays);
    EXPECT_EQ(copy.facts.title + std::to_string(copy.facts.naturalWidth), "Ä600");

    const auto listed = readPreview(writePreview(archive())->get());
    ASSERT_TRUE(listed);
    EXPECT_EQ(listed->fault, PreviewFault::Damaged);
    EXPECT_EQ(listed->entries[0].name, "a\n\xff");
    EXPECT_TRUE(listed->entries[1].isFolder);
    EXPECT_EQ(listed->entries[2].name.size(), kLargestPreviewName) << "cut";
    EXPECT_LE(listed->facts.artist.size(), kLargestPreviewName);
    EXPECT_EQ(listed->facts.encoding, "bad \xEF\xBF\xBD");
    EXPECT_TRUE(listed->facts.isPartial);

    const auto text = readPreview(writePreview({.kind = PreviewKind::Text, .text = "é\n"})->get());
    ASSERT_TRUE(text);
    EXPECT_EQ(text->text, "é\n");

    QImage impossible(1, 1, QImage::Format_ARGB32_Premultiplied);
    impossible.setPixel(0, 0, 0x10ff0511u);
    const auto mended =
        readPreview(writePreview({.kind = PreviewKind::Image, .frames = {impossible}})->get());
    ASSERT_TRUE(mended);
    EXPECT_EQ(mended->frames[0].pixel(0, 0), 0x10100510u);
}

TEST(ViewerPreview, isNotWrittenWhenItCannotBeRead) {
    const QImage dot = coloured(1, 1, Qt::red), wide = coloured(4097, 1, Qt::red);
    const QImage tall = coloured(1, 4097, Qt::red);
    const std::vector<Preview> wrong{
        {.kind = PreviewKind::Image},
        {.kind = PreviewKind::Image, .frames = {wide}},
        {.kind = PreviewKind::Image, .frames = {tall}},
        {.kind = PreviewKind::Image, .frames = {dot, wide}},
        {.kind = PreviewKind::Image,
         .frames = std::vector<QImage>(2, coloured(4096, 4096, Qt::red))},
        {.kind = PreviewKind::Image, .frames = std::vector<QImage>(kMostPreviewFrames + 1, dot)},
        {.kind = PreviewKind::Image, .frames = {dot}, .text = "x"},
        {.kind = PreviewKind::Text, .text = "\xff"},
        {.kind = PreviewKind::Text, .text = std::string(kLargestPreviewText + 1, 'x')},
        {.kind = PreviewKind::None, .entries = {{"x"}}},
        {.kind = PreviewKind::Entries, .entries = {{std::string("a\0b", 3)}}},
        {.kind = PreviewKind::Entries,
         .entries = std::vector<PreviewEntry>(kMostPreviewEntries + 1)},
        {.facts = {.naturalWidth = 1u << 31}},
        {.facts = {.contentSize = ~std::uint64_t{0}}},
        {.kind = PreviewKind{4}},
    };
    for (const Preview& preview : wrong)
        EXPECT_FALSE(writePreview(preview)) << &preview - &wrong[0];
}

/// Each byte of what is right is changed, and each length is tried: what is then read is bounded by
/// what the type says, and nothing falls over.
TEST(ViewerPreview, refusesWhatIsOdd) {
    for (const Preview& preview : {animation(), archive()}) {
        const std::string right = bytesOf(writePreview(preview)->get());
        for (std::size_t length = 0; length < right.size(); length += 1 + length / 256)
            EXPECT_FALSE(readPreview(memoryFile(right.substr(0, length), kAllSeals).get()))
                << length;
        EXPECT_FALSE(readPreview(memoryFile(right + '\0', kAllSeals).get()));
        for (std::size_t at = 0; at < std::min<std::size_t>(right.size(), 600); ++at) {
            std::string wrong = right;
            wrong[at] = static_cast<char>(wrong[at] ^ 0xff);
            (void)readPreview(memoryFile(wrong, kAllSeals).get());
        }
        for (const int missing : {F_SEAL_WRITE, F_SEAL_GROW, F_SEAL_SHRINK})
            EXPECT_FALSE(readPreview(memoryFile(right, kAllSeals & ~missing).get())) << missing;
    }
    std::string wrong = bytesOf(writePreview(animation())->get());
    wrong.back() = '\x7f';  // an alpha below its colours
    EXPECT_FALSE(readPreview(memoryFile(wrong, kAllSeals).get()));
    const std::string right = bytesOf(writePreview(archive())->get());
    const std::size_t name = right.find("a\n\xff");
    for (const auto& [at, value] : {std::pair<std::size_t, char>{0, 'x'},
                                    {12, 2},
                                    {right.find("bad "), '\xff'},
                                    {name, 0},
                                    {name - 8, 2},
                                    {right.size() - 1, 1}}) {
        wrong = right;
        wrong[at] = value;
        EXPECT_FALSE(readPreview(memoryFile(wrong, kAllSeals).get())) << at;
    }
    const Preview clear{.kind = PreviewKind::Image, .frames = {coloured(1, 3000, Qt::transparent)}};
    const std::string header = bytesOf(writePreview(clear)->get()).substr(0, 96);
    EXPECT_TRUE(readPreview(memoryFile(header + std::string(16 + 12000, 0), kAllSeals).get()));
    UniqueFd holes = memoryFile(header, 0);
    ASSERT_EQ(::ftruncate(holes.get(), 96 + 16 + 12000), 0);
    ASSERT_EQ(::fcntl(holes.get(), F_ADD_SEALS, kAllSeals), 0);
    EXPECT_FALSE(readPreview(holes.get()));
    EXPECT_FALSE(readPreview(UniqueFd(::open("/proc/self/exe", O_RDONLY)).get()));
    EXPECT_FALSE(readPreview(-1));
}

class ViewerMessages : public testing::Test {
 protected:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends), 0);
        m_ours.reset(ends[0]);
        m_theirs.reset(ends[1]);
    }
    /// Sends `bytes` with `files` descriptors.
    void send(std::string bytes, std::size_t files) {
        iovec part{bytes.data(), bytes.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        std::string control(CMSG_SPACE(files * sizeof(int)), '\0');
        if (files > 0) {
            message.msg_control = control.data();
            message.msg_controllen = control.size();
            cmsghdr* header = CMSG_FIRSTHDR(&message);
            header->cmsg_level = SOL_SOCKET;
            header->cmsg_type = SCM_RIGHTS;
            header->cmsg_len = CMSG_LEN(files * sizeof(int));
            std::memset(CMSG_DATA(header), 0, files * sizeof(int));  // standard input, often enough
        }
        ASSERT_GE(::sendmsg(m_theirs.get(), &message, 0), 0);
    }
    static int nextDescriptor() { return UniqueFd(::dup(0)).get(); }
    UniqueFd m_ours, m_theirs;
};

TEST_F(ViewerMessages, arriveAsTheyWereSent) {
    ASSERT_FALSE(sendGreeting(m_theirs.get(), {.protections = {.fileRules = true}}));
    const auto greeting = receiveGreeting(m_ours.get());
    ASSERT_TRUE(greeting);
    EXPECT_EQ(greeting->version, kViewerProtocolVersion);
    EXPECT_TRUE(greeting->protections.fileRules);
    EXPECT_FALSE(greeting->protections.callFilter || greeting->protections.memoryLimit);

    const UniqueFd file = memoryFile("content", 0);
    const DecodeRequest request{.number = ~std::uint64_t{0},
                                .purpose = DecodePurpose::CachedThumbnail,
                                .width = 4096,
                                .height = 1,
                                .page = 3,
                                .type = std::string(127, 't')};
    ASSERT_FALSE(sendRequest(m_ours.get(), request, file.get()));
    const auto received = receiveRequest(m_theirs.get());
    ASSERT_TRUE(received);
    EXPECT_EQ(received->request.number, request.number);
    EXPECT_EQ(received->request.purpose, request.purpose);
    EXPECT_EQ(received->request.page + received->request.width + received->request.height, 4100u);
    EXPECT_EQ(received->request.type, request.type);
    EXPECT_EQ(bytesOf(received->file.get()), "content");
    EXPECT_EQ(::fcntl(received->file.get(), F_GETFD), FD_CLOEXEC);

    ASSERT_FALSE(sendAnswer(m_theirs.get(), 77, file.get(), true));
    const auto answer = receiveAnswer(m_ours.get());
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->number, 77u);
    EXPECT_TRUE(answer->isLast);

    EXPECT_EQ(receiveAnswer(m_ours.get()).error().systemError, EAGAIN);
    m_theirs.reset();
    EXPECT_EQ(receiveAnswer(m_ours.get()).error().systemError, ECONNRESET);
    EXPECT_EQ(sendRequest(m_ours.get(), request, file.get())->systemError, EPIPE);
}

TEST_F(ViewerMessages, refuseWhatIsOdd) {
    const UniqueFd file = memoryFile("content", 0);
    for (const DecodeRequest& wrong :
         {DecodeRequest{.width = 0, .height = 1}, DecodeRequest{.width = 1, .height = 4097},
          DecodeRequest{.purpose = DecodePurpose{3}, .width = 1, .height = 1},
          DecodeRequest{.width = 1, .height = 1, .type = std::string(128, 't')},
          DecodeRequest{.width = 1, .height = 1, .type = std::string("a\0b", 3)}}) {
        EXPECT_EQ(sendRequest(m_ours.get(), wrong, file.get())->systemError, EINVAL);
    }
    EXPECT_EQ(sendRequest(m_ours.get(), {.width = 1, .height = 1}, -1)->systemError, EINVAL);

    ASSERT_FALSE(sendAnswer(m_theirs.get(), 1, file.get()));
    std::string answer(16, '\0');
    ASSERT_EQ(::recv(m_ours.get(), answer.data(), answer.size(), 0), 16);
    const int next = nextDescriptor();
    for (const std::size_t files : {0u, 2u, 4u, 9u}) {
        send(answer, files);
        EXPECT_EQ(receiveAnswer(m_ours.get()).error().systemError, EPROTO) << files;
    }
    std::string twiceLast = answer;
    twiceLast[4] = 2;
    for (const std::string& wrong :
         {answer + "x", answer.substr(1), std::string(16, 'x'), twiceLast}) {
        send(wrong, 1);
        EXPECT_EQ(receiveAnswer(m_ours.get()).error().systemError, EPROTO);
    }
    ASSERT_FALSE(sendRequest(m_theirs.get(), {.width = 1, .height = 1}, file.get()));
    std::string request(200, '\0');
    request.resize(static_cast<std::size_t>(::recv(m_ours.get(), request.data(), 200, 0)));
    request[16] = 0;  // the width
    send(request, 1);
    EXPECT_EQ(receiveRequest(m_ours.get()).error().systemError, EPROTO);
    send(answer, 1);
    EXPECT_EQ(receiveGreeting(m_ours.get()).error().systemError, EPROTO);
    EXPECT_EQ(nextDescriptor(), next) << "nothing that came stays open";
}

}  // namespace
}  // namespace kestrin
