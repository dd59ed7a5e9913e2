#include "ui/widgets/cross_fade.h"

#include <QPainter>

namespace merlode {

CrossFade::CrossFade(QWidget* over) : QWidget(over) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    hide();
    animation_.setStartValue(1.0);
    animation_.setEndValue(0.0);
    connect(&animation_, &QVariantAnimation::valueChanged, this, [this] { update(); });
    connect(&animation_, &QVariantAnimation::finished, this, [this] {
        hide();
        old_ = {};
    });
}

void CrossFade::begin(double seconds) {
    if (!parentWidget()->isVisible() || seconds <= 0)
        return;
    old_ = parentWidget()->grab();
    animation_.stop();
    animation_.setDuration(static_cast<int>(seconds * 1000));
    setGeometry(parentWidget()->rect());
    raise();
    show();
    animation_.start();
}

void CrossFade::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setOpacity(animation_.currentValue().toDouble());
    painter.drawPixmap(0, 0, old_);
}

} // namespace merlode
