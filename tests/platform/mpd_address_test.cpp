#include "platform/linux/mpd_address.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

struct AddressCase {
    const char* name;
    const char* host;
    const char* port;
    const char* expected; // the first address, "password|text"
};

class MpdAddressTest : public testing::TestWithParam<AddressCase> {};

TEST_P(MpdAddressTest, ReadsTheEnvironmentAsMpdClientsDo) {
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("MPD_HOST"), QString::fromUtf8(GetParam().host));
    environment.insert(QStringLiteral("MPD_PORT"), QString::fromUtf8(GetParam().port));
    const auto first = userMpdAddresses(environment).front();
    EXPECT_EQ((first.password + u'|' + first.text()).toStdString(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(, MpdAddressTest,
                         testing::Values(AddressCase{"host", "box", "", "|box:6600"},
                                         AddressCase{"port", "box", "7700", "|box:7700"},
                                         AddressCase{"portAlone", "", "7700", "|localhost:7700"},
                                         AddressCase{"nonsensePort", "box", "70000", "|box:6600"},
                                         AddressCase{"zeroPort", "box", "0", "|box:6600"},
                                         AddressCase{"password", "open sesame@box", "",
                                                     "open sesame|box:6600"},
                                         AddressCase{"socket", "/run/mpd/socket", "7700", "|/run/mpd/socket"},
                                         AddressCase{"socketPassword", "pw@/run/s", "", "pw|/run/s"},
                                         AddressCase{"abstract", "@mpd", "", "|@mpd"},
                                         AddressCase{"abstractPassword", "pw@@mpd", "", "pw|@mpd"},
                                         AddressCase{"passwordAlone", "pw@", "", "pw|localhost:6600"},
                                         AddressCase{"bracketedIPv6", "[::1]", "", "|[::1]:6600"},
                                         AddressCase{"IPv6", "::1", "", "|[::1]:6600"}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(MpdAddresses, GoFromTheDeliberateToTheUsual) {
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), QStringLiteral("/run/user/7"));
    environment.insert(QStringLiteral("MPD_HOST"), QStringLiteral("localhost"));
    QStringList texts;
    for (const auto& address : userMpdAddresses(environment))
        texts << address.text();
    EXPECT_EQ(texts.join(u' ').toStdString(), "localhost:6600 /run/user/7/mpd/socket");
}

} // namespace
} // namespace merlode
