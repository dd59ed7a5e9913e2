#include "app/music_folders.h"
#include "support/fake_ports.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace merlode {

TEST(MusicFolders, SeveralAreJoinedByLinksWhoseNamesLast) {
    const QTemporaryDir home;
    MemoryUserDefaults userDefaults;
    const auto joined = home.filePath(u"joined"_qs);
    MusicFolders folders(userDefaults, joined);
    QStringList places;
    for (const auto& name : {u"a/Music"_qs, u"b/Music"_qs, u"c"_qs}) {
        places << home.filePath(name);
        QDir(home.path()).mkpath(name);
    }
    const auto targets = [&] {
        QMap<QString, QString> found;
        for (const auto& entry : QDir(joined).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot))
            found[entry.symLinkTarget()] = entry.fileName();
        return found;
    };
    EXPECT_FALSE(folders.use({places[0]}));
    EXPECT_EQ(folders.root(), places[0]) << "one is taken as it is";
    EXPECT_FALSE(folders.use(places));
    EXPECT_EQ(folders.root(), joined);
    const auto before = targets();
    EXPECT_EQ(before.keys(), places);
    EXPECT_FALSE(folders.use({places[1], places[2] + u"/"_qs, places[1]}));
    EXPECT_EQ(folders.folders(), (QStringList{places[1], places[2]}));
    EXPECT_EQ(targets().keys(), folders.folders());
    EXPECT_EQ(targets()[places[1]], before[places[1]]);
    EXPECT_TRUE(folders.use({places[0], u"relative"_qs}));
    EXPECT_TRUE(folders.use({home.filePath(u"nowhere"_qs)}));
    EXPECT_EQ(folders.folders().size(), 2) << "a refusal changes nothing";
    EXPECT_FALSE(folders.use({}));
    EXPECT_EQ(folders.folders().size(), 1);
    userDefaults.set(defaults::kMusicFolders, QVariantList{5, u"relative"_qs, u""_qs, places[2]});
    EXPECT_EQ(folders.folders(), QStringList{places[2]}) << "whatever a user has written there";
}

} // namespace merlode
