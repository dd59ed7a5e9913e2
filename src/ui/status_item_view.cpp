#include "ui/status_item_view.h"

#include "base/notification_names.h"
#include "base/session.h"
#include "platform/desktop_settings.h"
#include "platform/user_defaults.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace merlode {

namespace {

const QColor kDarkTextColor = QColor::fromRgbF(0.05F, 0.05F, 0.05F);
const QString kEllipsis = QStringLiteral("…");
const QString kThinSpace = QStringLiteral("\u2009");

// What streams tell as a title can be pages. This is more than anybody watches going by, half a minute of it.
constexpr qsizetype kMostLetters = 160;

QString onOneLine(const QString& text) {
    const QString line = text.left(4 * kMostLetters).simplified();
    return line.size() <= kMostLetters ? line : line.left(kMostLetters - 1) + kEllipsis;
}

} // namespace

StatusItemView::StatusItemView(Session& session, const QSizeF& imageSize, WidthOfString widthOfString,
                               Changed changed)
    : session_(session),
      defaults_(session.port<UserDefaults>()),
      desktop_(session.port<DesktopSettings>()),
      imageSize_(imageSize),
      widthOfString_(std::move(widthOfString)),
      changed_(std::move(changed)),
      frameSize_(imageSize) {
    observations_.push_back(session.notificationCenter().addObserver(
        notifications::kUpdateStatusItemFrame, [this](const auto&) { updateStatusItemFrame(); }));
    observations_.push_back(session.distributedCenter().addObserver(
        notifications::kInterfaceThemeChanged, [this](const auto&) { darkModeChanged(); }));
    darkModeChanged();
}

void StatusItemView::setScrollingString(const QString& text) {
    const QString line = onOneLine(text);
    if (line == scrollingString_)
        return;
    scrollingString_ = line;
    session_.runLoop().async([this, life = std::weak_ptr(life_)] {
        if (life.expired())
            return;
        scrollTextField();
        updateStatusItemFrame();
    });
}

void StatusItemView::setItemState(StatusItemViewState state) {
    if (std::exchange(itemState_, state) != state)
        changed_();
}

bool StatusItemView::showsText() const {
    return defaults_.boolFor(defaults::kArtistSongMenuBar) && !scrollingString_.isEmpty();
}

void StatusItemView::updateStatusItemFrame() {
    frameSize_ = imageSize_ + QSizeF(showsText() ? kTextFieldWidth : 0, 0);
    changed_();
    if (delegate_)
        delegate_->statusItemFrameUpdated();
}

void StatusItemView::darkModeChanged() {
    const bool dark = desktop_.colorScheme() == DesktopSettings::ColorScheme::Dark;
    textColor_ = dark ? QColor(Qt::white) : kDarkTextColor;
    changed_();
}

void StatusItemView::mouseUp() {
    if (delegate_)
        delegate_->statusItemSelected();
}

void StatusItemView::mouseEntered() {
    scrollTextField();
}

// The scroll.

void StatusItemView::scrollTextField() {
    animationTimer_.invalidate();
    letterTimer_.invalidate();
    measureLetters();
    position_ = {};
    if (desktop_.reducedMotion()) {
        animation_ = {};
        return changed_();
    }
    animate(kTextFieldInitialPauseAnimationName, position_, position_,
            kTextFieldInitialPauseAnimationDuration);
    changed_();
}

void StatusItemView::measureLetters() {
    letters_.clear();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, scrollingString_);
    for (qsizetype at = 0; at >= 0 && at < scrollingString_.size(); at = finder.toNextBoundary())
        letters_.emplace_back(at, widthOfString_(scrollingString_.left(at)));
    textWidth_ = widthOfString_(scrollingString_);
}

// The text is left at the animation's end at once, so that nothing jumps when that is over.
void StatusItemView::animate(const QString& name, const QPointF& from, const QPointF& to, double duration) {
    animation_ = {name, from, session_.runLoop().uptime(), duration};
    position_ = to;
    animationTimer_ = session_.runLoop().after(std::max(duration, 0.0), [this, name] {
        animation_ = {};
        animationDidStop(name);
    });
}

