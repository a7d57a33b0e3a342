// SPDX-License-Identifier: GPL-3.0-or-later
// A plugin of the toolkit's that sits in the program while its window is measured: it works the
// window through its widgets and models, as a user does, and prints how long each step took. The
// program itself is the one that ships. Environment:
//   KESTRIN_PROBE        what to do: "figures", "scroll" or "watch"
//   KESTRIN_PROBE_BEGAN  when the command was given, in seconds of the monotonic clock
//   KESTRIN_PROBE_ROWS   how many rows the list is to have
//   KESTRIN_PROBE_ERASE  how many entries "figures" erases at the end
#include <time.h>

#include <QApplication>
#include <QComboBox>
#include <QEventLoop>
#include <QGenericPlugin>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QLocale>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTimer>
#include <QTreeView>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <utility>

#include "smartwindow/ContentListModel.h"
#include "smartwindow/SourceListModel.h"

namespace {

double secondsOf(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

void tell(const std::string& what, double value, const char* unit) {
    std::printf("probe: %s: %.1f %s\n", what.c_str(), value, unit);
    std::fflush(stdout);
}

/// Notes the longest time between two turns of the event loop, and how much of it the main thread
/// itself worked: the rest it waited, perhaps for a processor.
class Heartbeat : public QObject {
 public:
    explicit Heartbeat(std::function<void()> beat) : m_beat(std::move(beat)) {
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, [this] { tick(); });
        m_timer.start(1);
    }
    void begin() {
        m_wall = secondsOf(CLOCK_MONOTONIC);
        m_work = secondsOf(CLOCK_THREAD_CPUTIME_ID);
        m_longest = m_workInLongest = 0;
    }
    void tellLongest(const std::string& during) const {
        tell("longest stall, " + during, m_longest * 1000, "ms");
        tell("  of it at work", m_workInLongest * 1000, "ms");
    }

 private:
    void tick() {
        const double wall = secondsOf(CLOCK_MONOTONIC), work = secondsOf(CLOCK_THREAD_CPUTIME_ID);
        const double stall = wall - std::exchange(m_wall, wall);
        const double worked = work - std::exchange(m_work, work);
        if (stall > m_longest) {
            m_longest = stall;
            m_workInLongest = worked;
        }
        m_beat();
    }

    const std::function<void()> m_beat;
    QTimer m_timer;
    double m_wall = secondsOf(CLOCK_MONOTONIC), m_work = secondsOf(CLOCK_THREAD_CPUTIME_ID);
    double m_longest = 0, m_workInLongest = 0;  ///< seconds
};

class Probe : public QObject {
 public:
    Probe() {
        QTimer::singleShot(0, this, [this] { run(); });
    }

 protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint && m_list->model()->rowCount() > 0) ++m_paints;
        if (event->type() == QEvent::Paint) m_paintedResets = m_resets;
        return false;
    }

 private:
    void run();
    void open();
    void sort();
    void scroll();
    void filter();
    void filterByKind();
    void checkAll();
    void eraseSome(int count);
    void scrollWhileMeasuring();
    void watch();

    /// Serves events until it is so. Ends the program when it never becomes so.
    void waitFor(const char* what, const std::function<bool()>& condition, int seconds = 100) {
        QEventLoop loop;
        m_condition = [&] {
            if (condition()) loop.quit();
        };
        QTimer::singleShot(seconds * 1000, &loop, [what] {
            std::printf("probe: waited in vain for %s\n", what);
            std::fflush(stdout);
            std::_Exit(3);
        });
        loop.exec();
        m_condition = nullptr;
    }
    /// Does something and tells how long it takes until that is on the screen.
    void time(
        const std::string& what, const std::function<void()>& action,
        const std::function<bool()>& isDone = [] { return true; }) {
        m_heartbeat.begin();
        const double began = secondsOf(CLOCK_MONOTONIC);
        const int paints = m_paints;
        action();
        bool wasDone = false;
        int paintsWhenDone = paints;
        waitFor(what.c_str(), [&] {
            if (!wasDone && isDone()) {
                wasDone = true;
                paintsWhenDone = m_paints;
                m_list->viewport()->update();
            }
            return wasDone && m_paints > paintsWhenDone;
        });
        tell(what, (secondsOf(CLOCK_MONOTONIC) - began) * 1000, "ms");
        m_heartbeat.tellLongest(what);
    }

    void tellSinceCommand(const char* what) const {
        const char* const began = std::getenv("KESTRIN_PROBE_BEGAN");
        tell(what, (secondsOf(CLOCK_MONOTONIC) - std::atof(began)) * 1000, "ms");
    }
    static void tellMemory(const char* when) {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("VmRSS:"))
                tell(std::string("resident, ") + when, std::stod(line.substr(6)) / 1000, "MB");
        }
    }

    bool findList() {
        for (QWidget* const widget : QApplication::allWidgets()) {
            if (widget->inherits("kestrin::QVContentTableView"))
                m_list = qobject_cast<QTreeView*>(widget);
            if (widget->inherits("kestrin::QVSourceTableView"))
                m_sources = qobject_cast<QListView*>(widget);
        }
        if (m_list) m_window = m_list->window();
        return m_list && m_sources && m_list->model() && m_sources->model();
    }
    int rows() const { return m_list->model()->rowCount(); }
    int rowsWith(const std::function<bool(const QString& name)>& has) const {
        int found = 0;
        for (int row = 0; row < rows(); ++row) {
            const QModelIndex name = m_list->model()->index(row, kestrin::ContentListModel::Name);
            if (has(name.data().toString())) ++found;
        }
        return found;
    }
    bool isChecked(int row) const {
        return m_list->model()->index(row, 0).data(Qt::CheckStateRole) == Qt::Checked;
    }
    /// The figures of the trash count what is measured.
    bool isMeasured() const {
        const QModelIndex source = m_sources->model()->index(0, 0);
        return source.data(kestrin::SourceListModel::InfoRole)
            .toString()
            .startsWith(QLocale(QLocale::English).toString(m_expected));
    }
    void clickHeader(int column) {
        QHeaderView& header = *m_list->header();
        const QPointF place(header.sectionViewportPosition(column) + header.sectionSize(column) / 2,
                            header.height() / 2);
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, place, header.viewport()->mapToGlobal(place), Qt::LeftButton,
                              type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                              Qt::NoModifier);
            QApplication::sendEvent(header.viewport(), &event);
        }
    }
    /// A button that can be pressed; nullptr while there is none.
    static QPushButton* button(const QString& name) {
        for (QWidget* const widget : QApplication::allWidgets()) {
            auto* const found = qobject_cast<QPushButton*>(widget);
            if (found && found->isVisible() && found->isEnabled() && found->objectName() == name)
                return found;
        }
        return nullptr;
    }

    const int m_expected = std::atoi(std::getenv("KESTRIN_PROBE_ROWS"));
    std::function<void()> m_condition;
    QPointer<QTreeView> m_list;
    QPointer<QListView> m_sources;
    QPointer<QWidget> m_window;
    int m_paints = 0;  ///< of a list with rows
    int m_resets = 0, m_paintedResets = 0;
    Heartbeat m_heartbeat{[this] {
        if (m_condition) m_condition();
    }};
};

void Probe::run() {
    const std::string task = std::getenv("KESTRIN_PROBE");
    waitFor("the window", [this] { return findList(); });
    m_list->viewport()->installEventFilter(this);
    connect(m_list->model(), &QAbstractItemModel::modelReset, this, [this] { ++m_resets; });
    connect(m_list->model(), &QAbstractItemModel::layoutChanged, this, [this] { ++m_resets; });
    if (task == "scroll") {
        scrollWhileMeasuring();
    } else {
        open();
    }
    if (task == "watch") return watch();
    if (task == "figures") {
        sort();
        scroll();
        filterByKind();
        filter();
        checkAll();
        eraseSome(std::atoi(std::getenv("KESTRIN_PROBE_ERASE")));
    }
    std::puts("probe: over");
    std::fflush(stdout);
}

void Probe::open() {
    waitFor("the first rows", [this] { return m_paints > 0; });
    tellSinceCommand("first rows on screen");
    m_heartbeat.begin();
    waitFor("all rows", [this] { return rows() == m_expected && m_paintedResets == m_resets; });
    tellSinceCommand("all rows");
    waitFor("the sizes of the folders", [this] { return isMeasured(); });
    tellSinceCommand("all folders measured");
    m_heartbeat.tellLongest("from the first rows until all is measured");
    tellMemory("all measured");
}

void Probe::sort() {
    using kestrin::ContentListModel;
    const QModelIndex one = m_list->model()->index(rows() / 2, ContentListModel::Check);
    m_list->model()->setData(one, Qt::Checked, Qt::CheckStateRole);
    for (const int column : {ContentListModel::Size, ContentListModel::DateAdded,
                             ContentListModel::Check, ContentListModel::Name}) {
        const int resets = m_resets;
        time(
            "sort by column " + std::to_string(column), [&] { clickHeader(column); },
            [&] { return m_resets > resets; });
    }
}

void Probe::scroll() {
    time("scroll to the end", [this] { m_list->scrollToBottom(); });
    m_heartbeat.begin();
    for (int page = 0; page < 50; ++page) {
        const int paints = m_paints;
        m_list->verticalScrollBar()->triggerAction(QScrollBar::SliderPageStepSub);
        waitFor("a page", [&] { return m_paints > paints; });
    }
    m_heartbeat.tellLongest("50 pages");
}

