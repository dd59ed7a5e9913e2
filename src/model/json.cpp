#include "model/json.h"

#include "model/json_document.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>

namespace merlode {

namespace {

QString arrayStep(qsizetype index) {
    return QStringLiteral("Array[%1]").arg(index);
}

QString dictionaryStep(QStringView key) {
    return QStringLiteral("Dictionary[\"") + key.toString() + QStringLiteral("\"]");
}

JSON::Type kindOf(const QVariant& object) {
    switch (object.typeId()) {
    case QMetaType::Bool:
        return JSON::Bool;
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return JSON::Number;
    case QMetaType::QString:
        return JSON::String;
    case QMetaType::QVariantList:
        return JSON::Array;
    case QMetaType::QVariantMap:
        return JSON::Dictionary;
    case QMetaType::Nullptr:
    case QMetaType::UnknownType:
        return JSON::Null;
    default:
        return JSON::Unknown;
    }
}

// Of Qt's many types for one kind of value, the one that this layer keeps.
QVariant normalized(const QVariant& object) {
    switch (object.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return object.toLongLong();
    case QMetaType::ULong:
        return object.toULongLong();
    case QMetaType::Float:
        return object.toDouble();
    case QMetaType::QStringList:
        return object.toList();
    case QMetaType::QVariantHash:
        return object.toMap();
    case QMetaType::QJsonValue:
        return object.toJsonValue().toVariant();
    case QMetaType::QJsonArray:
        return object.toJsonArray().toVariantList();
    case QMetaType::QJsonObject:
        return object.toJsonObject().toVariantMap();
    default:
        return object;
    }
}

} // namespace

bool isBool(const QVariant& number) {
    return number.typeId() == QMetaType::Bool;
}

JSON::JSON(const QByteArray& data, JSONReadingOptions options, JSONError* error) {
    const JSONText text = parseJSON(data, options, error);
    if (text.document)
        *this = JSON(text.document, text.root);
}

JSON::JSON(const std::shared_ptr<const JSONDocument>& document, JSONPlace place) : type_(typeAt(place)) {
    if (type_ == Array || type_ == Dictionary)
        content_ = Parsed{document, place};
    else
        content_ = objectAt(place);
}

JSON::JSON(const std::vector<JSON>& array) : type_(Array) {
    QVariantList list;
    list.reserve(static_cast<qsizetype>(array.size()));
    for (const JSON& element : array)
        list.append(element.object());
    content_ = QVariant(list);
}

JSON::JSON(const QMap<QString, JSON>& dictionary) : type_(Dictionary) {
    QVariantMap map;
    for (auto field = dictionary.cbegin(); field != dictionary.cend(); ++field)
        map.insert(map.cend(), field.key(), field.value().object());
    content_ = QVariant(map);
}

std::optional<JSON> JSON::fromRawValue(const QVariant& object) {
    JSON json(object);
    return json.type_ == Unknown ? std::nullopt : std::optional(std::move(json));
}

JSON JSON::failure(int code, const QString& text) {
    JSON json;
    json.error_ = JSONError{kJSONErrorDomain.toString(), code, text};
    return json;
}

QVariant JSON::object() const {
    if (type_ == Null || type_ == Unknown)
        return QVariant::fromValue(nullptr);
    if (const auto* const part = parsed())
        return objectAt(part->place);
    return std::get<QVariant>(content_);
}

void JSON::setObject(const QVariant& object) {
    error_.reset();
    content_ = normalized(object);
    type_ = kindOf(std::get<QVariant>(content_));
    if (type_ == Unknown) {
        content_ = QVariant();
        error_ = JSONError{kJSONErrorDomain.toString(), ErrorUnsupportedType,
                           QStringLiteral("It is a unsupported type")};
    }
}

const QVariantList& JSON::list() const {
    return *static_cast<const QVariantList*>(std::get<QVariant>(content_).constData());
}

const QVariantMap& JSON::map() const {
    return *static_cast<const QVariantMap*>(std::get<QVariant>(content_).constData());
}

JSON JSON::operator[](qsizetype index) const {
    if (type_ != Array)
        return failure(ErrorWrongType, arrayStep(index) + QStringLiteral(" failure, It is not an array"));
    if (const auto* const part = parsed(); part && index >= 0) {
        if (const auto element = elementAt(part->place, index))
            return {part->document, *element};
    } else if (!part && index >= 0 && index < list().size()) {
        return JSON(list().at(index));
    }
    return failure(ErrorIndexOutOfBounds, arrayStep(index) + QStringLiteral(" is out of bounds"));
}

JSON JSON::operator[](QStringView key) const {
    if (type_ != Dictionary)
        return failure(ErrorWrongType,
                       dictionaryStep(key) + QStringLiteral(" failure, It is not an dictionary"));
    if (const auto* const part = parsed()) {
        if (const auto value = fieldAt(part->place, key))
            return {part->document, *value};
    } else if (const auto field = map().constFind(key.toString()); field != map().cend()) {
        return JSON(*field);
    }
    return failure(ErrorNotExist, dictionaryStep(key) + QStringLiteral(" does not exist"));
}

JSON JSON::operator[](const JSONPath& path) const {
    JSON value = *this;
    for (const JSONSubscriptType& step : path)
        value = step.visit([&value](const auto& inner) { return value[inner]; });
    return value;
}

// A path is worked down by copies and written back up: a step that goes wrong leaves everything as it was,
// since its value has an error and is not taken.
void JSON::write(std::span<const JSONSubscriptType> path, const JSON& value) {
    if (path.empty())
        return;
    path.front().visit([this, path, &value](const auto& step) {
        JSON written = value;
        if (path.size() > 1) {
            written = (*this)[step];
            written.write(path.subspan(1), value);
        }
        if (!written.error_)
            writeStep(step, written);
    });
}

void JSON::writeStep(qsizetype index, const JSON& value) {
    if (type_ != Array || index < 0 || index >= count())
        return;
    if (parsed())
        content_ = object();
    auto* const list = static_cast<QVariantList*>(std::get<QVariant>(content_).data());
    list->replace(index, value.object());
}

void JSON::writeStep(const QString& key, const JSON& value) {
    if (type_ != Dictionary)
        return;
    if (parsed())
        content_ = object();
    auto* const map = static_cast<QVariantMap*>(std::get<QVariant>(content_).data());
    map->insert(key, value.object());
}

} // namespace merlode
