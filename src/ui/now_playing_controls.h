#pragma once

#include <QString>

#include <functional>

namespace merlode {

class ItemLink;
class FavoritesLink;
class PlayerController;
class Session;

/// What the user does with a slider.
enum class SliderEvent { MouseDown, Drag, Set };

/// The controls of the playing track, for any window that has them: what they do and how they look. After
/// each action the window's focus is repaired, so that a click on a control takes the keyboard out of a text
/// field. Main thread.
class NowPlayingControls {
  public:
    NowPlayingControls(Session& session, std::function<void()> fixFirstResponderStatus);

    // Actions.

    void playPause();
    void previous();
    void next();
    void toggleMute();
    /// A volume from 0 to 100; with `MouseDown` that from which a drag begins, which changes nothing yet.
    /// After a drag down to 0 the mute button returns there.
    void setVolume(int volume, SliderEvent event);
    /// Likes the playing track or takes that back, and has every window look at it again.
    void toggleFavorite();
    /// Between the time that has passed and the time that is left.
    void playerPositionButtonSelected();

    // The state. Texts are empty while no track plays.

    QString trackName() const;
    QString artistName() const;
    QString albumName() const;
    QString positionText() const;
    bool isPlaying() const;
    int volume() const;
    bool isMuted() const;
    bool isFavorite() const;

    QString playToolTip() const { return isPlaying() ? QStringLiteral("Pause") : QStringLiteral("Play"); }
    QString muteToolTip() const { return isMuted() ? QStringLiteral("Unmute") : QStringLiteral("Mute"); }
    QString favoriteToolTip() const {
        return isFavorite() ? QStringLiteral("Unfavorite track") : QStringLiteral("Favorite track");
    }

    // What can be done at the moment; a control that can do nothing is disabled.

    bool canPlay() const;
    bool canGoNext() const;
    bool canGoPrevious() const;
    bool canSetVolume() const;
    bool canFavorite() const;

  private:
    PlayerController& player() const;

    Session& session_;
    FavoritesLink& favorites_;
    ItemLink& items_;
    std::function<void()> fixFirstResponderStatus_;
    int volumeSliderStartValue_ = 0;
};

} // namespace merlode
