// SPDX-License-Identifier: GPL-3.0-or-later
// A location, folder by folder. Main thread.
#pragma once

#include <QListView>
#include <functional>
#include <vector>

class QStandardItemModel;

namespace kestrin {

struct ServiceDictionary;

/// Shows the folders on the way to an entry, and the entry. Down, each has a row with the badge of
/// its label, its icon and its name; to the side they follow each other on one line, and where that
/// is too short, the outermost folders keep their icons alone. What is hidden is dimmed; names are
/// made fit to be read, and cut in the middle.
class PathView : public QListView {
    Q_OBJECT

 public:
    /// Where the parts of a row begin, in points from its leading edge.
    struct Positions {
        double finderTag = 0;
        double icon = 0;
        double name = 0;
    };
    /// What a row is drawn with.
    struct Icons {
        QIcon folder;
        QIcon entry;  ///< of the last row
        /// The badge of a label, by its number; a null image for none.
        std::function<QPixmap(int label)> badge;
        std::function<QString(int label)> labelName;
    };
    PathView(Qt::Orientation orientation, const Positions& positions, QWidget* parent = nullptr);

    void setPath(const std::vector<ServiceDictionary>& path, const Icons& icons);
    /// The height of a row, and of all of them, in points.
    int rowHeight() const;
    int heightOfRows() const;

 Q_SIGNALS:
    /// A menu for the part number `row` is wanted at a place on the screen.
    void menuRequested(int row, const QPoint& globalPosition);

 protected:
    void resizeEvent(QResizeEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;

 private:
    class Row;

    void fitNames();

    const Positions m_positions;
    QStandardItemModel* m_model = nullptr;
    std::vector<int> m_widths;  ///< of the parts on one line, in points
};

}  // namespace kestrin
