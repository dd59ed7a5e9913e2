#include "platform/linux/plist_user_defaults.h"

#include "base/property_list.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSaveFile>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.platform", QtWarningMsg)

// Settings are a few kilobytes; more than this is not a file of ours.
constexpr qint64 kLargestFile = 16 * 1024 * 1024;

} // namespace

PlistUserDefaults::PlistUserDefaults(QString filePath, RunLoop& loop, Report report)
    : filePath_(std::move(filePath)), loop_(loop), report_(std::move(report)) {
    load();
}

PlistUserDefaults::~PlistUserDefaults() {
    PlistUserDefaults::synchronize();
}

void PlistUserDefaults::load() {
    QFile file(filePath_);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        report_(QStringLiteral("The settings in %1 cannot be read (%2). Merlode starts with its defaults.")
                    .arg(filePath_, file.errorString()));
        return;
    }
    const auto parsed =
        file.size() <= kLargestFile ? property_list::parse(file.readAll()) : std::optional<QVariant>();
    file.close();
    if (parsed && parsed->typeId() == QMetaType::QVariantMap)
        values_ = parsed->toMap();
    else
        setAsideDamagedFile();
}

void PlistUserDefaults::setAsideDamagedFile() {
    QString aside;
    int number = 1;
    do
        aside = QStringLiteral("%1.damaged-%2").arg(filePath_).arg(number++);
    while (QFileInfo::exists(aside));
    const bool renamed = QFile::rename(filePath_, aside);
    report_(QStringLiteral("The settings in %1 are damaged. Merlode starts with its defaults%2.")
                .arg(filePath_, renamed ? QStringLiteral("; the old file is kept as ") + aside : QString()));
}

void PlistUserDefaults::registerDefaults(const QVariantMap& values) {
    registered_.insert(values);
}

void PlistUserDefaults::setValue(const QString& key, const QVariant& value) {
    const auto found = values_.constFind(key);
    const bool present = found != values_.constEnd();
    if (value.isValid() ? present && *found == value && found->metaType() == value.metaType() : !present)
        return;
    if (value.isValid())
        values_.insert(key, value);
    else
        values_.remove(key);
    dirty_ = true;
    if (!writeTimer_)
        writeTimer_ = loop_.after(kWriteDelay, [this] { synchronize(); });
}

QVariant PlistUserDefaults::value(const QString& key) const {
    const auto found = values_.constFind(key);
    return found != values_.constEnd() ? *found : registered_.value(key);
}

bool PlistUserDefaults::synchronize() {
    writeTimer_.invalidate();
    if (!dirty_)
        return true;
    const QFileInfo info(filePath_);
    QSaveFile file(filePath_);
    const bool written = QDir().mkpath(info.absolutePath()) && file.open(QIODevice::WriteOnly) &&
                         file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
                         file.write(property_list::serialize(values_)) >= 0 && file.commit();
    if (written) {
        dirty_ = false;
        failureReported_ = false;
    } else if (!std::exchange(failureReported_, true)) {
        report_(QStringLiteral("The settings cannot be saved in %1 (%2). They hold until Merlode quits.")
                    .arg(filePath_, file.error() != QFileDevice::NoError
                                        ? file.errorString()
                                        : QStringLiteral("the folder cannot be made")));
    } else {
        qCDebug(log) << "settings still cannot be saved:" << file.errorString();
    }
    return written;
}

} // namespace merlode
