#include "platform/linux/mpd_library.h"

#include "base/run_loop.h"

#include <chrono>

namespace merlode {

namespace {

// Beyond any album; bounds what one press of a button makes the server do.
constexpr std::size_t kMostPlaylistSongs = 2000;

// Artists are compared on our side: several of them make one text here and several tags there.
std::vector<MpdSong> findSongs(MpdConnection& connection, const LibraryQuery& query) {
    MpdCommand find{"find", {"Album", query.album.toUtf8()}};
    if (!query.name.isEmpty())
        find.arguments << "Title" << query.name.toUtf8();
    const auto reply = connection.run(find, kPlayerCallTimeout);
    auto songs = reply ? matchingSongs(parseSongs(reply.pairs), query) : std::vector<MpdSong>();
    if (songs.size() > kMostPlaylistSongs)
        songs.resize(kMostPlaylistSongs);
    return songs;
}

// The music first: the named playlist takes three more exchanges, which nobody needs to wait for.
bool playSongs(MpdConnection& connection, const std::vector<MpdSong>& songs) {
    std::vector<MpdCommand> commands{{"clear", {}}};
    for (const char* option : {"repeat", "random", "single", "consume"})
        commands.push_back({option, {"0"}});
    for (const MpdSong& song : songs)
        commands.push_back({"add", {song.uri}});
    commands.push_back({"play", {"0"}});
    return bool(connection.runList(commands, kPlayerCallTimeout));
}

// The removal stands alone, as an error in a list ends the list and there may be none to remove. Songs are
// added by name rather than the queue saved: another client may have changed the queue since.
void storePlaylist(MpdConnection& connection, const QByteArray& name, const std::vector<MpdSong>& songs) {
    connection.run({"rm", {name}}, kPlayerCallTimeout);
    std::vector<MpdCommand> commands;
    commands.reserve(songs.size());
    for (const MpdSong& song : songs)
        commands.push_back({"playlistadd", {name, song.uri}});
    connection.runList(commands, kPlayerCallTimeout);
}

} // namespace

void LibraryOrder::carryOut(MpdConnection& connection) {
    const bool named = !query_.name.isEmpty() || !query_.album.isEmpty();
    const auto songs = named ? findSongs(connection, query_) : std::vector<MpdSong>();
    if (songs.empty()) {
        enter(Stage::Failed);
        return;
    }
    if (!enter(Stage::Playing))
        return;
    const bool played = playSongs(connection, songs);
    if (played)
        storePlaylist(connection, playlistName_.toUtf8(), songs);
    enter(played ? Stage::Played : Stage::Failed);
}

bool LibraryOrder::enter(Stage stage) {
    const std::lock_guard lock(mutex_);
    if (stage_ == Stage::Failed)
        return false;
    stage_ = stage;
    changed_.notify_all();
    return true;
}

bool LibraryOrder::wait(double seconds) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::duration<double>(seconds),
                      [this] { return stage_ == Stage::Played || stage_ == Stage::Failed; });
    if (stage_ == Stage::Searching)
        stage_ = Stage::Failed;
    return stage_ != Stage::Failed;
}

void playKeyOn(MpdConnection& connection, const QString& key, const QString& musicFolder) {
    const auto uri = playableUri(key, musicFolder, connection.address().isSocket());
    if (!uri)
        return;
    const auto added = connection.run({"addid", {*uri}}, kPlayerCallTimeout);
    const QByteArray id = added.value("Id");
    if (!added || id.isEmpty())
        return;
    if (connection.runList({{"moveid", {id, "0"}}, {"playid", {id}}}, kPlayerCallTimeout))
        connection.run({"delete", {"1:"}}, kPlayerCallTimeout);
}

void togglePlayback(MpdConnection& connection) {
    const auto reply = connection.run({"status", {}}, kPlayerCallTimeout);
    if (!reply)
        return;
    const bool playing = parseSnapshot(reply.pairs, 0).state == kPlayerStatePlaying;
    connection.run(playing ? MpdCommand{"pause", {"1"}} : MpdCommand{"play", {}}, kPlayerCallTimeout);
}

std::optional<int> readRating(MpdConnection& connection, const MpdSong& song) {
    if (!song.isInLibrary())
        return std::nullopt;
    const auto reply = connection.run({"sticker", {"get", "song", song.uri, "rating"}}, kPlayerCallTimeout);
    return reply ? parseRatingSticker(reply.value("sticker")) : std::nullopt;
}

std::optional<MpdSnapshot> readSnapshot(MpdConnection& connection, const RunLoop& clock) {
    const auto reply = connection.runList({{"status", {}}, {"currentsong", {}}}, kPlayerCallTimeout);
    if (!reply)
        return std::nullopt;
    return parseSnapshot(reply.pairs, clock.uptime());
}

QString readMusicFolder(MpdConnection& connection) {
    if (!connection.address().isSocket())
        return {};
    const auto reply = connection.run({"config", {}}, kPlayerCallTimeout);
    QString folder = QString::fromUtf8(reply.value("music_directory"));
    while (folder.size() > 1 && folder.endsWith(u'/'))
        folder.chop(1);
    return folder.startsWith(u'/') ? folder : QString();
}

} // namespace merlode
