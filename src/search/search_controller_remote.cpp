// The search between two machines: what a client asks its host, and what the host does about it.

#include "base/notification_names.h"
#include "base/session.h"
#include "model/item_link.h"
#include "model/queues.h"
#include "model/remote_link.h"
#include "search/library_step.h"
#include "search/search_controller.h"

namespace merlode {

namespace {

// So many searches are left to wait, each of them done in milliseconds; more than this are no people's.
constexpr std::size_t kMostRemoteSearches = 64;

template<class Item, class Form>
QVariantList dictionaries(const std::vector<std::shared_ptr<Item>>& items, Form form) {
    QVariantList list;
    for (const auto& item : items)
        list.append(form(*item));
    return list;
}

// Background.
QVariantMap answerTo(const QString& term, ItemSourceType offered, const Operation& operation) {
    FoldedList<Track> tracks(false);
    FoldedList<Album> albums(false);
    if (offered.contains(ItemSourceType::iTunes))
        searchLibrary(
            *Session::current().port<ItemLink>().iTunesSongs(), term,
            [&operation] { return operation.isCancelled(); }, tracks, albums, SearchedFor::Client);
    return {{QStringLiteral("tracks"),
             dictionaries(tracks.items(), [](const Track& track) { return track.trackToDictionary(); })},
            {QStringLiteral("albums"),
             dictionaries(albums.items(), [](const Album& album) { return album.albumToDictionary(true); })},
            {QStringLiteral("searchTerm"), term},
            {QStringLiteral("AvailableSources"), static_cast<qint64>(offered.rawValue())}};
}

// The list with the newcomers folded in; those that are new to it.
template<class Item>
std::vector<std::shared_ptr<Item>> foldIn(std::vector<std::shared_ptr<Item>>& list,
                                          const std::vector<std::shared_ptr<Item>>& newcomers) {
    FoldedList<Item> folded(false);
    for (const auto& item : list)
        folded.appendNew(item);
    const auto before = static_cast<std::ptrdiff_t>(folded.size());
    for (const auto& item : newcomers)
        folded.fold(item);
    list = folded.takeItems();
    return {list.begin() + before, list.end()};
}

// An item that is shown no more by the time of its turn is not looked for.
void lookForKeys(const std::shared_ptr<MusicItem>& item, ItemSourceType offered) {
    kPlayKeyQueue().async([weak = std::weak_ptr(item), offered] {
        if (const auto living = weak.lock())
            living->getRemotePlayKeys(offered);
    });
}

template<class Items>
void lookForKeysOfAll(const Items& items, ItemSourceType offered) {
    for (const auto& item : items)
        lookForKeys(item, offered);
}

} // namespace

// The client.

void SearchController::searchAtHost(const QString& term) {
    cancelSearch(); // one of our own, from before
    clearSearchResults(true);
    currentSearchTerm_ = term;
    remoteSearchStartTime_ = session_.runLoop().uptime();
    startRemoteSearchTimer();
    session_.port<RemoteLink>().sendMessageToHost(RemoteAction::remoteSearch,
                                                  {{QStringLiteral("searchTerm"), term}});
}

void SearchController::startRemoteSearchTimer() {
    remoteSearchTimer_ = session_.runLoop().after(kRemoteSearchTimeOut, [this] { remoteSearchTimerEnded(); });
}

void SearchController::stopRemoteSearchTimer() {
    remoteSearchTimer_.invalidate();
}

void SearchController::remoteSearchTimerEnded() {
    stopRemoteSearchTimer();
    currentSearchTerm_.clear(); // a late answer is to be dropped
    reportOfHost(QStringLiteral("the host did not answer"));
    post(notifications::kSearchControllerFinished);
}

bool SearchController::awaitsRemoteResults(const QString& term) const {
    return remoteSearchTimer_ && term == currentSearchTerm_;
}

void SearchController::processRemoteSearchResults(const QString& term,
                                                  const std::vector<std::shared_ptr<Track>>& tracks,
                                                  const std::vector<std::shared_ptr<Album>>& albums,
                                                  ItemSourceType offered) {
    if (!awaitsRemoteResults(term))
        return;
    stopRemoteSearchTimer();
    const auto newTracks = foldIn(results_.tracks, tracks);
    const auto newAlbums = foldIn(results_.albums, albums);
    pickTopItems(results_, preferredService(), kNumberTopSearchItems);
    // What stands on top is looked for first.
    lookForKeysOfAll(results_.topTracks, offered);
    lookForKeysOfAll(results_.topAlbums, offered);
    lookForKeysOfAll(newTracks, offered);
    lookForKeysOfAll(newAlbums, offered);
    for (const auto& album : newAlbums)
        lookForKeysOfAll(album->tracks(), offered);
    reportOfHost(std::nullopt);
    post(notifications::kSearchControllerFinished);
}

void SearchController::reportOfHost(StepFailure failure) {
    const double seconds = session_.runLoop().uptime() - remoteSearchStartTime_;
    results_.steps = {{MusicItemSourceType::iTunes, seconds, std::move(failure)}};
    results_.seconds = seconds;
}

// The host.

void SearchController::remoteSearchForTerm(const QString& term, const QString& address) {
    if (remoteSearchQueue_.operationCount() >= kMostRemoteSearches)
        return;
    remoteSearchQueue_.addOperation(std::make_shared<Operation>(
        [term, address, offered = availableServices(), weak = std::weak_ptr(alive_),
         &session = session_](const Operation& operation) {
            const auto answer = answerTo(term, offered, operation);
            session.runLoop().async([&session, weak, address, answer] {
                if (weak.lock())
                    session.port<RemoteLink>().broadcastRemoteSearch(answer, address);
            });
        }));
}

} // namespace merlode
