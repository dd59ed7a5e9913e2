#include "platform/linux/curl_http_client.h"
#include "support/fake_ports.h"
#include "support/fixture_services.h"
#include "support/test_session.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QUrl>

#include <gtest/gtest.h>

namespace merlode {

struct DemoServicesTest : testing::Test {
    TestSession test;
    UserDefaults& settings = test.session.install<UserDefaults>(std::make_unique<MemoryUserDefaults>());
    FixtureServices services;
    CurlHttpClient http{test.session};

    QJsonObject ask(const QString& path) {
        const auto reply = http.send({.url = ServiceHosts().address(WebService::LastFMAPI) + path});
        return QJsonDocument::fromJson(reply.value_or("")).object();
    }
};

TEST_F(DemoServicesTest, AnswerWhatTheProgramAsksInItsOrder) {
    const auto found = ask(u"/v1/search?q=LONG%20meridian&type=album,track&limit=35"_qs);
    const auto album = ask(u"/v1/albums/"_qs + found[u"albums"][u"items"][0][u"id"].toString());
    EXPECT_EQ(album[u"artists"][0][u"name"], u"The Tidewright Ensemble"_qs);
    EXPECT_EQ(album[u"tracks"][u"items"].toArray().last()[u"disc_number"], 2);
    EXPECT_TRUE(Image::decode(http.send({.url = album[u"images"][0][u"url"].toString()}).value_or("")));
}

TEST_F(DemoServicesTest, MisbehaveOnRequestAndNotOtherwise) {
    for (const QByteArray& bad : {QByteArray("GET / HTTP/9.9\r\n\r\n"), QByteArray(100'000, 'x')}) {
        QTcpSocket socket;
        socket.connectToHost(u"127.0.0.1"_qs, quint16(QUrl(services.address()).port()));
        EXPECT_TRUE(socket.waitForConnected() && socket.write(bad) && socket.waitForDisconnected());
    }
    services.setFault(u"/2.0/"_qs, {.status = 500});
    EXPECT_TRUE(ask(u"/2.0/?method=auth.getToken&api_key=k"_qs).isEmpty());
    ask(u"/control/fault?prefix=/2.0/&latency=nan&status=-1"_qs);
    EXPECT_TRUE(ask(u"/2.0/?method=auth.getToken&api_key=k"_qs).contains(u"token"));
    EXPECT_EQ(services.requests(u"/2.0/"_qs).size(), 2U);
}

} // namespace merlode
