#include "ctl/plain_text.h"

#include <algorithm>

namespace merlode::ctl {

namespace {

bool isLineBreak(QChar c) {
    return c == u'\n' || c == u'\r' || c == u'\t' || c == QChar(0x2028) || c == QChar(0x2029);
}

/// Embeddings, overrides and isolates that a title leaves open would turn round what is printed behind it.
bool turnsTextRound(QChar c) {
    return (c.unicode() >= 0x202a && c.unicode() <= 0x202e) ||
           (c.unicode() >= 0x2066 && c.unicode() <= 0x2069);
}

} // namespace

QString plainText(const QString& text) {
    QString safe;
    safe.reserve(text.size());
    for (const auto c : text) {
        if (isLineBreak(c))
            safe += u' ';
        else if (c.category() == QChar::Other_Control)
            safe += QChar(QChar::ReplacementCharacter);
        else if (!turnsTextRound(c))
            safe += c;
    }
    return safe;
}

QString clockText(qint64 seconds) {
    const auto whole = std::max<qint64>(seconds, 0);
    const auto minutes = whole / 60 % 60;
    const auto tail = QStringLiteral(":%1").arg(whole % 60, 2, 10, QChar(u'0'));
    if (whole < 3600)
        return QString::number(minutes) + tail;
    return QStringLiteral("%1:%2").arg(whole / 3600).arg(minutes, 2, 10, QChar(u'0')) + tail;
}

} // namespace merlode::ctl
