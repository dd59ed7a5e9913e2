#include "platform/linux/mpris_playlist.h"

#include <QDir>
#include <QSaveFile>

namespace merlode {

namespace {

QString fileName(QString name) {
    std::ranges::replace_if(
        name, [](QChar c) { return c == u'/' || c.category() == QChar::Other_Control; }, QChar(u'_'));
    return name + u".m3u"_qs;
}

} // namespace

std::optional<QString> writePlaylist(const QString& folder, const QString& name,
                                     const QByteArrayList& files) {
    // Addresses are plain ASCII: players disagree on the character set of an m3u, and a path may hold a
    // newline.
    QByteArray lines("#EXTM3U\n");
    bool any = false;
    for (const auto& file : files) {
        if (!file.startsWith('/'))
            continue;
        lines += "file://" + file.toPercentEncoding("/") + '\n';
        any = true;
    }
    if (!any || folder.isEmpty() || !QDir().mkpath(folder))
        return std::nullopt;
    const QString path = QDir(folder).absoluteFilePath(fileName(name));
    QSaveFile playlist(path);
    if (!playlist.open(QIODevice::WriteOnly))
        return std::nullopt;
    playlist.write(lines);
    return playlist.commit() ? std::optional(path) : std::nullopt;
}

} // namespace merlode
