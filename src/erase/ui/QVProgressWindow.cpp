// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/QVProgressWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWindow>
#include <utility>

#include "base/StringTable.h"
#include "format/QVNumberUtilities.h"
#include "widgets/AnimatedProgressBar.h"
#include "widgets/ElidedLabel.h"
#include "widgets/Sheet.h"

namespace kestrin {
namespace {

constexpr int kWidth = 420;
constexpr std::uint16_t kSizeScale = 4;  // up to terabytes

QLabel* plainLabel(const QString& name, const QString& text) {
    auto* const label = new QLabel(text);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    // A label of its natural width widens the window when the figures grow.
    label->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Preferred);
    QSizePolicy policy = label->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    label->setSizePolicy(policy);
    return label;
}

ElidedLabel* line(const QString& name) {
    auto* const label = new ElidedLabel(Qt::ElideMiddle);
    label->setObjectName(name);
    return label;
}

}  // namespace

QVProgressWindow::QVProgressWindow(const StringTable& texts, const QVNumberUtilities& numbers,
                                   std::function<void()> stop)
    : QWidget(nullptr, kDialogFrame),
      m_texts(texts),
      m_numbers(numbers),
      m_stop(std::move(stop)),
      m_mainLine(line(QStringLiteral("main_line"))),
      m_infoLine(line(QStringLiteral("info_line"))),
      m_bar(new AnimatedProgressBar) {
    QFont bold = font();
    bold.setBold(true);
    m_mainLine->setFont(bold);
    m_bar->setObjectName(QStringLiteral("bar"));

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(m_mainLine);
    layout->addWidget(m_infoLine);
    layout->addWidget(m_bar);
    layout->addWidget(makeFigures());
    setFocusPolicy(Qt::ClickFocus);
    // A strut and not a minimum width of the window, which would keep it from growing with its
    // figures.
    layout->addStrut(kWidth - layout->contentsMargins().left() - layout->contentsMargins().right());
    resize(kWidth, sizeHint().height());
}

QVProgressWindow* QVProgressWindow::shown() {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const window = qobject_cast<QVProgressWindow*>(widget);
        if (window && window->isVisible()) return window;
    }
    return nullptr;
}

QWidget* QVProgressWindow::makeFigures() {
    m_countLabel = plainLabel(QStringLiteral("count_label"), m_texts.text("progress_items"_key));
    m_count = plainLabel(QStringLiteral("count"), {});
    m_sizeLabel = plainLabel(QStringLiteral("size_label"), m_texts.text("progress_size"_key));
    m_size = plainLabel(QStringLiteral("size"), {});
    m_stopButton = new QPushButton(m_texts.text("stop_btn"_key));
    m_stopButton->setObjectName(QStringLiteral("stop"));
    connect(m_stopButton, &QPushButton::clicked, this, [this] { this->stop(); });

    auto* const figures = new QWidget;
    auto* const layout = new QHBoxLayout(figures);
    layout->setContentsMargins({});
    for (QLabel* const label : {m_countLabel, m_count, m_sizeLabel, m_size})
        layout->addWidget(label);
    layout->insertStretch(2);
    layout->addStretch();
    layout->addWidget(m_stopButton);
    return figures;
}

void QVProgressWindow::setState(const ProgressState& state) {
    m_isOver = state.phase == ProgressState::Phase::Over;
    m_stopButton->setEnabled(state.phase == ProgressState::Phase::Working && !m_wasStopped);
    if (!m_wasStopped) showMainText(state.mainText);
    m_infoLine->setFullText(state.infoText);
    showFigures(state.figures);
}

void QVProgressWindow::showFigures(const std::optional<ProgressFigures>& figures) {
    for (QLabel* const label : {m_countLabel, m_count, m_sizeLabel, m_size})
        label->setVisible(figures.has_value());
    if (!figures) return m_bar->setPercent({});
    const auto number = [this](std::uint64_t items) {
        return m_numbers.numberToFormatString(static_cast<double>(items));
    };
    m_bar->setPercent(figures->percent());
    m_count->setText(StringTable::filled(m_texts.text("progress_count"_key),
                                         {number(figures->items), number(figures->allItems)}));
    m_size->setText(m_numbers.sizeToFormatString(figures->bytes, kSizeScale, true));
}

void QVProgressWindow::showMainText(const QString& text) {
    m_mainLine->setFullText(text);
    m_bar->setAccessibleName(text);
    setWindowTitle(plainWindowTitle(text));
}

void QVProgressWindow::stop() {
    if (m_isOver || std::exchange(m_wasStopped, true)) return;
    m_stopButton->setEnabled(false);
    showMainText(m_texts.text("stopping"_key));
    if (m_stop) m_stop();
}

void QVProgressWindow::showOn(QWidget* parent) {
    makeSheet(*this, parent);
    show();
    setFocus();
}

void QVProgressWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel)) return stop();
    QWidget::keyPressEvent(event);
}

void QVProgressWindow::closeEvent(QCloseEvent* event) {
    // A program that ends closes its hidden windows, too, and gives up when one of them refuses.
    if (!isVisible()) return QWidget::closeEvent(event);
    stop();
    event->ignore();
}

void QVProgressWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && windowHandle()) windowHandle()->startSystemMove();
    QWidget::mousePressEvent(event);
}

}  // namespace kestrin
