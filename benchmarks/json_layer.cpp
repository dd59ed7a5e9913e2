// What a search reply costs from its bytes to the fields that a search reads, against the parser alone and
// against Qt's.

#include "contest.h"
#include "model/json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>

#include <benchmark/benchmark.h>
#include <simdjson.h>

namespace merlode::bench {

namespace {

namespace dom = simdjson::dom;

constexpr int kItems = 35;
constexpr std::array kLists = {"tracks", "albums", "artists"};

QJsonObject item(const QString& kind, int number) {
    const QString id = u"%1-%2-6rqhFgbbKwnb9MLmUQDh"_qs.arg(kind).arg(number);
    QJsonArray markets;
    for (char first = 'A'; first <= 'N'; ++first) {
        for (char second = 'A'; second <= 'Z'; ++second)
            markets.append(QString(QChar::fromLatin1(first)) + QChar::fromLatin1(second));
    }
    const QJsonObject links{{u"spotify"_qs, u"https://open.service.test/"_qs + id}};
    const QJsonObject artist{{u"name"_qs, u"Bjork & Friends %1"_qs.arg(number)},
                             {u"external_urls"_qs, links}};
    const QJsonObject image{{u"url"_qs, u"https://i.service.test/"_qs + id}, {u"height"_qs, 640}};
    return {{u"name"_qs, u"A Song of Ice, Part %1 (Remastered)"_qs.arg(number)},
            {u"id"_qs, id},
            {u"uri"_qs, u"service:"_qs + id},
            {u"explicit"_qs, number % 2 == 0},
            {u"duration_ms"_qs, 180000 + number},
            {u"popularity"_qs, 63.5},
            {u"available_markets"_qs, markets},
            {u"external_urls"_qs, links},
            {u"artists"_qs, QJsonArray{artist, artist}},
            {u"images"_qs, QJsonArray{image, image, image}},
            {u"album"_qs, QJsonObject{{u"name"_qs, u"Album"_qs}, {u"artists"_qs, QJsonArray{artist}}}}};
}

// Three lists of items of some 2.9 KB, as one search for everything brings them.
QByteArray reply() {
    QJsonObject lists;
    for (const char* const list : kLists) {
        const QString kind = QString::fromLatin1(list);
        QJsonArray items;
        for (int number = 0; number < kItems; ++number)
            items.append(item(kind, number));
        lists.insert(kind, QJsonObject{{u"items"_qs, items}, {u"total"_qs, 1234}});
    }
    return QJsonDocument(lists).toJson(QJsonDocument::Compact);
}

// Each reader takes the same eight fields of every item and gives the same sum of lengths and numbers.

qint64 readWithLayer(const QByteArray& text) {
    qint64 sum = 0;
    const JSON json(text);
    for (const QStringView list : {u"tracks", u"albums", u"artists"}) {
        for (const auto& [position, item] : json[list][u"items"]) {
            sum += item[u"name"].stringValue().size() + item[u"id"].stringValue().size() +
                   item[u"uri"].stringValue().size() + item[u"explicit"].boolValue() +
                   item[u"duration_ms"].intValue() + item[u"album"][u"name"].stringValue().size() +
                   item[u"artists"][0][u"name"].stringValue().size() +
                   item[u"images"][0][u"url"].stringValue().size();
        }
    }
    return sum;
}

// The parser's own texts, which are no QStrings yet.
qint64 length(dom::element element) {
    return static_cast<qint64>(std::string_view(element).size());
}

qint64 readWithParser(const QByteArray& bytes) {
    qint64 sum = 0;
    dom::parser parser;
    const dom::element json = parser.parse(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    for (const char* const list : kLists) {
        for (const dom::element item : dom::array(json[list]["items"])) {
            sum += length(item["name"]) + length(item["id"]) + length(item["uri"]) + bool(item["explicit"]) +
                   int64_t(item["duration_ms"]) + length(item["album"]["name"]) +
                   length(item["artists"].at(0)["name"]) + length(item["images"].at(0)["url"]);
        }
    }
    return sum;
}

qint64 readWithQt(const QByteArray& bytes) {
    qint64 sum = 0;
    const QJsonObject json = QJsonDocument::fromJson(bytes).object();
    for (const char* const list : kLists) {
        for (const QJsonValue item : json[QLatin1String(list)][u"items"].toArray()) {
            sum += item[u"name"].toString().size() + item[u"id"].toString().size() +
                   item[u"uri"].toString().size() + item[u"explicit"].toBool() +
                   item[u"duration_ms"].toInteger() + item[u"album"][u"name"].toString().size() +
                   item[u"artists"][0][u"name"].toString().size() +
                   item[u"images"][0][u"url"].toString().size();
        }
    }
    return sum;
}

void read(benchmark::State& state) {
    const QByteArray bytes = reply();
    if (readWithLayer(bytes) != readWithParser(bytes) || readWithLayer(bytes) != readWithQt(bytes))
        return state.SkipWithError("the readers disagree");
    Contest contest(state, [&] { benchmark::DoNotOptimize(readWithLayer(bytes)); });
    contest.against("simdjson", "at most 2", [&] { benchmark::DoNotOptimize(readWithParser(bytes)); });
    contest.against("QJsonDocument", "at most 0.25", [&] { benchmark::DoNotOptimize(readWithQt(bytes)); });
    contest.run("JSON reply, eight fields an item");
    state.counters["bytes"] = static_cast<double>(bytes.size());
}

BENCHMARK(read)->Name("Values/JSONReply")->UseManualTime()->Iterations(300)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
