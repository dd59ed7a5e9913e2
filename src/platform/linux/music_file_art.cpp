#include "platform/linux/music_file_art.h"

#include "base/regular_file.h"

#include <array>
#include <filesystem>

namespace merlode {

namespace {

constexpr std::array kCoverNames{"cover.jpg",  "cover.jpeg", "cover.png",  "folder.jpg", "folder.jpeg",
                                 "folder.png", "front.jpg",  "front.jpeg", "front.png"};

// The place of a name among those of covers; behind the last for any other.
std::size_t rankOf(const QByteArray& name) {
    const auto found = std::ranges::find_if(
        kCoverNames, [lower = name.toLower()](const char* cover) { return lower == cover; });
    return static_cast<std::size_t>(found - kCoverNames.begin());
}

} // namespace

bool isCoverName(const QByteArray& name) {
    return rankOf(name) < kCoverNames.size();
}

QList<QByteArray> coverFilesBeside(const QByteArray& path) {
    const QByteArray folder = path.left(path.lastIndexOf('/') + 1);
    std::multimap<std::size_t, QByteArray> found;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder.toStdString(), error);
    for (int count = 0; !error && entry != std::filesystem::directory_iterator() && count < kMostEntries;
         entry.increment(error), ++count) {
        const auto name = QByteArray::fromStdString(entry->path().filename().string());
        if (const auto rank = rankOf(name); rank < kCoverNames.size())
            found.emplace(rank, folder + name);
    }
    QList<QByteArray> files;
    for (const auto& [rank, file] : found)
        files << file;
    return files;
}

std::optional<Image> artOfMusicFile(const QByteArray& path, const PictureReader& embedded) {
    const auto decoded = [](const std::optional<QByteArray>& bytes) {
        return bytes ? Image::decode(*bytes) : std::nullopt;
    };
    if (auto image = decoded(embedded ? embedded(path) : std::nullopt))
        return image;
    for (const auto& cover : coverFilesBeside(path)) {
        if (auto image = decoded(readRegularFile(cover, Image::kMostBytes)))
            return image;
    }
    return std::nullopt;
}

} // namespace merlode
