#pragma once

#include <QString>

namespace merlode::ctl {

/// Text from a player made safe to print on a terminal or in a bar: line breaks and tabs become spaces, other
/// control characters the replacement character, and the characters that reverse the text after them are left
/// out. What people read stays as it is, in any script.
QString plainText(const QString& text);

/// Seconds as m:ss, or h:mm:ss from an hour on. Negative counts as 0.
QString clockText(qint64 seconds);

} // namespace merlode::ctl
