#pragma once

#include "appearance/control_image.h"

#include <QAbstractButton>
#include <QPixmap>

namespace merlode {

/// A button that is one of the program's shapes. Its tool tip is what it does, and its accessible name.
class ControlButton final : public QAbstractButton {
    Q_OBJECT
  public:
    /// `side` of the button and of the shape in it, in points.
    ControlButton(int side, int shape, QWidget* parent);

    void setImage(const ControlImage& image);
    const ControlImage& image() const { return image_; }
    /// The tool tip, which is the accessible name as well; `shortcut` is added to the tool tip.
    void setAction(const QString& what, const QString& shortcut = {});
    void setColors(const QColor& control, const QColor& highlight);

    QSize sizeHint() const override { return {side_, side_}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    int side_;
    int shape_;
    ControlImage image_;
    QPixmap pixels_; ///< of the image, for one scale of the screen
    QColor control_;
    QColor highlight_;
};

} // namespace merlode
