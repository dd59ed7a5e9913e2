#pragma once

#include "model/value_error.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringConverter>
#include <QUrl>
#include <QVariant>

#include <compare>
#include <concepts>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// The value through which every web reply and every remote message is read. A reader walks any path into any
/// document without testing at each step: a wrong step gives a null value that carries an error and that can
/// be walked further, and the typed accessors then answer nothing or a neutral default.
namespace merlode {

class JSONDocument;
class JSONGenerator;
class JSONIndex;
class JSONIterator;

/// The domain of the errors of wrong steps, and their codes.
inline constexpr QStringView kJSONErrorDomain = u"DrudorskofErrorDomain";
inline constexpr int ErrorNotExist = 500;
inline constexpr int ErrorIndexOutOfBounds = 900;
inline constexpr int ErrorWrongType = 901;
inline constexpr int ErrorUnsupportedType = 999;

/// Of a text that could not be read, the domain is "simdjson" and the code the parser's.
using JSONError = ValueError;

enum class JSONReadingOptions {
    None = 0,
    AllowFragments = 4, ///< a text may be a bare scalar; without it, only an array or a dictionary
};

enum class JSONWritingOptions {
    None = 0,          ///< without white space
    PrettyPrinted = 1, ///< indented, one element a line
};

/// One step of a path: an index into an array or a key of a dictionary.
class JSONSubscriptType {
  public:
    JSONSubscriptType(int index) : step_(qsizetype{index}) {}
    JSONSubscriptType(qsizetype index) : step_(index) {}
    JSONSubscriptType(const char16_t* key) : step_(QStringView(key).toString()) {}
    JSONSubscriptType(QStringView key) : step_(key.toString()) {}
    JSONSubscriptType(QString key) : step_(std::move(key)) {}

    /// Calls `use` with the index as qsizetype or the key as QString.
    template<class Use>
    decltype(auto) visit(Use use) const {
        return std::visit(use, step_);
    }

  private:
    std::variant<qsizetype, QString> step_;
};

/// `{u"tracks", u"items", 0, u"name"}`.
using JSONPath = std::vector<JSONSubscriptType>;

/// Where a value stands in a parsed text. What is in it is the parser's business.
struct JSONPlace {
    const void* document = nullptr;
    std::size_t index = 0;

    bool operator==(const JSONPlace&) const = default;
};
struct JSONElements {
    JSONPlace first;
    JSONPlace end;
};
using JSONField = std::pair<std::string_view, JSONPlace>;

/// Whether a number is a boolean. Both are numbers, but 1 is never true.
bool isBool(const QVariant& number);

/// A JSON value. "Untyped objects" are QVariants: bool, qlonglong (or qulonglong where only that fits),
/// double, QString, QVariantList, QVariantMap and nullptr.
///
/// Reading a text makes one block of memory, of which subscripts and iteration convert just what they reach;
/// all values reached share it, and changing one gives it a copy of its own. Of equal keys in a text the
/// first counts. Nothing here throws. Copies may be used on any threads, one value on one thread at a time.
class JSON {
  public:
    enum class Type { Number = 0, String = 1, Bool = 2, Array = 3, Dictionary = 4, Null = 5, Unknown = 6 };
    using enum Type;

    /// The longest text that is read, in bytes: a hundred times the longest reply there is. Reading takes up
    /// to 14 times as much memory.
    static constexpr qsizetype kLargestText = 32 * 1024 * 1024;
    /// How deep arrays and dictionaries may nest in a text.
    static constexpr int kDeepestNesting = 512;

    /// Null.
    JSON() = default;
    JSON(std::nullptr_t) {}
    static JSON nullJSON() { return {}; }

    /// Reads a text in UTF-8. One that cannot be read, or is longer or deeper than the limits, gives null
    /// without an error of its own, and the reason in `error`.
    explicit JSON(const QByteArray& data, JSONReadingOptions options = JSONReadingOptions::AllowFragments,
                  JSONError* error = nullptr);

