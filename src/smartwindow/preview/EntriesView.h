// SPDX-License-Identifier: GPL-3.0-or-later
// What is in a folder or an archive. Main thread only.
#pragma once

#include <QIcon>
#include <QWidget>
#include <functional>
#include <memory>

class QLabel;
class QTreeView;

namespace kestrin {

class ElidedLabel;
class QVNumberUtilities;
class StringTable;
struct Preview;
struct PreviewEntry;

/// The icon of the whole, how much is in it, and its first entries with their sizes.
class EntriesView : public QWidget {
    Q_OBJECT

 public:
    using IconOfEntry = std::function<QIcon(const PreviewEntry&)>;

    /// `texts` and `numbers` must outlive it. `iconOfEntry` is asked for what is seen.
    EntriesView(const StringTable& texts, const QVNumberUtilities& numbers, IconOfEntry iconOfEntry,
                QWidget* parent = nullptr);
    ~EntriesView() override;

    /// Shows the entries of `preview`; nullptr shows nothing and holds nothing.
    void setPreview(std::shared_ptr<const Preview> preview, const QIcon& icon = {});
    void setAccessibleNameOfList(const QString& name);

    QSize minimumSizeHint() const override { return {0, 0}; }

 private:
    class Model;
    class Cell;
    class List;

    const StringTable& m_texts;
    const QVNumberUtilities& m_numbers;
    Model* m_model;
    List* m_list;
    QLabel* m_icon;
    ElidedLabel* m_totals;
};

}  // namespace kestrin
