#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringConverter>
#include <QVariantMap>

#include <iterator>
#include <unordered_set>
#include <vector>

/// Text, URL and hashing helpers. All are pure, except for `randomStringWithLength`, and may be called on any
/// thread.
namespace merlode {

/// Makes text that a user or a tag supplied fit for a query: without blanks and newlines at its ends, each
/// newline character inside replaced by one blank, and without any of `+&="#%/<>?@\^`{|}[]()`. Blanks next to
/// what was removed stay, so two in a row may result.
QString cleanString(const QString& text);

/// `cleanString` in the form that goes into a URL: its blanks as "%20". Text beyond ASCII stays as it is,
/// since the web client escapes that itself.
QString encodeString(const QString& text);

/// Decodes the five entities `&quot;`, `&amp;`, `&apos;`, `&lt;` and `&gt;`, one kind after the other in this
/// order: a doubly escaped "&amp;lt;" ends as "<". Numeric entities stay.
QString htmlDecoded(const QString& text);

/// Whether `other` occurs in `text`, whatever the case, in no particular language. Empty text occurs nowhere.
bool contains(const QString& text, const QString& other);

/// The MD5 digest of the text's UTF-8 bytes in 32 lower-case hexadecimal digits.
QString MD5(const QString& text);

/// The 20 raw bytes of HMAC-SHA1 over the text's UTF-8 bytes, keyed by those of `key`.
QByteArray SHA1DigestWithKey(const QString& text, const QString& key);

/// Letters and digits of ASCII, drawn at random; no secret. Empty for lengths below 1.
QString randomStringWithLength(int length);

/// Escapes text for a query string: only ASCII letters, digits and "-._~[]" stay, every other byte of the
/// text in `encoding` becomes "%" and two upper-case hexadecimal digits. The encoding is one that keeps ASCII
/// as it is (UTF-8, Latin-1); what it cannot express becomes a question mark.
QString urlEncodedStringWithEncoding(const QString& text, QStringConverter::Encoding encoding);

/// The pairs as key, "=", value, joined by "&", in the order of the keys and with nothing escaped. No
/// encoding plays a part then; the parameter makes the two forms exchangeable.
QString queryStringWithEncoding(const QVariantMap& pairs, QStringConverter::Encoding encoding);

/// As above with keys and values escaped by `urlEncodedStringWithEncoding`.
QString urlEncodedQueryStringWithEncoding(const QVariantMap& pairs, QStringConverter::Encoding encoding);

/// Reads "key=value" pairs joined by "&", unescaping nothing. A pair whose key or value is empty is left out;
/// of equal keys the last one counts. A key extends to the next "=", so that a piece without one runs into
/// the piece behind it.
QMap<QString, QString> parametersFromQueryString(const QString& query);

/// The characters from index `from` up to but not including `to`, counted as people see them: a letter with
/// its accents, or an emoji, is one. Indexes outside the text are brought into it; a reversed range is empty.
QString substring(const QString& text, int from, int to);

/// The elements of a sequence without repeats, in the order of first occurrence. Elements need a std::hash.
template<class Sequence>
auto uniq(const Sequence& sequence) {
    using Element = typename std::iterator_traits<decltype(std::begin(sequence))>::value_type;
    std::vector<Element> result;
    std::unordered_set<Element> seen;
    for (const Element& element : sequence) {
        if (seen.insert(element).second)
            result.push_back(element);
    }
    return result;
}

/// The pairs for which `predicate(key, value)` holds.
template<class Key, class Value, class Predicate>
QMap<Key, Value> filter(const QMap<Key, Value>& pairs, Predicate predicate) {
    QMap<Key, Value> result;
    for (auto pair = pairs.cbegin(); pair != pairs.cend(); ++pair) {
        if (predicate(pair.key(), pair.value()))
            result.insert(result.cend(), pair.key(), pair.value());
    }
    return result;
}

} // namespace merlode
