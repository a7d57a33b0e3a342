// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a file. Main thread only.
#pragma once

#include <QBasicTimer>
#include <QPlainTextEdit>
#include <memory>
#include <string_view>

namespace kestrin {

struct Preview;

/// Shows plain text with the numbers of its lines, to be read, selected and copied, and nothing in
/// it is understood as anything but text. Characters that nobody sees or that turn the reading
/// direction around are shown as in names. A long text is filled in piece by piece, so that the
/// first lines stand at once and no key waits.
class TextView : public QPlainTextEdit {
    Q_OBJECT

 public:
    explicit TextView(QWidget* parent = nullptr);

    /// How many lines it shows; a line takes about three hundred bytes of memory.
    static constexpr int kMostLines = 50'000;

    /// Shows the text of `preview` from its beginning; nullptr shows nothing and holds nothing.
    void setPreview(std::shared_ptr<const Preview> preview);
    /// Whether the whole text is in.
    bool isFilled() const { return m_rest.empty(); }

    QSize minimumSizeHint() const override { return {0, 0}; }

 protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    /// A line that was cut to be shown is one line again.
    QMimeData* createMimeDataFromSelection() const override;

 private:
    class Numbers;

    void useFont();
    void fill(qsizetype characters);
    void placeNumbers();
    void paintNumbers(QPaintEvent* event);

    std::shared_ptr<const Preview> m_preview;
    std::string_view m_rest;       ///< of the preview's text, not yet filled in
    bool m_continuesLine = false;  ///< what is filled in next belongs to the last line
    int m_lines = 0;
    QBasicTimer m_filling;
    QWidget* m_numbers = nullptr;
};

}  // namespace kestrin
