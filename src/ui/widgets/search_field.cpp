#include "ui/widgets/search_field.h"

#include <QAction>
#include <QIcon>
#include <QPainter>
#include <QPixmap>

#include <functional>

namespace merlode {

namespace {

constexpr double kCornerRadius = 8;
constexpr int kIconSide = 16;
constexpr QMargins kTextMargins{5, 6, 5, 6};

QIcon drawn(const QColor& color, double scale, const std::function<void(QPainter&)>& draw) {
    QPixmap picture(QSize(kIconSide, kIconSide) * scale);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap));
    draw(painter);
    QIcon icon;
    for (const auto mode : {QIcon::Normal, QIcon::Disabled})
        icon.addPixmap(picture, mode);
    return icon;
}

void drawMagnifier(QPainter& painter) {
    painter.drawEllipse(QPointF(7, 7), 4.2, 4.2);
    painter.drawLine(QPointF(10.2, 10.2), QPointF(13.2, 13.2));
}

void drawCross(QPainter& painter) {
    painter.drawLine(QPointF(4.5, 4.5), QPointF(11.5, 11.5));
    painter.drawLine(QPointF(4.5, 11.5), QPointF(11.5, 4.5));
}

} // namespace

SearchField::SearchField(QWidget* parent)
    : QLineEdit(parent),
      magnifier_(addAction(QIcon(), LeadingPosition)),
      cross_(addAction(QIcon(), TrailingPosition)) {
    setFrame(false);
    setTextMargins(kTextMargins);
    magnifier_->setEnabled(false);
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
    magnifier_->setIcon(drawn(colors.dimText, devicePixelRatioF(), drawMagnifier));
    cross_->setIcon(drawn(colors.dimText, devicePixelRatioF(), drawCross));
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
    }
    QLineEdit::paintEvent(event);
}

} // namespace merlode
