#pragma once

#include "platform/linux/mpd_address.h"
#include "platform/media_library.h"

#include <atomic>
#include <map>
#include <memory>

namespace merlode {

class Session;

/// The library of whoever plays the local role: that of the user's own MPD where one does, else the music
/// folder. Each that was ever used is kept, since background work may still read it.
class LocalLibrary final : public MediaLibrary {
  public:
    /// Makes the library of an MPD, or with no address that of the music folder. Never null.
    using Make = std::function<std::unique_ptr<MediaLibrary>(const std::optional<MpdAddress>&)>;

    /// The session must outlive this object, which is one of its ports.
    LocalLibrary(Session& session, Make make, const std::optional<MpdAddress>& userMpd);

    /// The local role has gone to this MPD, or to something else. Another library than before is looked
    /// through at once. Main thread.
    void follow(const std::optional<MpdAddress>& userMpd);

    /// A player has come up: an MPD's library may be another than when it went. Main thread.
    void playerCameUp();

    void readItems(const Visit& visit) override { current().readItems(visit); }
    bool isFinal() override { return current().isFinal(); }
    Image artwork(quint64 persistentID) override { return current().artwork(persistentID); }
    std::optional<QByteArray> location(quint64 persistentID) override {
        return current().location(persistentID);
    }
    void startScan() override { current().startScan(); }
    void cancelScan() override { current().cancelScan(); }
    Progress progress() const override { return current().progress(); }
    QString place() const override { return current().place(); }

  private:
    MediaLibrary& current() const { return *current_.load(); }
    MediaLibrary& libraryOf(const std::optional<MpdAddress>& userMpd);

    Session& session_;
    const Make make_;
    std::map<QString, std::unique_ptr<MediaLibrary>> libraries_; ///< by the MPD's address; the folder's by ""
    bool isOfMpd_;
    std::atomic<MediaLibrary*> current_;
};

} // namespace merlode
