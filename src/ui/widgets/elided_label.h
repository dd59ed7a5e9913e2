#pragma once

#include <QLabel>

namespace merlode {

/// A text in at most so many lines of the width that it is given; what does not fit ends in dots, and is in
/// the tool tip. The text is shown as it is, whatever it holds.
class ElidedLabel final : public QLabel {
    Q_OBJECT
  public:
    ElidedLabel(const QFont& font, int mostLines, QWidget* parent);

    /// Line breaks count as spaces.
    void setPlainText(const QString& text);
    void setColor(const QColor& color);
    /// Whether all of it is to be seen.
    bool isElided() const { return elided_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    QStringList lines(int width, bool* elided) const;
    void breakAnew();
    /// Points before the beginning of each line: QLabel's indent.
    int inset() const { return std::max(indent(), 0); }

    int mostLines_;
    QStringList lines_;
    bool elided_ = false;
};

} // namespace merlode
