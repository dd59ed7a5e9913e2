#pragma once

#include "base/operation_queue.h"
#include "model/album.h"
#include "model/track.h"
#include "remote/weak_container.h"

#include <QVariantMap>

#include <functional>
#include <memory>
#include <vector>

namespace merlode {

class LibrarySongs;

/// Finds the library keys of a client's items in the library of its server, on both ends: the client
/// remembers what it asked about, weakly, and fills the answer in; the server looks into its library in the
/// background and answers what it has. Main thread.
class RemoteiTunesKeyFetcher {
  public:
    static RemoteiTunesKeyFetcher& sharedFetcher();

    RemoteiTunesKeyFetcher();
    ~RemoteiTunesKeyFetcher();
    RemoteiTunesKeyFetcher(const RemoteiTunesKeyFetcher&) = delete;
    RemoteiTunesKeyFetcher& operator=(const RemoteiTunesKeyFetcher&) = delete;

    /// Ask the server. An item that gets no answer keeps what it has.
    void searchForAlbum(const std::shared_ptr<Album>& album);
    void searchForTrack(const std::shared_ptr<Track>& track);

    /// Answer the client with this address, if the library has the item. The item becomes the answer.
    void handleRemoteSearchForAlbum(const std::shared_ptr<Album>& album, const QString& clientAddress);
    void handleRemoteSearchForTrack(const std::shared_ptr<Track>& track, const QString& clientAddress);

    /// Take in an answer: what was asked about under these names gets the key, an album its tracks' too, and
    /// is forgotten. An answer to no question, and one that is incomplete, changes nothing.
    void processAlbumDictionary(const QVariantMap& dictionary);
    void processTrackDictionary(const QVariantMap& dictionary);

    /// Forgets all questions: answers of a server that was left have no place.
    void removeAllReferences();

  private:
    /// Work in the background, given the library; then, if that says so, `answer` on the main thread.
    void lookUp(std::function<bool(const LibrarySongs&)> find, std::function<void()> answer);

    std::vector<WeakContainer<Album>> albums_; ///< with a question under way
    std::vector<WeakContainer<Track>> tracks_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true); ///< answers under way hold it weakly
    OperationQueue queue_; // last: its end waits for work that uses the others
};

} // namespace merlode
