#include "platform/linux/host_pauses.h"
#include "support/virtual_run_loop.h"

#include <QDateTime>
#include <QLocale>

#include <gtest/gtest.h>

namespace merlode {

TEST(HostPauses, AHostIsLeftAloneForAsLongAsItAsksWithinReason) {
    const QUrl url(u"https://api.example/v1?token=secret"_qs);
    const auto dateIn = [](qint64 seconds) {
        const auto date = QDateTime::fromSecsSinceEpoch(qint64(VirtualRunLoop().now()) + seconds, Qt::UTC);
        return QLocale::c().toString(date, u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_qs).toLatin1();
    };
    const std::vector<std::tuple<long, QByteArray, double>> rows = {
        {429, "30", 30},       {503, " 30 ", 30},         {429, "9999999999999", 3600},
        {429, dateIn(90), 90}, {503, dateIn(9999), 3600}, {200, "30", 0},
        {500, "30", 0},        {429, dateIn(-90), 0},     {429, "0", 0},
        {429, "-30", 0},       {429, "soon", 0},          {429, "", 0}};
    for (const auto& [status, retryAfter, seconds] : rows) {
        VirtualRunLoop clock;
        QStringList reports;
        HostPauses pauses(clock, [&reports](const QString& line) { reports << line; });
        pauses.answered(url, status, retryAfter);
        pauses.answered(url, status, retryAfter); // to a second request that was under way
        EXPECT_EQ(pauses.isPaused(QUrl(u"https://api.example:443/other"_qs)), seconds > 0);
        EXPECT_FALSE(pauses.isPaused(QUrl(u"http://api.example/v1"_qs)));
        EXPECT_FALSE(pauses.isPaused(QUrl(u"https://api.example:8443/v1"_qs)));
        while (pauses.isPaused(url))
            clock.advance(1);
        EXPECT_EQ(clock.uptime(), seconds) << retryAfter.constData();
        pauses.answered(url, 503, "2");
        EXPECT_EQ(reports.size(), seconds > 0 ? 2 : 1) << "one for each pause";
        EXPECT_FALSE(reports.join(u' ').contains(u"secret"_qs));
    }
}

} // namespace merlode
