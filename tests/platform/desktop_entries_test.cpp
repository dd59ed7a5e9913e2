#include "platform/linux/desktop_entries.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace merlode {
namespace {

TEST(DesktopEntries, CommandLinesAreSplitByTheStandardsRules) {
    const struct {
        const char* exec; // as it stands in the file
        QStringList arguments;
    } cases[] = {
        {"player --uri=%u --x", {u"player"_qs, u"--uri="_qs, u"--x"_qs}},
        {R"("/opt/my player/run" "" %f)", {u"/opt/my player/run"_qs, u""_qs}},
        {R"(player "a\\"b\\$c\\\\d")", {u"player"_qs, u"a\"b$c\\d"_qs}},
        {"player 100%% %i -n %c",
         {u"player"_qs, u"100%"_qs, u"--icon"_qs, u"note"_qs, u"-n"_qs, u"My Player"_qs}},
        {"player;rm -rf $HOME `x`", {u"player;rm"_qs, u"-rf"_qs, u"$HOME"_qs, u"`x`"_qs}},
        {R"(player "unclosed)", {}},
        {"player %z", {}},
    };
    for (const auto& c : cases) {
        const auto entry = parseDesktopEntry(u"[Desktop Entry]\nName=My Player\nIcon=note\nExec="_qs +
                                             QString::fromUtf8(c.exec) + u'\n');
        ASSERT_TRUE(entry);
        EXPECT_EQ(execArguments(*entry), c.arguments) << c.exec;
    }
}

TEST(DesktopEntries, TheUsersOwnFileDecidesAndTheProgramMustBeThere) {
    const QTemporaryDir root;
    const auto write = [&root](const QString& name, const QByteArray& text) {
        QDir(root.path()).mkpath(name.section(u'/', 0, 1));
        QFile file(root.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[Desktop Entry]\n" + text);
    };
    const auto find = [&root](const QStringList& ids) {
        return findDesktopEntry(ids, {root.filePath(u"own"_qs), root.filePath(u"shared"_qs)});
    };
    write(u"shared/applications/a.desktop"_qs, "Name=Shared\nExec=sh\n");
    EXPECT_EQ(find({u"missing"_qs, u"a"_qs})->name, u"Shared"_qs);
    write(u"own/applications/a.desktop"_qs, "Name=Own\nTryExec=sh\nExec=sh\n");
    EXPECT_EQ(find({u"a"_qs})->path, root.filePath(u"own/applications/a.desktop"_qs));
    EXPECT_FALSE(find({u"../applications/a"_qs, QString()}));
    for (const char* text : {"Hidden=true\n", "Name=Gone\nTryExec=/no/such/program\nExec=sh\n"}) {
        write(u"own/applications/a.desktop"_qs, text);
        EXPECT_FALSE(find({u"a"_qs})) << text;
    }
}

} // namespace
} // namespace merlode
