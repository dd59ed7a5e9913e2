#pragma once

#include <QAbstractButton>

namespace merlode {

/// A button that is a small line of text, which is cut in its middle where there is no room.
class TextButton final : public QAbstractButton {
    Q_OBJECT
  public:
    static constexpr int kPadding = 5; ///< points from its edge to its text

    /// With `opensMenu` the text is followed by a small arrow.
    TextButton(bool opensMenu, QWidget* parent);

    void setColors(const QColor& text, const QColor& highlight);
    /// Points that the arrow takes.
    int arrowWidth() const;
    /// The width that it wants for its text; 0 for that of the text and its surroundings.
    void setWantedWidth(int width);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    bool opensMenu_;
    int wantedWidth_ = 0;
    QColor text_;
    QColor highlight_;
};

} // namespace merlode
