#pragma once

#include "appearance/color.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <optional>

namespace merlode {

/// The shape of a control, as a drawing that is crisp at any size, with the colour that fills it. A value;
/// any thread.
class ControlImage {
  public:
    /// The drawing of this name among the program's own, in its own black.
    static ControlImage named(const QString& name);

    /// The same shape in another colour: what is opaque takes it, what is not stays as it is.
    ControlImage filled(const Color& color) const;

    const QString& name() const { return name_; }
    const std::optional<Color>& color() const { return color_; }
    bool operator==(const ControlImage&) const = default;

    /// The picture in this size, in points of a screen with so many pixels to the point; transparent around
    /// the shape, which keeps its proportions. Empty for an empty size.
    QImage pixels(const QSizeF& size, double pixelsPerPoint) const;

  private:
    QString name_;
    std::optional<Color> color_;
};

} // namespace merlode
