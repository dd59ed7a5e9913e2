#pragma once

#include "base/notification_center.h"
#include "base/run_loop.h"

#include <QColor>
#include <QPointF>
#include <QSizeF>
#include <QString>

#include <functional>

namespace merlode {

class DesktopSettings;
class Session;
class UserDefaults;

/// `Off` while the panel is open: the item is drawn in its selected form then.
enum class StatusItemViewState { On, Off };

/// Decides what a click on the item does, and where the panel stands. Main thread.
class StatusItemViewDelegate {
  public:
    virtual ~StatusItemViewDelegate() = default;
    virtual void statusItemSelected() = 0;
    virtual void statusItemFrameUpdated() = 0;
};

/// The program's presence in the bar: an image and, when the user wants it, what plays, in a slot of fixed
/// width. A text that is too long for the slot waits, moves left until its end is in view, waits again and
/// comes back in from below; then it stands still until it changes or is pointed at. Says nothing of how that
/// is drawn. Main thread.
class StatusItemView {
  public:
    const double kTextFieldWidth = 142.0;                       ///< of the slot, in points
    const double kTextFieldFontSize = 13.0;                     ///< points
    const double kTextFieldInitialPauseAnimationDuration = 0.5; ///< seconds
    const double kTextFieldMoveLeftAnimationSpeed = 20.0;       ///< points per second
    const double kTextFieldPauseAnimationDuration = 1.0;        ///< seconds
    const double kTextFieldMoveUpAnimationDuration = 0.75;      ///< seconds
    const QString kTextFieldInitialPauseAnimationName = QStringLiteral("TextFieldInitialPauseAnimation");
    const QString kTextFieldMoveLeftAnimationName = QStringLiteral("TextFieldMoveLeftAnimation");
    const QString kTextFieldPauseAnimationName = QStringLiteral("TextFieldPauseAnimation");
    const QString kTextFieldMoveUpAnimationName = QStringLiteral("TextFieldMoveUpAnimation");

    /// Called when something that is shown has changed: the text in the slot, the state or the colour.
    using Changed = std::function<void()>;
    /// Points that a text takes in the slot's font.
    using WidthOfString = std::function<double(const QString&)>;

    /// `imageSize` in points; the slot is as high as the image.
    StatusItemView(Session& session, const QSizeF& imageSize, WidthOfString widthOfString, Changed changed);
    StatusItemView(const StatusItemView&) = delete;
    StatusItemView& operator=(const StatusItemView&) = delete;

    /// The delegate must outlive the view, or be taken back with null.
    void setDelegate(StatusItemViewDelegate* delegate) { delegate_ = delegate; }

    const QString& scrollingString() const { return scrollingString_; }
    /// Shows the text and begins its scroll, in the next turn of the run loop.
    void setScrollingString(const QString& text);

    StatusItemViewState itemState() const { return itemState_; }
    void setItemState(StatusItemViewState state);

    /// Looks anew at how wide the item is to be.
    void updateStatusItemFrame();
    /// As wide as the image or, with a text that the user wants to see, wider by the slot.
    QSizeF frameSize() const { return frameSize_; }
    /// Whether the text is shown: there is one, and "Artist/Song Menu Bar" is set.
    bool showsText() const;

    /// White on a dark desktop, nearly black otherwise.
    QColor textColor() const { return textColor_; }

    void mouseUp();
    /// Plays the scroll again.
    void mouseEntered();

    // The scroll.

    /// The animation that runs; empty when none does.
    const QString& runningAnimation() const { return animation_.name; }
    /// Where the text stands at this moment, from its place at the left of the slot, in points; y upwards.
    QPointF textPosition() const;
    /// What of the text is in the slot at this moment, in whole letters, for bars that draw it themselves.
    QString visibleText() const;
    /// A text as wide as the slot, for bars that ask how much room to keep; empty where no text is shown.
    QString guideText() const;

  private:
    struct Animation {
        QString name;
        QPointF from;
        double begin = 0; ///< uptime
        double duration = 0;
    };

    void darkModeChanged();
    void scrollTextField();
    void animate(const QString& name, const QPointF& from, const QPointF& to, double duration);
    void animationDidStop(const QString& name);
    void moveOnByLetters();
    QString lettersInSlot() const;
    qsizetype firstVisibleLetter() const;
    void measureLetters();

    Session& session_;
    UserDefaults& defaults_;
    DesktopSettings& desktop_;
    QSizeF imageSize_;
    WidthOfString widthOfString_;
    Changed changed_;
    StatusItemViewDelegate* delegate_ = nullptr;
    QString scrollingString_;
    StatusItemViewState itemState_ = StatusItemViewState::Off;
    QSizeF frameSize_;
    QColor textColor_;

    double textWidth_ = 0;
    std::vector<std::pair<qsizetype, double>> letters_; ///< where each begins: in the text, in points
    QPointF position_;                                  ///< where the text stands once nothing moves it
    Animation animation_;
    Timer animationTimer_;
    Timer letterTimer_;
    std::vector<Observation> observations_;
    std::shared_ptr<char> life_ = std::make_shared<char>(); ///< deferred work holds it weakly
};

} // namespace merlode
