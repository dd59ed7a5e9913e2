#pragma once

#include <QVariantMap>

#include <algorithm>
#include <limits>
#include <optional>

/// What the dictionary forms of items share.
namespace merlode {

/// A missing text has no entry at all.
inline void insertText(QVariantMap& dictionary, const QString& key, const std::optional<QString>& text) {
    if (text)
        dictionary.insert(key, *text);
}

/// Signed like every number that comes out of a property list, so that both ends see the same types.
inline qint64 travellingNumber(quint64 number) {
    return static_cast<qint64>(std::min<quint64>(number, std::numeric_limits<qint64>::max()));
}

} // namespace merlode