void StatusItemView::animationDidStop(const QString& name) {
    if (name == kTextFieldInitialPauseAnimationName) {
        const double distance = textWidth_ - kTextFieldWidth; // below 0 for a text that fits: over at once
        animate(kTextFieldMoveLeftAnimationName, position_, {-distance, 0},
                distance / kTextFieldMoveLeftAnimationSpeed);
        moveOnByLetters();
    } else if (name == kTextFieldMoveLeftAnimationName) {
        letterTimer_.invalidate();
        animate(kTextFieldPauseAnimationName, position_, position_, kTextFieldPauseAnimationDuration);
    } else if (name == kTextFieldPauseAnimationName) {
        animate(kTextFieldMoveUpAnimationName, {0, -imageSize_.height()}, {0, 0},
                kTextFieldMoveUpAnimationDuration);
    }
    changed_();
}

QPointF StatusItemView::textPosition() const {
    if (animation_.name.isEmpty() || animation_.duration <= 0)
        return position_;
    const double passed = session_.runLoop().uptime() - animation_.begin;
    const double share = std::clamp(passed / animation_.duration, 0.0, 1.0);
    return animation_.from + (position_ - animation_.from) * share;
}

// A bar that draws the text itself is told when a letter has left the slot, and never in between.
void StatusItemView::moveOnByLetters() {
    const double distance = textWidth_ - kTextFieldWidth;
    const double moved = -textPosition().x();
    const auto next =
        std::ranges::find_if(letters_, [moved](const auto& letter) { return letter.second > moved + 0.01; });
    if (next == letters_.end() || next->second >= distance)
        return;
    letterTimer_ =
        session_.runLoop().after((next->second - moved) / kTextFieldMoveLeftAnimationSpeed, [this] {
            changed_();
            moveOnByLetters();
        });
}

qsizetype StatusItemView::firstVisibleLetter() const {
    const double left = -textPosition().x();
    qsizetype first = 0;
    // At the end all of the rest has to be seen, so the letter that the edge cuts through is left out.
    while (first + 1 < qsizetype(letters_.size()) && letters_[std::size_t(first)].second < left - 0.01)
        ++first;
    return first;
}

QString StatusItemView::visibleText() const {
    if (!showsText())
        return {};
    if (textWidth_ <= kTextFieldWidth || letters_.empty())
        return scrollingString_;
    QString text = lettersInSlot();
    // A slot keeps its width. Bars that fit it to the text would jump with each letter.
    const double space = widthOfString_(kThinSpace);
    const double rest = kTextFieldWidth - widthOfString_(text);
    if (space > 0 && rest > space)
        text += kThinSpace.repeated(static_cast<qsizetype>(rest / space));
    return text;
}

QString StatusItemView::lettersInSlot() const {
    const auto first = std::size_t(firstVisibleLetter());
    const double left = letters_[first].second;
    if (textWidth_ - left <= kTextFieldWidth)
        return scrollingString_.mid(letters_[first].first);
    // Something is cut off at the right; where the text stands still that is shown by dots.
    const bool moves = animation_.name == kTextFieldMoveLeftAnimationName;
    const double room = kTextFieldWidth - (moves ? 0 : widthOfString_(kEllipsis));
    auto end = first;
    while (end < letters_.size() && letters_[end].second - left <= room)
        ++end;
    const auto from = letters_[first].first;
    // `end` is one past the letter that begins inside the slot, which itself may end outside.
    const auto to = letters_[std::max(first + 1, end - 1)].first;
    return scrollingString_.mid(from, to - from) + (moves ? QString() : kEllipsis);
}

QString StatusItemView::guideText() const {
    const QString digit = QStringLiteral("0");
    const double width = widthOfString_(digit);
    if (!showsText() || width <= 0)
        return {};
    return digit.repeated(static_cast<qsizetype>(kTextFieldWidth / width));
}

} // namespace merlode
