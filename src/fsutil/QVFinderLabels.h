// SPDX-License-Identifier: GPL-3.0-or-later
// The names, colours and badges of the eight labels. Needs no display. Thread: any, but for
// updateLabels.
#pragma once

#include <QColor>
#include <QImage>
#include <QSizeF>
#include <QString>
#include <QStringList>
#include <array>
#include <cstddef>

namespace kestrin {

class StringTable;

/// What a label number is called and how it is shown. 0 means no label, 1 to 7 are the colours;
/// any other number has neither name, colour nor image. Sizes of images are in points; an image has
/// `scale` pixels a point, and none is made of an empty size.
class QVFinderLabels {
 public:
    static constexpr std::size_t kCount = 8;

    /// Reads the names from `texts`, which must outlive this.
    explicit QVFinderLabels(const StringTable& texts);
    QVFinderLabels(const QVFinderLabels&) = delete;
    QVFinderLabels& operator=(const QVFinderLabels&) = delete;
    static QVFinderLabels& sharedControl();

    /// Reads names and colours anew. To be called while nobody else uses this.
    void updateLabels();

    QString labelNameWithKey(int label) const;  ///< empty for a number above 7
    QStringList allLabelNames() const;          ///< the eight, in order
    QColor labelColorWithKey(int label) const;  ///< invalid for a number above 7
    /// The colour, 30 % of the way to black.
    QColor alternateColorWithColor(const QColor& color) const;

    /// An ellipse in the colour that fills the image, with an outline 1.5 points wide, 0.1 darker.
    QImage createImageWithColor(const QColor& color, QSizeF ofSize, double scale = 1) const;
    /// That image in the colour of the label; null unless the label is one of 1 to 7.
    QImage imageLabelWithKey(int label, QSizeF ofSize, double scale = 1) const;
    /// The same in the alternate colour.
    QImage alternateImageLabelWithKey(int label, QSizeF ofSize, double scale = 1) const;
    /// A white ellipse that fills the image, with `image` in its middle; the rest is clear.
    QImage imageAndBackgroundWithImage(const QImage& image, QSizeF forTagSize,
                                       double scale = 1) const;
    /// The badge of a label: its image upon that ground. Null unless the label is one of 1 to 7.
    QImage imageLabelWithBackgroundWithKey(int label, QSizeF forTagSize, double scale = 1) const;

 private:
    const StringTable& m_texts;
    std::array<QString, kCount> m_names;
    std::array<QColor, kCount> m_colors;
};

}  // namespace kestrin
