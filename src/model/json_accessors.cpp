#include "model/json.h"
#include "model/json_document.h"

#include <QLocale>

#include <algorithm>
#include <cmath>

namespace merlode {

namespace {

// Truncated and brought into the 64 bits of Integer.
template<class Integer>
Integer saturated(double real) {
    using Limits = std::numeric_limits<Integer>;
    if (std::isnan(real))
        return 0;
    // The largest integer is no double: the next one up is.
    if (real <= static_cast<double>(Limits::min()))
        return Limits::min();
    if (real >= static_cast<double>(Limits::max()))
        return Limits::max();
    return static_cast<Integer>(real);
}

// What a scanner takes for a number: digits, point and exponent, no "inf", "nan" or hexadecimal form.
double scannedDouble(const QString& text) {
    const QString number = text.trimmed();
    const auto isNumeric = [](QChar character) {
        return QStringView(u"0123456789+-.eE").contains(character);
    };
    if (!std::all_of(number.begin(), number.end(), isNumeric))
        return 0;
    return QLocale::c().toDouble(number); // 0 for what is no number
}

// The shortest form that reads back as the same number.
QString numberText(const QVariant& number) {
    if (number.typeId() == QMetaType::Double)
        return QString::number(number.toDouble(), 'g', QLocale::FloatingPointShortest);
    return number.toString();
}

bool readsAsTrue(const QString& text) {
    const auto first =
        std::find_if_not(text.begin(), text.end(), [](QChar character) { return character.isSpace(); });
    return first != text.end() && QStringView(u"YyTt123456789").contains(*first);
}

} // namespace

std::optional<std::vector<JSON>> JSON::array() const {
    if (type_ != Array)
        return std::nullopt;
    std::vector<JSON> elements;
    JSONGenerator walk(*this);
    while (auto element = walk.next())
        elements.push_back(std::move(element->second));
    return elements;
}

std::optional<QVariantList> JSON::arrayObject() const {
    return type_ == Array ? std::optional(object().toList()) : std::nullopt;
}

std::optional<QMap<QString, JSON>> JSON::dictionary() const {
    if (type_ != Dictionary)
        return std::nullopt;
    QMap<QString, JSON> fields;
    JSONGenerator walk(*this);
    while (auto field = walk.next())
        fields.insert(fields.cend(), field->first, field->second);
    return fields;
}

std::optional<QVariantMap> JSON::dictionaryObject() const {
    return type_ == Dictionary ? std::optional(object().toMap()) : std::nullopt;
}

std::optional<QString> JSON::string() const {
    return type_ == String ? std::optional(std::get<QVariant>(content_).toString()) : std::nullopt;
}

QString JSON::stringValue() const {
    switch (type_) {
    case String:
    case Bool:
        return std::get<QVariant>(content_).toString();
    case Number:
        return numberText(std::get<QVariant>(content_));
    default:
        return {};
    }
}

std::optional<bool> JSON::bool_() const {
    return type_ == Bool ? std::optional(std::get<QVariant>(content_).toBool()) : std::nullopt;
}

bool JSON::boolValue() const {
    if (const auto text = string())
        return readsAsTrue(*text);
    const auto value = number();
    return value && value->toDouble() != 0;
}

std::optional<QVariant> JSON::number() const {
    return type_ == Number || type_ == Bool ? std::optional(std::get<QVariant>(content_)) : std::nullopt;
}

QVariant JSON::numberValue() const {
    if (const auto text = string())
        return scannedDouble(*text);
    return number().value_or(QVariant(0.0));
}

std::optional<std::nullptr_t> JSON::null() const {
    return type_ == Null ? std::optional(nullptr) : std::nullopt;
}

std::optional<QUrl> JSON::URL() const {
    const auto text = string();
    if (!text)
        return std::nullopt;
    const QUrl url = QUrl::fromEncoded(QUrl::toPercentEncoding(*text, "!$&'()*+,/:;=?@"), QUrl::StrictMode);
    return url.isValid() ? std::optional(url) : std::nullopt;
}

template<class Target>
Target JSON::converted(const QVariant& number) {
    if constexpr (std::floating_point<Target>)
        return static_cast<Target>(number.toDouble());
    else if (number.typeId() == QMetaType::ULongLong)
        return static_cast<Target>(number.toULongLong());
    else if (number.typeId() != QMetaType::Double)
        return static_cast<Target>(number.toLongLong());
    else if constexpr (std::same_as<Target, quint64>)
        return saturated<quint64>(number.toDouble());
    else
        return static_cast<Target>(saturated<qint64>(number.toDouble()));
}

template double JSON::converted(const QVariant&);
template float JSON::converted(const QVariant&);
template qint8 JSON::converted(const QVariant&);
template quint8 JSON::converted(const QVariant&);
template qint16 JSON::converted(const QVariant&);
template quint16 JSON::converted(const QVariant&);
template qint32 JSON::converted(const QVariant&);
template quint32 JSON::converted(const QVariant&);
template qint64 JSON::converted(const QVariant&);
template quint64 JSON::converted(const QVariant&);

} // namespace merlode
