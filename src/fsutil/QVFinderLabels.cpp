// SPDX-License-Identifier: GPL-3.0-or-later
#include "fsutil/QVFinderLabels.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "base/StringTable.h"
#include "platform/items/FileLabels.h"

namespace kestrin {
namespace {

static_assert(kFileLabels.size() == QVFinderLabels::kCount);

constexpr double kOutlineWidth = 1.5;  // points
constexpr float kOutlineShade = 0.1F;
constexpr float kAlternateShade = 0.3F;

constexpr std::array<std::string_view, QVFinderLabels::kCount> kNames{
    "label_none"_key, "label_grey"_key,   "label_green"_key, "label_purple"_key,
    "label_blue"_key, "label_yellow"_key, "label_red"_key,   "label_orange"_key};

QImage clearImage(QSizeF size, double scale) {
    const QSize pixels(static_cast<int>(std::ceil(size.width() * scale)),
                       static_cast<int>(std::ceil(size.height() * scale)));
    if (pixels.isEmpty()) return {};
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    return image;
}

QPainterPath ellipse(QSizeF size) {
    QPainterPath path;
    path.addEllipse(QRectF(QPointF(), size));
    return path;
}

QColor darkened(const QColor& color) {
    const auto less = [](float component) { return std::max(0.0F, component - kOutlineShade); };
    return QColor::fromRgbF(less(color.redF()), less(color.greenF()), less(color.blueF()),
                            color.alphaF());
}

bool isShown(int label) {
    return label >= 1 && label < static_cast<int>(QVFinderLabels::kCount);
}

bool isKnown(int label) {
    return label == 0 || isShown(label);
}

}  // namespace

QVFinderLabels::QVFinderLabels(const StringTable& texts) : m_texts(texts) {
    updateLabels();
}

QVFinderLabels& QVFinderLabels::sharedControl() {
    static QVFinderLabels shared(StringTable::sharedControl());
    return shared;
}

void QVFinderLabels::updateLabels() {
    for (std::size_t label = 0; label < kCount; ++label) {
        m_names[label] = m_texts.text(kNames[label]);
        m_colors[label] = QColor::fromRgb(kFileLabels[label].color);
    }
}

QString QVFinderLabels::labelNameWithKey(int label) const {
    return isKnown(label) ? m_names[static_cast<std::size_t>(label)] : QString();
}

QStringList QVFinderLabels::allLabelNames() const {
    return {m_names.begin(), m_names.end()};
}

QColor QVFinderLabels::labelColorWithKey(int label) const {
    return isKnown(label) ? m_colors[static_cast<std::size_t>(label)] : QColor();
}

QColor QVFinderLabels::alternateColorWithColor(const QColor& color) const {
    const auto shaded = [](float component) { return component * (1 - kAlternateShade); };
    return QColor::fromRgbF(shaded(color.redF()), shaded(color.greenF()), shaded(color.blueF()),
                            color.alphaF());
}

QImage QVFinderLabels::createImageWithColor(const QColor& color, QSizeF ofSize,
                                            double scale) const {
    QImage image = clearImage(ofSize, scale);
    if (image.isNull()) return image;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(ellipse(ofSize), color);
    painter.strokePath(ellipse(ofSize), QPen(darkened(color), kOutlineWidth));
    return image;
}

QImage QVFinderLabels::imageLabelWithKey(int label, QSizeF ofSize, double scale) const {
    if (!isShown(label)) return {};
    return createImageWithColor(labelColorWithKey(label), ofSize, scale);
}

QImage QVFinderLabels::alternateImageLabelWithKey(int label, QSizeF ofSize, double scale) const {
    if (!isShown(label)) return {};
    return createImageWithColor(alternateColorWithColor(labelColorWithKey(label)), ofSize, scale);
}

QImage QVFinderLabels::imageAndBackgroundWithImage(const QImage& image, QSizeF forTagSize,
                                                   double scale) const {
    QImage composed = clearImage(forTagSize, scale);
    if (composed.isNull()) return composed;
    QPainter painter(&composed);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setClipPath(ellipse(forTagSize));
    painter.fillPath(ellipse(forTagSize), Qt::white);
    const QSizeF room = (forTagSize - image.deviceIndependentSize()) / 2;
    painter.drawImage(QPointF(room.width(), room.height()), image);
    return composed;
}

QImage QVFinderLabels::imageLabelWithBackgroundWithKey(int label, QSizeF forTagSize,
                                                       double scale) const {
    const QImage image = imageLabelWithKey(label, forTagSize, scale);
    return image.isNull() ? image : imageAndBackgroundWithImage(image, forTagSize, scale);
}

}  // namespace kestrin
