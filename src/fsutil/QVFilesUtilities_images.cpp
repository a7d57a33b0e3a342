// SPDX-License-Identifier: GPL-3.0-or-later
// Icons and the images made of them. Everything here paints paths and pictures on a QImage, never
// text, so that no display and no fonts are needed and any thread will do.
#include <QBuffer>
#include <QGuiApplication>
#include <QImageReader>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

#include "fsutil/HostLocation.h"
#include "fsutil/QVFilesUtilities.h"
#include "platform/desktop/ThemeIcons.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/ItemKinds.h"
#include "platform/items/KeyFile.h"
#include "platform/items/SmallFile.h"

namespace kestrin {
namespace {

constexpr std::size_t kMaximumPictureBytes = std::size_t{4} << 20;
constexpr std::string_view kGroup = "Desktop Entry";

QImage clearImage(QSize size) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

// --- The program's own drawings, on a square of 64 units ---

constexpr qreal kDrawingSize = 64;

QPainterPath documentPath() {
    QPainterPath path(QPointF(14, 4));
    path.lineTo(38, 4);
    path.lineTo(50, 16);
    path.lineTo(50, 60);
    path.lineTo(14, 60);
    path.closeSubpath();
    return path;
}

QPainterPath documentFoldPath() {
    QPainterPath path(QPointF(38, 4));
    path.lineTo(38, 16);
    path.lineTo(50, 16);
    path.closeSubpath();
    return path;
}

QPainterPath folderPath() {
    QPainterPath back;
    back.addRoundedRect(QRectF(4, 12, 26, 20), 4, 4);
    QPainterPath front;
    front.addRoundedRect(QRectF(4, 18, 56, 36), 4, 4);
    return back.united(front);
}

QPainterPath applicationPath() {
    QPainterPath path;
    path.addRoundedRect(QRectF(6, 6, 52, 52), 12, 12);
    return path;
}

QPainterPath volumePath() {
    QPainterPath path;
    path.addRoundedRect(QRectF(4, 22, 56, 22), 5, 5);
    return path;
}

void paintShape(QPainter& painter, const QPainterPath& path, QColor fill) {
    painter.setBrush(fill);
    painter.setPen(QPen(fill.darker(150), 2));
    painter.drawPath(path);
}

void paintDocument(QPainter& painter) {
    paintShape(painter, documentPath(), QColor(0xf4, 0xf4, 0xf2));
    paintShape(painter, documentFoldPath(), QColor(0xdc, 0xdc, 0xd8));
}

void paintFolder(QPainter& painter) {
    paintShape(painter, folderPath(), QColor(0x6a, 0xa7, 0xdc));
}

/// A tile with a ring.
void paintApplication(QPainter& painter) {
    paintShape(painter, applicationPath(), QColor(0x7f, 0x8c, 0x9b));
    painter.setPen(QPen(Qt::white, 5));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QPointF(32, 32), 12, 12);
}

/// A drive with its lamp.
void paintVolume(QPainter& painter) {
    paintShape(painter, volumePath(), QColor(0xb9, 0xbe, 0xc4));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x5f, 0xc0, 0x6d));
    painter.drawEllipse(QPointF(50, 33), 3, 3);
}

using Drawing = void (*)(QPainter&);

QImage drawnIcon(Drawing drawing, QSize size) {
    QImage image = clearImage(size);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size.width() / kDrawingSize, size.height() / kDrawingSize);
    drawing(painter);
    return image;
}

// --- The desktop's icons ---

/// A drawing program for SVG may ask for fonts, and those need a GUI application.
IconFormats readableFormats() {
    const bool hasFonts = qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
    return hasFonts ? IconFormats::PngAndSvg : IconFormats::Png;
}

