#include "app/demo/service_answers.h"
#include "app/demo/service_catalogue.h"

#include <QDateTime>
#include <QJsonArray>
#include <QRegularExpression>
#include <QXmlStreamWriter>

#include <algorithm>

namespace merlode {

namespace {

constexpr int kDefaultLimit = 50;
constexpr int kMostResults = 200;

const std::vector<ServiceAlbum>& albums() {
    return serviceCatalogue(CatalogueOf::iTunes);
}

// The covers of a kind of list by their heights.
constexpr std::array kFeedHeights = {55, 60, 170};
constexpr std::array kRssHeights = {53, 60, 100};

QString albumLink(const QString& base, const ServiceAlbum& album) {
    return QStringLiteral("%1/us/album/id%2").arg(base).arg(100'000'000 + album.number);
}

QString releaseDate(const ServiceAlbum& album) {
    return album.date.size() == 4 ? album.date + QStringLiteral("-01-01") : album.date;
}

QJsonObject searchResult(const QString& base, const ServiceAlbum& album) {
    const auto artist = artistsOf(CatalogueOf::iTunes).indexOf(album.artist);
    return {{QStringLiteral("wrapperType"), QStringLiteral("collection")},
            {QStringLiteral("collectionType"), QStringLiteral("Album")},
            {QStringLiteral("artistId"), 200'000'000 + artist},
            {QStringLiteral("collectionId"), 100'000'000 + album.number},
            {QStringLiteral("artistName"), album.artist},
            {QStringLiteral("collectionName"), album.title},
            {QStringLiteral("collectionCensoredName"), album.title},
            {QStringLiteral("collectionViewUrl"), albumLink(base, album)},
            {QStringLiteral("artworkUrl60"), coverAddress(base, album.number, 60)},
            {QStringLiteral("artworkUrl100"), coverAddress(base, album.number, 100)},
            {QStringLiteral("collectionPrice"), 9.99},
            {QStringLiteral("collectionExplicitness"), QStringLiteral("notExplicit")},
            {QStringLiteral("trackCount"), static_cast<qint64>(album.tracks.size())},
            {QStringLiteral("country"), QStringLiteral("USA")},
            {QStringLiteral("currency"), QStringLiteral("USD")},
            {QStringLiteral("releaseDate"), releaseDate(album) + QStringLiteral("T08:00:00Z")},
            {QStringLiteral("primaryGenreName"), album.genre}};
}

WebAnswer search(const WebRequest& request, const QString& base) {
    const auto limitText = request.fields.value(QStringLiteral("limit"), QString::number(kDefaultLimit));
    const int limit = std::clamp(limitText.toInt(), 1, kMostResults);
    const bool byArtist = request.fields[QStringLiteral("attribute")] == u"artistTerm";
    QJsonArray results;
    if (request.fields[QStringLiteral("entity")] != u"album")
        return jsonAnswer(
            {{QStringLiteral("errorMessage"), QStringLiteral("Invalid value(s) for key(s): [resultEntity]")}},
            400);
    for (const auto& album : albums()) {
        const QString text = byArtist ? album.artist : album.artist + u' ' + album.title;
        if (results.size() < limit && hasAllWords(text, request.fields[QStringLiteral("term")]))
            results.append(searchResult(base, album));
    }
    return jsonAnswer(
        {{QStringLiteral("resultCount"), results.size()}, {QStringLiteral("results"), results}});
}

/// The albums of a list, the latest first, as many as its address asks for.
std::vector<ServiceAlbum> listed(const QString& path) {
    static const QRegularExpression kLimit(QStringLiteral("/limit=(\\d{1,3})/"));
    auto latest = albums();
    std::ranges::stable_sort(latest, std::greater(), releaseDate);
    const auto limit = static_cast<std::size_t>(kLimit.match(path).captured(1).toInt());
    if (latest.size() > limit)
        latest.resize(limit);
    return latest;
}

QJsonObject label(const QString& text) {
    return {{QStringLiteral("label"), text}};
}

QJsonObject feedEntry(const QString& base, const ServiceAlbum& album) {
    QJsonArray images;
    for (const int height : kFeedHeights) {
        auto image = label(coverAddress(base, album.number, height));
        image[QStringLiteral("attributes")] =
            QJsonObject{{QStringLiteral("height"), QString::number(height)}};
        images.append(image);
    }
    auto genre = QJsonObject{{QStringLiteral("term"), album.genre}, {QStringLiteral("label"), album.genre}};
    return {
        {QStringLiteral("im:name"), label(album.title)},
        {QStringLiteral("im:image"), images},
        {QStringLiteral("im:itemCount"), label(QString::number(album.tracks.size()))},
        {QStringLiteral("im:price"), label(QStringLiteral("$9.99"))},
        {QStringLiteral("title"), label(album.title + QStringLiteral(" - ") + album.artist)},
        {QStringLiteral("id"), label(albumLink(base, album))},
        {QStringLiteral("im:artist"), label(album.artist)},
        {QStringLiteral("category"), QJsonObject{{QStringLiteral("attributes"), genre}}},
        {QStringLiteral("im:releaseDate"), label(releaseDate(album) + QStringLiteral("T00:00:00-07:00"))}};
}

WebAnswer topAlbums(const WebRequest& request, const QString& base) {
    QJsonArray entries;
    for (const auto& album : listed(request.path))
        entries.append(feedEntry(base, album));
    const QJsonObject feed{{QStringLiteral("author"),
                            QJsonObject{{QStringLiteral("name"), label(QStringLiteral("iTunes Store"))}}},
                           {QStringLiteral("entry"), entries},
                           {QStringLiteral("title"), label(QStringLiteral("iTunes Store: Top Albums"))},
                           {QStringLiteral("id"), label(base + request.path)}};
    return jsonAnswer({{QStringLiteral("feed"), feed}});
}

void writeItem(QXmlStreamWriter& xml, const QString& base, const ServiceAlbum& album) {
    const QString itms = QStringLiteral("http://phobos.apple.com/rss/1.0/modules/itms/");
    const auto date = QDateTime::fromString(releaseDate(album), Qt::ISODate);
    xml.writeStartElement(QStringLiteral("item"));
    xml.writeTextElement(QStringLiteral("title"), album.title + QStringLiteral(" - ") + album.artist);
    xml.writeTextElement(QStringLiteral("link"), albumLink(base, album));
    xml.writeTextElement(QStringLiteral("pubDate"), date.toString(Qt::RFC2822Date));
    xml.writeTextElement(itms, QStringLiteral("artist"), album.artist);
    xml.writeTextElement(itms, QStringLiteral("album"), album.title);
    xml.writeTextElement(itms, QStringLiteral("albumLink"), albumLink(base, album));
    xml.writeTextElement(itms, QStringLiteral("albumPrice"), QStringLiteral("$9.99"));
    for (const int height : kRssHeights) {
        xml.writeStartElement(itms, QStringLiteral("coverArt"));
        xml.writeAttribute(QStringLiteral("height"), QString::number(height));
        xml.writeAttribute(QStringLiteral("width"), QString::number(height));
        xml.writeCharacters(coverAddress(base, album.number, height));
        xml.writeEndElement();
    }
    xml.writeTextElement(itms, QStringLiteral("releasedate"), releaseDate(album));
    xml.writeEndElement();
}

WebAnswer newReleases(const WebRequest& request, const QString& base) {
    WebAnswer answer{.type = "text/xml; charset=utf-8"};
    QXmlStreamWriter xml(&answer.body);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("rss"));
    xml.writeAttribute(QStringLiteral("version"), QStringLiteral("2.0"));
    xml.writeNamespace(QStringLiteral("http://phobos.apple.com/rss/1.0/modules/itms/"),
                       QStringLiteral("itms"));
    xml.writeStartElement(QStringLiteral("channel"));
    xml.writeTextElement(QStringLiteral("title"), QStringLiteral("iTunes Store: New Releases"));
    xml.writeTextElement(QStringLiteral("link"), base);
    xml.writeTextElement(QStringLiteral("language"), QStringLiteral("en-us"));
    for (const auto& album : listed(request.path))
        writeItem(xml, base, album);
    xml.writeEndDocument();
    return answer;
}

} // namespace

std::optional<WebAnswer> answerAsiTunes(const WebRequest& request, const QString& base) {
    if (request.path == u"/search")
        return search(request, base);
    if (request.path.startsWith(u"/WebObjects/MZStore.woa/wpa/MRSS/newreleases/"))
        return newReleases(request, base);
    if (request.path.startsWith(u"/us/rss/topalbums/") && request.path.endsWith(u"/json"))
        return topAlbums(request, base);
    return std::nullopt;
}

} // namespace merlode
