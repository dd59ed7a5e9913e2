#include "platform/linux/music_file_art.h"
#include "platform/linux/taglib_pictures.h"
#include "support/music_files.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <attachedpictureframe.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <mpegfile.h>
#include <sys/stat.h>

namespace merlode {
namespace {

const QByteArray kFront = testing_support::noisePicture(3);
const QByteArray kOther = testing_support::noisePicture(4);

class MusicFileArtTest : public testing::Test {
  protected:
    QByteArray path(const QString& name) const { return QFile::encodeName(folder.filePath(name)); }
    QByteArray write(const QString& name, const QByteArray& bytes = kOther) const {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return path(name);
    }
    /// A tag with two pictures before a frame of silence.
    QByteArray writeMp3() const {
        const auto name = write(u"song.mp3"_qs, QByteArray("\xff\xfb\x90\x64") + QByteArray(413, '\0'));
        TagLib::MPEG::File file(name.constData());
        using Frame = TagLib::ID3v2::AttachedPictureFrame;
        for (const auto& [type, bytes] : {std::pair(Frame::Artist, kOther), {Frame::FrontCover, kFront}}) {
            auto* frame = new Frame; // the tag takes it over
            frame->setType(type);
            frame->setPicture({bytes.constData(), static_cast<unsigned>(bytes.size())});
            file.ID3v2Tag(true)->addFrame(frame);
        }
        EXPECT_TRUE(file.save());
        return name;
    }

    QTemporaryDir folder;
};

TEST_F(MusicFileArtTest, TheFrontCoverIsReadOutOfTheFile) {
    const auto mp3 = writeMp3();
    EXPECT_EQ(embeddedPicture(mp3), kFront);
    const QString flac = folder.filePath(u"söng.flac"_qs);
    ASSERT_TRUE(testing_support::writeMusicFile({.path = flac, .picture = kOther}));
    EXPECT_EQ(embeddedPicture(flac.toUtf8()), kOther);

    ASSERT_EQ(mkfifo(path(u"pipe.mp3"_qs).constData(), 0600), 0);
    write(u"endless.mp3"_qs);
    ASSERT_TRUE(QFile::resize(folder.filePath(u"endless.mp3"_qs), 1'000'000'000'000)); // takes hours to read
    for (const auto& name : {u"pipe.mp3"_qs, u"endless.mp3"_qs, u"nowhere.mp3"_qs})
        EXPECT_FALSE(embeddedPicture(path(name))) << name.toStdString();
}

TEST_F(MusicFileArtTest, ACoverBesideStandsInForAMissingOrBrokenOne) {
    const auto song = write(u"song.ogg"_qs);
    write(u"Front.PNG"_qs);
    write(u"covers.jpg"_qs);
    EXPECT_EQ(coverFilesBeside(song), QList{path(u"Front.PNG"_qs)});
    write(u"COVER.jpg"_qs, "broken");
    write(u"folder.jpeg"_qs, kFront);
    EXPECT_EQ(coverFilesBeside(song),
              (QList{path(u"COVER.jpg"_qs), path(u"folder.jpeg"_qs), path(u"Front.PNG"_qs)}));
    const auto width = [&](const PictureReader& embedded) {
        const auto image = artOfMusicFile(song, embedded);
        return image ? image->pixels().width() : 0;
    };
    EXPECT_EQ(width([](const auto&) { return kOther; }), 4);
    EXPECT_EQ(width([](const auto&) { return QByteArray("broken"); }), 3);
    EXPECT_EQ(width({}), 3) << "the broken cover is passed over";
    EXPECT_FALSE(artOfMusicFile("/nowhere/song.mp3", {}));
}

} // namespace
} // namespace merlode
