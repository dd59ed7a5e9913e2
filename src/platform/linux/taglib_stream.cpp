#include "platform/linux/taglib_stream.h"

#include "base/regular_file.h"

#include <QLoggingCategory>

#include <algorithm>
#include <stdexcept>

#include <fileref.h>
#include <tfilestream.h>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(lcTags, "merlode.platform", QtWarningMsg)

using TagLib::ByteVector;

constexpr int kMostBeyondEnd = 10'000;

/// A file that ends where too much of it has been read. Should the library not notice, as in a chain of
/// chunks without end, it is thrown out, which costs what it holds at that moment.
class BoundedStream final : public TagLib::FileStream {
  public:
    BoundedStream(int descriptor, QByteArray path) : FileStream(descriptor, true), path_(std::move(path)) {}

    /// The library looks at the ending of the name before it looks at the bytes.
    TagLib::FileName name() const override { return path_.constData(); }

    ByteVector readBlock(unsigned long length) override {
        constexpr long call = 8192; // tags come in big pieces; a search goes through the file in small ones
        rest_ -= static_cast<long>(std::min(length, static_cast<unsigned long>(kMostReadOfFile))) + call;
        if (rest_ >= 0)
            return FileStream::readBlock(length);
        if (++beyondEnd_ > kMostBeyondEnd)
            throw std::length_error("too much to read");
        return {};
    }

  private:
    QByteArray path_;
    long rest_ = kMostReadOfFile;
    int beyondEnd_ = 0;
};

} // namespace

bool readMusicFile(const QByteArray& path, bool lengths, const std::function<void(TagLib::File&)>& look) {
    const int descriptor = openRegularFile(path);
    if (descriptor < 0)
        return false;
    BoundedStream stream(descriptor, path); // closes it
    try {
        const TagLib::FileRef reference(&stream, lengths);
        if (reference.isNull())
            return false;
        look(*reference.file());
        return true;
    } catch (const std::exception& error) {
        qCInfo(lcTags) << "cannot read the tags of" << path << error.what();
        return false;
    }
}

} // namespace merlode
