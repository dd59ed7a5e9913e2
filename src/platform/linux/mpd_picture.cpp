#include "platform/linux/mpd_picture.h"

#include "base/image.h"
#include "platform/scripted_player.h"

#include <array>

namespace merlode {

namespace {

// Embedded pictures first: a folder's picture may be of a whole box of albums.
constexpr std::array kCommands{"readpicture", "albumart"};

} // namespace

void MpdPicture::advance(MpdConnection& connection) {
    const auto reply =
        connection.run({kCommands[command_], {uri_, QByteArray::number(bytes_.size())}}, kPlayerCallTimeout);
    const bool lost = reply.outcome == MpdOutcome::Broken || reply.outcome == MpdOutcome::TimedOut;
    const qint64 size = reply.value("size").toLongLong();
    bytes_ += reply.binary;
    if (reply && !reply.binary.isEmpty() && size <= Image::kMostBytes && bytes_.size() < size)
        return;
    const bool whole = reply && size > 0 && bytes_.size() == size;
    if (!whole && !lost && ++command_ < kCommands.size()) {
        bytes_.clear();
        return;
    }
    ended_ = true;
    if (!whole)
        bytes_.clear();
}

} // namespace merlode
