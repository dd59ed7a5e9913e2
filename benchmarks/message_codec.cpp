// What a message costs between the program's values and its bytes, against the property list library alone.

#include "base/property_list.h"
#include "contest.h"
#include "remote/socket_connection.h"

#include <cstdlib>

#include <benchmark/benchmark.h>
#include <plist/plist.h>

namespace merlode::bench {

namespace {

constexpr qsizetype kArtBytes = 5'000'000;

QVariantMap trackMessage() {
    return remoteMessage(
        u"trackChanged"_qs,
        {{u"trackDictionary"_qs, QVariantMap{{u"id"_qs, u"4711"_qs},
                                             {u"trackName"_qs, u"Ein Lied über & für \"alle\""_qs},
                                             {u"albumName"_qs, u"An Album"_qs},
                                             {u"artistName"_qs, u"Somebody"_qs},
                                             {u"duration"_qs, 217},
                                             {u"explicit"_qs, false},
                                             {u"number"_qs, 7},
                                             {u"iTunesPlayKey"_qs, u"00C0FFEE00C0FFEE"_qs}}},
         {u"source"_qs, u"iTunes"_qs},
         {u"trackDuration"_qs, 217},
         {u"playerPosition"_qs, 3},
         {u"iTunesAvailable"_qs, true},
         {u"SpotifyAvailable"_qs, true},
         {u"iTunesRating"_qs, 80}});
}

QVariantMap artMessage() {
    QByteArray art(kArtBytes, Qt::Uninitialized);
    unsigned state = 1;
    for (auto& byte : art)
        byte = static_cast<char>((state = state * 1'664'525 + 1'013'904'223) >> 24);
    return remoteMessage(u"albumArtChanged"_qs, {{u"imageData"_qs, art}, {u"useDefault"_qs, false}});
}

// The least that can be done with the library: values of C in, values of C out.

plist_t bareNode(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool());
    case QMetaType::Int:
        return plist_new_uint(value.toULongLong());
    case QMetaType::QByteArray:
        return plist_new_data(value.toByteArray().constData(),
                              static_cast<std::uint64_t>(value.toByteArray().size()));
    case QMetaType::QVariantMap: {
        plist_t dictionary = plist_new_dict();
        const auto map = value.toMap();
        for (auto item = map.begin(); item != map.end(); ++item)
            plist_dict_set_item(dictionary, item.key().toUtf8().constData(), bareNode(item.value()));
        return dictionary;
    }
    default:
        return plist_new_string(value.toString().toUtf8().constData());
    }
}

void encodeBare(const QVariantMap& message) {
    plist_t root = bareNode(message);
    char* text = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(root, &text, &length);
    benchmark::DoNotOptimize(text);
    plist_to_xml_free(text);
    plist_free(root);
}

void visitBare(plist_t node) {
    std::uint64_t length = 0;
    switch (plist_get_node_type(node)) {
    case PLIST_STRING:
        return benchmark::DoNotOptimize(plist_get_string_ptr(node, &length));
    case PLIST_DATA:
        return benchmark::DoNotOptimize(plist_get_data_ptr(node, &length));
    case PLIST_UINT:
        plist_get_uint_val(node, &length);
        return benchmark::DoNotOptimize(length);
    case PLIST_DICT:
        break;
    default:
        return;
    }
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    plist_t value = nullptr;
    do {
        char* key = nullptr;
        plist_dict_next_item(node, iterator, &key, &value);
        if (value)
            visitBare(value);
        std::free(key);
    } while (value);
    std::free(iterator);
}

void decodeBare(const QByteArray& bytes) {
    plist_t root = nullptr;
    plist_from_xml(bytes.constData(), static_cast<std::uint32_t>(bytes.size() - 2), &root);
    visitBare(root);
    plist_free(root);
}

void decode(const QByteArray& bytes) {
    benchmark::DoNotOptimize(
        property_list::parse(QByteArray::fromRawData(bytes.constData(), bytes.size() - 2)));
}

void compare(benchmark::State& state, const std::string& name, const QVariantMap& message, int times) {
    const QByteArray bytes = serializeMessage(message);
    const auto repeat = [times](auto work) {
        return [times, work] {
            for (int count = 0; count < times; ++count)
                work();
        };
    };
    Contest writing(state, repeat([&] { benchmark::DoNotOptimize(serializeMessage(message)); }));
    writing.against("libplist", "at most 1.5", repeat([&] { encodeBare(message); }));
    Contest reading(state, repeat([&] { decode(bytes); }));
    // Which leaves the values in its tree, where nothing of ours could use them.
    reading.against("libplist", "at most 2", repeat([&] { decodeBare(bytes); }));
    if (state.range(0) == 0)
        writing.run(name + ", written");
    else
        reading.run(name + ", read");
    state.counters["bytes"] = static_cast<double>(bytes.size());
}

void track(benchmark::State& state) {
    compare(state, "100 track messages", trackMessage(), 100);
}

void art(benchmark::State& state) {
    compare(state, "message with 5 MB of art", artMessage(), 1);
}

BENCHMARK(track)
    ->Name("Remote/TrackMessage")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(100)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(art)
    ->Name("Remote/ArtMessage")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);

} // namespace

} // namespace merlode::bench
