#pragma once

#include <QPixmap>
#include <QVariantAnimation>
#include <QWidget>

namespace merlode {

/// Lies over a widget while that changes its looks, with its old picture, and fades away. Takes no clicks.
class CrossFade final : public QWidget {
    Q_OBJECT
  public:
    explicit CrossFade(QWidget* over);

    /// Keeps the picture that the widget shows now and fades from it over so many seconds; to be called
    /// before the change. One that is under way goes on from what is to be seen. Nothing happens while the
    /// widget is hidden.
    void begin(double seconds);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QPixmap old_;
    QVariantAnimation animation_;
};

} // namespace merlode
