// SPDX-License-Identifier: GPL-3.0-or-later
// The table of a trash's entries. Main thread.
#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QPointer>
#include <QTreeView>
#include <memory>
#include <string>

namespace kestrin {

class ContentListModel;
class QVDateUtilities;
class QVSmartWindowItem;
class QVTableHeaderCntrl;

/// Each entry has a row. A click into the first column checks and leaves the selection alone; the
/// right button leaves it alone, too. Typed characters find the next name that begins with them.
/// The model says in which direction the first click on a column sorts. However many rows there
/// are, no search holds the event loop for more than a few milliseconds.
class QVContentTableView : public QTreeView {
    Q_OBJECT

 public:
    /// `dates` writes the dates; it must outlive the view.
    explicit QVContentTableView(const QVDateUtilities& dates, QWidget* parent = nullptr);

    /// Shows the rows of `model`, and none once that has gone. To be called instead of setModel.
    void setContentModel(ContentListModel& model);
    QVTableHeaderCntrl& headerCntrl() const { return *m_header; }

    /// Draws a frame around the selected rows and around `clicked`, which need not be one of them:
    /// those that an open menu acts on.
    void beginTargets(const QModelIndex& clicked);
    void endTargets();  ///< takes the frames away

    /// At once, however many rows there are.
    void selectAll() override;
    void keyboardSearch(const QString& text) override;
    void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                     const QList<int>& roles) override;

 Q_SIGNALS:
    void spacePressed();  ///< the space bar, with or without selected rows
    void checkToggled();  ///< Ctrl and the space bar
    void copyRequested();
    /// A menu is wanted at a place on the screen. `clicked` is the row under the pointer, which
    /// need not be selected; by the keyboard, the current row when none is selected.
    void contextMenuRequested(const QModelIndex& clicked, const QPoint& globalPosition);

 protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                 const QModelIndex& index) const override;

 private:
    bool beginCheck(QMouseEvent& event);
    bool isTarget(const QModelIndex& index) const;
    QPoint keyboardMenuPosition() const;
    void searchOn();

    QVTableHeaderCntrl* m_header = nullptr;
    QPointer<ContentListModel> m_model;

    // Entries, since another order of them resets the model, and with it every index.
    std::shared_ptr<QVSmartWindowItem> m_pressedCheck;  ///< the button went down on its box
    std::shared_ptr<QVSmartWindowItem> m_clicked;
    bool m_hasTargets = false;

    QString m_typed;  ///< characters that came shortly after each other
    QElapsedTimer m_lastTyped;
    std::string m_prefix;  ///< what the sort key of a name that is searched for begins with
    int m_nextRow = 0;     ///< of the search
    int m_rowsLeft = 0;
    QBasicTimer m_search;
};

}  // namespace kestrin
