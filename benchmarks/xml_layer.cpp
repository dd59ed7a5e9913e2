// What a feed costs from its bytes to a tree in which every album was looked at, against running the reader
// over it.

#include "contest.h"
#include "model/xml_document.h"

#include <QXmlStreamReader>

#include <benchmark/benchmark.h>

namespace merlode::bench {

namespace {

constexpr int kItems = 100;

QByteArray item(int number) {
    const QByteArray album = "An Album &amp; a Half " + QByteArray::number(number);
    const QByteArray link =
        "http://store.service.test/album/" + QByteArray::number(1000000 + number) + "?uo=1";
    QByteArray covers;
    for (const char* const height : {"53", "60", "100"})
        covers += "<itms:coverArt height=\"" + QByteArray(height) + "\" width=\"" + height +
                  "\">http://a.service.test/r30/" + QByteArray::number(number) + "/cover." + height + "x" +
                  height + "-50.jpg</itms:coverArt>\n";
    return "<item>\n<title>" + album + " - Somebody</title>\n<link>" + link + "</link>\n<description>" +
           album +
           " by Somebody, released today</description>\n<pubDate>Tue, 3 Mar 2015 00:00:00 -0800</pubDate>\n" +
           "<content:encoded><![CDATA[<table border=\"0\"><tr><td><a href=\"" + link + "\">" + album +
           "</a></td></tr></table>]]></content:encoded>\n<category domain=\"14\">Pop</category>\n" +
           "<itms:artist>Somebody</itms:artist>\n<itms:artistLink>" + link +
           "</itms:artistLink>\n<itms:album>" + album + "</itms:album>\n<itms:albumLink>" + link +
           "</itms:albumLink>\n<itms:albumPrice>$9.99" + "</itms:albumPrice>\n" + covers +
           "<itms:rights>2015 A Label</itms:rights>\n<itms:releasedate>" +
           "March 3, 2015</itms:releasedate>\n</item>\n";
}

QByteArray feed() {
    QByteArray items;
    for (int number = 0; number < kItems; ++number)
        items += item(number);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss xmlns:itms=\"http://store.service.test/itms\" "
           "version=\"2.0\"><channel>\n<title>New Releases</title>\n" +
           items + "</channel></rss>";
}

// Both give the number of items with an album, an artist and a cover whose address tells its height.

bool tellsHeight(const QString& cover, const QString& height) {
    return !height.isEmpty() && cover.contains(height + u'x' + height);
}

qsizetype readWithLayer(const QByteArray& data) {
    qsizetype items = 0;
    const auto document = AEXMLDocument::read(data);
    for (const AEXMLElement& item : document->root()[u"channel"][u"item"].all()) {
        const AEXMLElement cover = item[u"itms:coverArt"];
        items += !item[u"itms:album"].stringValue().isEmpty() &&
                 !item[u"itms:artist"].stringValue().isEmpty() &&
                 tellsHeight(cover.stringValue(), cover.attributes().value(QStringLiteral("height")));
    }
    return items;
}

qsizetype readWithReader(const QByteArray& data) {
    qsizetype items = 0;
    QString album;
    QString artist;
    QString cover;
    QString height;
    QXmlStreamReader reader(data);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        const QStringView name = reader.qualifiedName();
        if (token == QXmlStreamReader::EndElement && name == QLatin1String("item")) {
            items += !album.isEmpty() && !artist.isEmpty() && tellsHeight(cover, height);
            for (auto* const text : {&album, &artist, &cover, &height})
                text->clear();
        }
        if (token != QXmlStreamReader::StartElement)
            continue;
        if (name == QLatin1String("itms:album")) {
            album = reader.readElementText();
        } else if (name == QLatin1String("itms:artist")) {
            artist = reader.readElementText();
        } else if (name == QLatin1String("itms:coverArt") && cover.isEmpty()) {
            height = reader.attributes().value(u"height"_qs).toString();
            cover = reader.readElementText();
        }
    }
    return items;
}

void read(benchmark::State& state) {
    const QByteArray data = feed();
    if (readWithLayer(data) != kItems || readWithReader(data) != kItems)
        return state.SkipWithError("the feed was not read");
    Contest contest(state, [&] { benchmark::DoNotOptimize(readWithLayer(data)); });
    contest.against("QXmlStreamReader", "at most 1.5",
                    [&] { benchmark::DoNotOptimize(readWithReader(data)); });
    contest.run("feed of 100 items into a tree");
    state.counters["bytes"] = static_cast<double>(data.size());
}

BENCHMARK(read)->Name("Values/XMLFeed")->UseManualTime()->Iterations(300)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
