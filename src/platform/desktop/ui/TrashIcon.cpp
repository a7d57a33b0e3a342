// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/ui/TrashIcon.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QSvgRenderer>
#include <algorithm>
#include <optional>
#include <string>

#include "platform/desktop/ThemeIcons.h"
#include "platform/items/SmallFile.h"

// Resources of a static library are pulled in by name, and only outside of any namespace.
static void usePictures() {
    Q_INIT_RESOURCE(pictures);
}

namespace kestrin {

namespace {

constexpr std::size_t kMaximumPictureBytes = std::size_t{1} << 20;
constexpr int kThemeSize = 22;
constexpr int kOutlinePart = 24;  ///< of the icon's height
// What panels write in, where they do not say it.
constexpr QRgb kOnDark = qRgb(0xf2, 0xf2, 0xf2);
constexpr QRgb kOnLight = qRgb(0x2e, 0x34, 0x36);

QString picturePath(const char* name) {
    usePictures();
    return QStringLiteral(":/pictures/") + QLatin1String(name) + QStringLiteral(".svg");
}

QByteArray picture(const char* name) {
    QFile file(picturePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Draws the shape at the very size that is asked for, in one colour.
class SymbolicIconEngine : public QIconEngine {
 public:
    SymbolicIconEngine(QByteArray svg, const QColor& foreground, QString name, const QColor& active,
                       const QColor& outline = Qt::transparent)
        : m_svg(std::move(svg)),
          m_foreground(foreground),
          m_active(active),
          m_name(std::move(name)),
          m_outline(outline) {}

    QString key() const override { return QStringLiteral("KestrinSymbolic"); }
    QString iconName() override { return m_name; }
    bool isNull() override { return m_svg.isEmpty(); }
    QIconEngine* clone() const override { return new SymbolicIconEngine(*this); }
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {48, 48}, {64, 64}};
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
               QIcon::State state) override {
        const qreal scale = painter->device()->devicePixelRatioF();
        QPixmap drawn = pixmap((QSizeF(rect.size()) * scale).toSize(), mode, state);
        drawn.setDevicePixelRatio(scale);
        painter->drawPixmap(rect, drawn);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
        const QImage shape = drawing(size, foreground(mode));
        if (m_outline.alpha() == 0) return QPixmap::fromImage(shape);
        const QImage shadow = drawing(size, m_outline);
        const int width = std::max(1, size.height() / kOutlinePart);
        QPixmap outlined(size);
        outlined.fill(Qt::transparent);
        QPainter painter(&outlined);
        for (const int x : {-width, 0, width}) {
            for (const int y : {-width, 0, width})
                painter.drawImage(x, y, shadow);
        }
        painter.drawImage(0, 0, shape);
        return outlined;
    }

 private:
    QImage drawing(const QSize& size, const QColor& color) const {
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QSvgRenderer renderer(m_svg);
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        QPainter painter(&image);
        renderer.render(&painter);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color);
        return image;
    }

    QColor foreground(QIcon::Mode mode) const {
        const bool isActive = mode == QIcon::Active || mode == QIcon::Selected;
        QColor color = isActive && m_active.isValid() ? m_active : m_foreground;
        if (mode == QIcon::Disabled) color.setAlphaF(color.alphaF() / 2);
        return color;
    }