    /// Any untyped object, by the rules of `setObject`.
    explicit JSON(const QVariant& object) { setObject(object); }
    /// The same, but nothing for an object of no kind of JSON.
    static std::optional<JSON> fromRawValue(const QVariant& object);

    JSON(const std::vector<JSON>& array);
    JSON(const QMap<QString, JSON>& dictionary);

    /// Together with assignment these are the typed setters: they replace the whole value, its kind and its
    /// error.
    JSON(const QString& text) : type_(String), content_(QVariant(text)) {}
    JSON(QStringView text) : JSON(text.toString()) {}
    JSON(const char16_t* text) : JSON(QStringView(text)) {}
    JSON(const QUrl& url) : JSON(QString::fromLatin1(url.toEncoded())) {}
    template<std::same_as<bool> Boolean>
    JSON(Boolean boolean) : JSON(QVariant(boolean)) {}
    template<std::floating_point Real>
    JSON(Real real) : JSON(QVariant(static_cast<double>(real))) {}
    template<std::integral Integer>
    requires(!std::same_as<Integer, bool>) JSON(Integer integer)
        : JSON(std::in_range<qlonglong>(integer) ? QVariant(static_cast<qlonglong>(integer))
                                                 : QVariant(static_cast<qulonglong>(integer))) {}
    /// Nothing is null.
    template<class Value>
    JSON(const std::optional<Value>& value) : JSON(value ? JSON(*value) : JSON()) {}

    Type type() const { return type_; }
    const std::optional<JSONError>& error() const { return error_; }

    /// The untyped value, containers converted whole; nullptr for null and unknown.
    QVariant object() const;
    /// Sorts a value into the kinds. Qt's other numbers, lists, maps and JSON values are taken too, and an
    /// invalid QVariant is null; anything else makes the kind unknown, with ErrorUnsupportedType.
    void setObject(const QVariant& object);

    /// One step. A wrong one gives null with ErrorWrongType, ErrorIndexOutOfBounds or ErrorNotExist. In a
    /// parsed text an element is counted off from the front: walk a long array by iteration.
    JSON operator[](qsizetype index) const;
    JSON operator[](int index) const { return (*this)[qsizetype{index}]; }
    JSON operator[](QStringView key) const;
    JSON operator[](const QString& key) const { return (*this)[QStringView(key)]; }
    JSON operator[](const char16_t* key) const { return (*this)[QStringView(key)]; }
    /// Several steps. The error is that of the last step, not of the first that went wrong. No step at all
    /// gives the value itself.
    JSON operator[](const JSONPath& path) const;
    template<class... Steps>
    JSON at(const Steps&... steps) const {
        JSON value = *this;
        ((value = value[steps]), ...);
        return value;
    }

    /// Writes an element or a field: an index inside an array's bounds, any key of a dictionary. What does
    /// not fit, a value with an error too, is ignored.
    void set(const JSONSubscriptType& step, const JSON& value) { write({&step, 1}, value); }
    /// The same several steps down: `json.set({u"tracks", 0, u"name"}, u"Alpha")`. Every step but the last
    /// must be there. No step at all does nothing.
    void set(const JSONPath& path, const JSON& value) { write(path, value); }

    std::optional<std::vector<JSON>> array() const;
    std::vector<JSON> arrayValue() const { return array().value_or(std::vector<JSON>()); }
    std::optional<QVariantList> arrayObject() const;
    std::optional<QMap<QString, JSON>> dictionary() const;
    QMap<QString, JSON> dictionaryValue() const { return dictionary().value_or(QMap<QString, JSON>()); }
    std::optional<QVariantMap> dictionaryObject() const;
    std::optional<QString> string() const;
    /// A number or boolean as text; empty for what is neither these nor a text.
    QString stringValue() const;
    /// Of a boolean alone.
    std::optional<bool> bool_() const;
    /// Of a number whether it is not 0; of a text whether, blanks aside, it begins with Y, y, T, t or 1 to 9.
    bool boolValue() const;
    /// A number or boolean, untyped.
    std::optional<QVariant> number() const;
    /// A text that is a number from end to end counts as that, as a double; all else is 0.0.
    QVariant numberValue() const;
    /// nullptr if the value is null.
    std::optional<std::nullptr_t> null() const;
    /// A text as URL, after everything was percent-encoded that may not stand in a query: "%" and "#" too.
    std::optional<QUrl> URL() const;

