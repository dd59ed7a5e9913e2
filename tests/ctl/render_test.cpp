#include "base/control_interface.h"
#include "ctl/doctor.h"
#include "ctl/program.h"
#include "ctl/render.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace merlode::ctl;

namespace {

QJsonObject object(const char* json) {
    return QJsonDocument::fromJson(json).object();
}
QJsonArray array(const char* json) {
    return QJsonDocument::fromJson(json).array();
}

} // namespace

TEST(Render, StatusLeavesOutWhatIsAbsent) {
    EXPECT_EQ(
        statusText(object(R"({"state":"playing","player":"iTunes","program":"mpd","title":"Kite\nString",
                                    "artist":"Nell","album":"Low","position":5,"duration":185,"volume":40,
                                    "muted":true})"))
            .toStdString(),
        "State     playing\n"
        "Title     Kite String\n"
        "Artist    Nell\n"
        "Album     Low\n"
        "Position  0:05 / 3:05\n"
        "Volume    40 (muted)\n"
        "Player    mpd\n");
    EXPECT_EQ(statusText(object(R"({"state":"paused","position":7,"player":"Rdio"})")).toStdString(),
              "State     paused\nPosition  0:07\nPlayer    Rdio\n");
    for (const auto* nobody : {R"({"state":"none","volume":3})", "{}", R"({"state":7})"}) {
        EXPECT_EQ(statusText(object(nobody)).toStdString(), "no player is active\n") << nobody;
        EXPECT_TRUE(hasNoPlayer(object(nobody))) << nobody;
    }
}

TEST(Render, PlayersInAlignedColumnsWithRolesFirst) {
    EXPECT_EQ(playersText(array(R"([
                  {"role":"","program":"org.mpris.MediaPlayer2.vlc","running":true,"state":"paused"},
                  {"role":"local","program":"mpd","installed":true,"running":true,"active":true,"state":"playing"},
                  {"role":"spotify","program":"spotify","installed":true,"running":false,"enabled":false},
                  {"role":"rdio","program":"","installed":false},
                  17])"))
                  .toStdString(),
              "  ROLE     PROGRAM                     STATE\n"
              "* local    mpd                         playing\n"
              "  spotify  spotify                     installed, switched off\n"
              "  rdio     -                           not set\n"
              "  -        org.mpris.MediaPlayer2.vlc  running\n"
              "  -        -                           not set\n");
}

TEST(Render, DoctorTellsHowToMend) {
    const auto checks = array(R"([{"name":"MPD","state":"ok","found":"0.23","mend":"unused"},
                                  {"name":"Tray","state":"warning","found":"none","mend":"install a panel"},
                                  {"name":"Keyring","state":"missing","found":"","mend":""}])");
    EXPECT_EQ(doctorText(checks).toStdString(), "ok       MPD: 0.23\n"
                                                "warning  Tray: none\n"
                                                "         to mend: install a panel\n"
                                                "missing  Keyring\n");
    EXPECT_TRUE(anyMissing(checks));
    EXPECT_FALSE(anyMissing({notRunningCheck()}));
    EXPECT_FALSE(readChecks("Segmentation fault"));
    EXPECT_FALSE(readChecks(R"({"name":"MPD"})"));
    EXPECT_TRUE(readChecks("[]\n"));
}

TEST(Render, ErrorRepliesBecomeExitCodes) {
    const auto code = [](const char* name) {
        return failureOf(QString::fromLatin1(name), QStringLiteral("m")).code;
    };
    EXPECT_EQ(code(merlode::control::kErrorNoPlayer), kNoPlayer);
    EXPECT_EQ(code(merlode::control::kErrorNotSupported), kFailed);
    EXPECT_EQ(code("org.freedesktop.DBus.Error.ServiceUnknown"), kNotRunning);
    EXPECT_EQ(code("org.freedesktop.DBus.Error.NoReply"), kFailed);
    EXPECT_EQ(failureOf(QStringLiteral("x.y"), QString()).problem, QStringLiteral("x.y"));
}
