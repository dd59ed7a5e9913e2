#include "support/music_files.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImage>

#include <random>
#include <vector>

#include <flacfile.h>
#include <flacpicture.h>
#include <sndfile.h>
#include <xiphcomment.h>

namespace merlode::testing_support {

namespace {

constexpr int kRate = 8000;

bool writeSilence(const QByteArray& path, int seconds) {
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 1;
    info.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(path.constData(), SFM_WRITE, &info);
    if (!file)
        return false;
    const std::vector<short> second(kRate, 0);
    for (int i = 0; i < seconds; ++i)
        sf_write_short(file, second.data(), kRate);
    return sf_close(file) == 0;
}

TagLib::String tagText(const QString& text) {
    return TagLib::String(text.toUtf8().constData(), TagLib::String::UTF8);
}

} // namespace

bool writeMusicFile(const MusicFile& file) {
    const QByteArray path = file.path.toUtf8();
    if (!QDir().mkpath(QFileInfo(file.path).path()) || !writeSilence(path, file.seconds))
        return false;
    TagLib::FLAC::File tagged(path.constData());
    TagLib::Ogg::XiphComment* tags = tagged.xiphComment(true);
    const auto add = [tags](const char* name, const QString& value) {
        if (!value.isEmpty())
            tags->addField(name, tagText(value), false);
    };
    add("TITLE", file.title);
    add("ALBUM", file.album);
    add("ALBUMARTIST", file.albumArtist);
    add("TRACKNUMBER", file.track);
    add("DISCNUMBER", file.disc);
    for (const QString& artist : file.artists)
        add("ARTIST", artist);
    if (!file.picture.isEmpty()) {
        auto* picture = new TagLib::FLAC::Picture; // the file takes it over
        picture->setMimeType("image/png");
        picture->setType(TagLib::FLAC::Picture::FrontCover);
        picture->setData(
            TagLib::ByteVector(file.picture.constData(), static_cast<unsigned>(file.picture.size())));
        tagged.addPicture(picture);
    }
    return tagged.save();
}

QByteArray noisePicture(int side, unsigned seed) {
    std::mt19937 random(seed);
    QImage image(side, side, QImage::Format_RGB888);
    for (int y = 0; y < side; ++y) {
        uchar* line = image.scanLine(y);
        for (int x = 0; x < side * 3; ++x)
            line[x] = static_cast<uchar>(random());
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

} // namespace merlode::testing_support
