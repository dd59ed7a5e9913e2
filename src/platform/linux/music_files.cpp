#include "platform/linux/music_files.h"

#include "platform/linux/music_file_art.h"

#include <QLoggingCategory>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <set>
#include <string_view>

#include <dirent.h>
#include <sys/stat.h>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(lcMusicFiles, "merlode.platform", QtWarningMsg)

constexpr std::array<std::string_view, 20> kEndings{"mp3", "flac", "ogg", "oga", "opus", "m4a", "m4b",
                                                    "mp4", "aac",  "wma", "asf", "wav",  "aif", "aiff",
                                                    "ape", "wv",   "mpc", "tta", "spx",  "mp2"};

bool isMusicName(const QByteArray& name) {
    const QByteArray ending = name.mid(name.lastIndexOf('.') + 1).toLower();
    return std::ranges::find(kEndings, std::string_view(ending.constData(), std::size_t(ending.size()))) !=
           kEndings.end();
}

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// One walk. Folders wait on a list of their own: nested calls would let a deep tree decide how much stack is
/// used.
class Walk {
  public:
    Walk(const QByteArray& folder, const std::function<void(MusicFile)>& visit) : visit_(visit) {
        struct stat found = {};
        const bool isFolder = ::stat((folder + '/').constData(), &found) == 0 && S_ISDIR(found.st_mode);
        if (isFolder)
            enter(folder, found);
        else
            gaps_.folders.push_back(folder);
    }

    bool isDone() const { return waiting_.empty(); }
    MusicFolderGaps gaps() const { return gaps_; }

    void lookIntoNext() {
        const QByteArray path = waiting_.back();
        waiting_.pop_back();
        const std::unique_ptr<DIR, CloseFolder> folder(::opendir((path + '/').constData()));
        bool isCovered = false, isEmpty = true;
        errno = folder ? 0 : errno;
        while (const dirent* entry = folder ? ::readdir(folder.get()) : nullptr) {
            const QByteArray name(entry->d_name);
            isCovered = isCovered || isCoverName(name);
            isEmpty = isEmpty && name.startsWith('.');
            if (!name.startsWith('.'))
                take(path + '/' + name, entry->d_type);
            errno = 0; // by nothing else is the end told from a failure
        }
        if (errno != 0) {
            qCInfo(lcMusicFiles) << "cannot read the folder" << path;
            gaps_.folders.push_back(path);
        }
        // Linked folders often lie on other disks, and what a disk leaves behind that is not mounted is
        // empty.
        if (isEmpty && linked_.contains(path))
            gaps_.folders.push_back(path);
        for (auto& file : files_) {
            file.stamp.isCovered = isCovered;
            visit_(std::move(file));
        }
        files_.clear();
    }

  private:
    void take(const QByteArray& path, unsigned char type) {
        const bool isMusic = isMusicName(path);
        if (!isMusic && type == DT_REG)
            return; // most of what is no music is told without asking for more
        struct stat found = {};
        if (::stat(path.constData(), &found) != 0) {
            if (type == DT_LNK)
                gaps_.folders.push_back(path);
            return;
        }
        if (S_ISDIR(found.st_mode)) {
            if (type == DT_LNK)
                linked_.insert(path);
            enter(path, found);
        }
        if (isMusic && S_ISREG(found.st_mode))
            files_.push_back({path, {found.st_size, nanoseconds(found), false}});
    }

    void enter(const QByteArray& path, const struct stat& found) {
        if (visited_.emplace(found.st_dev, found.st_ino).second)
            waiting_.push_back(path);
    }

    static qint64 nanoseconds(const struct stat& found) {
        // In the wrapping arithmetic of unsigned numbers: a file's time can be any.
        return static_cast<qint64>(static_cast<quint64>(found.st_mtim.tv_sec) * 1'000'000'000U +
                                   static_cast<quint64>(found.st_mtim.tv_nsec));
    }

    const std::function<void(MusicFile)>& visit_;
    MusicFolderGaps gaps_;
    std::vector<QByteArray> waiting_;
    std::set<std::pair<dev_t, ino_t>> visited_;
    std::set<QByteArray> linked_;  ///< folders that were reached by a link
    std::vector<MusicFile> files_; ///< of the folder that is looked into
};

} // namespace

MusicFolderGaps findMusicFiles(const QByteArray& folder, const std::function<bool()>& isCancelled,
                               const std::function<void(MusicFile)>& visit) {
    Walk walk(folder, visit);
    const bool isReached = !walk.isDone();
    while (!walk.isDone() && !isCancelled())
        walk.lookIntoNext();
    auto gaps = walk.gaps();
    gaps.isComplete =
        isReached && walk.isDone() && std::ranges::find(gaps.folders, folder) == gaps.folders.end();
    return gaps;
}

} // namespace merlode
