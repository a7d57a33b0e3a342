// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/EmptyStateView.h"

#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>
#include <utility>

#include "base/StringTable.h"
#include "widgets/Colors.h"

namespace kestrin {
namespace {

constexpr int kWidestLine = 380;  // points
constexpr int kSpacing = 6;
constexpr double kTitleSize = 1.2;  // times the size of other texts

std::string_view titleOf(EmptyState state) {
    switch (state) {
        case EmptyState::None:
            return {};
        case EmptyState::NoTrash:
            return "empty_no_trash"_key;
        case EmptyState::TrashIsEmpty:
            return "empty_trash"_key;
        case EmptyState::AllAreEmpty:
            return "app_all_trashes_empty"_key;
        case EmptyState::NotAnswering:
            return "empty_not_answering"_key;
        case EmptyState::NothingMatches:
            return "empty_no_match"_key;
        case EmptyState::NothingSelected:
            return "empty_selection"_key;
    }
    return {};
}

std::string_view hintOf(EmptyState state) {
    switch (state) {
        case EmptyState::None:
            return {};
        case EmptyState::NoTrash:
            return "empty_no_trash_hint"_key;
        case EmptyState::TrashIsEmpty:
            return "empty_trash_hint"_key;
        case EmptyState::AllAreEmpty:
            return "empty_all_hint"_key;
        case EmptyState::NotAnswering:
            return "empty_not_answering_hint"_key;
        case EmptyState::NothingMatches:
            return "empty_no_match_hint"_key;
        case EmptyState::NothingSelected:
            return "empty_selection_hint"_key;
    }
    return {};
}

QLabel* centredLabel(QPalette::ColorRole role) {
    auto* const label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    label->setMaximumWidth(kWidestLine);
    label->setForegroundRole(role);
    return label;
}

}  // namespace

EmptyStateView::EmptyStateView(const StringTable& texts, QWidget* parent)
    : QWidget(parent), m_texts(texts) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    m_title = centredLabel(QPalette::Text);
    QFont large = m_title->font();
    large.setPointSizeF(large.pointSizeF() * kTitleSize);
    large.setBold(true);
    m_title->setFont(large);
    m_hint = centredLabel(QPalette::Text);
    colourHint();
    auto* const layout = new QVBoxLayout(this);
    layout->setSpacing(kSpacing);
    layout->addStretch(2);
    for (QLabel* label : {m_title, m_hint}) {
        auto* const row = new QHBoxLayout;
        row->addStretch();
        row->addWidget(label, 1000);
        row->addStretch();
        layout->addLayout(row);
    }
    // A little above the middle, where the eye looks for it.
    layout->addStretch(3);
    hide();
}

void EmptyStateView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) colourHint();
}

void EmptyStateView::colourHint() {
    QPalette colours = palette();
    colours.setColor(QPalette::Text, faintTextColor(colours));
    m_hint->setPalette(colours);
}

void EmptyStateView::setState(EmptyState state) {
    if (std::exchange(m_state, state) == state) return;
    setVisible(state != EmptyState::None);
    if (state == EmptyState::None) return;
    m_title->setText(m_texts.text(titleOf(state)));
    m_hint->setText(m_texts.text(hintOf(state)));
}

}  // namespace kestrin
