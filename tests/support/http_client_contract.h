#pragma once

#include "base/session.h"
#include "platform/http_client.h"

#include <gtest/gtest.h>

namespace merlode {

/// What every web client does. A `Web` has a current `session`, `HttpClient& client()`, `QString serve(path,
/// status, body)`, which gives the address, and `bool run(condition)`, which runs the session's loop until
/// the condition holds.
template<class Web>
class HttpClientContract : public testing::Test {
  protected:
    Web web;
};
TYPED_TEST_SUITE_P(HttpClientContract);

TYPED_TEST_P(HttpClientContract, OnlyAWholeGoodAnswerIsAReply) {
    const QByteArray body = "0123456789";
    const struct {
        QString url;
        qint64 mostBytes;
        HttpClient::Reply reply;
    } rows[] = {
        {this->web.serve(u"/good"_qs, 200, body), 10, body},
        {this->web.serve(u"/good"_qs, 200, body), 9, std::nullopt},
        {this->web.serve(u"/created"_qs, 201, {}), 10, QByteArray("")},
        {this->web.serve(u"/missing"_qs, 404, body), 10, std::nullopt},
        {this->web.serve(u"/broken"_qs, 500, body), 10, std::nullopt},
        {u"http://"_qs, 10, std::nullopt},
        {u"http://127.0.0.1:99999/"_qs, 10, std::nullopt},
        {u"gopher://127.0.0.1/"_qs, 10, std::nullopt},
        {{}, 10, std::nullopt},
    };
    for (const auto& row : rows) {
        const HttpRequest request{.url = row.url, .mostBytes = row.mostBytes};
        EXPECT_EQ(this->web.client().send(request), row.reply) << row.url.toStdString();
        std::vector<HttpClient::Reply> replies;
        bool within = true;
        this->web.client().sendAsync(request, [&](const HttpClient::Reply& reply) {
            EXPECT_FALSE(within) << "called back within the call";
            EXPECT_EQ(SessionScope::current(), &Session::current());
            replies.push_back(reply);
        });
        within = false;
        EXPECT_TRUE(this->web.run([&] { return !replies.empty(); }));
        EXPECT_EQ(replies, std::vector{row.reply}) << row.url.toStdString();
    }
    HttpCancellation cancellation;
    cancellation.cancel();
    EXPECT_EQ(this->web.client().send({.url = rows[0].url}, cancellation), std::nullopt);
}

REGISTER_TYPED_TEST_SUITE_P(HttpClientContract, OnlyAWholeGoodAnswerIsAReply);

} // namespace merlode
