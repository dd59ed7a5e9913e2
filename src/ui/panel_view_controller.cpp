#include "ui/panel_view_controller.h"

#include "appearance/background_scheme_controller.h"
#include "base/notification_names.h"
#include "base/session.h"
#include "model/artwork.h"
#include "platform/media_library.h"
#include "platform/user_defaults.h"
#include "players/player_controller.h"
#include "remote/socket_controller.h"
#include "search/search_controller.h"
#include "ui/links.h"

#include <cmath>
#include <utility>

namespace merlode {

namespace {

// A service's reason can be a page of text, and the line is short.
constexpr qsizetype kMostOfReason = 80;

QString noticeOf(const std::vector<StepReport>& steps) {
    QStringList parts;
    for (const auto& step : steps) {
        if (step.failure)
            parts << serviceName(step.service) + QStringLiteral(" gave nothing: ") +
                         step.failure->left(kMostOfReason).simplified();
    }
    return parts.join(QStringLiteral("; "));
}

template<class Items>
std::vector<ResultRow> rowsOf(const Items& items) {
    std::vector<ResultRow> rows;
    rows.reserve(items.size());
    for (const auto& item : items)
        rows.push_back(resultRowOf(item));
    return rows;
}

} // namespace

double PanelSections::total() const {
    double sum = loading + notice + bottomPadding;
    for (const auto& table : tables)
        sum += table.total();
    return sum;
}

PanelViewController::PanelViewController(Session& session)
    : session_(session),
      scheme_(BackgroundSchemeController::sharedController()),
      hotkeys_(session.port<HotkeysLink>()),
      controls_(session, [this] { fixFirstResponderStatus(); }),
      remoteClient_([this] { fixFirstResponderStatus(); }) {}

void PanelViewController::registerForNotifications() {
    using namespace notifications;
    const std::pair<NotificationName, PanelPart> updates[] = {
        {kNewVolumeInfoAvailable, PanelPart::Volume},      {kNewTrackInfoAvailable, PanelPart::Track},
        {kNewAlbumArtAvailable, PanelPart::Art},           {kNewPlayStateAvailable, PanelPart::PlayState},
        {kServerConnectionChanged, PanelPart::Server},     {kSocketHostListDidChange, PanelPart::Server},
        {kRemoteClientHostNameUpdated, PanelPart::Server}, {kBackgroundSchemeUpdated, PanelPart::Scheme},
        {kTrackPositionUpdated, PanelPart::Position},      {kNewPandoraStationAvailable, PanelPart::Track},
        {kMediaLibraryProgress, PanelPart::Track},
    };
    auto& center = session_.notificationCenter();
    for (const auto& [name, part] : updates)
        observations_.push_back(center.addObserver(name, [this, part = part](const auto&) { tell(part); }));
    const auto observe = [&](NotificationName name, NotificationCenter::Handler handler) {
        observations_.push_back(center.addObserver(name, std::move(handler)));
    };
    observe(kNewTrackInfoAvailable, [this](const auto&) {
        if (const auto spoken = spokenTrack(); spoken != std::exchange(saidTrack_, spoken))
            announce(spoken);
    });
    observe(kSearchControllerClearResults, [this](const auto&) { clearSearchResults(); });
    observe(kSearchControllerFinished, [this](const auto&) { searchFinished(); });
    observe(kSelectPanelSearchField, [this](const auto&) {
        if (view_)
            view_->selectSearchField();
    });
    observe(kSearchControllerSearchAction, [this](const auto&) { showSearchDisplay(); });
    observe(kUpdateTriangleConstraint,
            [this](const auto& notification) { updateTriangleConstraint(notification.userInfo); });
}

void PanelViewController::tell(PanelPart part) {
    if (view_)
        view_->update(part);
}

void PanelViewController::announce(const QString& text) {
    if (view_)
        view_->announce(text);
}

void PanelViewController::setMetrics(const PanelMetrics& metrics) {
    metrics_ = metrics;
    updatePanelDisplayState(state_);
}

void PanelViewController::setHasMainWindow(bool has) {
    hasMainWindow_ = has;
    updatePanelDisplayState(state_);
}

// Searching.

void PanelViewController::searchFieldAction(const QString& text) {
    if (text.trimmed().isEmpty())
        return;
    auto& search = SearchController::sharedController();
    const double since = std::abs(session_.runLoop().now() - search.lastSearchTime());
    if (since < kSameSearchInterval && text == search.currentSearchTerm())
        return;
    searchText_ = text;
    search.searchForTerm(text);
    if (view_)
        view_->makeFirstResponder();
    fixFirstResponderStatus();
}

void PanelViewController::showMessage(const QString& text) {
    message_ = text;
    updatePanelDisplayState(state_);
    announce(text);
}

void PanelViewController::showSearchDisplay() {
    message_.clear();
    updatePanelDisplayState(PanelDisplayState::Loading);
    announce(loadingLabel_);
}

void PanelViewController::searchFinished() {
    const auto& search = SearchController::sharedController();
    notice_ = noticeOf(search.stepReports());
    // Whoever began the search; a host that did not answer has made its term forgotten.
    if (!search.currentSearchTerm().isEmpty())
        searchText_ = search.currentSearchTerm();
    tell(PanelPart::Search);
    takeRows();
    const bool found = !search.topSearchTracks().empty() || !search.topSearchAlbums().empty() ||
                       !search.topSearchPandora().empty();
    updatePanelDisplayState(found ? PanelDisplayState::Results : PanelDisplayState::NoResults);
    tell(PanelPart::Results);
    announce(found ? spokenResults() : loadingLabel_);
}

// Who hears the panel does not see it grow.
QString PanelViewController::spokenResults() const {
    QStringList parts;
    for (std::size_t table = 0; table < kPanelTables; ++table) {
        const auto count = rows_[table].size();
        QString kind = title(static_cast<PanelTable>(table)).toLower();
        if (count == 1)
            kind.chop(1);
        if (count > 0)
            parts << QStringLiteral("%1 %2").arg(count).arg(kind);
    }
    if (!notice().isEmpty())
        parts << notice();
    return parts.join(QStringLiteral(", "));
}

void PanelViewController::opened() {
    saidTrack_ = spokenTrack();
    announce(saidTrack_);
}

void PanelViewController::clearSearchResults() {
    searchText_.clear();
    tell(PanelPart::Search);
    updatePanelDisplayState(PanelDisplayState::None);
}

void PanelViewController::clearSearch() {
    auto& search = SearchController::sharedController();
    search.cancelSearch();
    search.clearSearchResults(false);
}

void PanelViewController::takeRows() {
    const auto& search = SearchController::sharedController();
    rows_ = {rowsOf(search.topSearchTracks()), rowsOf(search.topSearchAlbums()),
             rowsOf(search.topSearchPandora())};
}

void PanelViewController::playRow(PanelTable table, std::size_t row,
                                  std::optional<MusicItemSourceType> service) {
    if (row < rows(table).size()) {
        const PlayableItem item = rows(table)[row].item; // an alert may bring other rows meanwhile
        playItem(item, service);
    }
    fixFirstResponderStatus();
}

void PanelViewController::selectedTopTracksButton() {
    handOver(notifications::kDisplaySearchTracks);
}

void PanelViewController::selectedTopAlbumsButton() {
    handOver(notifications::kDisplaySearchAlbums);
}

void PanelViewController::selectedTopPandoraButton() {
    handOver(notifications::kDisplaySearchPandora);
}

void PanelViewController::handOver(NotificationName name) {
    session_.notificationCenter().post(name, window_);
}

void PanelViewController::fixFirstResponderStatus() {
    if (view_)
        view_->makeFirstResponder();
    if (const auto enabled = session_.port<UserDefaults>().optionalBoolFor(defaults::kHotkeysEnabled))
        hotkeys_.setHotkeysEnabled(*enabled);
}

// The sections.

void PanelViewController::updatePanelDisplayState(PanelDisplayState state) {
    state_ = state;
    switch (state) {
    case PanelDisplayState::None:
        return showPanelOnly();
    case PanelDisplayState::Loading:
        loadingLabel_ = kLoadingLabelLoadingMessage;
        return showLoadingView();
    case PanelDisplayState::Results:
        return showResultsView();
    case PanelDisplayState::NoResults:
        loadingLabel_ = kLoadingLabelNoResultsMessage;
        return showLoadingView();
    }
}

void PanelViewController::showPanelOnly() {
    setSections({});
}

void PanelViewController::showLoadingView() {
    PanelSections sections;
    sections.loading = loadingViewHeight;
    setSections(sections);
}

void PanelViewController::showResultsView() {
    PanelSections sections;
    for (std::size_t table = 0; table < kPanelTables; ++table) {
        const auto count = double(rows_[table].size());
        if (count > 0)
            sections.tables[table] = {metrics_.header, count * metrics_.row,
                                      hasMainWindow_ ? metrics_.seeMore : 0, metrics_.space};
    }
    sections.bottomPadding = panelBottomPaddingHeight;
    setSections(sections);
}

void PanelViewController::setSections(const PanelSections& sections) {
    sections_ = sections;
    const bool told = !message_.isEmpty() || (state_ == PanelDisplayState::Results && !notice_.isEmpty());
    sections_.notice = told ? metrics_.notice : 0;
    tell(PanelPart::Label);
    fitWindow(true);
}

void PanelViewController::fitWindow(bool animate) {
    if (!window_)
        return;
    const int height = static_cast<int>(std::ceil(contentHeight()));
    const QRect frame = window_->frame();
    const QRect wanted = screen_ ? panelFrameWithHeight(frame, height, barBelow_, *screen_)
                                 : QRect(frame.topLeft(), QSize(frame.width(), height));
    if (wanted != frame)
        window_->setFrame(wanted, animate && window_->isVisible());
}

void PanelViewController::setPlace(const PanelPlace& place, const Screen& screen) {
    barBelow_ = place.barBelow;
    screen_ = screen;
}

void PanelViewController::updateTriangleConstraint(const QVariantMap& userInfo) {
    if (view_)
        view_->setArrow(userInfo.value(QStringLiteral("arrow"), kPanelArrowInset).toDouble(), barBelow_);
}

const PanelTableIdentifiers& PanelViewController::identifiers(PanelTable table) {
    static const std::array<PanelTableIdentifiers, kPanelTables> all{{
        {QStringLiteral("SearchTableSongPanel"), QStringLiteral("SearchColumnSong"),
         QStringLiteral("SearchCellSong")},
        {QStringLiteral("SearchTableAlbum"), QStringLiteral("SearchColumnAlbum"),
         QStringLiteral("SearchCellAlbum")},
        {QStringLiteral("SearchTablePandora"), QStringLiteral("SearchColumnPandora"),
         QStringLiteral("SearchCellPandora")},
    }};
    return all[std::size_t(table)];
}

QString PanelViewController::title(PanelTable table) {
    switch (table) {
    case PanelTable::Tracks:
        return QStringLiteral("Tracks");
    case PanelTable::Albums:
        return QStringLiteral("Albums");
    case PanelTable::Pandora:
        break;
    }
    return QStringLiteral("Stations");
}

// What plays.

const Image& PanelViewController::albumArt() const {
    return PlayerController::sharedController().currentAlbumArt();
}

bool PanelViewController::hasAlbumArt() const {
    return albumArt() != sSharedAlbumArtworkImage();
}

QString PanelViewController::spokenTrack() const {
    QStringList parts{controls_.trackName(), controls_.artistName(), controls_.albumName()};
    if (!emptyTitle().isEmpty())
        parts = {emptyTitle(), emptyText()};
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

QString PanelViewController::emptyTitle() const {
    if (!controls_.trackName().isEmpty() || !controls_.artistName().isEmpty())
        return {};
    return controls_.canPlay() ? QStringLiteral("Nothing is playing")
                               : QStringLiteral("No music player is running");
}

bool PanelViewController::libraryIsEmpty() const {
    const auto* library = session_.portIfInstalled<MediaLibrary>();
    const auto progress = library ? library->progress() : MediaLibrary::Progress();
    return progress.state == MediaLibrary::State::Finished && progress.filesTotal == 0;
}

bool PanelViewController::canChooseMusicFolder() const {
    return chooseMusicFolder_ && !emptyTitle().isEmpty() && libraryIsEmpty() &&
           !SocketController::sharedController().clientHostName();
}

QString PanelViewController::emptyText() const {
    if (emptyTitle().isEmpty())
        return {};
    if (const auto& host = SocketController::sharedController().clientHostName())
        return QStringLiteral("Choose some music below; it plays on %1.").arg(*host);
    const auto* library = session_.portIfInstalled<MediaLibrary>();
    const auto progress = library ? library->progress() : MediaLibrary::Progress();
    if (progress.state == MediaLibrary::State::Scanning)
        return QStringLiteral("Your music is being looked through: %1 files so far.").arg(progress.filesSeen);
    if (libraryIsEmpty())
        return QStringLiteral(
                   "There is no music in %1 yet. Start a player that you have, or choose another folder.")
            .arg(library->place());
    return controls_.canPlay()
               ? QStringLiteral("Choose some music below, or press play.")
               : QStringLiteral(
                     "Start one that you have, or choose some music below: its player is started.");
}

} // namespace merlode
