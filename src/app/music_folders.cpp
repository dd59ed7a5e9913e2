#include "app/music_folders.h"

#include "base/control_interface.h"
#include "platform/user_defaults.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.app", QtWarningMsg)

QString linkNameOf(const QString& folder) {
    constexpr qsizetype kLongestName = 60; // of 255 bytes, whatever the letters take
    const auto hash = QCryptographicHash::hash(folder.toUtf8(), QCryptographicHash::Sha256).toHex();
    return QFileInfo(folder).fileName().left(kLongestName) + u'-' + QString::fromLatin1(hash.left(8));
}

ControlError refused(const QString& message) {
    return {QString::fromLatin1(control::kErrorInvalidArgument), message};
}

} // namespace

MusicFolders::MusicFolders(UserDefaults& userDefaults, QString joinedFolder)
    : defaults_(userDefaults), joinedFolder_(std::move(joinedFolder)) {}

QStringList MusicFolders::folders() const {
    QStringList found;
    for (const auto& value : defaults_.valueFor(defaults::kMusicFolders).value_or(QVariantList())) {
        const auto folder = QDir::cleanPath(value.toString());
        if (QDir::isAbsolutePath(folder) && !found.contains(folder))
            found << folder;
    }
    if (found.isEmpty())
        found << QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
    return found;
}

QString MusicFolders::root() const {
    const auto all = folders();
    return all.size() == 1 ? all.first() : joinedFolder_;
}

void MusicFolders::join() const {
    const auto all = folders();
    if (all.size() == 1)
        return;
    QDir joined(joinedFolder_);
    joined.mkpath(QStringLiteral("."));
    QStringList names;
    for (const auto& folder : all) {
        names << linkNameOf(folder);
        const auto link = joined.filePath(names.last());
        if (QFileInfo(link).symLinkTarget() != folder && !QFile::link(folder, link))
            qCWarning(log).noquote() << "cannot link to the music folder" << folder << "from" << link;
    }
    const auto there = joined.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    for (const auto& entry : there) {
        if (entry.isSymLink() && !names.contains(entry.fileName()))
            QFile::remove(entry.filePath());
    }
}

std::optional<ControlError> MusicFolders::use(const QStringList& folders) {
    QVariantList clean;
    for (const auto& folder : folders) {
        if (!QDir::isAbsolutePath(folder) || !QFileInfo(folder).isDir())
            return refused(QStringLiteral("%1 is no folder.").arg(folder));
        clean << QDir::cleanPath(folder);
    }
    defaults_.set(defaults::kMusicFolders, clean);
    join();
    return std::nullopt;
}

} // namespace merlode
