#include "app/item_services.h"

#include "base/notification_names.h"
#include "base/session.h"
#include "platform/media_library.h"
#include "players/player_controller.h"
#include "remote/remoteitunes_key_fetcher.h"

namespace merlode {

ItemServices::ItemServices(Session& session, const QString& localeIdentifier)
    : session_(session), countryCode_(countryCodeOf(localeIdentifier)) {
    changes_ = session_.notificationCenter().addObserver(notifications::kMediaLibraryChanged,
                                                         [this](const auto&) { stale_ = true; });
}

std::shared_ptr<const LibrarySongs> ItemServices::iTunesSongs() {
    const std::lock_guard lock(reading_);
    if (stale_.exchange(false)) {
        LibrarySongs::Builder builder;
        session_.port<MediaLibrary>().readItems([&builder](const MediaItem& item) {
            builder.add(item);
            return true;
        });
        songs_ = builder.build();
    }
    return songs_;
}

bool ItemServices::hasRemotePlayer() {
    const auto* controller = controller_.load();
    return controller && controller->hasRemotePlayer();
}

void ItemServices::fetchiTunesKeyFromHost(const std::shared_ptr<Track>& track) {
    RemoteiTunesKeyFetcher::sharedFetcher().searchForTrack(track);
}

} // namespace merlode
