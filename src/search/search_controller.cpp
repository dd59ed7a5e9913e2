#include "search/search_controller.h"

#include "base/notification_names.h"
#include "base/session.h"
#include "platform/user_defaults.h"
#include "players/player_controller.h"

#include <algorithm>

namespace merlode {

namespace {

// Rdio's step is in place and switched off: enabling the service does not switch it on.
constexpr bool kSearchRdio = false;

template<class Items, class Field>
void sortBy(Items& items, SortDirection direction, Field field) {
    const auto before = [&](const auto& one, const auto& other) {
        return direction == SortDirection::AZ ? field(one) < field(other) : field(other) < field(one);
    };
    std::ranges::stable_sort(items, before);
}

} // namespace

SearchController& SearchController::sharedController() {
    return Session::current().shared<SearchController>();
}

SearchController::SearchController()
    : session_(Session::current()),
      defaults_(session_.port<UserDefaults>()),
      lastSearchTime_(session_.runLoop().now()),
      remoteSearchStartTime_(session_.runLoop().uptime()),
      remoteSearchQueue_(QStringLiteral("co.vantry.Merlode.RemoteSearchQueue"), session_.executor(),
                         &session_),
      searchQueue_(QStringLiteral("co.vantry.Merlode.SearchQueue"), session_.executor(), &session_) {}

SearchController::~SearchController() {
    cancelSearch();
}

// The flow.

void SearchController::searchForTerm(const QString& term) {
    lastSearchTime_ = session_.runLoop().now();
    if (isRemote())
        return searchAtHost(term);
    stopRemoteSearchTimer(); // of a host that was left meanwhile
    cancelSearch();
    clearSearchResults(true);
    currentSearchTerm_ = term;
    startSearch(planFor(term));
}

void SearchController::clearSearchResults(bool forSearch) {
    results_ = {};
    currentSearchTerm_.clear();
    trackSort_ = {};
    pandoraSort_ = {};
    post(forSearch ? notifications::kSearchControllerSearchAction
                   : notifications::kSearchControllerClearResults);
}

void SearchController::cancelSearch() {
    if (run_)
        run_->cancel();
    run_ = nullptr;
    searchQueue_.cancelAllOperations();
}

SearchPlan SearchController::planFor(const QString& term) const {
    auto services = availableServices();
    if (!kSearchRdio)
        services.remove(ItemSourceType::Rdio);
    return {term, services, preferredService(), kNumberTopSearchItems};
}

void SearchController::startSearch(SearchPlan plan) {
    run_ = std::make_shared<SearchRun>(std::move(plan));
    searchQueue_.addOperation(std::make_shared<Operation>(
        [run = run_](const Operation&) { run->execute(); },
        [this, weak = std::weak_ptr(alive_), &loop = session_.runLoop(), run = run_](const Operation&) {
            if (!run->hasFinished())
                return;
            loop.async([this, weak, run] {
                if (weak.lock())
                    finished(run);
            });
        }));
}

void SearchController::finished(const std::shared_ptr<SearchRun>& run) {
    if (run != run_)
        return; // a newer search has begun since
    run_ = nullptr;
    results_ = run->takeResults();
    post(notifications::kSearchControllerFinished);
}

bool SearchController::isRemote() const {
    return PlayerController::sharedController().hasRemotePlayer();
}

// The services.

ItemSourceType SearchController::availableServices() const {
    ItemSourceType services = ItemSourceType::None;
    const auto add = [&](DefaultsKey<bool> key, ItemSourceType service) {
        if (defaults_.boolFor(key))
            services.insert(service);
    };
    add(defaults::kEnableITunes, ItemSourceType::iTunes);
    add(defaults::kEnableSpotify, ItemSourceType::Spotify);
    add(defaults::kEnableRdio, ItemSourceType::Rdio);
    add(defaults::kEnablePandora, ItemSourceType::Pandora);
    return services;
}

MusicItemSourceType SearchController::preferredService() const {
    const auto services = availableServices();
    if (services.contains(ItemSourceType::Spotify))
        return MusicItemSourceType::Spotify;
    return services.contains(ItemSourceType::Rdio) ? MusicItemSourceType::Rdio : MusicItemSourceType::iTunes;
}

// Sorting.

SortDirection SearchController::Sorting::chosen(SortType sortType) {
    const bool turn = type == sortType && direction == SortDirection::AZ;
    type = sortType;
    direction = turn ? SortDirection::ZA : SortDirection::AZ;
    return *direction;
}

void SearchController::sortSearchTracks(SortType sortType) {
    sortBy(results_.tracks, trackSort_.chosen(sortType), [sortType](const auto& track) -> const QString& {
        switch (sortType) {
        case SortType::Artist:
            return track->artistName();
        case SortType::Album:
            return track->albumName();
        case SortType::Name:
            break;
        }
        return track->name();
    });
}

// Stations have a name and nothing else to sort by.
void SearchController::sortPandoraItems(SortType sortType) {
    sortBy(results_.pandora, pandoraSort_.chosen(sortType),
           [](const PandoraItem& item) -> const QString& { return item.name; });
}

void SearchController::post(NotificationName name) {
    session_.notificationCenter().post(name, nullptr, {});
}

} // namespace merlode
