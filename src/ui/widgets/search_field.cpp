#include "ui/widgets/search_field.h"

#include <QAction>
#include <QEvent>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QStyle>

namespace merlode {

namespace {

constexpr double kCornerRadius = 8;
constexpr int kIconSide = 16;
constexpr int kIconInset = 8;   // from the field's edge
constexpr int kTextInset = 5;   // from the icon or the edge
constexpr int kTextPadding = 6; // above and below

QPen penOf(const QColor& color) {
    return {color, 1.6, Qt::SolidLine, Qt::RoundCap};
}

void drawMagnifier(QPainter& painter, const QPointF& corner, const QColor& color) {
    painter.setPen(penOf(color));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(corner + QPointF(7, 7), 4.2, 4.2);
    painter.drawLine(corner + QPointF(10.2, 10.2), corner + QPointF(13.2, 13.2));
}

QIcon cross(const QColor& color, double scale) {
    QPixmap picture(QSize(kIconSide, kIconSide) * scale);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(penOf(color));
    painter.drawLine(QPointF(4.5, 4.5), QPointF(11.5, 11.5));
    painter.drawLine(QPointF(4.5, 11.5), QPointF(11.5, 4.5));
    return {picture};
}

} // namespace

SearchField::SearchField(QWidget* parent) : QLineEdit(parent), cross_(addAction(QIcon(), TrailingPosition)) {
    setFrame(false);
    makeRoomForMagnifier();
    cross_->setText(QStringLiteral("Clear"));
    cross_->setToolTip(QStringLiteral("Clear (Esc)"));
    cross_->setVisible(false);
    connect(cross_, &QAction::triggered, this, [this] { Q_EMIT clearSelected(); });
    connect(this, &QLineEdit::textChanged, cross_,
            [this](const QString& text) { cross_->setVisible(!text.isEmpty()); });
}

void SearchField::setColors(const PanelColors& colors) {
    colors_ = colors;
    QPalette palette = this->palette();
    palette.setColor(QPalette::Base, Qt::transparent); // the field is painted here
    palette.setColor(QPalette::Text, colors.text);
    palette.setColor(QPalette::PlaceholderText, colors.dimText);
    palette.setColor(QPalette::Highlight, colors.text);
    palette.setColor(QPalette::HighlightedText, colors.field);
    setPalette(palette);
    cross_->setIcon(cross(colors.dimText, devicePixelRatioF()));
}

void SearchField::makeRoomForMagnifier() {
    constexpr int kRoom = kIconInset + kIconSide + kTextInset;
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    setTextMargins(mirrored ? kTextInset : kRoom, kTextPadding, mirrored ? kRoom : kTextInset, kTextPadding);
}

void SearchField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        makeRoomForMagnifier();
}

void SearchField::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const double line = hasFocus() ? 2 : 1;
        painter.setPen(QPen(hasFocus() ? colors_.text : colors_.line, line));
        painter.setBrush(colors_.field);
        const double half = line / 2;
        painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half), kCornerRadius,
                                kCornerRadius);
        const QRect icon(kIconInset, (height() - kIconSide) / 2, kIconSide, kIconSide);
        drawMagnifier(painter, QStyle::visualRect(layoutDirection(), rect(), icon).topLeft(),
                      colors_.dimText);
    }
    QLineEdit::paintEvent(event);
}

} // namespace merlode
