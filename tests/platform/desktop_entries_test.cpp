#include "platform/linux/desktop_entries.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace merlode {
namespace {

class DesktopEntriesTest : public testing::Test {
  protected:
    void write(const QString& folder, const QString& id, const QByteArray& text) {
        const QString applications = u"%1/%2/applications"_qs.arg(root_.path(), folder);
        ASSERT_TRUE(QDir().mkpath(applications));
        QFile file(u"%1/%2.desktop"_qs.arg(applications, id));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    std::optional<DesktopEntry> find(const QStringList& ids) {
        return findDesktopEntry(ids, {root_.filePath(u"own"_qs), root_.filePath(u"shared"_qs)});
    }

    QTemporaryDir root_;
};

TEST(DesktopEntries, CommandLinesAreSplitByTheStandardsRules) {
    const struct {
        const char* exec; // as it stands in the file
        QStringList arguments;
    } cases[] = {
        {"player %U", {u"player"_qs}},
        {"player --uri=%u --x", {u"player"_qs, u"--uri="_qs, u"--x"_qs}},
        {"env A=b  player", {u"env"_qs, u"A=b"_qs, u"player"_qs}},
        {R"("/opt/my player/run" "" %f)", {u"/opt/my player/run"_qs, u""_qs}},
        {R"(player "a\\"b\\$c\\\\d")", {u"player"_qs, u"a\"b$c\\d"_qs}},
        {"player 100%% %i -n %c",
         {u"player"_qs, u"100%"_qs, u"--icon"_qs, u"note"_qs, u"-n"_qs, u"My Player"_qs}},
        {"player;rm -rf $HOME `x`", {u"player;rm"_qs, u"-rf"_qs, u"$HOME"_qs, u"`x`"_qs}},
        {R"(player "unclosed)", {}},
        {"player %z", {}},
        {"player %", {}},
        {"", {}},
    };
    for (const auto& c : cases) {
        const auto entry = parseDesktopEntry(u"[Desktop Entry]\nName=My Player\nIcon=note\nExec="_qs +
                                             QString::fromUtf8(c.exec) + u'\n');
        ASSERT_TRUE(entry);
        EXPECT_EQ(execArguments(*entry), c.arguments) << c.exec;
    }
}

TEST(DesktopEntries, OnlyTheMainGroupAndUnlocalisedKeysCount) {
    const auto entry =
        parseDesktopEntry(u"# Name=comment\n"
                          "[Desktop Entry]\r\n Name = Player\\sOne \r\nName[de]=Spieler\nExec=one\n"
                          "DBusActivatable=true\nnonsense\n=\n"
                          "[Desktop Action New]\nName=Other\nExec=two\n"_qs);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->name, u"Player One"_qs);
    EXPECT_EQ(entry->exec, u"one"_qs);
    EXPECT_TRUE(entry->dBusActivatable);
    EXPECT_FALSE(parseDesktopEntry(u"[Other]\nName=x\n"_qs));
    EXPECT_FALSE(parseDesktopEntry({}));
}

TEST_F(DesktopEntriesTest, TheUsersOwnFileDecides) {
    write(u"shared"_qs, u"a"_qs, "[Desktop Entry]\nName=Shared\nExec=sh\n");
    EXPECT_EQ(find({u"missing"_qs, u"a"_qs})->name, u"Shared"_qs);
    write(u"own"_qs, u"a"_qs, "[Desktop Entry]\nName=Own\nExec=sh\n");
    EXPECT_EQ(find({u"a"_qs})->path, root_.filePath(u"own/applications/a.desktop"_qs));
    write(u"own"_qs, u"a"_qs, "[Desktop Entry]\nHidden=true\n");
    EXPECT_FALSE(find({u"a"_qs}));
    EXPECT_FALSE(find({u"../applications/a"_qs, QString()}));
}

TEST_F(DesktopEntriesTest, AnEntryWhoseProgramIsMissingIsNotInstalled) {
    write(u"own"_qs, u"gone"_qs, "[Desktop Entry]\nName=Gone\nTryExec=/no/such/program\nExec=x\n");
    write(u"own"_qs, u"there"_qs, "[Desktop Entry]\nName=There\nTryExec=sh\nExec=x\n");
    EXPECT_EQ(find({u"gone"_qs, u"there"_qs})->id, u"there"_qs);
}

TEST(DesktopEntries, WhatCannotBeStartedIsSaid) {
    DesktopEntry entry;
    EXPECT_FALSE(launchDesktopEntry(entry));
    entry.exec = u"/no/such/program %U"_qs;
    EXPECT_FALSE(launchDesktopEntry(entry));
    entry.exec = u"true"_qs;
    entry.terminal = true;
    EXPECT_FALSE(launchDesktopEntry(entry));
    entry.terminal = false;
    EXPECT_TRUE(launchDesktopEntry(entry));
}

} // namespace
} // namespace merlode
