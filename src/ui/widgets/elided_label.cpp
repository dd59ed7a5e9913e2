#include "ui/widgets/elided_label.h"

#include <QPainter>
#include <QStyle>
#include <QTextDocument>
#include <QTextLayout>

namespace merlode {

namespace {

// Titles can be of any length; laying out more than can be seen takes time.
constexpr qsizetype kMostLetters = 600;

} // namespace

ElidedLabel::ElidedLabel(const QFont& font, int mostLines, QWidget* parent)
    : QLabel(parent), mostLines_(mostLines) {
    setFont(font);
    setTextFormat(Qt::PlainText);
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void ElidedLabel::setPlainText(const QString& text) {
    setText(text.left(kMostLetters).simplified());
    breakAnew();
    updateGeometry();
}

void ElidedLabel::setColor(const QColor& color) {
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, color);
    setPalette(colors);
}

QStringList ElidedLabel::lines(int width, bool* elided) const {
    QStringList broken;
    *elided = false;
    if (text().isEmpty() || width <= 0)
        return broken;
    QTextLayout layout(text(), font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    while (broken.size() < mostLines_) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        const bool last = broken.size() + 1 == mostLines_;
        const QString rest = text().mid(line.textStart());
        *elided = last && line.textStart() + line.textLength() < text().size();
        broken << (*elided ? fontMetrics().elidedText(rest, Qt::ElideRight, width)
                           : rest.left(line.textLength()).trimmed());
    }
    layout.endLayout();
    return broken;
}

void ElidedLabel::breakAnew() {
    lines_ = lines(width() - inset(), &elided_);
    setToolTip(elided_ ? Qt::convertFromPlainText(text()) : QString());
    update();
}

void ElidedLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    breakAnew();
}

int ElidedLabel::heightForWidth(int width) const {
    bool ignored = false;
    const auto count = std::max<qsizetype>(lines(width - inset(), &ignored).size(), mostLines_ == 1 ? 1 : 0);
    return static_cast<int>(count) * fontMetrics().lineSpacing();
}

QSize ElidedLabel::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text().left(40)), heightForWidth(std::max(width(), 1))};
}

QSize ElidedLabel::minimumSizeHint() const {
    return {0, fontMetrics().lineSpacing()};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.setFont(font());
    const int height = fontMetrics().lineSpacing();
    const int top = std::max(0, (QWidget::height() - height * static_cast<int>(lines_.size())) / 2);
    const auto side = QStyle::visualAlignment(layoutDirection(), alignment());
    for (qsizetype row = 0; row < lines_.size(); ++row) {
        const QRect place = QStyle::visualRect(
            layoutDirection(), rect(),
            QRect(inset(), top + static_cast<int>(row) * height, width() - inset(), height));
        painter.setLayoutDirection(lines_[row].isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
        painter.drawText(place, int(side | Qt::AlignVCenter | Qt::AlignAbsolute | Qt::TextSingleLine),
                         lines_[row]);
    }
}

} // namespace merlode
