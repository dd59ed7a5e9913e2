#include "platform/linux/taglib_tags.h"

#include "platform/linux/player_text.h"
#include "platform/linux/taglib_pictures.h"
#include "platform/linux/taglib_stream.h"

#include <QFileInfo>

#include <algorithm>

#include <mp4file.h>
#include <tpropertymap.h>

namespace merlode {

namespace {

QString textOf(const TagLib::PropertyMap& tags, const char* name) {
    const auto found = tags.find(name);
    if (found == tags.end())
        return {};
    const auto text = found->second.toString(", ").to8Bit(true);
    return cleanPlayerText(QByteArray::fromStdString(text)).value_or(QString());
}

// Of "3/12" the 3 at place 0 and the 12 at place 1.
quint16 numberOf(const TagLib::PropertyMap& tags, const char* name, int place = 0) {
    return textOf(tags, name).section(u'/', place, place).trimmed().toUShort();
}

quint16 discCountOf(const TagLib::PropertyMap& tags) {
    const std::initializer_list<quint16> told{numberOf(tags, "DISCNUMBER", 1), numberOf(tags, "DISCTOTAL"),
                                              numberOf(tags, "TOTALDISCS")};
    return std::max(told);
}

// One kind of file can hold films and spoken books too, and says so in an item of its own.
MediaKind kindOf(const TagLib::File& file) {
    constexpr int music = 1;
    const auto* mp4 = dynamic_cast<const TagLib::MP4::File*>(&file);
    if (!mp4 || !mp4->tag() || !mp4->tag()->contains("stik"))
        return MediaKind::Song;
    return mp4->tag()->item("stik").toByte() == music ? MediaKind::Song : MediaKind::Other;
}

MediaItem itemOf(TagLib::File& file) {
    const auto tags = file.properties();
    const auto* sound = file.audioProperties();
    return {.title = textOf(tags, "TITLE"),
            .artistName = textOf(tags, "ARTIST"),
            .albumTitle = textOf(tags, "ALBUM"),
            .albumArtist = textOf(tags, "ALBUMARTIST"),
            .totalTime = static_cast<quint32>(sound ? std::max(sound->lengthInMilliseconds(), 0) : 0),
            .trackNumber = numberOf(tags, "TRACKNUMBER"),
            .discNumber = numberOf(tags, "DISCNUMBER"),
            .discCount = discCountOf(tags),
            .isCompilation = numberOf(tags, "COMPILATION") == 1,
            .hasArtwork = pictureOf(file).has_value(),
            .mediaKind = kindOf(file)};
}

} // namespace

std::optional<MediaItem> readMusicTags(const QByteArray& path) {
    std::optional<MediaItem> item;
    if (!readMusicFile(path, true, [&item](TagLib::File& file) { item = itemOf(file); }) || !item)
        return std::nullopt;
    if (item->title.isEmpty())
        item->title = QFileInfo(QString::fromUtf8(path)).completeBaseName();
    if (item->title.isEmpty() || item->artistName.isEmpty() || item->albumTitle.isEmpty())
        return std::nullopt;
    return item;
}

} // namespace merlode
