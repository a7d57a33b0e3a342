// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/ui/AlertDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>
#include <QStyledItemDelegate>
#include <QTextBoundaryFinder>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>
#include <algorithm>
#include <functional>

#include "base/StringTable.h"
#include "erase/ui/AlertDetailsModel.h"
#include "erase/ui/SizeLineView.h"
#include "platform/desktop/ui/Appearance.h"
#include "widgets/Colors.h"
#include "widgets/ElidedLabel.h"
#include "widgets/Sheet.h"

namespace kestrin {
namespace {

constexpr int kStrayMilliseconds = 500;
constexpr int kTextWidth = 460;  // of the size line, so that every alert is as wide
constexpr int kLongestWord = 24;
constexpr QSize kDetailsSize(560, 180);
constexpr int kWidestDetails = 900;
constexpr QSize kCellPadding(16, 8);
constexpr int kButtonPadding = 12;

/// A warning wherever something can be destroyed. Critical is a warning, too: the toolkit's sign
/// for it says that something went wrong.
QStyle::StandardPixmap signOf(const AlertModel& model) {
    const bool warns =
        model.style != AlertModel::Style::Informational || destructiveResult(model).has_value();
    return warns ? QStyle::SP_MessageBoxWarning : QStyle::SP_MessageBoxInformation;
}

/// `text` with places to break lines inside words that are too long for one line, as names can be.
QString breakable(const QString& text) {
    QString result;
    int length = 0;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype begin = 0, end = 0; (end = finder.toNextBoundary()) >= 0; begin = end) {
        length = text.at(begin).isSpace() ? 0 : length + 1;
        if (length > kLongestWord) result += QChar(0x200B);  // zero-width space
        result += QStringView(text).mid(begin, end - begin);
    }
    return result;
}

QLabel* wrappedLabel(const QString& name, const QString& text) {
    auto* const label = new QLabel(breakable(text));
    label->setObjectName(name);
    label->setAccessibleName(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    alignToLeadingEdge(*label);
    label->setMinimumWidth(kTextWidth);
    return label;
}

/// Rows with room around their texts.
class RoomyCells : public QStyledItemDelegate {
 public:
    using QStyledItemDelegate::QStyledItemDelegate;
    /// Every text reads in the direction of its own script, also where the layout's is the other
    /// one: a size stays "700 B".
    QString displayText(const QVariant& value, const QLocale& locale) const override {
        constexpr QChar kFirstStrongIsolate(0x2068);
        constexpr QChar kPopDirectionalIsolate(0x2069);
        return kFirstStrongIsolate + QStyledItemDelegate::displayText(value, locale) +
               kPopDirectionalIsolate;
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return QStyledItemDelegate::sizeHint(option, index) + kCellPadding;
    }
};

/// The button's arrow points down when the list is unfolded, and in the reading direction
/// otherwise.
Qt::ArrowType arrowType(bool isUnfolded, Qt::LayoutDirection direction) {
    if (isUnfolded) return Qt::DownArrow;
    return direction == Qt::RightToLeft ? Qt::LeftArrow : Qt::RightArrow;
}

bool isQuestionAboutEntry(const AlertModel& model) {
    return model.topic == AlertModel::Topic::LockedQuestion ||
           model.topic == AlertModel::Topic::ForbiddenQuestion;
}

}  // namespace

std::optional<int> destructiveResult(const AlertModel& model) {
    if (model.topic == AlertModel::Topic::EraseConfirmation) return kAlertFirstButton;
    if (isQuestionAboutEntry(model)) return kAlertSecondButton;
    return {};
}

AlertDialog::AlertDialog(const AlertModel& model, const StringTable& texts)
    : m_model(model), m_texts(texts) {
    setWindowTitle(plainWindowTitle(model.title));
    setAccessibleName(model.title);
    setAccessibleDescription(model.text);
    setWindowFlags(kDialogFrame);

    auto* const head = new QHBoxLayout;
    head->setSpacing(2 * style()->pixelMetric(QStyle::PM_LayoutHorizontalSpacing));
    head->addWidget(makeIcon(), 0, Qt::AlignTop);
    head->addLayout(makeTexts(), 1);
    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(head);
    if (model.details.count != 0) layout->addWidget(makeDetails(), 1);
    layout->addWidget(makeButtons());
    // Only a button that stands in its window can be that window's own.
    m_first->setDefault(true);
    m_first->setFocus();
}

QLayout* AlertDialog::makeTexts() {
    auto* const layout = new QVBoxLayout;
    layout->addWidget(makeTitle());
    if (!m_model.text.isEmpty()) layout->addWidget(makeText());
    if (m_model.hasSizeLine) {
        m_sizeLine = new SizeLineView;
        m_sizeLine->setObjectName(QStringLiteral("size_line"));
        layout->addWidget(m_sizeLine);
    }
    if (m_model.suppressionTitle) {
        m_suppression = new QCheckBox(*m_model.suppressionTitle);
        m_suppression->setObjectName(QStringLiteral("suppression"));
        m_suppression->setPalette(checkBoxPalette(palette()));
        layout->addWidget(m_suppression);
    }
    if (m_model.details.count != 0) layout->addWidget(makeDetailsButton(), 0, Qt::AlignLeading);
    layout->addStretch();
    return layout;
}

QWidget* AlertDialog::makeIcon() {
    const int side = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    const QIcon icon = style()->standardIcon(signOf(m_model), nullptr, this);
    auto* const label = new QLabel;
    label->setPixmap(icon.pixmap(QSize(side, side), devicePixelRatioF()));
    return label;
}

QWidget* AlertDialog::makeTitle() {
    m_title = wrappedLabel(QStringLiteral("title"), m_model.title);
    QFont bold = font();
    bold.setBold(true);
    m_title->setFont(bold);
    m_title->setToolTip(plainToolTip(m_model.fullName));
    return m_title;
}

QWidget* AlertDialog::makeText() {
    return wrappedLabel(QStringLiteral("text"), m_model.text);
}

QWidget* AlertDialog::makeDetailsButton() {
    auto* const button = new QToolButton;
    button->setObjectName(QStringLiteral("details_button"));
    button->setText(m_model.details.title);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setArrowType(arrowType(false, layoutDirection()));
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    connect(button, &QToolButton::clicked, this, [this, button] {
        const bool show = !m_details->isVisible();
        button->setArrowType(arrowType(show, layoutDirection()));
        showDetails(show);
    });
    return button;
}

QWidget* AlertDialog::makeDetails() {
    m_details = new QTreeView;
    m_details->setObjectName(QStringLiteral("details"));
    m_details->setAccessibleName(m_model.details.title);
    m_details->setModel(new AlertDetailsModel(m_model.details, m_details));
    m_details->setItemDelegate(new RoomyCells(m_details));
    m_details->setRootIsDecorated(false);
    m_details->setUniformRowHeights(true);
    m_details->setTextElideMode(Qt::ElideMiddle);
    m_details->setMinimumSize(kDetailsSize);
    m_details->header()->setStretchLastSection(false);
    m_details->hide();
    return m_details;
}

void AlertDialog::showDetails(bool show) {
    m_details->setVisible(show);
    if (!show) return adjustSize();
    // Not before it shows: that would lay out the rows of a list that has no size yet.
    for (const std::size_t row : m_model.details.headings)
        m_details->setFirstColumnSpanned(static_cast<int>(row), {}, true);
    fitDetails();
    moveOntoScreen();
}

/// The list is as wide as its texts; only names, which may be of any length, are cut first.
void AlertDialog::fitDetails() {
    QHeaderView& header = *m_details->header();
    header.setSectionResizeMode(QHeaderView::Interactive);
    header.resizeSections(QHeaderView::ResizeToContents);
    const int room =
        2 * m_details->frameWidth() + m_details->verticalScrollBar()->sizeHint().width();
    const int widest = std::min(kWidestDetails, screen()->availableGeometry().width() * 9 / 10);
    m_details->setMinimumWidth(
        std::clamp(header.length() + room, std::min(kDetailsSize.width(), widest), widest));
    header.setSectionResizeMode(0, QHeaderView::Stretch);
    layout()->activate();
}

void AlertDialog::moveOntoScreen() {
    resize(size().expandedTo(minimumSizeHint()));
    const QRect all = screen()->availableGeometry();
    QRect place = frameGeometry();
    place.moveRight(std::min(place.right(), all.right()));
    place.moveBottom(std::min(place.bottom(), all.bottom()));
    place.moveTopLeft({std::max(place.left(), all.left()), std::max(place.top(), all.top())});
    move(place.topLeft());
}

QWidget* AlertDialog::makeButtons() {
    m_buttonBox = new QDialogButtonBox;
    for (int index = 0; index < 3; ++index) {
        const QString& title = m_model.buttons.at(static_cast<std::size_t>(index));
        if (!title.isEmpty()) addButton(index, title);
    }
    if (m_buttonBox->buttons().isEmpty()) addButton(0, m_texts.text("ok_btn"_key));
    if (m_destructive) markDestructive();
    return m_buttonBox;
}

/// The place of a button follows the desktop's custom: what does nothing stands where Cancel does.
void AlertDialog::addButton(int index, const QString& title) {
    const int result = kAlertFirstButton + index;
    const bool isOnly = std::ranges::count_if(m_model.buttons, std::not_fn(&QString::isEmpty)) < 2;
    const auto role = index == 2                                 ? QDialogButtonBox::ActionRole
                      : result == m_model.notAnswered && !isOnly ? QDialogButtonBox::RejectRole
                                                                 : QDialogButtonBox::AcceptRole;
    QPushButton* const button = m_buttonBox->addButton(title, role);
    button->setObjectName(QStringLiteral("button_%1").arg(index + 1));
    button->setAutoDefault(true);
    button->setMinimumWidth(button->sizeHint().width() + kButtonPadding);
    button->installEventFilter(this);
    connect(button, &QPushButton::clicked, this, [this, result] { done(result); });
    if (!m_first) m_first = button;
    if (destructiveResult(m_model) == result) m_destructive = button;
}

void AlertDialog::markDestructive() {
    const bool isDark = isDarkAppearance(palette());
    QPalette marked = m_destructive->palette();
    marked.setColor(QPalette::ButtonText,
                    isDark ? QColor(0xff, 0x9a, 0x8f) : QColor(0xb0, 0, 0x12));
    if (marked != m_destructive->palette()) m_destructive->setPalette(marked);
}

bool AlertDialog::suppressionIsOn() const {
    return m_suppression && m_suppression->isChecked() && !m_wasDismissed;
}

void AlertDialog::setSizeLine(const QString& text, bool spinning) {
    if (m_sizeLine) m_sizeLine->setLine(text, spinning);
}

void AlertDialog::bringToFront() {
    show();
    raise();
    activateWindow();
    m_shown.start();
}

void AlertDialog::reject() {
    m_wasDismissed = true;
    done(m_model.notAnswered);
}

bool AlertDialog::isStray(const QKeyEvent& event) const {
    const bool presses = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter ||
                         event.key() == Qt::Key_Space;
    if (!presses || !m_destructive) return false;
    return event.isAutoRepeat() || !m_shown.hasExpired(kStrayMilliseconds);
}

void AlertDialog::keyPressEvent(QKeyEvent* event) {
    if (isStray(*event)) return;
    QDialog::keyPressEvent(event);
}

bool AlertDialog::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && isStray(*static_cast<QKeyEvent*>(event))) return true;
    return QDialog::eventFilter(watched, event);
}

void AlertDialog::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() != QEvent::PaletteChange) return;
    if (m_destructive) markDestructive();
    if (m_suppression) m_suppression->setPalette(checkBoxPalette(palette()));
}

}  // namespace kestrin
