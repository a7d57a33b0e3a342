// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/QVAlert.h"

#include <QStringList>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"

namespace kestrin {
namespace {

/// Sizes are shown up to terabytes, with two decimals.
constexpr std::uint16_t kSizeScale = 4;

}  // namespace

/// The user's answer, on its way from the main thread to whoever waits for it.
struct QVAlert::Answer {
    std::mutex lock;
    std::condition_variable given;
    std::atomic<int> choice{0};

    void give(int button) {
        {
            const std::scoped_lock guard(lock);
            choice = button;
        }
        given.notify_all();
    }
    int wait() {
        std::unique_lock guard(lock);
        given.wait(guard, [this] { return choice != 0; });
        return choice;
    }
};

/// The size line and the panel that shows it. Shared with calls on their way to the main thread.
struct QVAlert::SizeLine {
    std::mutex lock;
    std::uint64_t totCount = 0;
    std::uint64_t totSize = 0;
    std::string originalSizeInfoStr;
    QString volumeName;
    QString sizeInfoStr;
    bool stopped = false;

    // Main thread only, not guarded by the lock:
    std::unique_ptr<AlertPanel> panel;
    bool isWithdrawn = false;

    void showInPanel() {
        if (!panel) return;
        std::unique_lock guard(lock);
        const QString text = sizeInfoStr;
        const bool spinning = !stopped;
        guard.unlock();
        panel->setSizeLine(text, spinning);
    }
};

/// Stands for a sheet while anything may still bring its answer: the call that is to begin it, then
/// the panel. When the last of them goes without one, the sheet counts as not answered.
struct QVAlert::Sheet {
    std::shared_ptr<Answer> answer;
    int notAnswered;

    Sheet(std::shared_ptr<Answer> toGive, int otherwise)
        : answer(std::move(toGive)), notAnswered(otherwise) {}
    ~Sheet() {
        if (answer->choice == 0) answer->give(notAnswered);
    }
    Sheet(const Sheet&) = delete;
    Sheet& operator=(const Sheet&) = delete;
};

QVAlert::QVAlert(AlertPanelFactory makePanel, const StringTable& texts,
                 const QVNumberUtilities& numbers)
    : m_makePanel(std::move(makePanel)),
      m_texts(texts),
      m_numbers(numbers),
      m_answer(std::make_shared<Answer>()),
      m_line(std::make_shared<SizeLine>()) {}

QVAlert::~QVAlert() {
    if (MainThread::isCurrent())
        m_line->panel.reset();
    else
        MainThread::post([line = m_line] { line->panel.reset(); });
}

int QVAlert::showAlertWithTrashInfo(const TrashInfo& trashInfo, WindowHandle window) {
    {
        const std::scoped_lock guard(m_line->lock);
        m_line->originalSizeInfoStr = trashInfo.calculatedStr;
        m_line->volumeName = trashInfo.volumeName;
    }
    showSizeInfoStringWithSize(trashInfo.size, trashInfo.count);
    m_answer->choice = 0;
    if (window)
        beginSheet(model(trashInfo), window);
    else
        runModal(model(trashInfo));
    return choice();
}

AlertModel QVAlert::model(const TrashInfo& trashInfo) const {
    AlertModel model{.notAnswered = kAlertSecondButton};
    model.style = AlertModel::Style::Critical;
    model.topic = AlertModel::Topic::EraseConfirmation;
    model.title = m_texts.text(trashInfo.information.toStdString());
    model.text = m_texts.text(trashInfo.message);
    if (!trashInfo.notes.isEmpty()) model.text += u'\n' + trashInfo.notes;
    model.fullName = displayName(trashInfo.volumeName);
    model.buttons[0] = m_texts.text(trashInfo.isSmartErase ? "erase_checked_button"_key
                                                           : "empty_trash_button"_key);
    model.buttons[1] = m_texts.text("cancel_btn"_key);
    model.hasSizeLine = true;
    model.details = trashInfo.details;
    return model;
}

void QVAlert::runModal(const AlertModel& model) {
    m_line->panel = m_makePanel();
    m_line->showInPanel();
    const int result = m_line->panel ? m_line->panel->runModal(model) : model.notAnswered.button;
    m_line->panel.reset();
    m_answer->give(result);
}

/// Begun by a call of its own, so that the caller is back before the sheet can be answered.
void QVAlert::beginSheet(const AlertModel& model, WindowHandle window) {
    auto sheet = std::make_shared<Sheet>(m_answer, model.notAnswered);
    MainThread::post([sheet, model, window, makePanel = m_makePanel, weak = std::weak_ptr(m_line)] {
        const auto line = weak.lock();
        if (!line || line->isWithdrawn) return;
        line->panel = makePanel();
        if (!line->panel) return;
        line->showInPanel();
        line->panel->beginSheet(model, window,
                                [sheet](int button) { sheet->answer->give(button); });
    });
}

void QVAlert::withdraw() {
    m_line->isWithdrawn = true;
    m_line->panel.reset();
}

void QVAlert::showSizeInfoStringWithSize(std::uint64_t size, std::uint64_t count) {
    {
        const std::scoped_lock guard(m_line->lock);
        m_line->totCount += count;
        m_line->totSize += size;
        if (m_line->totCount == 1 && !m_line->originalSizeInfoStr.ends_with("_single"))
            m_line->originalSizeInfoStr += "_single";
        m_line->stopped = m_line->totCount != 0;
        m_line->sizeInfoStr = sizeText(*m_line);
    }
    if (MainThread::isCurrent()) return m_line->showInPanel();
    MainThread::post([weak = std::weak_ptr(m_line)] {
        if (const auto line = weak.lock()) line->showInPanel();
    });
}

QString QVAlert::sizeText(const SizeLine& line) const {
    if (line.totCount == 0) return m_texts.text("gathering_info"_key);
    QStringList arguments;
    if (!line.volumeName.isEmpty()) arguments << titleName(line.volumeName);
    arguments << m_numbers.numberToFormatString(static_cast<double>(line.totCount))
              << m_numbers.sizeToFormatString(line.totSize, kSizeScale, true);
    return StringTable::filled(m_texts.text(line.originalSizeInfoStr), arguments);
}

int QVAlert::waitUntilSheetWindowIsClosed() {
    return m_answer->wait();
}

int QVAlert::choice() const {
    return m_answer->choice;
}

QString QVAlert::sizeInfoStr() const {
    const std::scoped_lock guard(m_line->lock);
    return m_line->sizeInfoStr;
}

bool QVAlert::stopped() const {
    const std::scoped_lock guard(m_line->lock);
    return m_line->stopped;
}

}  // namespace kestrin
