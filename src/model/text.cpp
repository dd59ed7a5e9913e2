#include "model/text.h"

#include <QCryptographicHash>
#include <QMessageAuthenticationCode>
#include <QRandomGenerator>
#include <QStringEncoder>
#include <QStringList>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace merlode {

namespace {

constexpr QStringView kDeletedCharacters = u"+&=\"#%/<>?@\\^`{|}[]()";
constexpr QStringView kRandomCharacters = u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

// Every character that ends a line somewhere, vertical tab and form feed included.
bool isNewline(QChar character) {
    const char16_t code = character.unicode();
    return (code >= 0x0a && code <= 0x0d) || code == 0x85 || code == 0x2028 || code == 0x2029;
}

template<class Escape>
QString joinedPairs(const QVariantMap& pairs, Escape escape) {
    QStringList pieces;
    for (auto pair = pairs.cbegin(); pair != pairs.cend(); ++pair)
        pieces.append(escape(pair.key()) + u'=' + escape(pair.value().toString()));
    return pieces.join(u'&');
}

} // namespace

QString cleanString(const QString& text) {
    QString result = text.trimmed();
    result.removeIf([](QChar character) { return kDeletedCharacters.contains(character); });
    std::replace_if(result.begin(), result.end(), isNewline, u' ');
    return result;
}

QString encodeString(const QString& text) {
    // Of what a URL has to escape, cleaning leaves the blank alone.
    return cleanString(text).replace(u' ', QStringLiteral("%20"));
}

QString htmlDecoded(const QString& text) {
    QString result = text;
    result.replace(QStringLiteral("&quot;"), QStringLiteral("\""));
    result.replace(QStringLiteral("&amp;"), QStringLiteral("&"));
    result.replace(QStringLiteral("&apos;"), QStringLiteral("'"));
    result.replace(QStringLiteral("&lt;"), QStringLiteral("<"));
    result.replace(QStringLiteral("&gt;"), QStringLiteral(">"));
    return result;
}

bool contains(const QString& text, const QString& other) {
    return !other.isEmpty() && text.contains(other, Qt::CaseInsensitive);
}

QString MD5(const QString& text) {
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
}

QByteArray SHA1DigestWithKey(const QString& text, const QString& key) {
    return QMessageAuthenticationCode::hash(text.toUtf8(), key.toUtf8(), QCryptographicHash::Sha1);
}

QString randomStringWithLength(int length) {
    QString result(std::max(length, 0), Qt::Uninitialized);
    std::generate(result.begin(), result.end(), [] {
        return kRandomCharacters[QRandomGenerator::global()->bounded(int(kRandomCharacters.size()))];
    });
    return result;
}

QString urlEncodedStringWithEncoding(const QString& text, QStringConverter::Encoding encoding) {
    QStringEncoder encoder(encoding);
    const QByteArray bytes = encoder(text);
    return QString::fromLatin1(bytes.toPercentEncoding("[]"));
}

QString queryStringWithEncoding(const QVariantMap& pairs, QStringConverter::Encoding) {
    return joinedPairs(pairs, [](const QString& text) { return text; });
}

QString urlEncodedQueryStringWithEncoding(const QVariantMap& pairs, QStringConverter::Encoding encoding) {
    return joinedPairs(
        pairs, [encoding](const QString& text) { return urlEncodedStringWithEncoding(text, encoding); });
}

QMap<QString, QString> parametersFromQueryString(const QString& query) {
    QMap<QString, QString> parameters;
    qsizetype start = 0;
    while (start < query.size()) {
        const qsizetype equals = query.indexOf(u'=', start);
        if (equals < 0)
            break;
        const qsizetype ampersand = query.indexOf(u'&', equals);
        const qsizetype end = ampersand < 0 ? query.size() : ampersand;
        const QString key = query.mid(start, equals - start);
        const QString value = query.mid(equals + 1, end - equals - 1);
        if (!key.isEmpty() && !value.isEmpty())
            parameters.insert(key, value);
        start = end + 1;
    }
    return parameters;
}

QString substring(const QString& text, int from, int to) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    const auto advance = [&finder, &text](int characters) {
        for (; characters > 0; --characters) {
            if (finder.toNextBoundary() < 0)
                return text.size();
        }
        return qsizetype(finder.position());
    };
    const int first = std::max(from, 0);
    const qsizetype start = advance(first);
    if (to <= first || start >= text.size())
        return {};
    return text.mid(start, advance(to - first) - start);
}

} // namespace merlode
