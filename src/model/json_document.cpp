#include "model/json_document.h"

#include <QStringDecoder>
#include <QVarLengthArray>

#include <algorithm>
#include <bit>
#include <tuple>

#include <simdjson.h>

namespace merlode {

namespace dom = simdjson::dom;

class JSONDocument {
  public:
    dom::document tape;
};

namespace {

// The parser's handles are a pointer to the document and a position on its tape: this layer keeps just these.
template<class Handle>
JSONPlace placeOf(Handle handle) {
    static_assert(sizeof(Handle) == sizeof(JSONPlace) && std::is_trivially_copyable_v<Handle>);
    return std::bit_cast<JSONPlace>(handle);
}

dom::element handleAt(JSONPlace place) {
    return std::bit_cast<dom::element>(place);
}

dom::array::iterator iteratorAt(JSONPlace place) {
    return std::bit_cast<dom::array::iterator>(place);
}

// Keys are ASCII nearly always, and then are brought into the tape's encoding without an allocation.
class Utf8Key {
  public:
    explicit Utf8Key(QStringView key) : bytes_(key.size()) {
        const auto isASCII = [](QChar character) { return character.unicode() < 0x80; };
        if (!std::all_of(key.begin(), key.end(), isASCII)) {
            const QByteArray encoded = key.toUtf8();
            bytes_.resize(encoded.size());
            std::copy(encoded.begin(), encoded.end(), bytes_.begin());
            return;
        }
        std::transform(key.begin(), key.end(), bytes_.begin(),
                       [](QChar character) { return static_cast<char>(character.unicode()); });
    }
    std::string_view view() const { return {bytes_.data(), static_cast<std::size_t>(bytes_.size())}; }

