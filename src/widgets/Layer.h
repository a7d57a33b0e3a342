// SPDX-License-Identifier: GPL-3.0-or-later
// Named drawings stacked upon each other, and the fades they come and go with. Main thread only.
#pragma once

#include <QString>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QPainter;

namespace kestrin {

/// A change of a layer's opacity over time. It is a mere value: whoever draws keeps the clock.
struct LayerAnimation {
    enum class FillMode { Removed };  ///< at its end the layer is back at its own value

    QString keyPath;
    double fromValue = 0;
    double toValue = 0;
    std::chrono::milliseconds duration{0};
    FillMode fillMode = FillMode::Removed;

    /// The opacity to draw with, `elapsed` after the beginning: `modelValue` from the end on.
    double valueAt(std::chrono::milliseconds elapsed, double modelValue) const;
};

/// A fade from 1 to 0 in half a second.
LayerAnimation fadeOutAnimation();
/// A fade from 0 to 1 in half a second.
LayerAnimation fadeInAnimation();

/// A drawing with a name, and the drawings that lie upon it.
class Layer {
 public:
    using Pointer = std::shared_ptr<Layer>;
    using Layers = std::vector<Pointer>;

    explicit Layer(QString name = {}, std::function<void(QPainter&)> drawing = {});

    const QString& name() const { return m_name; }
    double opacity() const { return m_opacity; }
    /// 0 (not to be seen) to 1; holds for the layers upon this one as well.
    void setOpacity(double opacity) { m_opacity = opacity; }

    /// Puts `layer` on top of the sublayers. Requires: not nullptr, and no cycle comes of it.
    void addSublayer(Pointer layer);
    const Layers& sublayers() const { return m_sublayers; }

    /// Draws itself, then its sublayers from the lowest up. The painter is as before afterwards.
    void draw(QPainter& painter) const;

    // --- Look-up ---

    /// The sublayer named "superLayer", which holds a view's drawings. When there is none, a new
    /// empty layer, which is not added.
    Pointer superLayer() const;
    /// The first of that name among the sublayers of superLayer(); nullptr when there is none.
    Pointer layerWithName(const QString& name) const;
    /// The first own sublayer of that name. When there is none, the last sublayer; when there are
    /// no sublayers, a new empty layer. Callers rely on never getting nullptr.
    Pointer sublayerWithName(const QString& name) const;
    /// Whether layerWithName would find one.
    bool layerWithNameExists(const QString& name) const;
    /// Whether an own sublayer has exactly that name.
    bool sublayerWithNameExists(const QString& name) const;

    /// The index of the first entry of `array` that is `item`; none when `item` is not in it.
    static std::optional<std::size_t> indexOfItemInArray(const Layers& array, const Pointer& item);

 private:
    const QString m_name;
    const std::function<void(QPainter&)> m_drawing;
    Layers m_sublayers;
    double m_opacity = 1;
};

}  // namespace kestrin
