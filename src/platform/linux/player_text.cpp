#include "platform/linux/player_text.h"

#include "platform/scripted_player.h"

namespace merlode {

std::optional<QString> cleanPlayerText(const QByteArray& utf8) {
    QString text = QString::fromUtf8(utf8);
    if (text.size() > kLongestPlayerText)
        return std::nullopt;
    for (QChar& c : text) {
        if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    text = text.trimmed();
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace merlode
