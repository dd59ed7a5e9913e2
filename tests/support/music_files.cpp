#include "support/music_files.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QRandomGenerator>

#include <vector>

#include <flacfile.h>
#include <flacpicture.h>
#include <sndfile.h>
#include <xiphcomment.h>

namespace merlode::testing_support {

static bool writeSilence(const QByteArray& path) {
    SF_INFO info{};
    info.samplerate = 8000;
    info.channels = 1;
    info.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(path.constData(), SFM_WRITE, &info);
    if (!file)
        return false;
    const std::vector<short> minute(60 * 8000, 0);
    sf_write_short(file, minute.data(), 60 * 8000);
    return sf_close(file) == 0;
}

bool writeMusicFile(const MusicFile& file) {
    const QByteArray path = file.path.toUtf8();
    if (!QDir().mkpath(QFileInfo(file.path).path()) || !writeSilence(path))
        return false;
    TagLib::FLAC::File tagged(path.constData());
    const auto add = [&tagged](const char* name, const QString& value) {
        if (!value.isEmpty())
            tagged.xiphComment(true)->addField(
                name, TagLib::String(value.toUtf8().constData(), TagLib::String::UTF8), false);
    };
    add("TITLE", file.title);
    add("ALBUM", file.album);
    add("ALBUMARTIST", file.albumArtist);
    add("TRACKNUMBER", file.track);
    add("DISCNUMBER", file.disc);
    add("COMPILATION", file.isCompilation ? u"1"_qs : QString());
    for (const QString& artist : file.artists)
        add("ARTIST", artist);
    if (!file.picture.isEmpty()) {
        auto* picture = new TagLib::FLAC::Picture; // the file takes it over
        picture->setData({file.picture.constData(), static_cast<unsigned>(file.picture.size())});
        tagged.addPicture(picture);
    }
    return tagged.save();
}

QByteArray noisePicture(int side) {
    QRandomGenerator random(1);
    QImage image(side, side, QImage::Format_RGB32);
    for (int at = 0; at < side * side; ++at)
        image.setPixel(at % side, at / side, random.generate());
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

} // namespace merlode::testing_support
