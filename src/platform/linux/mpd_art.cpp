#include "platform/linux/mpd_art.h"

#include "platform/scripted_player.h"

#include <array>

namespace merlode {

namespace {

// Embedded pictures first: a folder's picture may be of a whole box of albums.
constexpr std::array kCommands{"readpicture", "albumart"};

} // namespace

// Handed back and forth between the main thread and the queue, and touched by one of them at a time.
struct MpdArt::Load {
    QByteArray uri;
    QByteArray known; // not decoded again
    std::size_t command = 0;
    QByteArray bytes;
    std::optional<Image> image;
    bool same = false;
    bool ended = false;

    // Fetches one piece.
    void advance(MpdConnection& connection) {
        const auto reply =
            connection.run({kCommands[command], {uri, QByteArray::number(bytes.size())}}, kPlayerCallTimeout);
        const bool lost = reply.outcome == MpdOutcome::Broken || reply.outcome == MpdOutcome::TimedOut;
        const qint64 size = reply.value("size").toLongLong();
        bytes += reply.binary;
        if (reply && !reply.binary.isEmpty() && size <= Image::kMostBytes && bytes.size() < size)
            return;
        const bool whole = reply && size > 0 && bytes.size() == size;
        if (!whole && !lost && ++command < kCommands.size()) {
            bytes.clear();
            return;
        }
        ended = true;
        if (!whole)
            bytes.clear();
    }

    void decode() {
        same = !bytes.isEmpty() && bytes == known;
        if (!same)
            image = Image::decode(bytes);
    }
};

void MpdArt::setSong(const std::optional<MpdSong>& song) {
    const QByteArray uri = song ? song->uri : QByteArray();
    if (uri == uri_)
        return;
    uri_ = uri;
    const QByteArray key = song ? albumArtKey(*song) : QByteArray();
    if (key != std::exchange(albumKey_, key)) {
        image_.reset();
        bytes_.clear();
    }
    load_.reset();
    // A stream has none, and to look for it the server would open the stream. Files from outside its music
    // folder have theirs, though a server behind a network may keep them to itself.
    if (!song || song->uri.contains("://"))
        return;
    load_ = std::make_shared<Load>();
    load_->uri = uri;
    load_->known = bytes_;
    step(load_);
}

void MpdArt::abandon() {
    load_.reset();
    image_.reset();
    bytes_.clear();
    uri_.clear();
    albumKey_.clear();
}

void MpdArt::step(const std::shared_ptr<Load>& load) {
    link_.run([this, load](MpdConnection& connection) -> MpdLink::Finish {
        load->advance(connection);
        if (load->ended)
            load->decode();
        return [this, load] { finish(load); };
    });
}

void MpdArt::finish(const std::shared_ptr<Load>& load) {
    if (load != load_) // the song is another one by now
        return;
    if (!load->ended)
        return step(load);
    if (!load->same) {
        image_ = load->image;
        bytes_ = load->image ? load->bytes : QByteArray();
    }
    load_.reset();
}

QByteArray albumArtKey(const MpdSong& song) {
    if (song.album.isEmpty())
        return song.uri;
    return song.uri.left(song.uri.lastIndexOf('/') + 1) + '\n' + song.album.toUtf8();
}

} // namespace merlode