    /// `number` and `numberValue` converted. Fractions are cut off. Reals outside 64 bits become the nearest
    /// integer within, and of integers too wide for the type the low bits are left. `int` has 64 bits.
    std::optional<double> double_() const { return numberAs<double>(); }
    double doubleValue() const { return converted<double>(numberValue()); }
    std::optional<float> float_() const { return numberAs<float>(); }
    float floatValue() const { return converted<float>(numberValue()); }
    std::optional<qint64> int_() const { return numberAs<qint64>(); }
    qint64 intValue() const { return converted<qint64>(numberValue()); }
    std::optional<quint64> uInt() const { return numberAs<quint64>(); }
    quint64 uIntValue() const { return converted<quint64>(numberValue()); }
    std::optional<qint8> int8() const { return numberAs<qint8>(); }
    qint8 int8Value() const { return converted<qint8>(numberValue()); }
    std::optional<quint8> uInt8() const { return numberAs<quint8>(); }
    quint8 uInt8Value() const { return converted<quint8>(numberValue()); }
    std::optional<qint16> int16() const { return numberAs<qint16>(); }
    qint16 int16Value() const { return converted<qint16>(numberValue()); }
    std::optional<quint16> uInt16() const { return numberAs<quint16>(); }
    quint16 uInt16Value() const { return converted<quint16>(numberValue()); }
    std::optional<qint32> int32() const { return numberAs<qint32>(); }
    qint32 int32Value() const { return converted<qint32>(numberValue()); }
    std::optional<quint32> uInt32() const { return numberAs<quint32>(); }
    quint32 uInt32Value() const { return converted<quint32>(numberValue()); }
    std::optional<qint64> int64() const { return numberAs<qint64>(); }
    qint64 int64Value() const { return converted<qint64>(numberValue()); }
    std::optional<quint64> uInt64() const { return numberAs<quint64>(); }
    quint64 uInt64Value() const { return converted<quint64>(numberValue()); }

    /// The number of elements or of different keys; 0 for all other kinds.
    qsizetype count() const;
    /// Of all kinds but an array or dictionary with something in it.
    bool isEmpty() const;
    /// Pairs of text and value: an array's elements with their positions ("0", "1" ...), a dictionary's
    /// values with their keys, in their order. Nothing for other kinds.
    ///
    ///     for (const auto& [position, item] : reply[u"tracks"][u"items"])
    JSONIterator begin() const;
    std::default_sentinel_t end() const { return {}; }
    /// The same walk by positions; no position is before or after another for other kinds than these two.
    /// Slower, as each look starts anew.
    JSONIndex startIndex() const;
    JSONIndex endIndex() const;
    /// Empty text and null outside the walk.
    std::pair<QString, JSON> operator[](const JSONIndex& index) const;

    /// An array or dictionary as a text in UTF-8. Nothing for other kinds, or if something in it has no form
    /// in JSON: a real that is not finite, say. Integers are exact, and reals read back as what they were.
    std::optional<QByteArray> rawData(JSONWritingOptions options = JSONWritingOptions::None) const;
    /// An array or dictionary as the text whose bytes in `encoding` are `rawData`, a text as it stands, other
    /// scalars as `stringValue`, "null". Nothing if there is none.
    std::optional<QString> rawString(QStringConverter::Encoding encoding = QStringConverter::Utf8,
                                     JSONWritingOptions options = JSONWritingOptions::PrettyPrinted) const;
    /// `rawString`, or "unknown".
    QString description() const { return rawString().value_or(QStringLiteral("unknown")); }
    QString debugDescription() const { return description(); }

