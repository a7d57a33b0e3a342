// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/TextView.h"

#include <QFontDatabase>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QTextBlock>
#include <algorithm>
#include <utility>
#include <vector>

#include "format/DisplayName.h"
#include "smartwindow/preview/ScrollKeys.h"
#include "viewer/ViewerProtocol.h"
#include "widgets/Colors.h"

namespace kestrin {
namespace {

constexpr qsizetype kFirstPiece = 8 << 10;    // characters: more than a screen
constexpr qsizetype kPiece = 32 << 10;        // characters: about two milliseconds, as are ...
constexpr std::size_t kLinesOfAPiece = 1000;  // ... so many lines
// Bytes of a line that are laid out as one. The time for a longer one grows without bound.
constexpr std::size_t kLongestLine = 2000;
constexpr int kColumnsOfATab = 8;
constexpr int kNumbersMargin = 6;  // points on either side of the numbers
constexpr int kLeastDigits = 3;
constexpr int kContinued = 0;  // the state of a block that belongs to the line before it

/// The beginning of `text` up to `most` bytes, no character of UTF-8 torn apart.
std::string_view beginning(std::string_view text, std::size_t most) {
    if (text.size() <= most) return text;
    while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0U) == 0x80)
        --most;
    return text.substr(0, most);
}

}  // namespace

/// The column beside the text.
class TextView::Numbers : public QWidget {
 public:
    explicit Numbers(TextView* view) : QWidget(view), m_view(*view) {}

 protected:
    void paintEvent(QPaintEvent* event) override { m_view.paintNumbers(event); }

 private:
    TextView& m_view;
};

TextView::TextView(QWidget* parent) : QPlainTextEdit(parent), m_numbers(new Numbers(this)) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setAcceptDrops(false);
    setFrameShape(QFrame::NoFrame);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    useFont();
    connect(this, &QPlainTextEdit::updateRequest, m_numbers,
            [this](const QRect& place, int scrolled) {
                if (scrolled != 0) m_numbers->scroll(0, scrolled);
                m_numbers->update(0, place.y(), m_numbers->width(), place.height());
            });
}

void TextView::useFont() {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (font == this->font()) return;
    setFont(font);
    setTabStopDistance(kColumnsOfATab * fontMetrics().horizontalAdvance(QLatin1Char(' ')));
    placeNumbers();
}

void TextView::setPreview(std::shared_ptr<const Preview> preview) {
    m_filling.stop();
    m_preview = std::move(preview);
    m_rest = m_preview ? std::string_view(m_preview->text) : std::string_view();
    m_lines = 0;
    m_continuesLine = false;
    clear();
    if (!m_preview) return;
    fill(kFirstPiece);
    moveCursor(QTextCursor::Start);
}

void TextView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_filling.timerId()) return QPlainTextEdit::timerEvent(event);
    fill(kPiece);
}

void TextView::fill(qsizetype characters) {
    QString shown;
    std::vector<int> states;
    const bool isFirst = m_lines == 0;
    while (!m_rest.empty() && shown.size() < characters && states.size() < kLinesOfAPiece) {
        const std::size_t end = std::min(m_rest.find('\n'), m_rest.size());
        std::string_view line = beginning(m_rest.substr(0, end), kLongestLine);
        const bool isWhole = line.size() == end;
        m_rest.remove_prefix(std::min(m_rest.size(), line.size() + (isWhole ? 1 : 0)));
        if (isWhole && line.ends_with('\r')) line.remove_suffix(1);
        if (!isFirst || !states.empty()) shown += QLatin1Char('\n');
        shown += displayText(line);
        states.push_back(m_continuesLine ? kContinued : ++m_lines);
        m_continuesLine = !isWhole;
        if (isWhole && m_lines == kMostLines) m_rest = {};
    }
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(shown);
    QTextBlock block = document()->lastBlock();
    for (auto state = states.rbegin(); state != states.rend(); ++state, block = block.previous())
        block.setUserState(*state);
    placeNumbers();
    if (m_rest.empty()) {
        m_filling.stop();
    } else if (!m_filling.isActive()) {
        m_filling.start(0, this);
    }
}

// --- Numbers ---

void TextView::placeNumbers() {
    const auto digits = std::max<qsizetype>(kLeastDigits, QString::number(m_lines).size());
    const int width = fontMetrics().horizontalAdvance(QLatin1Char('9')) * int(digits);
    const int wholeWidth = width + 2 * kNumbersMargin;
    const bool isMirrored = isRightToLeft();
    const QMargins margins(isMirrored ? 0 : wholeWidth, 0, isMirrored ? wholeWidth : 0, 0);
    if (margins != viewportMargins()) setViewportMargins(margins);
    const QRect inside = contentsRect();
    const int left = isMirrored ? viewport()->geometry().right() + 1 : inside.left();
    m_numbers->setGeometry(left, viewport()->y(), wholeWidth, viewport()->height());
}

void TextView::paintNumbers(QPaintEvent* event) {
    QPainter painter(m_numbers);
    painter.fillRect(event->rect(), palette().color(QPalette::AlternateBase));
    painter.setPen(faintTextColor(palette()));
    painter.setFont(font());
    const int width = m_numbers->width() - kNumbersMargin;
    for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
        const QRectF place = blockBoundingGeometry(block).translated(contentOffset());
        if (place.top() > event->rect().bottom()) return;
        if (place.bottom() < event->rect().top() || block.userState() <= kContinued) continue;
        painter.drawText(QRectF(0, place.top(), width, fontMetrics().height()),
                         int(Qt::AlignRight | Qt::AlignTop), QString::number(block.userState()));
    }
}

void TextView::resizeEvent(QResizeEvent* event) {
    QPlainTextEdit::resizeEvent(event);
    placeNumbers();
}

void TextView::changeEvent(QEvent* event) {
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::ApplicationFontChange) useFont();
    const bool isOfNumbers =
        event->type() == QEvent::LayoutDirectionChange || event->type() == QEvent::FontChange;
    if (isOfNumbers && m_numbers) placeNumbers();
}

// --- Keys and selection ---

void TextView::keyPressEvent(QKeyEvent* event) {
    if (isKeyOfTheWindow(*event, *this)) return event->ignore();
    QPlainTextEdit::keyPressEvent(event);
}

void TextView::mousePressEvent(QMouseEvent* event) {
    // A press upon what is selected selects anew: the content of a file is not dragged anywhere.
    if (event->button() == Qt::LeftButton && event->modifiers() == Qt::NoModifier) {
        QTextCursor cursor = textCursor();
        cursor.clearSelection();
        setTextCursor(cursor);
    }
    QPlainTextEdit::mousePressEvent(event);
}

QMimeData* TextView::createMimeDataFromSelection() const {
    const QTextCursor cursor = textCursor();
    QString text;
    QTextBlock block = document()->findBlock(cursor.selectionStart());
    while (block.isValid() && block.position() < cursor.selectionEnd()) {
        const int begin = std::max(cursor.selectionStart() - block.position(), 0);
        const int end = cursor.selectionEnd() - block.position();
        text += QStringView(block.text()).mid(begin, end - begin);
        const bool goesOn = end >= block.length();
        block = block.next();
        if (goesOn && block.isValid() && block.userState() != kContinued) text += QLatin1Char('\n');
    }
    auto* const copied = new QMimeData;
    copied->setText(text);
    return copied;
}

}  // namespace kestrin
