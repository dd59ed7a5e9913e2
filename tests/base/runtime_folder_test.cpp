#include "base/runtime_folder.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace merlode;

namespace {

unsigned modeOf(const QString& path) {
    struct stat found = {};
    EXPECT_EQ(::lstat(QFile::encodeName(path).constData(), &found), 0);
    return found.st_mode & 0777;
}

/// Sets a variable for the length of a test.
class Environment {
  public:
    Environment(const char* name, const QByteArray& value) : name_(name), before_(qgetenv(name)) {
        qputenv(name, value);
    }
    ~Environment() { before_.isNull() ? qunsetenv(name_) : qputenv(name_, before_); }

  private:
    const char* name_;
    QByteArray before_;
};

} // namespace

TEST(RuntimeFolder, AFolderOfOursIsMadeOrTightened) {
    const QTemporaryDir home;
    const auto path = home.filePath(QStringLiteral("run"));
    EXPECT_TRUE(makePrivateFolder(path));
    EXPECT_EQ(modeOf(path), 0700u);
    ::chmod(QFile::encodeName(path).constData(), 0777);
    EXPECT_TRUE(makePrivateFolder(path));
    EXPECT_EQ(modeOf(path), 0700u);
}

TEST(RuntimeFolder, WhatAnotherCouldHavePlantedIsRefused) {
    const QTemporaryDir home;
    const auto link = home.filePath(QStringLiteral("link"));
    ASSERT_EQ(::symlink(QFile::encodeName(home.path()).constData(), QFile::encodeName(link).constData()), 0);
    EXPECT_FALSE(makePrivateFolder(link));

    QFile file(home.filePath(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_FALSE(makePrivateFolder(file.fileName()));
    EXPECT_FALSE(makePrivateFolder(home.filePath(QStringLiteral("no/parent"))));

    const auto theirs = home.filePath(QStringLiteral("theirs"));
    ASSERT_EQ(::mkdir(QFile::encodeName(theirs).constData(), 0755), 0);
    if (::chown(QFile::encodeName(theirs).constData(), 12345, 12345) != 0)
        GTEST_SKIP() << "only root can make another user's folder";
    EXPECT_FALSE(makePrivateFolder(theirs));
    EXPECT_EQ(modeOf(theirs), 0755u);
}

TEST(RuntimeFolder, TheLoginsFolderIsTakenOnlyIfItIsOneOfOurs) {
    const QTemporaryDir home;
    {
        const Environment login("XDG_RUNTIME_DIR", QFile::encodeName(home.path()));
        EXPECT_EQ(runtimeFolder(), home.path());
    }
    const auto fallback = QStringLiteral("/tmp/merlode-%1").arg(::geteuid());
    for (const auto& unusable : {QByteArray(), QByteArray("relative"), QByteArray("/proc/nowhere")}) {
        const Environment login("XDG_RUNTIME_DIR", unusable);
        EXPECT_EQ(runtimeFolder(), fallback) << unusable.constData();
    }
}
