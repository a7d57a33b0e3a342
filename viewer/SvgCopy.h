// SPDX-License-Identifier: GPL-3.0-or-later
// A drawing before Qt draws it: a copy without what would reach out of the file, and the work that
// it would be to draw it. Pure, without Gui. Thread: any.
#pragma once

#include <QByteArray>

#include "viewer/ViewerProtocol.h"

namespace kestrin {

/// What the bytes hold when they are packed by gzip, as .svgz files are, else the bytes themselves;
/// at most `limit` bytes of it. Of packed bytes that break off or are damaged: what came before
/// that.
QByteArray unpacked(const QByteArray& bytes, std::size_t limit);

/// Whether this is the beginning of an XML document whose outermost element is "svg".
bool isSvg(const QByteArray& beginning);

struct SvgCopy {
    QByteArray text;
    /// None; Damaged for what is no well-formed XML, or uses itself; TooLarge for more elements
    /// than may be drawn, each counted as often as it is used, or for deeper ones.
    PreviewFault fault = PreviewFault::None;
};

/// The copy has no document type, no scripts and no foreign elements; and of references only those
/// to the drawing's own elements, and embedded images of the kinds that browsers show.
SvgCopy copySvg(const QByteArray& text);

}  // namespace kestrin
