#include "app/demo/demo_library.h"

#include "app/demo/demo_cover.h"
#include "app/demo/demo_music.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cstdio>
#include <thread>

#include <flacfile.h>
#include <flacpicture.h>
#include <id3v2framefactory.h>
#include <sndfile.h>
#include <tbytevectorstream.h>
#include <xiphcomment.h>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(lcDemo, "merlode.app.demo", QtWarningMsg)

/// Not more than this of a title goes into a file name: most file systems take 255 bytes.
constexpr qsizetype kNameBytes = 120;

bool isAlbum(int index) {
    return index >= 0 && index < static_cast<int>(demoCatalogue().size());
}

/// A name as one part of a path.
QString fileName(const QString& name) {
    auto safe = name;
    safe.replace(u'/', u'-');
    while (safe.toUtf8().size() > kNameBytes)
        safe.chop(safe.back().isLowSurrogate() ? 2 : 1);
    return safe.trimmed();
}

QString albumFolder(const DemoAlbum& album) {
    return fileName(album.artist) + u'/' + fileName(album.title);
}

QByteArray encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, *format == 'P' ? -1 : 88);
    return bytes;
}

/// Lets libsndfile write into memory: TagLib puts the tags in front of the sound, which in a file would mean
/// to move all of it in small pieces.
SF_VIRTUAL_IO memoryCallbacks() {
    using Stream = TagLib::ByteVectorStream;
    SF_VIRTUAL_IO io = {};
    io.get_filelen = [](void* stream) -> sf_count_t { return static_cast<Stream*>(stream)->length(); };
    io.tell = [](void* stream) -> sf_count_t { return static_cast<Stream*>(stream)->tell(); };
    io.seek = [](sf_count_t offset, int whence, void* stream) -> sf_count_t {
        auto* memory = static_cast<Stream*>(stream);
        constexpr TagLib::IOStream::Position kOrigins[] = {Stream::Beginning, Stream::Current, Stream::End};
        memory->seek(offset, kOrigins[whence]); // SEEK_SET, SEEK_CUR and SEEK_END are 0, 1 and 2
        return memory->tell();
    };
    io.read = [](void* bytes, sf_count_t count, void* stream) -> sf_count_t {
        const auto block = static_cast<Stream*>(stream)->readBlock(static_cast<unsigned>(count));
        std::copy(block.begin(), block.end(), static_cast<char*>(bytes));
        return block.size();
    };
    io.write = [](const void* bytes, sf_count_t count, void* stream) -> sf_count_t {
        static_cast<Stream*>(stream)->writeBlock(
            {static_cast<const char*>(bytes), static_cast<unsigned>(count)});
        return count;
    };
    return io;
}

bool encodeFlac(TagLib::ByteVectorStream& stream, const std::vector<std::int16_t>& samples) {
    SF_INFO info = {};
    info.samplerate = kDemoSampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
    auto io = memoryCallbacks();
    auto* file = ::sf_open_virtual(&io, SFM_WRITE, &info, &stream);
    if (!file)
        return false;
    const auto count = static_cast<sf_count_t>(samples.size());
    const bool whole = ::sf_writef_short(file, samples.data(), count) == count;
    return ::sf_close(file) == 0 && whole;
}

TagLib::String tagText(const QString& text) {
    return TagLib::String(text.toStdString(), TagLib::String::UTF8);
}

void setTags(TagLib::Ogg::XiphComment& tags, const DemoAlbum& album, const DemoTrack& track) {
    const auto set = [&](const char* field, const QString& value) { tags.addField(field, tagText(value)); };
    set("TITLE", track.title);
    set("ARTIST", track.artist);
    set("ALBUM", album.title);
    set("ALBUMARTIST", album.artist);
    set("GENRE", album.genre);
    set("DATE", album.date);
    set("TRACKNUMBER", QString::number(track.number));
    set("TRACKTOTAL", QString::number(track.tracksOnDisc));
    set("DISCNUMBER", QString::number(track.disc));
    set("DISCTOTAL", QString::number(album.discs));
    if (album.compilation)
        set("COMPILATION", QStringLiteral("1"));
}

