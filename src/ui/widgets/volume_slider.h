#pragma once

#include "appearance/control_image.h"

#include <QPixmap>
#include <QSlider>

namespace merlode {

/// The volume, from 0 to 100, drawn with the program's shapes. A click on the bar goes there; the wheel and
/// the arrow keys move by steps.
class VolumeSlider final : public QSlider {
    Q_OBJECT
  public:
    explicit VolumeSlider(QWidget* parent);

    void setImages(const ControlImage& bar, const ControlImage& knob, const QColor& control);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    int valueAt(double x) const;
    double share() const;

    ControlImage bar_;
    ControlImage knob_;
    QColor control_;
    QPixmap barPixels_;
    QPixmap knobPixels_;
};

} // namespace merlode
