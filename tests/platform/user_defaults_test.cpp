#include "platform/linux/plist_user_defaults.h"
#include "support/fake_ports.h"
#include "support/user_defaults_contract.h"
#include "support/virtual_run_loop.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

namespace merlode {
namespace {

class MemoryStore {
  public:
    UserDefaults& defaults() { return defaults_; }
    void reopen() {}

  private:
    MemoryUserDefaults defaults_;
};

/// Settings in a folder of their own.
class PlistStore {
  public:
    PlistStore() { reopen(); }

    UserDefaults& defaults() { return *defaults_; }
    void reopen() {
        defaults_.reset(); // writes before the file is read again
        defaults_ =
            std::make_unique<PlistUserDefaults>(path, loop, [this](const QString& text) { reports << text; });
    }
    QStringList files() const {
        return QDir(folder.path()).entryList(QDir::Files | QDir::Hidden | QDir::System);
    }

    QTemporaryDir folder;
    QString path = folder.filePath(u"Preferences.plist"_qs);
    VirtualRunLoop loop;
    QStringList reports;

  private:
    std::unique_ptr<PlistUserDefaults> defaults_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Memory, UserDefaultsContract, MemoryStore);
INSTANTIATE_TYPED_TEST_SUITE_P(Plist, UserDefaultsContract, PlistStore);

class PlistUserDefaultsTest : public testing::Test {
  protected:
    void write(const QByteArray& bytes) {
        QFile file(store.path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    void set(int value) { store.defaults().setValue(u"key"_qs, value); }
    int get() { return store.defaults().value(u"key"_qs).toInt(); }

    PlistStore store;
};

TEST_F(PlistUserDefaultsTest, ChangesAreWrittenTogetherAndSoon) {
    store.defaults().registerDefaults({{u"registered"_qs, true}});
    set(1);
    store.loop.advance(0.1);
    set(2);
    EXPECT_EQ(store.files(), QStringList());
    store.loop.advance(0.1);
    ASSERT_EQ(store.files(), QStringList(u"Preferences.plist"_qs))
        << "and nothing temporary is left beside it";
    const auto anybody = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    EXPECT_FALSE(QFileInfo(store.path).permissions() & anybody);

    QFile::remove(store.path);
    set(2);
    store.loop.advance(10);
    EXPECT_EQ(store.files(), QStringList()) << "nothing has changed since";
    set(3);
    store.reopen();
    EXPECT_EQ(get(), 3) << "what was not yet written is written at the end";
    EXPECT_FALSE(store.defaults().value(u"registered"_qs).isValid()) << "not the user's, so not kept";
}

TEST_F(PlistUserDefaultsTest, ADamagedFileIsSetAside) {
    set(1);
    ASSERT_TRUE(store.defaults().synchronize());
    QFile good(store.path);
    ASSERT_TRUE(good.open(QIODevice::ReadOnly));
    const QByteArray whole = good.readAll();
    const std::pair<const char*, QByteArray> files[] = {
        {"empty", {}},
        {"something else", "[Settings]\nkey=1\n"},
        {"cut off", whole.left(whole.size() / 2)},
        {"a list", "<plist version=\"1.0\"><array><string>key</string></array></plist>"},
        {"too large", whole + QByteArray(17 * 1024 * 1024, ' ')},
    };
    int number = 0;
    for (const auto& [what, bytes] : files) {
        SCOPED_TRACE(what);
        write(bytes);
        store.reports.clear();
        store.reopen();
        EXPECT_EQ(get(), 0);
        const QString aside = u"%1.damaged-%2"_qs.arg(store.path).arg(++number);
        EXPECT_EQ(QFileInfo(aside).size(), bytes.size());
        EXPECT_FALSE(QFile::exists(store.path));
        ASSERT_EQ(store.reports.size(), 1);
        EXPECT_TRUE(store.reports[0].contains(aside)) << store.reports[0].toStdString();
    }
    set(2);
    store.reopen();
    EXPECT_EQ(get(), 2);
}

// Two things in the way that stop even a superuser.
TEST_F(PlistUserDefaultsTest, AFileThatCannotBeWrittenIsToldOfOnce) {
    const QString parent = store.folder.filePath(u"parent"_qs);
    const auto block = [&](bool directory) {
        QFile file(parent);
        return directory ? QDir().mkpath(store.path) : file.open(QIODevice::WriteOnly);
    };
    for (const bool directory : {false, true}) {
        SCOPED_TRACE(directory ? "a folder in the file's place" : "a file in the folder's place");
        store.path = parent + u"/Preferences.plist"_qs;
        ASSERT_TRUE(block(directory));
        store.reopen();
        store.reports.clear();
        for (const int value : {1, 2}) {
            set(value);
            store.loop.advance(1);
            EXPECT_EQ(get(), value);
            EXPECT_EQ(store.reports.size(), 1);
        }
        EXPECT_FALSE(store.defaults().synchronize());
        ASSERT_TRUE(directory ? QDir(parent).removeRecursively() : QFile::remove(parent));
        EXPECT_TRUE(store.defaults().synchronize());
        EXPECT_TRUE(QFileInfo(store.path).isFile());
        ASSERT_TRUE(QDir(parent).removeRecursively() && block(directory));
        set(3);
        store.loop.advance(1);
        EXPECT_EQ(store.reports.size(), 2) << "a new trouble after it had been well";
        ASSERT_TRUE(directory ? QDir(parent).removeRecursively() : QFile::remove(parent));
    }
}

} // namespace
} // namespace merlode
