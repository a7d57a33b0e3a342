// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/Layer.h"

#include <QPainter>
#include <algorithm>
#include <utility>

namespace kestrin {
namespace {

constexpr std::chrono::milliseconds kFadeDuration{500};

Layer::Pointer namedLayer(const Layer::Layers& layers, const QString& name) {
    const auto found =
        std::ranges::find(layers, name, [](const auto& layer) { return layer->name(); });
    return found == layers.end() ? nullptr : *found;
}

LayerAnimation fade(double fromValue, double toValue) {
    return {.keyPath = QStringLiteral("opacity"),
            .fromValue = fromValue,
            .toValue = toValue,
            .duration = kFadeDuration};
}

}  // namespace

double LayerAnimation::valueAt(std::chrono::milliseconds elapsed, double modelValue) const {
    if (elapsed >= duration) return modelValue;
    const double passed = std::max(0.0, double(elapsed.count()) / double(duration.count()));
    return fromValue + (toValue - fromValue) * passed;
}

LayerAnimation fadeOutAnimation() {
    return fade(1, 0);
}

LayerAnimation fadeInAnimation() {
    return fade(0, 1);
}

Layer::Layer(QString name, std::function<void(QPainter&)> drawing)
    : m_name(std::move(name)), m_drawing(std::move(drawing)) {}

void Layer::addSublayer(Pointer layer) {
    m_sublayers.push_back(std::move(layer));
}

void Layer::draw(QPainter& painter) const {
    if (m_opacity <= 0) return;
    painter.save();
    painter.setOpacity(painter.opacity() * m_opacity);
    if (m_drawing) {
        painter.save();
        m_drawing(painter);
        painter.restore();
    }
    for (const Pointer& layer : m_sublayers)
        layer->draw(painter);
    painter.restore();
}

Layer::Pointer Layer::superLayer() const {
    const Pointer found = namedLayer(m_sublayers, QStringLiteral("superLayer"));
    return found ? found : std::make_shared<Layer>();
}

Layer::Pointer Layer::layerWithName(const QString& name) const {
    return namedLayer(superLayer()->sublayers(), name);
}

Layer::Pointer Layer::sublayerWithName(const QString& name) const {
    if (m_sublayers.empty()) return std::make_shared<Layer>();
    const Pointer found = namedLayer(m_sublayers, name);
    return found ? found : m_sublayers.back();
}

bool Layer::layerWithNameExists(const QString& name) const {
    return layerWithName(name) != nullptr;
}

bool Layer::sublayerWithNameExists(const QString& name) const {
    return namedLayer(m_sublayers, name) != nullptr;
}

std::optional<std::size_t> Layer::indexOfItemInArray(const Layers& array, const Pointer& item) {
    const auto found = std::ranges::find(array, item);
    if (found == array.end()) return std::nullopt;
    return static_cast<std::size_t>(found - array.begin());
}

}  // namespace kestrin
