#include "platform/linux/mpd_player.h"

#include "base/session.h"
#include "platform/linux/mpd_library.h"

#include <cmath>

namespace merlode {

namespace {

// Four months: keeps the number within what any server reads.
constexpr double kFurthestPosition = 1e7;

} // namespace

MpdPlayer::MpdPlayer(MpdAddress address, Session& session, MpdSnapshot first, QString musicFolder,
                     std::function<void()> changed)
    : loop_(session.runLoop()),
      musicFolder_(std::move(musicFolder)),
      changed_(std::move(changed)),
      mirror_(std::move(first)),
      link_(std::move(address), session, {.hung = [this] { blank(); }, .back = [this] { refresh(); }}),
      art_(link_) {
    art_.setSong(mirror_.song);
}

void MpdPlayer::noteServerEvent() {
    if (link_.isHung())
        link_.awaken();
    else
        refresh();
}

void MpdPlayer::leave() {
    left_ = true;
    mirror_ = {};
    art_.abandon();
}

void MpdPlayer::refresh() {
    if (left_ || link_.isHung())
        return;
    if (std::exchange(refreshing_, true)) {
        refreshAgain_ = true;
        return;
    }
    link_.run([this, &clock = loop_](MpdConnection& connection) -> MpdLink::Finish {
        return [this, snapshot = readSnapshot(connection, clock)] { take(snapshot); };
    });
}

void MpdPlayer::refreshIfStale() {
    if (loop_.uptime() - mirror_.takenAt > kStaleAfter)
        refresh();
}

void MpdPlayer::take(const std::optional<MpdSnapshot>& snapshot) {
    refreshing_ = false;
    if (left_)
        return;
    // What was read before a command of ours took effect must not undo what is shown since.
    const bool outdated = std::exchange(outdated_, false);
    if (std::exchange(refreshAgain_, false) || outdated)
        refresh();
    if (!snapshot || outdated)
        return;
    MpdSnapshot next = *snapshot;
    const bool sameSong = next.song && mirror_.song && next.song->uri == mirror_.song->uri;
    next.rating = sameSong ? mirror_.rating : std::nullopt;
    show(next);
    refreshRating();
}

// A question of its own behind the others: nobody who waits for a change to show waits for the rating.
void MpdPlayer::refreshRating() {
    if (!mirror_.song)
        return;
    link_.run([this, song = *mirror_.song](MpdConnection& connection) -> MpdLink::Finish {
        return [this, uri = song.uri, rating = readRating(connection, song)] {
            if (mirror_.song && mirror_.song->uri == uri)
                mirror_.rating = rating;
        };
    });
}

void MpdPlayer::show(MpdSnapshot snapshot) {
    const bool announce = isAnnounceable(mirror_, snapshot);
    mirror_ = std::move(snapshot);
    art_.setSong(mirror_.song);
    if (announce)
        changed_();
}

void MpdPlayer::blank() {
    refreshing_ = false;
    refreshAgain_ = false;
    outdated_ = false;
    art_.abandon();
    if (!left_)
        show({});
}

void MpdPlayer::send(MpdCommand command) {
    if (left_)
        return;
    link_.run([command = std::move(command)](MpdConnection& connection) -> MpdLink::Finish {
        connection.run(command, kPlayerCallTimeout);
        return {};
    });
}

std::uint32_t MpdPlayer::playerState() {
    return mirror_.state;
}

std::optional<ScriptedTrack> MpdPlayer::currentTrack() {
    return mirror_.track(musicFolder_);
}

void MpdPlayer::play() {
    send({"play", {}});
}

void MpdPlayer::playpause() {
    if (left_)
        return;
    link_.run([](MpdConnection& connection) -> MpdLink::Finish {
        togglePlayback(connection);
        return {};
    });
}

void MpdPlayer::pause() {
    send({"pause", {"1"}});
}

void MpdPlayer::nextTrack() {
    send({"next", {}});
}

void MpdPlayer::previousTrack() {
    send({"previous", {}});
}

std::optional<int> MpdPlayer::soundVolume() {
    refreshIfStale();
    return mirror_.volume;
}

void MpdPlayer::setSoundVolume(int volume) {
    const int wanted = std::clamp(volume, 0, 100);
    // Shown at once: a slider that is read back while it is dragged must not jump.
    if (mirror_.volume) {
        mirror_.volume = wanted;
        outdated_ = refreshing_;
    }
    send({"setvol", {QByteArray::number(wanted)}});
}

std::optional<double> MpdPlayer::playerPosition() {
    refreshIfStale();
    return mirror_.position(loop_.uptime());
}

void MpdPlayer::setPlayerPosition(double seconds) {
    if (!std::isfinite(seconds))
        return;
    const double wanted = std::clamp(seconds, 0.0, kFurthestPosition);
    if (mirror_.state != kPlayerStateStopped) {
        mirror_.elapsed = wanted;
        mirror_.takenAt = loop_.uptime();
        outdated_ = refreshing_;
    }
    send({"seekcur", {QByteArray::number(wanted, 'f', 3)}});
}

std::optional<Image> MpdPlayer::albumArt() {
    return art_.image();
}

void MpdPlayer::setRepeating(bool repeating) {
    send({"repeat", {repeating ? "1" : "0"}});
}

void MpdPlayer::setShuffling(bool shuffling) {
    send({"random", {shuffling ? "1" : "0"}});
}

std::optional<int> MpdPlayer::rating() {
    return mirror_.rating;
}

void MpdPlayer::setRating(int rating) {
    if (!mirror_.song || !mirror_.song->isInLibrary())
        return;
    send({"sticker", {"set", "song", mirror_.song->uri, "rating", ratingStickerValue(rating)}});
}

void MpdPlayer::playKey(const QString& key) {
    if (left_)
        return;
    link_.run([key, folder = musicFolder_](MpdConnection& connection) -> MpdLink::Finish {
        playKeyOn(connection, key, folder);
        return {};
    });
}

bool MpdPlayer::playFromLibrary(const LibraryQuery& query, const QString& playlistName) {
    if (left_ || link_.isHung())
        return false;
    const auto order = std::make_shared<LibraryOrder>(query, playlistName);
    link_.run([order](MpdConnection& connection) -> MpdLink::Finish {
        order->carryOut(connection);
        return {};
    });
    return order->wait(kPlayerCallTimeout);
}

PlayerCapabilities MpdPlayer::capabilities() {
    return mirror_.capabilities();
}

} // namespace merlode