    QByteArray m_svg;
    QColor m_foreground;
    QColor m_active;
    QString m_name;
    QColor m_outline;
};

std::optional<QByteArray> themeDrawing(const std::string& name) {
    const std::optional<FileUrl> file = themeIconFile({name}, kThemeSize, IconFormats::PngAndSvg);
    if (!file || !file->path().ends_with(".svg")) return std::nullopt;
    const auto content = readSmallFile(*file, kMaximumPictureBytes, LastLink::Follow);
    if (!content) return std::nullopt;
    QByteArray svg(content->data(), static_cast<qsizetype>(content->size()));
    if (!QSvgRenderer(svg).isValid()) return std::nullopt;
    return svg;
}

struct Drawing {
    QByteArray svg;
    QString name;
};

/// None when the desktop's theme lacks it: a panel that is told a name draws nothing else.
QString nameForPanel(const char* name) {
    const QString text = QLatin1String(name);
    return QIcon::hasThemeIcon(text) ? text : QString();
}

/// The theme's pair or the own one: a mixed pair would change its shape with the state.
Drawing trashDrawing(bool isFull) {
    const char* own = isFull ? "kestrin-trash-full-symbolic" : "kestrin-trash-empty-symbolic";
    // Installed, the own pair is the theme's, too, and a panel can draw it in its own colour.
    Drawing ownDrawing{picture(own), nameForPanel(own)};
    const std::optional<QByteArray> empty = themeDrawing("user-trash-symbolic");
    const std::optional<QByteArray> full = themeDrawing("user-trash-full-symbolic");
    if (!empty || !full || *empty == *full) return ownDrawing;
    const QString name = nameForPanel(isFull ? "user-trash-full-symbolic" : "user-trash-symbolic");
    if (name.isEmpty() && !ownDrawing.name.isEmpty()) return ownDrawing;
    return {isFull ? *full : *empty, name};
}

}  // namespace

QIcon symbolicIcon(const QByteArray& svg, const QColor& foreground, const QString& name,
                   const QColor& active) {
    return QIcon(new SymbolicIconEngine(svg, foreground, name, active));
}

QIcon trashIcon(bool isFull, const QColor& foreground, const QColor& active) {
    const Drawing drawing = trashDrawing(isFull);
    return symbolicIcon(drawing.svg, foreground, drawing.name, active);
}

QIcon outlinedTrashIcon(bool isFull, bool isDark) {
    const Drawing drawing = trashDrawing(isFull);
    return QIcon(new SymbolicIconEngine(drawing.svg, QColor(isDark ? kOnDark : kOnLight),
                                        drawing.name, QColor(),
                                        QColor(isDark ? kOnLight : kOnDark)));
}

QIcon trashBadge(bool isFull) {
    return QIcon(picturePath(isFull ? "full_trash_64" : "empty_trash_64"));
}

QIcon toolIcon(Tool tool, const QColor& foreground, const QColor& active) {
    const auto name = [tool] {
        switch (tool) {
            case Tool::Refresh:
                return "kestrin-refresh-symbolic";
            case Tool::LeftPane:
                return "kestrin-pane-left-symbolic";
            case Tool::RightPane:
                return "kestrin-pane-right-symbolic";
            case Tool::SmartWindow:
                return "kestrin-smart-window-symbolic";
            case Tool::Preferences:
                return "kestrin-preferences-symbolic";
            case Tool::Previous:
                return "kestrin-previous-symbolic";
            case Tool::Next:
                return "kestrin-next-symbolic";
            case Tool::IndexSheet:
                return "kestrin-index-sheet-symbolic";
            case Tool::FullScreen:
                return "kestrin-full-screen-symbolic";
            case Tool::Open:
                return "kestrin-open-symbolic";
            case Tool::Reveal:
                return "kestrin-reveal-symbolic";
        }
        return "";
    };
    return symbolicIcon(picture(name()), foreground, {}, active);
}

QIcon applicationIcon() {
    return QIcon::fromTheme(QStringLiteral("kestrin"), QIcon(picturePath("kestrin")));
}

QIcon diskIcon(DiskKind kind) {
    switch (kind) {
        case DiskKind::Internal:
            return QIcon::fromTheme(QStringLiteral("drive-harddisk"),
                                    QIcon(picturePath("kestrin-disk-internal")));
        case DiskKind::Removable:
            return QIcon::fromTheme(QStringLiteral("drive-removable-media"),
                                    QIcon(picturePath("kestrin-disk-removable")));
        case DiskKind::Network:
            return QIcon::fromTheme(QStringLiteral("folder-remote"),
                                    QIcon(picturePath("kestrin-disk-network")));
    }
    return {};
}

}  // namespace kestrin
