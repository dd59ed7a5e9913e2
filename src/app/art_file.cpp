#include "app/art_file.h"

#include "base/notification_names.h"
#include "base/runtime_folder.h"
#include "model/artwork.h"
#include "players/player_controller.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QSaveFile>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.app", QtWarningMsg)

const QString kQueue = QStringLiteral("co.vantry.Merlode.ArtFile");
constexpr int kJpegQuality = 90;
constexpr int kNameLength = 16;

struct Encoded {
    QByteArray bytes;
    QString suffix;
};

// A photograph as PNG takes ten times the room and the time of a JPEG, which in turn knows no transparency.
Encoded encode(const Image& art) {
    QImage pixels = art.pixels();
    if (std::max(pixels.width(), pixels.height()) > ArtFile::kLongestSide)
        pixels = pixels.scaled(ArtFile::kLongestSide, ArtFile::kLongestSide, Qt::KeepAspectRatio,
                               Qt::SmoothTransformation);
    const auto as = [&pixels](const char* format, int quality) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        return pixels.save(&buffer, format, quality) ? bytes : QByteArray();
    };
    if (!pixels.hasAlphaChannel()) {
        if (auto jpeg = as("JPG", kJpegQuality); !jpeg.isEmpty())
            return {std::move(jpeg), QStringLiteral(".jpg")};
    }
    return {as("PNG", -1), QStringLiteral(".png")};
}

} // namespace

/// The folder with the one file. Used by the queue and, at the end, by the main thread.
struct ArtFile::Shelf {
    explicit Shelf(QString path) : folder(std::move(path)) {}

    // Gives the path of what was put there, or nothing; what lay there before is gone in any case.
    QString put(const Encoded& art) {
        const std::lock_guard lock(mutex);
        if (ended)
            return {};
        const auto hash = QCryptographicHash::hash(art.bytes, QCryptographicHash::Sha1).toHex();
        const QString name =
            QStringLiteral("art-") + QString::fromLatin1(hash.left(kNameLength)) + art.suffix;
        const bool there = !art.bytes.isEmpty() && makePrivateFolder(folder) && save(name, art.bytes);
        clear(there ? name : QString());
        return there ? folder + u'/' + name : QString();
    }

    // From now on there is nothing here.
    void end() {
        const std::lock_guard lock(mutex);
        ended = true;
        clear({});
    }

    const QString folder;

  private:
    bool save(const QString& name, const QByteArray& bytes) const {
        QSaveFile file(folder + u'/' + name);
        if (file.open(QIODevice::WriteOnly) && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
            file.write(bytes) == bytes.size() && file.commit())
            return true;
        qCWarning(log) << "the art cannot be written to" << folder << file.errorString();
        return false;
    }

    // Also what a program that was killed has left.
    void clear(const QString& kept) const {
        if (folder.isEmpty())
            return;
        const auto names = QDir(folder).entryList({QStringLiteral("art-*")}, QDir::Files);
        for (const auto& name : names) {
            if (name != kept)
                QFile::remove(folder + u'/' + name);
        }
    }

    std::mutex mutex;
    bool ended = false;
};

ArtFile::ArtFile(Session& session, QString folder, std::function<void()> changed)
    : session_(session), changed_(std::move(changed)), shelf_(std::make_shared<Shelf>(std::move(folder))) {
    observation_ = session_.notificationCenter().addObserver(notifications::kNewAlbumArtAvailable,
                                                             [this](const auto&) { artChanged(); });
    artChanged();
}

ArtFile::~ArtFile() {
    shelf_->end();
}

void ArtFile::want() {
    if (shelf_->folder.isEmpty() || std::exchange(wanted_, true))
        return;
    if (art_)
        write();
}

void ArtFile::whenSettled(std::function<void()> done) {
    if (!writing_)
        return done();
    waiting_.push_back(std::move(done));
    if (!patience_)
        patience_ = session_.runLoop().after(kPatience, [this] { settle(); });
}

void ArtFile::artChanged() {
    const Image& shown = PlayerController::sharedController().currentAlbumArt();
    const Image art = shown == sSharedAlbumArtworkImage() ? Image() : shown;
    if (art == art_)
        return;
    art_ = art;
    if (wanted_)
        write();
}

// Without art this clears the file away.
void ArtFile::write() {
    setPath({}); // it is of the art before
    writing_ = static_cast<bool>(art_);
    const quint64 ticket = ++ticket_;
    session_.queue(kQueue).async(
        [this, weak = std::weak_ptr(alive_), &loop = session_.runLoop(), shelf = shelf_, art = art_, ticket] {
            const QString path = shelf->put(art ? encode(art) : Encoded());
            loop.async([this, weak, ticket, path] {
                if (weak.lock())
                    written(ticket, path);
            });
        });
    if (!writing_)
        settle();
}

void ArtFile::written(quint64 ticket, const QString& path) {
    if (ticket != ticket_)
        return; // there is other art by now
    writing_ = false;
    setPath(path);
    settle();
}

void ArtFile::settle() {
    patience_.invalidate();
    for (const auto& done : std::exchange(waiting_, {}))
        done();
}

void ArtFile::setPath(const QString& path) {
    if (std::exchange(path_, path) != path)
        changed_();
}

} // namespace merlode
