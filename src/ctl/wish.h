#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace merlode::ctl {

/// Something to play, by name instead of by row: a track, or with no title an album.
struct Wish {
    QString track;
    QString artist; ///< empty for any
    QString album;  ///< empty for any

    bool isEmpty() const { return track.isEmpty() && artist.isEmpty() && album.isEmpty(); }
    /// What to search for.
    QString term() const { return track.isEmpty() ? album : track; }
    /// "track 'Lanterns' by 'The Paper Herons'", for messages.
    QString text() const;
};

/// The row of a search's answer that is meant, with names compared whatever their case: one whose title is
/// just that, else the first whose title contains it. With a service named, only rows that it has.
std::optional<uint> rowOf(const Wish& wish, const QJsonObject& found, const QString& service);

} // namespace merlode::ctl
