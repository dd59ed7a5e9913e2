#pragma once

#include "base/image.h"

#include <QColor>
#include <QPixmap>
#include <QWidget>

namespace merlode {

/// The cover, which runs out into the panel's background at its left edge, where that colour was taken from.
class ArtView final : public QWidget {
    Q_OBJECT
  public:
    ArtView(int side, QWidget* parent);

    void setArt(const Image& art);
    void setBackground(const QColor& background);
    /// Rounds the corner at the top and the end of the line, where the panel's own is.
    void setCornerRadius(int radius);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QPixmap draw(double scale) const;

    Image art_;
    QPixmap drawn_; ///< for one scale of the screen
    QColor background_;
    int cornerRadius_ = 0;
};

} // namespace merlode
