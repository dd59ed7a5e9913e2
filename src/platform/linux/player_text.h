#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace merlode {

/// A name as a player or a tag tells it. Control characters become blanks; nothing for a text that is blank
/// or beyond `kLongestPlayerText`.
std::optional<QString> cleanPlayerText(const QByteArray& utf8);

} // namespace merlode
