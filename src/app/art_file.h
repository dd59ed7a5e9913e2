#pragma once

#include "base/image.h"
#include "base/session.h"

#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace merlode {

/// The art on show as a file, for programs that want to show it as well. Nothing is written before the first
/// of them has asked. There is one file at most, named by what is in it, so that readers with caches notice
/// another; none is left behind. Main thread; encoding and writing happen on a queue.
class ArtFile {
  public:
    /// In pixels: the folder for what lives as long as the login lies in memory.
    static constexpr int kLongestSide = 1024;
    /// How long anybody waits for a file, in seconds.
    static constexpr double kPatience = 0.5;

    /// `folder` is made when it is needed, for us alone; without one there is never a file. `changed` is
    /// called when the path has changed.
    ArtFile(Session& session, QString folder, std::function<void()> changed);
    /// Removes the file.
    ~ArtFile();
    ArtFile(const ArtFile&) = delete;
    ArtFile& operator=(const ArtFile&) = delete;

    /// The file of the art on show; empty where that is the placeholder and where it is not written yet.
    const QString& path() const { return path_; }

    /// Somebody wants the art: from now on there are files.
    void want();

    /// Calls `done` once the file is there or none is to come: at once, or after `kPatience` at most.
    void whenSettled(std::function<void()> done);

  private:
    struct Shelf;

    void artChanged();
    void write();
    void written(quint64 ticket, const QString& path);
    void settle();
    void setPath(const QString& path);

    Session& session_;
    std::function<void()> changed_;
    std::shared_ptr<Shelf> shelf_;
    Image art_; ///< empty for the placeholder
    QString path_;
    quint64 ticket_ = 0; ///< of the newest art
    bool wanted_ = false;
    bool writing_ = false;
    std::vector<std::function<void()>> waiting_;
    Timer patience_;
    Observation observation_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace merlode
