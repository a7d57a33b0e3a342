// SPDX-License-Identifier: GPL-3.0-or-later
// What stands where a list or a preview has nothing to show. Main thread.
#pragma once

#include <QWidget>

class QLabel;

namespace kestrin {

class StringTable;

/// Why there is nothing to show.
enum class EmptyState {
    None,     ///< there is something
    NoTrash,  ///< no volume has one that can be shown
    TrashIsEmpty,
    AllAreEmpty,     ///< there are trashes, and nothing in any of them
    NotAnswering,    ///< the volume does not answer, and nothing is known of its trash
    NothingMatches,  ///< the filter hides every entry
    NothingSelected,
};

/// Says in two short texts why there is nothing, and what to do next. It is seen in any state but
/// None, and lets the mouse through to what it lies upon.
class EmptyStateView : public QWidget {
    Q_OBJECT

 public:
    /// `texts` must outlive it.
    explicit EmptyStateView(const StringTable& texts, QWidget* parent = nullptr);

    void setState(EmptyState state);

 protected:
    void changeEvent(QEvent* event) override;

 private:
    void colourHint();

    const StringTable& m_texts;
    QLabel* m_title = nullptr;
    QLabel* m_hint = nullptr;
    EmptyState m_state = EmptyState::None;
};

}  // namespace kestrin
