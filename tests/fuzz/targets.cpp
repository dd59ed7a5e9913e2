// What reads bytes from outside, fed with whatever a fuzzer thinks of. Compiled once for each target, which
// is named by MERLODE_FUZZ_TARGET; what must hold of every result is checked by `require`.

#include "base/image.h"
#include "base/property_list.h"
#include "model/image_tools.h"
#include "model/json.h"
#include "model/text.h"
#include "model/xml_document.h"
#include "platform/linux/mpris_metadata.h"
#include "remote/gcd_async_socket.h"
#include "support/in_memory_network.h"
#include "support/virtual_run_loop.h"

#include <QDBusObjectPath>
#include <QDBusVariant>

#include <cmath>
#include <cstdlib>

using namespace merlode;

namespace {

void require(bool holds) {
    if (!holds)
        std::abort();
}

[[maybe_unused]] void json(const QByteArray& bytes) {
    JSON value(bytes);
    require(JSON(value.object()) == value);
    if (const auto text = value.rawData())
        require(JSON(*text) == value);
    for (const auto& [key, element] : value)
        require(element == value[key] || element == value[key.toLongLong()]);
    value.set({0, u"a"}, value);
    value.description();
}

[[maybe_unused]] void xml(const QByteArray& bytes) {
    const auto document = AEXMLDocument::read(bytes).value_or(AEXMLDocument());
    const AEXMLElement root = document.root();
    for (const AEXMLElement& child : root.children())
        require(root[child.name()].count() > 0 && !std::isnan(child.doubleValue()));
    require(!document.xmlString().isEmpty());
}

[[maybe_unused]] void text(const QByteArray& bytes) {
    const QString input = QString::fromUtf8(bytes);
    require(htmlDecoded(input).size() <= input.size());
    require(!encodeString(input).contains(u' ') && cleanString(input).size() <= input.size());
    require(!parametersFromQueryString(input).contains(QString()));
    require(contains(input, input) == !input.isEmpty());
    substring(input, 1, 3);
}

// One of the types that D-Bus brings: the first byte tells which, the others what.
QVariant busValue(const QByteArray& bytes) {
    const QByteArray rest = bytes.mid(1);
    const QString text = QString::fromUtf8(rest);
    if (bytes.startsWith('s'))
        return text;
    if (bytes.startsWith('o'))
        return QVariant::fromValue(QDBusObjectPath(text));
    if (bytes.startsWith('l'))
        return text.split(u',');
    if (bytes.startsWith('v'))
        return QVariant::fromValue(QDBusVariant(busValue(rest)));
    if (bytes.startsWith('t'))
        return rest.toULongLong();
    return bytes.startsWith('d') ? QVariant(rest.toDouble()) : QVariantList{text, rest};
}

// Each line is an entry: a digit for the key, then its value.
[[maybe_unused]] void metadata(const QByteArray& bytes) {
    const QStringList keys =
        u"mpris:trackid xesam:url xesam:title xesam:album xesam:artist xesam:trackNumber mpris:length xesam:userRating"_qs
            .split(u' ');
    QVariantMap map;
    for (const QByteArray& line : bytes.split('\n'))
        map.insert(keys.value(line.left(1).toInt()), busValue(line.mid(1)));
    if (const auto track = mpris::trackFrom(map))
        require(track->duration.value_or(1) > 0 && track->number.value_or(1) > 0);
    require(mpris::trackPathFrom(map).value_or(u"/"_qs).startsWith(u'/'));
    const int rating = mpris::ratingFrom(map).value_or(0);
    require(rating >= 0 && rating <= 100);
}

[[maybe_unused]] void picture(const QByteArray& bytes) {
    const auto image = Image::decode(bytes);
    require(!image || resize(*image, {16, 16}).pixels().size() == QSize(16, 16));
    averagePixelData(image.value_or(Image()), {0, 0, 1000, 1000});
}

struct MessageReader final : GCDAsyncSocketDelegate {
    SocketPtr accepted;
    QByteArray taken;
    void socketDidAcceptNewSocket(const SocketPtr&, const SocketPtr& newSocket) override {
        accepted = newSocket;
        accepted->readDataToData(GCDAsyncSocket::CRLFData(), 1);
    }
    void socketDidReadData(const SocketPtr& socket, const QByteArray& data, long) override {
        require(data.indexOf(GCDAsyncSocket::CRLFData()) == data.size() - 2);
        taken += data;
        if (const auto value = property_list::parse(data.chopped(2)))
            require(property_list::canHold(*value) && !property_list::serialize(*value).isEmpty());
        socket->readDataToData(GCDAsyncSocket::CRLFData(), 1);
    }
};

// What a peer sends, in as many pieces as the first byte says.
[[maybe_unused]] void message(const QByteArray& bytes) {
    const QByteArray sent = bytes.mid(1);
    const auto messages = sent.count(GCDAsyncSocket::CRLFData());
    if (sent.isEmpty() || messages > 100)
        return;
    VirtualRunLoop wire;
    InMemoryNetwork network(wire);
    VirtualRunLoop queue;
    network.mostAtATime = 1 + sent.size() / (1 + static_cast<unsigned char>(bytes.front()) % 32);
    const auto reader = std::make_shared<MessageReader>();
    const auto server = std::make_shared<GCDAsyncSocket>(reader, queue, network.machine(u"server"_qs));
    const auto client = std::make_shared<GCDAsyncSocket>(reader, queue, network.machine(u"client"_qs));
    QString error;
    require(server->acceptOnPort(0, &error));
    require(client->connectToAddress({u"server"_qs, server->localPort()}, &error));
    client->writeData(sent, 1);
    for (qsizetype turn = 0; turn < messages + 8; ++turn) {
        wire.runUntilIdle();
        queue.runUntilIdle();
    }
    require(sent.startsWith(reader->taken) && reader->taken.count("\r\n") == messages);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    MERLODE_FUZZ_TARGET(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    return 0;
}
