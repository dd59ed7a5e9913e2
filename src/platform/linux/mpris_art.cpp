#include "platform/linux/mpris_art.h"

#include "base/dispatch_queue.h"
#include "platform/http_client.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(lcArt, "merlode.platform", QtWarningMsg)

constexpr double kArtTimeoutSeconds = 10;
constexpr int kUrlInLog = 120;

std::optional<QByteArray> regularFile(const QString& path) {
    // A pipe or a device would block for ever or never end.
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > Image::kMostBytes)
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.read(Image::kMostBytes);
}

std::optional<QByteArray> localFile(const QString& url) {
    const QUrl parsed(url, QUrl::TolerantMode);
    if (!parsed.host().isEmpty() && parsed.host() != u"localhost")
        return std::nullopt;
    if (auto bytes = regularFile(parsed.path(QUrl::FullyDecoded)))
        return bytes;
    // A path pasted behind the scheme as it is, '%', '#' and '?' included.
    return regularFile(url.mid(static_cast<int>(qstrlen("file://"))));
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
    if (url.startsWith(u"file://", Qt::CaseInsensitive))
        return localFile(url);
    if (url.startsWith(u'/'))
        return regularFile(url);
    if (url.startsWith(u"data:"))
        return inlineData(url);
    if (!http || !(url.startsWith(u"http://") || url.startsWith(u"https://")))
        return std::nullopt;
    return http->send(
        {.url = url, .timeoutSeconds = kArtTimeoutSeconds, .mostBytes = HttpRequest::kMostPictureBytes});
}

MprisArt::MprisArt(RunLoop& runLoop, HttpClient* http, DispatchQueue* queue)
    : runLoop_(runLoop), http_(http), queue_(queue) {}

MprisArt::~MprisArt() {
    ++state_->ticket;
}

void MprisArt::want(const QString& url) {
    state_->image.reset();
    const quint64 ticket = ++state_->ticket;
    if (url.isEmpty() || !queue_)
        return;
    queue_->async([url, ticket, http = http_, &runLoop = runLoop_, state = state_] {
        if (state->ticket != ticket)
            return;
        const auto bytes = fetchArt(url, http);
        auto image = bytes ? Image::decode(*bytes) : std::nullopt;
        if (!image)
            qCInfo(lcArt) << "no picture at" << url.left(kUrlInLog);
        runLoop.async([state, ticket, image = std::move(image)] {
            if (state->ticket == ticket)
                state->image = image;
        });
    });
}

} // namespace merlode
