#include "remote/remoteitunes_key_fetcher.h"

#include "base/session.h"
#include "model/item_link.h"
#include "model/library_songs.h"
#include "model/remote_link.h"
#include "remote/remote_items.h"
#include "search/library_step.h"

namespace merlode {

namespace {

// More questions than this are not left to wait: a client asks about what it shows, some dozens at most.
constexpr std::size_t kMostQuestions = 1000;

bool equalTexts(const QString& one, const QString& other) {
    return one.compare(other, Qt::CaseInsensitive) == 0;
}

// Albums of several artists go by one name, under which a search shows them.
bool isByArtist(const LibrarySong& song, const QString& artist) {
    const QString& songsArtist = song.albumArtist.isEmpty() ? song.artistName : song.albumArtist;
    return equalTexts(songsArtist, artist) ||
           (song.isCompilation && equalTexts(artist, kCompilationAlbumArtistName));
}

// The album's songs in the library, in their order on it.
std::vector<std::shared_ptr<Track>> songsOf(const LibrarySongs& library, const Album& album) {
    std::vector<std::shared_ptr<Track>> tracks;
    for (const auto place : library.songsOfAlbum(album.name(), std::nullopt)) {
        const auto song = library.song(place);
        if (isByArtist(song, album.artistName()))
            tracks.push_back(libraryTrack(song));
    }
    std::ranges::stable_sort(tracks, {}, [](const auto& track) { return track->number(); });
    return tracks;
}

bool find(const LibrarySongs& library, Album& album) {
    auto tracks = songsOf(library, album);
    if (tracks.empty())
        return false;
    album.setiTunesPlayKey(tracks.front()->iTunesPlayKey());
    album.insertSource(ItemSourceType::iTunes);
    album.setTracks(std::move(tracks));
    return true;
}

bool find(const LibrarySongs& library, Track& track) {
    for (const auto place : library.songsOfAlbum(track.albumName(), track.artistName())) {
        const auto song = library.song(place);
        if (!equalTexts(song.title, track.name()) || !equalTexts(song.artistName, track.artistName()))
            continue;
        track.setiTunesPlayKey(playKeyOf(song));
        track.insertSource(ItemSourceType::iTunes);
        return true;
    }
    return false;
}

// Hands the items that equal the answer to `take` and forgets them, and those that have gone.
template<class Item, class Take>
void settle(std::vector<WeakContainer<Item>>& waiting, const Item& answer, Take take) {
    std::vector<std::shared_ptr<Item>> answered;
    std::erase_if(waiting, [&](const auto& container) {
        const auto item = container.item.lock();
        if (item && *item == answer)
            answered.push_back(item);
        return !item || *item == answer;
    });
    for (const auto& item : answered) // whoever hears of it may ask anew
        take(*item);
}

void takeKey(MusicItem& item, const MusicItem& answer) {
    item.setiTunesPlayKey(answer.iTunesPlayKey());
    item.insertSource(ItemSourceType::iTunes);
}

} // namespace

RemoteiTunesKeyFetcher& RemoteiTunesKeyFetcher::sharedFetcher() {
    return Session::current().shared<RemoteiTunesKeyFetcher>();
}

RemoteiTunesKeyFetcher::RemoteiTunesKeyFetcher()
    : queue_(QStringLiteral("co.vantry.Merlode.RemoteiTunesKeys"), Session::current().executor(),
             &Session::current()) {}

RemoteiTunesKeyFetcher::~RemoteiTunesKeyFetcher() = default;

// The client's half.

void RemoteiTunesKeyFetcher::searchForAlbum(const std::shared_ptr<Album>& album) {
    albums_.push_back({album});
    Session::current().port<RemoteLink>().sendMessageToHost(
        RemoteAction::remoteSearchiTunesForAlbum,
        {{QStringLiteral("albumDictionary"), album->albumToDictionary(false)}});
}

void RemoteiTunesKeyFetcher::searchForTrack(const std::shared_ptr<Track>& track) {
    tracks_.push_back({track});
    Session::current().port<RemoteLink>().sendMessageToHost(
        RemoteAction::remoteSearchiTunesForTrack,
        {{QStringLiteral("trackDictionary"), track->trackToDictionary()}});
}

void RemoteiTunesKeyFetcher::processAlbumDictionary(const QVariantMap& dictionary) {
    const auto answer = remoteitems::answeredAlbum(dictionary);
    if (!answer)
        return;
    settle(albums_, *answer, [&](Album& album) {
        MusicItem::mergeAlbumTracks(*answer, album);
        takeKey(album, *answer);
    });
}

void RemoteiTunesKeyFetcher::processTrackDictionary(const QVariantMap& dictionary) {
    if (const auto answer = remoteitems::trackOn(MusicItemSourceType::iTunes, dictionary))
        settle(tracks_, *answer, [&](Track& track) { takeKey(track, *answer); });
}

void RemoteiTunesKeyFetcher::removeAllReferences() {
    albums_.clear();
    tracks_.clear();
}

// The server's half.

void RemoteiTunesKeyFetcher::handleRemoteSearchForAlbum(const std::shared_ptr<Album>& album,
                                                        const QString& clientAddress) {
    lookUp([album](const LibrarySongs& library) { return find(library, *album); },
           [album, clientAddress, &link = Session::current().port<RemoteLink>()] {
               link.broadcastRemoteiTunesAlbumKey(*album, clientAddress);
           });
}

void RemoteiTunesKeyFetcher::handleRemoteSearchForTrack(const std::shared_ptr<Track>& track,
                                                        const QString& clientAddress) {
    lookUp([track](const LibrarySongs& library) { return find(library, *track); },
           [track, clientAddress, &link = Session::current().port<RemoteLink>()] {
               link.broadcastRemoteiTunesTrackKey(*track, clientAddress);
           });
}

void RemoteiTunesKeyFetcher::lookUp(std::function<bool(const LibrarySongs&)> find,
                                    std::function<void()> answer) {
    if (queue_.operationCount() >= kMostQuestions)
        return;
    queue_.addOperation(std::make_shared<Operation>(
        [weak = std::weak_ptr(alive_), find = std::move(find), answer = std::move(answer)](const auto&) {
            auto& session = Session::current();
            const auto library = session.port<ItemLink>().iTunesSongs();
            if (!find(*library))
                return;
            session.runLoop().async([weak, answer] {
                if (weak.lock())
                    answer();
            });
        }));
}

} // namespace merlode
