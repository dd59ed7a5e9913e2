#pragma once

#include <memory>

/// What the windows ask of parts that stand beside or above them; `src/app` installs them. The base classes
/// do what a program without those parts would do. All on the main thread.
namespace merlode {

class Track;

/// Keys that work anywhere in the program while no text is being written.
class HotkeysLink {
  public:
    virtual ~HotkeysLink() = default;
    virtual void setHotkeysEnabled(bool) {}
};

/// The user's likes, as far as a window changes them.
class FavoritesLink {
  public:
    virtual ~FavoritesLink() = default;
    /// Whether likes can be kept at all; the controls are disabled where they cannot.
    virtual bool isAvailable() const { return false; }
    /// Likes the track, or takes that back.
    virtual void toggleFavoriteTrack(const std::shared_ptr<Track>&) {}
};

} // namespace merlode
