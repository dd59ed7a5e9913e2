#pragma once

#include "base/image.h"
#include "model/item_source_type.h"

#include <QString>

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace merlode {

class Album;
class DispatchQueue;
class MusicItem;

/// Hears of every change of an item that a view must redraw.
class MusicItemDelegate {
  public:
    virtual ~MusicItemDelegate() = default;

    /// Called on the thread that made the change, which may be a background one: implementations hop to the
    /// main thread. The caller holds the delegate for the length of the call.
    virtual void musicItemUpdated(const std::shared_ptr<MusicItem>& item) = 0;
};

/// A song, an album or an artist, whichever service it came from. One item stands for the same music on
/// several services at once: it carries the set of these services and one play key for each.
///
/// Always owned by shared pointers. Every operation may be called on any thread: one lock in the item guards
/// its fields and is never held while a delegate, an album or a web request is called. Setters tell the
/// observers named with them after every write, also of an equal value. Reading two fields is two moments in
/// time.
class MusicItem : public std::enable_shared_from_this<MusicItem> {
  public:
    /// How long a picture may take to load, in seconds.
    static constexpr double kImageTimeout = 15.0;

    static std::shared_ptr<MusicItem> make(ItemSourceType sourceType, const QString& id, const QString& name);
    virtual ~MusicItem() = default;
    MusicItem(const MusicItem&) = delete;
    MusicItem& operator=(const MusicItem&) = delete;

    /// The service's identifier, or a made-up one.
    const QString& id() const { return id_; }
    const QString& name() const { return name_; }

    /// Every service on which the item is known to exist. A write tells the delegate, and with a track its
    /// album.
    ItemSourceType sourceType() const { return read(sourceType_); }
    void setSourceType(ItemSourceType sourceType);
    /// Adds services without losing what another thread adds at the same time, with the same observers. Gives
    /// the set as it stood then.
    ItemSourceType insertSource(ItemSourceType sources);

    std::shared_ptr<MusicItemDelegate> delegate() const { return read(delegate_).lock(); }
    void setDelegate(std::weak_ptr<MusicItemDelegate> delegate) { write(delegate_, std::move(delegate)); }

    /// 16 upper-case hexadecimal digits for a track of the local library.
    std::optional<QString> iTunesPlayKey() const { return read(keys_.iTunes); }
    void setiTunesPlayKey(std::optional<QString> key) { write(keys_.iTunes, std::move(key)); }
    /// The Spotify `uri`.
    std::optional<QString> spotifyPlayKey() const { return read(keys_.spotify); }
    void setSpotifyPlayKey(std::optional<QString> key) { write(keys_.spotify, std::move(key)); }
    std::optional<QString> rdioPlayKey() const { return read(keys_.rdio); }
    void setRdioPlayKey(std::optional<QString> key) { write(keys_.rdio, std::move(key)); }

    quint64 discNumber() const { return read(discNumber_); }
    void setDiscNumber(quint64 number) { write(discNumber_, number); }
    quint64 discCount() const { return read(discCount_); }
    void setDiscCount(quint64 count) { write(discCount_, count); }

    /// Writing true calls `fetchImage`, whatever the item shows already.
    bool shouldFetchImage() const { return read(shouldFetchImage_); }
    void setShouldFetchImage(bool should);

    /// A write calls `fetchImage` if `shouldFetchImage` holds and there is no real art yet.
    std::optional<QString> imageURL() const { return read(imageURL_); }
    void setImageURL(std::optional<QString> url);

    /// True while art is being fetched, and for good once `fetchImage` has got hold of some.
    bool fetchingImage() const { return read(fetchingImage_); }
    void setFetchingImage(bool fetching) { write(fetchingImage_, fetching); }

    /// Art at the size of the views; empty for none. A write reduces anything but the placeholder to that
    /// size and tells the delegate.
    Image image() const { return read(image_); }
    void setImage(const Image& image);

    /// Where `fetchImage` downloads; `kImageDownloadQueue` unless set.
    DispatchQueue& imageFetchQueue() const;
    void setImageFetchQueue(const DispatchQueue& queue);

    /// Downloads `imageURL` and sets `image` on the main thread. Succeeds once in an item's life: later calls
    /// do nothing, while a failure lets the next call try again. A late result never replaces what
    /// `fetchImageInBackground` brought. Returns at once.
    void fetchImage();

    /// Downloads a large picture and sets `image` on the main thread, each time that it is called. A failure
    /// leaves everything as it is. Returns at once.
    void fetchImageInBackground(const QString& url);

    /// Looks for the play keys of the services that the item lacks when its turn comes, one after the other,
    /// on `queue` or else on `kPlayKeyQueue`. Returns at once.
    void getPlayKeys(DispatchQueue* queue = nullptr);

    /// Looks for the play keys of the wanted services on the calling thread. iTunes is left out: the key of a
    /// remote item comes from the machine that has it.
    void getRemotePlayKeys(ItemSourceType sources);

    /// Find the item's key at one service; they may block on the network. Nothing is found for a bare item.
    virtual void getiTunesPlayKey() {}
    virtual void getSpotifyPlayKey() {}
    virtual void getRdioPlayKey() {}

    /// Gives this item the services of `other`, and of each its key in place of any older one. Observers run.
    void takeServices(const MusicItem& other);

    /// Gives both items the services of both, and for each service and the art's address the first item's
    /// value, or else the second's. Observers run for the sources and the address. Of two albums the tracks
    /// are merged too.
    static void mergeMusicItems(MusicItem& first, MusicItem& second);

    /// Merges each track of `first` with every equal track of `second`. Neither list changes length.
    static void mergeAlbumTracks(const Album& first, const Album& second);

  protected:
    MusicItem(ItemSourceType sourceType, const QString& id, const QString& name);

    /// Sets the latch of `fetchingImage`; false when it was set already.
    bool beginFetchingImage() { return setOnce(fetchingImage_); }

    /// Runs after each write of the sources and after the delegate was told, without the lock.
    virtual void sourceTypeDidChange() {}

    template<class T>
    T read(const T& field) const {
        const std::lock_guard lock(mutex_);
        return field;
    }

    /// The old value is destroyed outside the lock, since its destructor may come back to this item.
    template<class T>
    void write(T& field, T value) {
        const std::lock_guard lock(mutex_);
        std::swap(field, value);
    }

    /// Sets a latch; false when it was set already.
    bool setOnce(bool& latch) {
        const std::lock_guard lock(mutex_);
        return !std::exchange(latch, true);
    }

    /// Guards every field that changes, those of derived classes too.
    mutable std::mutex mutex_;

  private:
    struct PlayKeys {
        std::optional<QString> iTunes;
        std::optional<QString> spotify;
        std::optional<QString> rdio;
    };

    static void mergeSourcesAndKeys(MusicItem& first, MusicItem& second);
    static void mergeKeys(MusicItem& first, MusicItem& second);
    void notifyDelegate();
    void sourceTypeWasWritten();
    /// The address to download, if a download is to be started now; the latch is then set.
    std::optional<QString> beginFetching();
    /// Main thread.
    void setFetchedImage(const Image& image);
    /// Main thread. `atViewSize` is what `large` comes to at the size of the views.
    void setLargeImage(const Image& large, const Image& atViewSize);

    const QString id_;
    const QString name_;
    ItemSourceType sourceType_;
    std::weak_ptr<MusicItemDelegate> delegate_;
    PlayKeys keys_;
    quint64 discNumber_ = 1;
    quint64 discCount_ = 1;
    bool shouldFetchImage_ = true;
    std::optional<QString> imageURL_;
    bool fetchingImage_ = false;
    Image image_;
    Image largeImage_;
    QString imageFetchQueue_; // by its label: an item may outlive the session that owns the queue
};

} // namespace merlode
