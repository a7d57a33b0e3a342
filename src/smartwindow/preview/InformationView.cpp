// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/InformationView.h"

#include <QFocusEvent>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <string_view>

#include "base/StringTable.h"
#include "smartwindow/preview/ItemDetails.h"
#include "widgets/Colors.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

constexpr int kLeastLine = 72;  // points: with less room the value stands below its title
constexpr int kLineMargin = 2;  // that a field keeps beside its text
constexpr int kTitleGap = 8;

}  // namespace

/// A field that nobody writes in: its text can be selected and copied.
class InformationView::Line final : public QLineEdit {
 public:
    explicit Line(QWidget* parent) : QLineEdit(parent) {
        setReadOnly(true);
        setFrame(false);
        setDragEnabled(false);  // a name that is dropped somewhere is no file
        setFocusPolicy(Qt::ClickFocus);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        setTextMargins(-kLineMargin, 0, -kLineMargin, 0);
        QPalette clear = palette();
        clear.setColor(QPalette::Base, Qt::transparent);
        setPalette(clear);
    }

    void setFullText(const QString& text) {
        m_fullText = text;
        fit();
    }
    QSize minimumSizeHint() const override {
        return {kLeastLine, QLineEdit::minimumSizeHint().height()};
    }

 protected:
    void resizeEvent(QResizeEvent* event) override {
        QLineEdit::resizeEvent(event);
        fit();
    }
    void changeEvent(QEvent* event) override {
        QLineEdit::changeEvent(event);
        if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange)
            fit();
    }
    void focusInEvent(QFocusEvent* event) override {
        QLineEdit::focusInEvent(event);
        fit();
    }
    void focusOutEvent(QFocusEvent* event) override {
        QLineEdit::focusOutEvent(event);
        if (event->reason() == Qt::PopupFocusReason) return;  // its own menu
        deselect();
        fit();
    }

 private:
    void fit() {
        // It begins where lines begin in the layout, whatever script it is in.
        const auto side = QStyle::visualAlignment(layoutDirection(), Qt::AlignLeading);
        setAlignment(side | Qt::AlignAbsolute | Qt::AlignVCenter);
        const QString shown = hasFocus()
                                  ? m_fullText
                                  : fontMetrics().elidedText(m_fullText, Qt::ElideMiddle, width());
        if (shown != text()) setText(shown);
        if (!hasFocus()) setCursorPosition(0);
        setToolTip(shown == m_fullText ? QString() : plainToolTip(m_fullText));
    }

    QString m_fullText;
};

InformationView::InformationView(const StringTable& texts, QWidget* parent)
    : QWidget(parent), m_texts(texts) {
    auto* const form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    form->setVerticalSpacing(0);
    form->setHorizontalSpacing(kTitleGap);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setLabelAlignment(Qt::AlignLeading);
    const auto add = [&](Field field, std::string_view title, bool isTitled) {
        auto* const line = m_fields.at(field) = new Line(this);
        line->setAccessibleName(m_texts.text(title));
        if (!isTitled) return form->addRow(line);
        auto* const label = new QLabel(m_texts.text(title));
        label->setTextFormat(Qt::PlainText);
        form->addRow(label, line);
    };
    add(Name, "entry_name"_key, false);
    add(KindAndSize, "entry_kind"_key, false);
    add(DateModified, "entry_modified"_key, true);
    add(DateCreated, "entry_created"_key, true);
    add(DateAdded, "entry_trashed"_key, true);
    add(OriginalFolder, "entry_original_folder"_key, true);
    QFont bold = font();
    bold.setBold(true);
    m_fields[Name]->setFont(bold);
    colourTitles();
}

void InformationView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) colourTitles();
}

void InformationView::colourTitles() {
    const QColor faint = faintTextColor(palette());
    for (QLabel* const title : findChildren<QLabel*>()) {
        QPalette colours = title->palette();
        if (colours.color(title->foregroundRole()) == faint) continue;
        colours.setColor(QPalette::WindowText, faint);
        colours.setColor(QPalette::Text, faint);
        title->setPalette(colours);
    }
}

void InformationView::setDetails(const ItemDetails& details, bool diskHasAnswered) {
    const QString unknown = diskHasAnswered ? m_texts.text("entry_unknown"_key) : QString();
    const auto orUnknown = [](const QString& text, const QString& otherwise) {
        return text.isEmpty() ? otherwise : text;
    };
    const QString size = orUnknown(details.size, m_texts.text("entry_size_is_measured"_key));
    m_fields[Name]->setFullText(details.name);
    m_fields[KindAndSize]->setFullText(
        details.isThere
            ? StringTable::filled(m_texts.text("entry_kind_and_size"_key), {details.kind, size})
            : m_texts.text("entry_is_gone"_key));
    m_fields[DateModified]->setFullText(orUnknown(details.dateModified, unknown));
    m_fields[DateCreated]->setFullText(orUnknown(details.dateCreated, unknown));
    const QString none = m_texts.text("entry_unknown"_key);
    m_fields[DateAdded]->setFullText(orUnknown(details.dateAdded, none));
    m_fields[OriginalFolder]->setFullText(orUnknown(details.originalFolder, none));
}

void InformationView::clear() {
    for (Line* const field : m_fields)
        field->setFullText({});
}

}  // namespace kestrin
