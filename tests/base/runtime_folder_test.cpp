#include "base/runtime_folder.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace merlode;

TEST(RuntimeFolder, OurFolderIsTightenedAndWhatAnotherCouldHavePlantedIsRefused) {
    const QTemporaryDir home;
    const auto path = home.filePath(QStringLiteral("run"));
    const auto ours = QFile::encodeName(path);
    struct stat found = {};
    EXPECT_TRUE(makePrivateFolder(path));
    ::chmod(ours.constData(), 0777);
    EXPECT_TRUE(makePrivateFolder(path));
    EXPECT_EQ(::lstat(ours.constData(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0700u);

    const auto link = home.filePath(QStringLiteral("link"));
    ASSERT_EQ(::symlink(ours.constData(), QFile::encodeName(link).constData()), 0);
    EXPECT_FALSE(makePrivateFolder(link));
    EXPECT_FALSE(makePrivateFolder(home.filePath(QStringLiteral("no/parent"))));
    if (::chown(ours.constData(), 12345, 12345) != 0)
        GTEST_SKIP() << "only root can make another user's folder";
    EXPECT_FALSE(makePrivateFolder(path));
}
