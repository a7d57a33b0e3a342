// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/LastLogLines.h"

#include <QTime>
#include <QtGlobal>
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>

#include "base/WriteAll.h"

namespace kestrin {
namespace {

constexpr std::size_t kLines = 64;
constexpr std::size_t kWords = 30;
constexpr std::size_t kLongestLine = kWords * sizeof(std::uint64_t);

/// One line. `turn` is even and tells which line stands here, counted from 1, when halved; it is
/// odd while the line is written. The text is made of atomics, too: a reader may meet a writer.
struct Slot {
    std::atomic<std::uint64_t> turn{0};
    std::atomic<std::uint32_t> length{0};
    std::array<std::atomic<std::uint64_t>, kWords> words{};
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);  // a signal handler reads them

std::array<Slot, kLines> s_slots;
std::atomic<std::uint64_t> s_count{0};
QtMessageHandler s_next = nullptr;

void keep(std::string_view line) {
    std::size_t length = std::min(line.size(), kLongestLine);
    while (length < line.size() && length > 0 && (line[length] & 0xC0) == 0x80)
        --length;  // no character is cut in two
    const std::uint64_t number = ++s_count;
    Slot& slot = s_slots[number % kLines];
    std::uint64_t turn = slot.turn;
    // A thread that was overtaken by a whole round still writes here: this line is lost.
    if (turn % 2 || !slot.turn.compare_exchange_strong(turn, number * 2 + 1)) return;
    slot.length.store(static_cast<std::uint32_t>(length), std::memory_order_relaxed);
    for (std::size_t at = 0; at < length; at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, line.data() + at, std::min(sizeof(word), length - at));
        // Who reads this word sees as well that the line is being written.
        slot.words[at / sizeof(word)].store(word, std::memory_order_release);
    }
    slot.turn.store(number * 2);
}

/// The length of the line, 0 when it is not there or not whole.
std::size_t read(std::uint64_t number, std::array<std::uint64_t, kWords>& line) {
    const Slot& slot = s_slots[number % kLines];
    if (slot.turn != number * 2) return 0;
    const std::size_t length = slot.length.load(std::memory_order_relaxed);
    for (std::size_t at = 0; at < kWords; ++at)
        line[at] = slot.words[at].load(std::memory_order_acquire);
    return slot.turn == number * 2 ? length : 0;
}

const char* severity(QtMsgType type) {
    switch (type) {
        case QtDebugMsg:
            return "debug";
        case QtInfoMsg:
            return "info";
        case QtWarningMsg:
            return "warning";
        case QtCriticalMsg:
            return "critical";
        case QtFatalMsg:
            return "fatal";
    }
    return "";
}

void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    const std::string category = context.category ? std::string(" ") + context.category : "";
    keep(QTime::currentTime().toString(Qt::ISODateWithMs).toStdString() + ' ' + severity(type) +
         category + ": " + withoutNames(text.toStdString()));
    s_next(type, context, text);
}

}  // namespace

void keepLastLogLines() {
    s_next = qInstallMessageHandler(handleMessage);
}

void writeLastLogLines(int descriptor, std::string_view prefix) {
    const std::uint64_t count = s_count;
    std::array<std::uint64_t, kWords> line;
    for (std::uint64_t number = count > kLines ? count - kLines + 1 : 1; number <= count;
         ++number) {
        const std::size_t length = read(number, line);
        if (length == 0) continue;
        writeAll(descriptor, prefix);
        writeAll(descriptor, {reinterpret_cast<const char*>(line.data()), length});
        writeAll(descriptor, "\n");
    }
}

std::string withoutNames(std::string_view line) {
    std::size_t end = line.find_first_of("/\"'`[");
    for (const std::string_view quote : {"“", "”", "„", "‘", "‚", "«", "»"})
        end = std::min(end, line.find(quote));
    std::string text(line.substr(0, end));
    if (end < line.size()) text += "…";
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < ' '; },
        ' ');
    return text;
}

}  // namespace kestrin