    /// Values of one kind are equal by content, numbers by value whatever their types; inside arrays and
    /// dictionaries a boolean equals 0 or 1. Unknown equals nothing.
    friend bool operator==(const JSON& left, const JSON& right);
    /// Numbers and texts are ordered. All else is at most equal.
    friend std::partial_ordering operator<=>(const JSON& left, const JSON& right);

  private:
    friend class JSONGenerator;

    struct Parsed {
        std::shared_ptr<const JSONDocument> document;
        JSONPlace place;
    };

    JSON(const std::shared_ptr<const JSONDocument>& document, JSONPlace place);
    static JSON failure(int code, const QString& text);
    void write(std::span<const JSONSubscriptType> path, const JSON& value);
    void writeStep(qsizetype index, const JSON& value);
    void writeStep(const QString& key, const JSON& value);

    const Parsed* parsed() const { return std::get_if<Parsed>(&content_); }
    const QVariantList& list() const;
    const QVariantMap& map() const;

    template<class Target>
    static Target converted(const QVariant& number);
    template<class Target>
    std::optional<Target> numberAs() const {
        const auto value = number();
        return value ? std::optional(converted<Target>(*value)) : std::nullopt;
    }

    Type type_ = Null;
    // A container out of a text stays where it is; everything else is an untyped object.
    std::variant<QVariant, Parsed> content_;
    std::optional<JSONError> error_;
};

/// A position in the walk over a value: of an array, of a dictionary, or none. Positions of one kind compare;
/// any other two are neither equal nor ordered, a none with itself included.
class JSONIndex {
  public:
    enum class Kind { Array, Dictionary, None };

    JSONIndex() = default;
    JSONIndex(Kind kind, qsizetype position) : kind_(kind), position_(position) {}
    Kind kind() const { return kind_; }
    qsizetype position() const { return position_; }
    JSONIndex successor() const { return {kind_, position_ + 1}; }

    friend bool operator==(const JSONIndex& left, const JSONIndex& right) {
        return std::is_eq(left <=> right);
    }
    friend std::partial_ordering operator<=>(const JSONIndex& left, const JSONIndex& right) {
        if (left.kind_ != right.kind_ || left.kind_ == Kind::None)
            return std::partial_ordering::unordered;
        return left.position_ <=> right.position_;
    }

  private:
    Kind kind_ = Kind::None;
    qsizetype position_ = 0;
};

/// One walk over a value, see `JSON::begin`.
class JSONGenerator {
  public:
    using Element = std::pair<QString, JSON>;

    explicit JSONGenerator(const JSON& json);
    std::optional<Element> next();

  private:
    std::optional<Element> nextOfArray();
    std::optional<Element> nextOfDictionary();

    JSON json_;
    qsizetype position_ = 0;
    JSONElements elements_;
    std::vector<JSONField> fields_;
    QVariantMap map_;
    QVariantMap::const_iterator entry_ = map_.cbegin();
};

/// What a range-based for loop over a value uses.
class JSONIterator {
  public:
    using value_type = JSONGenerator::Element;
    using difference_type = std::ptrdiff_t;

    explicit JSONIterator(const JSON& json) : generator_(json), element_(generator_.next()) {}
    const value_type& operator*() const { return *element_; }
    JSONIterator& operator++() {
        element_ = generator_.next();
        return *this;
    }
    void operator++(int) { ++*this; }
    bool operator==(std::default_sentinel_t) const { return !element_; }

  private:
    JSONGenerator generator_;
    std::optional<value_type> element_;
};

inline JSONIterator JSON::begin() const {
    return JSONIterator(*this);
}

} // namespace merlode
