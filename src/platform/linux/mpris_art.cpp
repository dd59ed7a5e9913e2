#include "platform/linux/mpris_art.h"

#include "base/dispatch_queue.h"
#include "base/regular_file.h"
#include "platform/http_client.h"

#include <QRegularExpression>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(lcArt, "merlode.platform", QtWarningMsg)

constexpr double kArtTimeoutSeconds = 10;
constexpr int kUrlInLog = 120;

bool isLocal(QStringView address) {
    return address.startsWith(u"file:", Qt::CaseInsensitive) || address.startsWith(u'/');
}

// The file system's paths that an address may mean, the likeliest first. Some players paste a path behind the
// scheme as it is, '%', '#' and '?' included; and a name need not be UTF-8, which percent signs can tell.
QByteArrayList localPaths(const QString& address) {
    static const QRegularExpression form(u"^(?:file:(?://(?:localhost)?)?)?(?=/)"_qs,
                                         QRegularExpression::CaseInsensitiveOption);
    const auto match = form.match(address);
    if (!match.hasMatch())
        return {};
    const QByteArray written = address.mid(match.capturedEnd()).toUtf8();
    const QByteArray decoded = QByteArray::fromPercentEncoding(written);
    const bool isPath = match.capturedEnd() == 0;
    return isPath ? QByteArrayList{written, decoded} : QByteArrayList{decoded, written};
}

std::optional<QByteArray> localFile(const QString& url) {
    for (const auto& path : localPaths(url)) {
        if (auto bytes = readRegularFile(path, Image::kMostBytes))
            return bytes;
    }
    return std::nullopt;
}

std::optional<QByteArray> inlineData(const QString& url) {
    const qsizetype comma = url.indexOf(u',');
    const auto header = QStringView(url).left(comma);
    if (comma < 0 || !header.startsWith(u"data:image/") || !header.endsWith(u";base64"))
        return std::nullopt;
    const auto text = QStringView(url).mid(comma + 1);
    if (text.size() / 4 * 3 > Image::kMostBytes)
        return std::nullopt;
    return QByteArray::fromBase64(text.toLatin1());
}

} // namespace

std::optional<QByteArray> fetchArt(const QString& url, HttpClient* http) {
    if (isLocal(url))
        return localFile(url);
    if (url.startsWith(u"data:"))
        return inlineData(url);
    if (!http || !(url.startsWith(u"http://") || url.startsWith(u"https://")))
        return std::nullopt;
    return http->send(
        {.url = url, .timeoutSeconds = kArtTimeoutSeconds, .mostBytes = HttpRequest::kMostPictureBytes});
}

std::optional<Image> fetchArt(const MprisArtSource& source, HttpClient* http, const PictureReader& embedded) {
    if (!source.art.isEmpty()) {
        const auto bytes = fetchArt(source.art, http);
        if (auto image = bytes ? Image::decode(*bytes) : std::nullopt)
            return image;
        qCInfo(lcArt) << "no picture at" << source.art.left(kUrlInLog);
    }
    for (const auto& path : localPaths(source.track)) {
        if (auto image = artOfMusicFile(path, embedded))
            return image;
    }
    return std::nullopt;
}

MprisArt::MprisArt(RunLoop& runLoop, HttpClient* http, DispatchQueue* queue, PictureReader embedded)
    : runLoop_(runLoop), http_(http), queue_(queue), embedded_(std::move(embedded)) {}

MprisArt::~MprisArt() {
    ++state_->ticket;
}

void MprisArt::want(const MprisArtSource& source) {
    state_->image.reset();
    ++state_->ticket;
    announcement_.invalidate();
    if (!queue_)
        return;
    if (!source.art.isEmpty())
        fetch(source);
    else if (isLocal(source.track))
        announcement_ = runLoop_.after(kArtAnnouncement, [this, source] { fetch(source); });
}

void MprisArt::fetch(const MprisArtSource& source) {
    const quint64 ticket = state_->ticket;
    queue_->async([source, ticket, http = http_, embedded = embedded_, &loop = runLoop_, state = state_] {
        if (state->ticket != ticket)
            return;
        loop.async([state, ticket, image = fetchArt(source, http, embedded)] {
            if (state->ticket == ticket)
                state->image = image;
        });
    });
}

} // namespace merlode