QImage readPicture(const FileUrl& file, QSize size) {
    const auto bytes = readSmallFile(file, kMaximumPictureBytes, LastLink::Follow);
    if (!bytes) return {};
    QByteArray data = QByteArray::fromStdString(*bytes);
    QBuffer buffer(&data);
    QImageReader reader(&buffer, file.pathExtension() == "svg" ? "svg" : "png");
    reader.setAutoDetectImageFormat(false);
    reader.setScaledSize(size);
    return reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage themeIcon(const std::vector<std::string>& names, QSize size) {
    const int pixels = std::max(size.width(), size.height());
    const auto file = themeIconFile(names, pixels, readableFormats());
    return file ? readPicture(*file, size) : QImage();
}

/// The icon name that the item carries itself: a folder in its `.directory` file, a desktop entry
/// in its text. Only the name of a theme icon is ever believed: trashed data must not choose which
/// picture of the disk is read.
std::vector<std::string> customIconNames(const FileUrl& item, const ItemAttributes& attributes) {
    const bool isEntry = attributes.isRegularFile() && item.pathExtension() == "desktop";
    if (!attributes.isDirectory() && !isEntry) return {};
    const FileUrl file = isEntry ? item : item.appending(".directory");
    const auto content = KeyFile::read(file, LastLink::Refuse);
    if (!content) return {};
    return {content->text(kGroup, "Icon")};
}

std::vector<std::string> kindIconNames(const FileUrl& item, const ItemAttributes& attributes) {
    if (attributes.isMountRoot) return {"drive-harddisk"};
    return kindOfItem(item.lastPathComponent(), attributes.mode).iconNames;
}

Drawing drawingFor(const FileUrl& item, const ItemAttributes& attributes) {
    if (attributes.isMountRoot) return paintVolume;
    const std::string_view extension = item.pathExtension();
    if (extension == "desktop" || extension == "app") return paintApplication;
    return attributes.isDirectory() ? paintFolder : paintDocument;
}

QImage kindIconOf(const FileUrl& item, const ItemAttributes& attributes, QSize size) {
    const QImage icon = themeIcon(kindIconNames(item, attributes), size);
    return icon.isNull() ? drawnIcon(drawingFor(item, attributes), size) : icon;
}

}  // namespace

QImage QVFilesUtilities::iconOfItemWithURL(const FileUrl& url, QSize forSize) const {
    const FileUrl item = hostLocation(url);
    const auto attributes = itemAttributes(item);
    if (item.isEmpty() || !attributes || forSize.isEmpty())
        return placeholderImageWithSize(forSize);
    const QImage icon = themeIcon(customIconNames(item, *attributes), forSize);
    return icon.isNull() ? kindIconOf(item, *attributes, forSize) : icon;
}

QImage QVFilesUtilities::kindIconOfItemWithURL(const FileUrl& url, QSize forSize) const {
    const FileUrl item = hostLocation(url);
    const auto attributes = itemAttributes(item);
    if (item.isEmpty() || !attributes || forSize.isEmpty())
        return placeholderImageWithSize(forSize);
    return kindIconOf(item, *attributes, forSize);
}

QImage QVFilesUtilities::iconForItemPath(const std::string& path) const {
    return iconOfItemWithURL(FileUrl::fromPath(path), QSize(32, 32));
}

QImage QVFilesUtilities::drawnIconWithSize(QSize size, bool isFolder) const {
    return drawnIcon(isFolder ? paintFolder : paintDocument, size);
}

QImage QVFilesUtilities::placeholderImageWithSize(QSize size) const {
    if (size.isEmpty()) return {};
    constexpr int kSmallestSide = 20;
    constexpr qreal kRadius = 10;
    QImage image = clearImage(size);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QColor::fromRgbF(0.7f, 0.7f, 0.7f, 0.3f));
    painter.setPen(QPen(QColor::fromRgbF(0.6f, 0.6f, 0.6f, 0.9f), 1));
    painter.drawRoundedRect(QRectF(QPointF(), size.expandedTo({kSmallestSide, kSmallestSide})),
                            kRadius, kRadius);
    return image;
}

QImage QVFilesUtilities::ghostIconWithIcon(const QImage& icon, QSize forSize) const {
    if (forSize.isEmpty()) return {};
    QImage image = clearImage(forSize);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setOpacity(0.3);
    painter.drawImage(QRectF(QPointF(), forSize), icon);
    return image;
}

QImage QVFilesUtilities::composedImageMainImage(const QImage& mainImage,
                                                const QImage& addingImage) const {
    if (mainImage.isNull()) return {};
    QImage image = mainImage.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QSizeF half = image.deviceIndependentSize() / 2;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(half.width(), half.height(), half.width(), half.height()),
                      addingImage);
    return image;
}

}  // namespace kestrin