void Probe::filter() {
    auto* const text = m_window->findChild<QLineEdit*>();
    const QString wanted = QStringLiteral("single99");
    const int all = rows();
    const int expected = rowsWith([&](const QString& name) { return name.contains(wanted); });
    time(
        "filter", [&] { text->insert(wanted); }, [&] { return rows() == expected; });
    time(
        "no filter",
        [&] {
            text->selectAll();
            text->del();
        },
        [&] { return rows() == all; });
}

/// The first time, the worker knows the kind of no type.
void Probe::filterByKind() {
    auto* const kinds = m_window->findChild<QComboBox*>();
    const int all = rows();
    const int images = rowsWith([](const QString& name) {
        return name.endsWith(QLatin1String(".jpg")) || name.endsWith(QLatin1String(".PNG"));
    });
    for (const char* const step : {"kind filter, for the first time", "kind filter"}) {
        time(
            step, [&] { kinds->setCurrentText(QStringLiteral("Images")); },
            [&] { return rows() == images; });
        time(
            "no kind filter", [&] { kinds->setCurrentText(QStringLiteral("All kinds")); },
            [&] { return rows() == all; });
    }
}

void Probe::checkAll() {
    const QModelIndex source = m_sources->model()->index(0, 0);
    const auto hasState = [&](Qt::CheckState state) {
        return [this, state, source = QPersistentModelIndex(source)] {
            return source.data(Qt::CheckStateRole) == state &&
                   isChecked(0) == (state == Qt::Checked) && isChecked(0) == isChecked(rows() - 1);
        };
    };
    const auto click = [&] {
        m_sources->model()->setData(source, Qt::Checked, Qt::CheckStateRole);
    };
    time("check all", click, hasState(Qt::Checked));
    tellMemory("all checked");
    time("uncheck all", click, hasState(Qt::Unchecked));
}

/// The last ones, which are files: folders stand before them.
void Probe::eraseSome(int count) {
    const int first = rows() - count, last = rows() - 1;
    m_list->selectionModel()->select(
        {m_list->model()->index(first, 0), m_list->model()->index(last, 3)},
        QItemSelectionModel::ClearAndSelect);
    time(
        "check " + std::to_string(count),
        [&] {
            QKeyEvent key(QEvent::KeyPress, Qt::Key_Space, Qt::ControlModifier);
            QApplication::sendEvent(m_list, &key);
        },
        [&] { return isChecked(first) && isChecked(last) && !isChecked(first - 1); });
    const QString erase = QStringLiteral("erase"), yes = QStringLiteral("button_1");
    waitFor("the button", [&] { return button(erase); });
    button(erase)->click();
    waitFor("the question", [&] { return button(yes); });
    m_heartbeat.begin();
    const double began = secondsOf(CLOCK_MONOTONIC);
    button(yes)->click();
    waitFor("the end", [this] { return !m_window || !m_window->isVisible(); });
    tell("erase, from the answer to the end", (secondsOf(CLOCK_MONOTONIC) - began) * 1000, "ms");
    m_heartbeat.tellLongest("while erasing");
    tellMemory("erased");
}

/// Turns pages and changes the order all the while.
void Probe::scrollWhileMeasuring() {
    waitFor("the first rows", [this] { return m_paints > 0; });
    m_heartbeat.begin();
    int turns = 0;
    const double began = secondsOf(CLOCK_MONOTONIC);
    while (!isMeasured() || secondsOf(CLOCK_MONOTONIC) - began < 2) {
        const double until = secondsOf(CLOCK_MONOTONIC) + 0.03;
        waitFor("the next turn", [until] { return secondsOf(CLOCK_MONOTONIC) > until; });
        m_list->verticalScrollBar()->triggerAction(QScrollBar::SliderPageStepAdd);
        if (++turns % 8 == 0) clickHeader(turns / 8 % 4);
    }
    m_heartbeat.tellLongest("scrolled and sorted while measuring");
    tell("resets of the list meanwhile", m_resets, "");
}

/// Only looks, until the program is told to end.
void Probe::watch() {
    m_heartbeat.begin();
    const int before = m_resets;
    tell("ready", 1, "");
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this, before] {
        m_heartbeat.tellLongest("while others changed the trash");
        tell("lists shown anew", m_resets - before, "");
        tell("rows at the end", rows(), "");
    });
}

class ProbePlugin : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "WindowProbe.json")

 public:
    QObject* create(const QString&, const QString&) override { return new Probe; }
};

}  // namespace

#include "WindowProbe.moc"
