// SPDX-License-Identifier: GPL-3.0-or-later
// What one entry of a trash looks like. Main thread only.
#pragma once

#include <QBasicTimer>
#include <QWidget>
#include <cstdint>
#include <memory>

#include "smartwindow/preview/PreviewServices.h"

class QStackedLayout;

namespace kestrin {

class EntriesView;
class IconView;
class PictureView;
class PreviewFooter;
class QVPreviewItem;
class TextView;

/// Shows an entry: its icon at once, and its content as soon as that was made. What was shown
/// before goes as soon as the entry changes, so that it is never taken for the new one. While it is
/// hidden it asks for nothing and holds nothing. Nothing in a content acts: it is looked at,
/// scrolled, zoomed, and text is copied.
///
/// Keys, while it has the focus: Page Up and Page Down turn pages or scroll; "+", "-" and "0" with
/// Ctrl zoom a picture. Space, Escape, and the arrows where nothing scrolls, go on to its parent.
class QVQuickLookView : public QWidget {
    Q_OBJECT

 public:
    /// `services` must outlive it.
    explicit QVQuickLookView(const PreviewServices& services, QWidget* parent = nullptr);
    ~QVQuickLookView() override;

    /// Shows the entry of `item`, its first page if it has several; nullptr, or an item whose entry
    /// has gone, clears the view. The same entry again changes nothing.
    void setPreviewItem(std::shared_ptr<QVPreviewItem> item);
    const std::shared_ptr<QVPreviewItem>& previewItem() const { return m_item; }

    /// Whether animations move by themselves; otherwise the user starts them. On at first.
    void setAutostarts(bool autostarts) { m_autostarts = autostarts; }

    /// Shows another page, from 0; the one before stays until it is there. Pages that the document
    /// does not have are not turned to.
    void setPage(std::uint32_t page);
    std::uint32_t page() const { return m_page; }
    /// 0 as long as it is unknown, and for anything that has no pages.
    std::uint32_t pageCount() const { return m_pageCount; }

    /// What is known of the entry's content; nullptr until then.
    const std::shared_ptr<const Preview>& preview() const { return m_preview; }
    /// What the line below the content says.
    QString caption() const;

    QSize minimumSizeHint() const override { return {0, 0}; }

 Q_SIGNALS:
    /// Another entry is shown, another page of it, or what is known of it. More pixels of the same
    /// are no change.
    void contentDidChange();
    /// The view gets another size now. When that has settled, "viewDidEndLiveResize" is posted with
    /// this as the sender.
    void liveResizeDidStart();

 protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

 private:
    QSize wantedPixels() const;
    bool wantsMorePixels() const;
    void ask();
    void take(std::shared_ptr<const Preview> preview);
    void letGo();
    void begin();
    void showIcon();
    void showContent();
    QWidget* fillContent();
    void change(QWidget* content);
    void describe();
    void updateFooter();
    void settle();
    bool turnPageByKey(const QKeyEvent& event);
    bool zoomByKey(int key);
    TextView& textView();
    EntriesView& entriesView();

    const PreviewServices& m_services;
    QStackedLayout* m_contents;
    IconView* m_iconView;
    PictureView* m_picture;
    TextView* m_text = nullptr;        ///< made when the first text comes
    EntriesView* m_entries = nullptr;  ///< made when the first entries come
    PreviewFooter* m_footer;
    bool m_autostarts = true;

    std::shared_ptr<QVPreviewItem> m_item;
    std::shared_ptr<const QVSmartWindowItem> m_entry;  ///< of m_item, kept while it is shown
    std::uint32_t m_page = 0;
    std::uint32_t m_pageCount = 0;
    std::shared_ptr<const Preview> m_preview;
    QSize m_askedPixels;  ///< of the last request; empty when nothing was asked
    bool m_isWaiting = false;
    bool m_isSharpening = false;  ///< what is waited for is the same page with more pixels
    bool m_isResizing = false;
    QBasicTimer m_busyDelay;
    QBasicTimer m_settling;
    PreviewTicket m_ticket;  ///< goes first: no answer comes to what is being destroyed
};

}  // namespace kestrin