bool addTags(TagLib::ByteVectorStream& stream, const DemoAlbum& album, const DemoTrack& track,
             const QByteArray& cover) {
    stream.seek(0);
    TagLib::FLAC::File file(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
    if (!file.isValid())
        return false;
    setTags(*file.xiphComment(true), album, track);
    auto* picture = new TagLib::FLAC::Picture; // the file owns it
    picture->setType(TagLib::FLAC::Picture::FrontCover);
    picture->setMimeType("image/jpeg");
    picture->setWidth(600);
    picture->setHeight(600);
    picture->setColorDepth(24);
    picture->setData(TagLib::ByteVector(cover.constData(), static_cast<unsigned>(cover.size())));
    file.addPicture(picture);
    return file.save();
}

/// Writes under another, hidden name first: a scan that runs meanwhile never sees half a file.
bool writeWhole(const QString& path, const char* bytes, qint64 count) {
    const QFileInfo target(path);
    QFile file(target.path() + QStringLiteral("/.") + target.fileName() + QStringLiteral(".part"));
    const bool written =
        file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(bytes, count) == count;
    file.close();
    // Not QFile::rename, which would fall back to copying.
    if (written &&
        std::rename(QFile::encodeName(file.fileName()).constData(), QFile::encodeName(path).constData()) == 0)
        return true;
    file.remove();
    return false;
}

bool writeTrack(const QString& path, const DemoAlbum& album, const DemoTrack& track, std::uint32_t seed,
                const QByteArray& cover) {
    TagLib::ByteVectorStream stream{TagLib::ByteVector()};
    if (!encodeFlac(stream, makeDemoMusic(album.style, seed)) || !addTags(stream, album, track, cover))
        return false;
    const auto& bytes = *stream.data();
    return writeWhole(path, bytes.data(), bytes.size());
}

/// An album in the making: its folder and its cover are made with its first track, whichever thread has it.
class AlbumMaker {
  public:
    AlbumMaker(QString folder, int index)
        : folder_(std::move(folder)),
          index_(index),
          album_(demoCatalogue()[static_cast<std::size_t>(index)]) {}

    int trackCount() const { return static_cast<int>(album_.tracks.size()); }

    /// Any thread.
    bool makeTrack(int number) {
        std::call_once(prepared_, [this] { ready_ = prepare(); });
        const auto& track = album_.tracks[static_cast<std::size_t>(number)];
        const auto path = folder_ + u'/' + demoTrackPath(album_, track);
        const auto seed = static_cast<std::uint32_t>(index_ * 1000 + number + 1);
        return ready_ && (QFileInfo::exists(path) || writeTrack(path, album_, track, seed, cover_));
    }

  private:
    bool prepare() {
        const auto path = folder_ + u'/' + albumFolder(album_);
        if (!QDir().mkpath(path))
            return false;
        const auto image = paintDemoCover(index_);
        cover_ = encoded(image, "JPG");
        if (album_.coverFile == DemoCoverFile::Jpeg)
            return writeCover(path + QStringLiteral("/cover.jpg"), cover_);
        if (album_.coverFile == DemoCoverFile::Png)
            return writeCover(path + QStringLiteral("/cover.png"), encoded(image, "PNG"));
        return true;
    }

    static bool writeCover(const QString& path, const QByteArray& bytes) {
        return QFileInfo::exists(path) || writeWhole(path, bytes.constData(), bytes.size());
    }

    const QString folder_;
    const int index_;
    const DemoAlbum& album_;
    std::once_flag prepared_;
    bool ready_ = false;
    QByteArray cover_;
};

/// The tracks of some albums, handed out in order to the threads at work.
class Work {
  public:
    using Progress = std::function<void(int done, int total)>;

    Work(const QString& folder, const std::vector<int>& albums, Progress progress,
         const std::atomic<bool>* stop = nullptr)
        : progress_(std::move(progress)), stop_(stop) {
        for (const auto index : albums) {
            makers_.push_back(std::make_unique<AlbumMaker>(folder, index));
            for (int number = 0; number < makers_.back()->trackCount(); ++number)
                tracks_.emplace_back(makers_.back().get(), number);
        }
        finished_.resize(tracks_.size());
    }

    bool run() {
        std::thread second([this] { makeTracks(); });
        makeTracks();
        second.join();
        return !failed_;
    }

  private:
    void makeTracks() {
        for (auto index = next_++; index < tracks_.size() && !isToEnd(); index = next_++) {
            const auto [maker, number] = tracks_[index];
            if (maker->makeTrack(number))
                noteFinished(index);
            else if (!failed_.exchange(true))
                qCWarning(lcDemo) << "the demo's music could not be written";
        }
    }

    bool isToEnd() const { return failed_ || (stop_ && *stop_); }

    void noteFinished(std::size_t index) {
        const std::scoped_lock lock(mutex_);
        finished_[index] = true;
        const auto before = inOrder_;
        while (inOrder_ < finished_.size() && finished_[inOrder_])
            ++inOrder_;
        if (progress_ && inOrder_ != before)
            progress_(static_cast<int>(inOrder_), static_cast<int>(tracks_.size()));
    }

    const Progress progress_;
    const std::atomic<bool>* const stop_;
    std::vector<std::unique_ptr<AlbumMaker>> makers_;
    std::vector<std::pair<AlbumMaker*, int>> tracks_;
    std::atomic<std::size_t> next_ = 0;
    std::atomic<bool> failed_ = false;
    std::mutex mutex_; // guards what follows
    std::vector<bool> finished_;
    std::size_t inOrder_ = 0;
};

} // namespace

bool makeDemoLibrary(const QString& folder, const std::function<void(int, int)>& progress,
                     const std::atomic<bool>* stop) {
    std::vector<int> albums(demoCatalogue().size());
    for (std::size_t i = 0; i < albums.size(); ++i)
        albums[i] = static_cast<int>(i);
    return Work(folder, albums, progress, stop).run();
}

bool makeDemoAlbum(const QString& folder, int index) {
    return isAlbum(index) && Work(folder, {index}, {}).run();
}

bool makeDemoTrack(const QString& folder, int album, int track) {
    if (!isAlbum(album))
        return false;
    AlbumMaker maker(folder, album);
    return track >= 0 && track < maker.trackCount() && maker.makeTrack(track);
}

QString demoTrackPath(const DemoAlbum& album, const DemoTrack& track) {
    auto number = QStringLiteral("%1").arg(track.number, 2, 10, QChar(u'0'));
    if (album.discs > 1)
        number = QStringLiteral("%1-%2").arg(track.disc).arg(number);
    return albumFolder(album) + u'/' + fileName(number + u' ' + track.title) + QStringLiteral(".flac");
}

} // namespace merlode
