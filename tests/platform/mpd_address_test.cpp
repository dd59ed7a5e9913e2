#include "platform/linux/mpd_address.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

TEST(MpdAddresses, AreReadFromTheEnvironmentAsMpdClientsDo) {
    const struct {
        const char* host;
        const char* port;
        const char* expected; // the first address, "password|text"
    } cases[] = {{"box", "", "|box:6600"},           {"box", "7700", "|box:7700"},
                 {"", "7700", "|localhost:7700"},    {"box", "70000", "|box:6600"},
                 {"box", "0", "|box:6600"},          {"open sesame@box", "", "open sesame|box:6600"},
                 {"pw@/run/s", "7700", "pw|/run/s"}, {"@mpd", "", "|@mpd"},
                 {"pw@@mpd", "", "pw|@mpd"},         {"pw@", "", "pw|localhost:6600"},
                 {"::1", "", "|[::1]:6600"}};
    for (const auto& each : cases) {
        QProcessEnvironment environment;
        environment.insert(QStringLiteral("MPD_HOST"), QString::fromUtf8(each.host));
        environment.insert(QStringLiteral("MPD_PORT"), QString::fromUtf8(each.port));
        const auto all = userMpdAddresses(environment);
        const auto first = all.front();
        EXPECT_FALSE(first.guessed);
        EXPECT_EQ(std::ranges::count(all, u"localhost:6600"_qs, &MpdAddress::text), 1) << each.host;
        EXPECT_EQ((first.password + u'|' + first.text()).toStdString(), each.expected);
    }
}

} // namespace
} // namespace merlode
