#include "app/search_rows.h"

#include "base/control_interface.h"
#include "base/notification_names.h"
#include "players/player_controller.h"
#include "search/search_controller.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <array>

namespace merlode {

namespace {

struct Service {
    QLatin1String word; ///< by which people choose it
    MusicItemSourceType service = {};
    ItemSourceType source;
};

constexpr std::array kServices{
    Service{QLatin1String("library"), MusicItemSourceType::iTunes, ItemSourceType::iTunes},
    Service{QLatin1String("spotify"), MusicItemSourceType::Spotify, ItemSourceType::Spotify},
    Service{QLatin1String("rdio"), MusicItemSourceType::Rdio, ItemSourceType::Rdio},
    Service{QLatin1String("pandora"), MusicItemSourceType::Pandora, ItemSourceType::Pandora},
};

QString wordOf(MusicItemSourceType service) {
    const auto found = std::ranges::find(kServices, service, &Service::service);
    return found == kServices.end() ? QString() : QString(found->word);
}

ControlError invalid(const QString& message) {
    return {QString::fromLatin1(control::kErrorInvalidArgument), message};
}

QJsonArray servicesOf(const MusicItem& item) {
    QJsonArray words;
    for (const auto& service : kServices) {
        if (item.sourceType().contains(service.source))
            words.append(QString(service.word));
    }
    return words;
}

QJsonObject rowOf(const std::shared_ptr<Track>& track) {
    return {{QStringLiteral("kind"), QStringLiteral("track")},
            {QStringLiteral("title"), track->name()},
            {QStringLiteral("artist"), track->artistName()},
            {QStringLiteral("album"), track->albumName()},
            {QStringLiteral("services"), servicesOf(*track)}};
}

QJsonObject rowOf(const std::shared_ptr<Album>& album) {
    return {{QStringLiteral("kind"), QStringLiteral("album")},
            {QStringLiteral("title"), album->name()},
            {QStringLiteral("artist"), album->artistName()},
            {QStringLiteral("services"), servicesOf(*album)}};
}

QJsonObject rowOf(const PandoraItem& item) {
    return {{QStringLiteral("kind"), QStringLiteral("station")},
            {QStringLiteral("title"), item.name},
            {QStringLiteral("services"), QJsonArray{wordOf(MusicItemSourceType::Pandora)}}};
}

QJsonArray reportsOf(const std::vector<StepReport>& steps) {
    QJsonArray reports;
    for (const auto& step : steps) {
        QJsonObject report{{QStringLiteral("service"), wordOf(step.service)},
                           {QStringLiteral("seconds"), step.seconds}};
        if (step.failure)
            report.insert(QStringLiteral("failure"), *step.failure);
        reports.append(report);
    }
    return reports;
}

} // namespace

SearchRows::SearchRows(Session& session, DivertedAlerts& alerts) : session_(session), alerts_(alerts) {
    auto& center = session_.notificationCenter();
    observations_.push_back(center.addObserver(notifications::kSearchControllerSearchAction,
                                               [this](const auto&) { searchBegan(); }));
    observations_.push_back(center.addObserver(notifications::kSearchControllerFinished,
                                               [this](const auto&) { searchFinished(); }));
}

void SearchRows::search(const QString& term, std::function<void(const Answer&)> done) {
    if (term.trimmed().isEmpty())
        return done(invalid(QStringLiteral("There is nothing to search for.")));
    SearchController::sharedController().searchForTerm(term); // whoever waits is told
    waiting_ = std::move(done);
    term_ = term;
}

void SearchRows::searchBegan() {
    if (!waiting_)
        return;
    const auto done = std::exchange(waiting_, nullptr);
    done(ControlError{QString::fromLatin1(control::kErrorNotSupported),
                      QStringLiteral("Another search has taken the place of this one.")});
}

void SearchRows::searchFinished() {
    numberRows();
    if (!waiting_)
        return;
    const auto done = std::exchange(waiting_, nullptr);
    done(QString::fromUtf8(QJsonDocument(json()).toJson(QJsonDocument::Compact)));
}

void SearchRows::numberRows() {
    const auto& controller = SearchController::sharedController();
    rows_.clear();
    for (const auto& track : controller.searchTracks())
        rows_.emplace_back(track);
    for (const auto& album : controller.searchAlbums())
        rows_.emplace_back(album);
    for (const auto& item : controller.searchPandora())
        rows_.emplace_back(item);
}

QJsonObject SearchRows::json() const {
    const auto& controller = SearchController::sharedController();
    QJsonArray rows;
    for (std::size_t index = 0; index < rows_.size(); ++index) {
        auto row = std::visit([](const auto& item) { return rowOf(item); }, rows_[index]);
        row.insert(QStringLiteral("row"), static_cast<qint64>(index + 1));
        rows.append(row);
    }
    return {{QStringLiteral("term"), term_},
            {QStringLiteral("rows"), rows},
            {QStringLiteral("services"), reportsOf(controller.stepReports())}};
}

SearchRows::Answer SearchRows::play(uint row, const QString& service) {
    if (row < 1 || row > rows_.size())
        return invalid(rows_.empty() ? QStringLiteral("Nothing has been found yet; search first.")
                                     : QStringLiteral("There are rows 1 to %1.").arg(rows_.size()));
    const auto* wanted =
        std::ranges::find(kServices, service, [](const auto& known) { return QString(known.word); });
    if (!service.isEmpty() && wanted == kServices.end())
        return invalid(QStringLiteral("There is no service '%1'.").arg(service));
    const PlayableItem& item = rows_[row - 1];
    if (!service.isEmpty() && !sourcesOf(item).contains(wanted->source))
        return invalid(QStringLiteral("Row %1 is not on '%2'.").arg(row).arg(service));
    const auto where = service.isEmpty() ? std::nullopt : std::optional(wanted->service);
    const auto alert = alerts_.during([&] { playItem(item, where); });
    if (!alert)
        return QString();
    const QString text = alert->messageText + QStringLiteral(": ") + alert->informativeText;
    // A player that is being started will play; everything else that the user is told means that none will.
    const auto& startingUp = PlayerController::sharedController().kPlayerNotRunningAlertTitle;
    if (alert->messageText.endsWith(startingUp))
        return text;
    return ControlError{QString::fromLatin1(control::kErrorNotSupported), text};
}

} // namespace merlode
