#include "model/json.h"

#include <algorithm>
#include <limits>

namespace merlode {

namespace {

// Whatever the types, by value: every 64-bit integer and every double is a long double.
std::partial_ordering compareNumbers(const QVariant& left, const QVariant& right) {
    static_assert(std::numeric_limits<long double>::digits >= 64);
    const auto exact = [](const QVariant& number) {
        if (number.typeId() == QMetaType::Double)
            return static_cast<long double>(number.toDouble());
        if (number.typeId() == QMetaType::ULongLong)
            return static_cast<long double>(number.toULongLong());
        return static_cast<long double>(number.toLongLong());
    };
    return exact(left) <=> exact(right);
}

bool equalObjects(const JSON& left, const JSON& right);

bool equalArrays(const JSON& left, const JSON& right) {
    JSONGenerator others(right);
    for (const auto& [position, element] : left) {
        const auto other = others.next();
        if (!other || !equalObjects(element, other->second))
            return false;
    }
    return !others.next();
}

// By maps: a parsed dictionary can have its keys in another order than one of ours.
bool equalDictionaries(const JSON& left, const JSON& right) {
    const auto fields = left.dictionaryValue();
    const auto others = right.dictionaryValue();
    if (fields.size() != others.size())
        return false;
    for (auto field = fields.cbegin(), other = others.cbegin(); field != fields.cend(); ++field, ++other) {
        if (field.key() != other.key() || !equalObjects(field.value(), other.value()))
            return false;
    }
    return true;
}

// As values inside containers are equal.
bool equalObjects(const JSON& left, const JSON& right) {
    const auto number = left.number();
    const auto other = right.number();
    if (number && other)
        return std::is_eq(compareNumbers(*number, *other));
    if (left.type() != right.type())
        return false;
    switch (left.type()) {
    case JSON::String:
        return left.string() == right.string();
    case JSON::Array:
        return equalArrays(left, right);
    case JSON::Dictionary:
        return equalDictionaries(left, right);
    default:
        return left.type() == JSON::Null;
    }
}

} // namespace

bool operator==(const JSON& left, const JSON& right) {
    return left.type() == right.type() && equalObjects(left, right);
}

std::partial_ordering operator<=>(const JSON& left, const JSON& right) {
    if (left.type() == JSON::Number && right.type() == JSON::Number)
        return compareNumbers(*left.number(), *right.number());
    if (left.type() == JSON::String && right.type() == JSON::String)
        return left.string()->compare(*right.string()) <=> 0;
    return left == right ? std::partial_ordering::equivalent : std::partial_ordering::unordered;
}

} // namespace merlode
