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

} // namespace

TEST(Render, ASearchIsATableWithWhatFailedBelow) {
    const auto found = object(R"({"rows":[
        {"row":1,"kind":"track","title":"A","artist":"B","album":"C","services":["library","spotify"]},
        {"row":2,"kind":"track","title":"A2","services":[]},
        {"row":3,"kind":"station","title":"A title\u001b that is far too long for any table","services":["pandora"]}],
        "services":[{"service":"spotify","failure":"it answered 401"},{"service":"library"}]})");
    EXPECT_EQ(searchText(limited(found, 1)),
              QStringLiteral("  1  track    A                                     B  C  library spotify\n"
                             "  3  station  A title\uFFFD that is far too long for a…        pandora\n"
                             "spotify gave nothing: it answered 401\n"));
    EXPECT_EQ(searchText({}), QStringLiteral("nothing was found\n"));
    EXPECT_EQ(
        libraryText(object(R"({"state":"scanning","folder":"/m","filesSeen":3,"filesTotal":9,"songs":2})")),
        QStringLiteral("scanning /m: 3 of 9 files, 2 songs so far\n"));
}

TEST(Render, HostsAreListedWithTheOneThatIsConnected) {
    EXPECT_EQ(hostsText(object(R"({"hosts":["Den","A\u001b"],"connected":"Den"})")),
              QStringLiteral("* Den\n  A\uFFFD\n"));
    EXPECT_EQ(hostsText(object(R"({"hosts":[],"connected":"10.0.0.1:80"})")),
              QStringLiteral("* 10.0.0.1:80\n"));
    EXPECT_EQ(hostsText(object(R"({"problem":"port 5353"})")),
              QStringLiteral("no host was found\nhosts cannot be found here: port 5353\n"));
}

TEST(Render, StatusLeavesOutWhatIsAbsent) {
    const auto full = object(R"({"state":"playing","player":"iTunes","program":"mpd","title":"Kite\nString",
                                 "position":5,"duration":185,"volume":40,"muted":true})");
    EXPECT_EQ(statusText(full).toStdString(), "State     playing\n"
                                              "Title     Kite String\n"
                                              "Position  0:05 / 3:05\n"
                                              "Volume    40 (muted)\n"
                                              "Player    mpd\n");
    for (const auto* nobody : {R"({"state":"none","volume":3})", "{}", R"({"state":7})"}) {
        EXPECT_EQ(statusText(object(nobody)).toStdString(), "no player is active\n") << nobody;
        EXPECT_TRUE(hasNoPlayer(object(nobody))) << nobody;
    }
}

TEST(Render, PlayersInAlignedColumnsWithRolesFirst) {
    const auto players = QJsonDocument::fromJson(R"([
        {"role":"","program":"org.mpris.MediaPlayer2.vlc","running":true,"state":"paused"},
        {"role":"local","program":"mpd","installed":true,"running":true,"active":true,"state":"playing"},
        {"role":"spotify","program":"spotify","installed":true,"running":false,"enabled":false}, 17])");
    EXPECT_EQ(playersText(players.array()).toStdString(),
              "  ROLE     PROGRAM                     STATE\n"
              "* local    mpd                         playing\n"
              "  spotify  spotify                     installed, switched off\n"
              "  -        org.mpris.MediaPlayer2.vlc  running\n"
              "  -        -                           not set\n");
}

TEST(Render, DoctorReadsOnlyLists) {
    EXPECT_FALSE(readChecks("Segmentation fault"));
    EXPECT_FALSE(readChecks(R"({"name":"MPD"})"));
    EXPECT_TRUE(readChecks("[]\n"));
}
