#include "platform/linux/mpd_art.h"

#include "platform/linux/mpd_picture.h"

namespace merlode {

// Handed back and forth between the main thread and the queue, and touched by one of them at a time.
struct MpdArt::Load {
    MpdPicture picture;
    QByteArray known; // not decoded again
    std::optional<Image> image{};
    bool same = false;

    void decode() {
        same = !picture.bytes().isEmpty() && picture.bytes() == known;
        if (!same)
            image = Image::decode(picture.bytes());
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
    load_ = std::make_shared<Load>(Load{MpdPicture(uri), bytes_});
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
        load->picture.advance(connection);
        if (load->picture.hasEnded())
            load->decode();
        return [this, load] { finish(load); };
    });
}

void MpdArt::finish(const std::shared_ptr<Load>& load) {
    if (load != load_) // the song is another one by now
        return;
    if (!load->picture.hasEnded())
        return step(load);
    if (!load->same) {
        image_ = load->image;
        bytes_ = load->image ? load->picture.bytes() : QByteArray();
    }
    load_.reset();
}

QByteArray albumArtKey(const MpdSong& song) {
    if (song.album.isEmpty())
        return song.uri;
    return song.uri.left(song.uri.lastIndexOf('/') + 1) + '\n' + song.album.toUtf8();
}

} // namespace merlode
