// SPDX-License-Identifier: GPL-3.0-or-later
// Where previews come from: what entries of trashes look like, decoded by processes of their own.
#pragma once

#include <QImage>
#include <memory>

#include "smartwindow/preview/PreviewRequest.h"
#include "smartwindow/preview/PreviewWork.h"

namespace kestrin {

class KnownPreviews;

/// The program itself opens files only to hand them on, and waits neither for a disk nor for a
/// decoder. A request that is withdrawn is dropped, the newest one is served first. Main thread,
/// but for `thumbnail`.
class PreviewLoader {
 public:
    explicit PreviewLoader(DecoderProgram program, const PreviewLimits& limits = {});
    ~PreviewLoader();
    PreviewLoader(const PreviewLoader&) = delete;
    PreviewLoader& operator=(const PreviewLoader&) = delete;

    /// To be called when the window that shows previews opens and closes: while it is open, and
    /// something was asked for within 30 seconds, a decoder is kept ready. Requests are answered at
    /// any time.
    void setWindowIsOpen(bool isOpen);

    /// The answer is a preview, or why there is none: NotAFile for links and all that is neither
    /// file nor folder, Gone, Unreadable, Silent after 2 seconds, TooSlow after 8, Crashed,
    /// NoViewer, and what the decoder says. For the purpose Thumbnail it is a picture of the
    /// desktop's thumbnail cache when that has one of this very entry.
    [[nodiscard]] PreviewTicket request(PreviewRequest request, PreviewAnswer answer);

    /// The last answer for the entry and page, if it had something to show, whatever its size;
    /// nullptr when none is remembered. The file may have changed since.
    std::shared_ptr<const Preview> known(const PreviewRequest& request) const;

    /// A picture of the entry that fills a square of `side` pixels, as request gives it for the
    /// purpose Thumbnail; null when there is none. Waits for it. Not on the main thread.
    QImage thumbnail(const QVSmartWindowItem& item, int side);

 private:
    const std::shared_ptr<KnownPreviews> m_known;
    PreviewWork m_work;
};

}  // namespace kestrin