  private:
    QVarLengthArray<char, 64> bytes_;
};

bool isAnyOf(std::string_view characters, char character) {
    return characters.find(character) != std::string_view::npos;
}

bool isWideInteger(QByteArrayView number) {
    if (std::ranges::any_of(number, [](char character) { return isAnyOf(".eE", character); }))
        return false;
    bool fits = false;
    std::ignore = number.toLongLong(&fits);
    if (!fits)
        std::ignore = number.toULongLong(&fits);
    return !fits;
}

// Integers beyond 64 bits are good JSON, but the parser takes them for errors. With an exponent they are
// reals.
QByteArray wideIntegersAsReals(QByteArrayView text) {
    QByteArray result;
    bool quoted = false;
    for (qsizetype at = 0; at < text.size();) {
        const char character = text[at];
        qsizetype length = 1;
        if (quoted || !isAnyOf("-0123456789", character)) {
            quoted ^= character == '"';
            if (quoted && character == '\\' && at + 1 < text.size())
                length = 2;
            result += text.sliced(at, length);
        } else {
            const auto rest = text.sliced(at);
            length = std::ranges::find_if_not(rest, [](char c) { return isAnyOf("+-.eE0123456789", c); }) -
                     rest.begin();
            result += rest.first(length);
            if (isWideInteger(rest.first(length)))
                result += "e0";
        }
        at += length;
    }
    return result;
}

simdjson::error_code parse(QByteArrayView text, dom::document& tape) {
    if (text.isEmpty())
        return simdjson::EMPTY;
    if (text.size() > JSON::kLargestText)
        return simdjson::CAPACITY;
    dom::parser parser;
    const auto size = static_cast<std::size_t>(text.size());
    if (const auto error = parser.allocate(size, JSON::kDeepestNesting))
        return error;
    return parser.parse_into_document(tape, text.data(), size).error();
}

QVariantList listOf(dom::array array) {
    QVariantList list;
    for (const dom::element element : array)
        list.append(objectAt(placeOf(element)));
    return list;
}

QVariantMap mapAt(JSONPlace place) {
    QVariantMap map;
    for (const auto& [key, value] : fieldsAt(place))
        map.insert(textOf(key), objectAt(value));
    return map;
}

} // namespace

JSONText parseJSON(const QByteArray& data, JSONReadingOptions options, JSONError* error) {
    QByteArrayView text(data);
    if (text.startsWith("\xEF\xBB\xBF"))
        text = text.sliced(3);
    const auto document = std::make_shared<JSONDocument>();
    auto code = parse(text, document->tape);
    if (code == simdjson::NUMBER_ERROR)
        code = parse(wideIntegersAsReals(text), document->tape);
    JSONText result;
    if (code == simdjson::SUCCESS) {
        const dom::element root = document->tape.root();
        if (options == JSONReadingOptions::AllowFragments || root.is_array() || root.is_object())
            result = {document, placeOf(root)};
        else
            code = simdjson::SCALAR_DOCUMENT_AS_VALUE;
    }
    if (error && code != simdjson::SUCCESS)
        *error = {QStringLiteral("simdjson"), code, QString::fromUtf8(simdjson::error_message(code))};
    return result;
}

JSON::Type typeAt(JSONPlace place) {
    switch (handleAt(place).type()) {
    case dom::element_type::ARRAY:
        return JSON::Array;
    case dom::element_type::OBJECT:
        return JSON::Dictionary;
    case dom::element_type::STRING:
        return JSON::String;
    case dom::element_type::INT64:
    case dom::element_type::UINT64:
    case dom::element_type::DOUBLE:
        return JSON::Number;
    case dom::element_type::BOOL:
        return JSON::Bool;
    case dom::element_type::NULL_VALUE:
        break;
    }
    return JSON::Null;
}

QVariant objectAt(JSONPlace place) {
    const dom::element element = handleAt(place);
    switch (element.type()) {
    case dom::element_type::ARRAY:
        return listOf(element.get_array().value_unsafe());
    case dom::element_type::OBJECT:
        return mapAt(place);
    case dom::element_type::STRING:
        return textOf(element.get_string().value_unsafe());
    case dom::element_type::INT64:
        return static_cast<qlonglong>(element.get_int64().value_unsafe());
    case dom::element_type::UINT64:
        return static_cast<qulonglong>(element.get_uint64().value_unsafe());
    case dom::element_type::DOUBLE:
        return element.get_double().value_unsafe();
    case dom::element_type::BOOL:
        return element.get_bool().value_unsafe();
    case dom::element_type::NULL_VALUE:
        break;
    }
    return QVariant::fromValue(nullptr);
}

JSONElements elementsAt(JSONPlace array) {
    dom::array elements;
    if (handleAt(array).get_array().get(elements))
        return {};
    return {placeOf(elements.begin()), placeOf(elements.end())};
}

JSONPlace nextElement(JSONPlace element) {
    return placeOf(++iteratorAt(element));
}

std::optional<JSONPlace> elementAt(JSONPlace array, qsizetype index) {
    auto [element, end] = elementsAt(array);
    for (; element != end; element = nextElement(element)) {
        if (index-- == 0)
            return element;
    }
    return std::nullopt;
}

qsizetype elementCountAt(JSONPlace array) {
    // The tape counts no further than 24 bits.
    constexpr qsizetype kMostCounted = 0xFFFFFF;
    dom::array elements;
    if (handleAt(array).get_array().get(elements))
        return 0;
    const auto count = static_cast<qsizetype>(elements.size());
    return count < kMostCounted ? count : std::distance(elements.begin(), elements.end());
}

std::vector<JSONField> fieldsAt(JSONPlace dictionary) {
    std::vector<JSONField> fields;
    dom::object object;
    if (handleAt(dictionary).get_object().get(object))
        return fields;
    fields.reserve(object.size());
    for (const dom::key_value_pair field : object)
        fields.emplace_back(field.key, placeOf(field.value));
    std::ranges::stable_sort(fields, {}, &JSONField::first);
    const auto haveOneKey = [](const JSONField& left, const JSONField& right) {
        return left.first == right.first;
    };
    fields.erase(std::unique(fields.begin(), fields.end(), haveOneKey), fields.end());
    return fields;
}

QString textOf(std::string_view text) {
    // Taken for the mark of an encoding, this one would get lost.
    if (text.starts_with("\xEF\xBB\xBF"))
        return QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom)(text);
    return QString::fromUtf8(text);
}

std::optional<JSONPlace> fieldAt(JSONPlace dictionary, QStringView key) {
    dom::object object;
    dom::element value;
    if (handleAt(dictionary).get_object().get(object) || object.at_key(Utf8Key(key).view()).get(value))
        return std::nullopt;
    return placeOf(value);
}

} // namespace merlode
