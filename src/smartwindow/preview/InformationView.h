// SPDX-License-Identifier: GPL-3.0-or-later
// What the preview tells of an entry in words. Main thread.
#pragma once

#include <QWidget>
#include <array>

namespace kestrin {

class StringTable;
struct ItemDetails;

/// The name of an entry, its kind and size, when it was changed, created and trashed, and where it
/// was. Every value is one line, cut in the middle where it is too long; it can be selected, and is
/// whole while it has the keyboard. Every value has its place whether it is known or not, so that
/// nothing jumps from one entry to the next.
class InformationView : public QWidget {
    Q_OBJECT

 public:
    /// `texts` must outlive it.
    explicit InformationView(const StringTable& texts, QWidget* parent = nullptr);

    /// Shows what is known. Until the disk has answered, what only that can tell stays blank; from
    /// then on a dash says that it is unknown.
    void setDetails(const ItemDetails& details, bool diskHasAnswered);
    void clear();

 protected:
    void changeEvent(QEvent* event) override;

 private:
    class Line;
    enum Field { Name, KindAndSize, DateModified, DateCreated, DateAdded, OriginalFolder, Count };

    void colourTitles();

    const StringTable& m_texts;
    std::array<Line*, Count> m_fields{};
};

}  // namespace kestrin
