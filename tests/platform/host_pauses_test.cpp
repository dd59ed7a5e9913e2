#include "platform/linux/host_pauses.h"
#include "support/virtual_run_loop.h"

#include <QDateTime>
#include <QLocale>

#include <gtest/gtest.h>

namespace merlode {
namespace {

struct HostPausesTest : testing::Test {
    VirtualRunLoop clock;
    int reports = 0;
    HostPauses pauses{clock, [this](const QString& line) {
                          ++reports;
                          EXPECT_FALSE(line.contains(u"secret"_qs)) << line.toStdString();
                      }};
    const QUrl url{u"https://api.example/v1?token=secret"_qs};

    QByteArray dateIn(double seconds) const {
        const auto date = QDateTime::fromSecsSinceEpoch(qint64(clock.now() + seconds), Qt::UTC);
        return QLocale::c().toString(date, u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_qs).toLatin1();
    }
};

TEST_F(HostPausesTest, HowLongAHostIsLeftAlone) {
    const struct {
        long status;
        QByteArray retryAfter;
        double seconds;
    } rows[] = {
        {429, "30", 30},
        {503, " 30 ", 30},
        {429, dateIn(90), 90},
        {503, dateIn(86'400), 3600},
        {429, "999999999999999999999999", 3600},
        {429, dateIn(-90), 0},
        {429, "0", 0},
        {429, "-30", 0},
        {429, "soon", 0},
        {429, "", 0},
        {200, "30", 0},
        {500, "30", 0},
    };
    for (const auto& row : rows) {
        VirtualRunLoop fresh;
        HostPauses paused(fresh, [](const QString&) {});
        paused.answered(url, row.status, row.retryAfter);
        while (paused.isPaused(url))
            fresh.advance(1);
        EXPECT_NEAR(fresh.uptime(), row.seconds, 1) << row.retryAfter.constData();
    }
}

TEST_F(HostPausesTest, APauseIsOneHostsIsProlongedAndReportedOnce) {
    pauses.answered(url, 429, "30");
    clock.advance(20);
    pauses.answered(url, 429, "30");
    pauses.answered(url, 429, "5");
    clock.advance(29);
    EXPECT_TRUE(pauses.isPaused(QUrl(u"https://api.example:443/other"_qs)));
    EXPECT_FALSE(pauses.isPaused(QUrl(u"http://api.example/v1"_qs)));
    EXPECT_FALSE(pauses.isPaused(QUrl(u"https://api.example:8443/v1"_qs)));
    EXPECT_EQ(reports, 1);
    clock.advance(1);
    EXPECT_FALSE(pauses.isPaused(url));
    pauses.answered(url, 503, "30");
    EXPECT_EQ(reports, 2);
}

} // namespace
} // namespace merlode
