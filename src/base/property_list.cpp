#include "base/property_list.h"

#include "base/property_list_limits.h"

#include <QDateTime>
#include <QTimeZone>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>

#include <plist/plist.h>

namespace merlode::property_list {

namespace {

struct NodeDeleter {
    void operator()(void* node) const { plist_free(node); }
};
using NodePtr = std::unique_ptr<void, NodeDeleter>;

struct TextDeleter {
    void operator()(char* memory) const { plist_to_xml_free(memory); }
};
using TextPtr = std::unique_ptr<char, TextDeleter>;

// Property lists count time from 2001-01-01 UTC.
constexpr qint64 kReferenceDateSeconds = 978307200;

QVariant toVariant(plist_t node);

QVariantMap toMap(plist_t node) {
    QVariantMap map;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const std::unique_ptr<void, decltype(&free)> release(iterator, &free);
    while (true) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, iterator, &key, &value);
        const std::unique_ptr<char, decltype(&free)> keyText(key, &free);
        if (!value)
            return map;
        map.insert(map.cend(), QString::fromUtf8(key), toVariant(value)); // most texts are in order
    }
}

QVariantList toList(plist_t node) {
    QVariantList list;
    const auto size = plist_array_get_size(node);
    list.reserve(size);
    for (std::uint32_t index = 0; index < size; ++index)
        list.append(toVariant(plist_array_get_item(node, index)));
    return list;
}

QVariant integerToVariant(plist_t node) {
    std::uint64_t value = 0;
    plist_get_uint_val(node, &value);
    // The library keeps a sign only by the width it wrote: a value above the signed range that reads as
    // negative was negative in the text.
    return QVariant::fromValue(static_cast<qlonglong>(value));
}

QVariant dateToVariant(plist_t node) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return QDateTime::fromMSecsSinceEpoch((kReferenceDateSeconds + seconds) * 1000 + microseconds / 1000,
                                          QTimeZone::utc());
}

QVariant toVariant(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }
    case PLIST_UINT:
        return integerToVariant(node);
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_STRING:
        return QString::fromUtf8(plist_get_string_ptr(node, nullptr));
    case PLIST_DATA: {
        std::uint64_t length = 0;
        const char* data = plist_get_data_ptr(node, &length);
        return QByteArray(data, static_cast<qsizetype>(length));
    }
    case PLIST_DATE:
        return dateToVariant(node);
    case PLIST_ARRAY:
        return toList(node);
    case PLIST_DICT:
        return toMap(node);
    default:
        return {};
    }
}

plist_t fromVariant(const QVariant& value);

// XML 1.0 has no way to write these, and a writer that lets them through makes a file that nobody can read.
QByteArray cleanText(QString text) {
    text.removeIf([](QChar character) {
        const auto code = character.unicode();
        return (code < 0x20 && code != '\t' && code != '\n' && code != '\r') || code == 0xFFFE ||
               code == 0xFFFF;
    });
    return text.toUtf8();
}

plist_t fromMap(const QVariantMap& map) {
    plist_t node = plist_new_dict();
    for (auto item = map.begin(); item != map.end(); ++item) {
        if (plist_t child = fromVariant(item.value()))
            plist_dict_set_item(node, cleanText(item.key()).constData(), child);
    }
    return node;
}

plist_t fromList(const QVariantList& list) {
    plist_t node = plist_new_array();
    for (const auto& item : list) {
        if (plist_t child = fromVariant(item))
            plist_array_append_item(node, child);
    }
    return node;
}

plist_t fromDate(const QDateTime& date) {
    const qint64 milliseconds = date.toMSecsSinceEpoch() - kReferenceDateSeconds * 1000;
    return plist_new_date(static_cast<std::int32_t>(milliseconds / 1000),
                          static_cast<std::int32_t>(milliseconds % 1000) * 1000);
}

plist_t fromVariant(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return plist_new_uint(static_cast<std::uint64_t>(value.toLongLong()));
    case QMetaType::Double:
    case QMetaType::Float:
        return plist_new_real(value.toDouble());
    case QMetaType::QString:
        return plist_new_string(cleanText(value.toString()).constData());
    case QMetaType::QByteArray: {
        const auto data = value.toByteArray();
        return plist_new_data(data.constData(), static_cast<std::uint64_t>(data.size()));
    }
    case QMetaType::QDateTime:
        return fromDate(value.toDateTime());
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return fromList(value.toList());
    case QMetaType::QVariantMap:
        return fromMap(value.toMap());
    default:
        return nullptr;
    }
}

} // namespace

std::optional<QVariant> parse(const QByteArray& xml) {
    // The library counts in 32 bits.
    if (xml.isEmpty() || xml.size() > std::numeric_limits<std::int32_t>::max() || !isHarmless(xml))
        return std::nullopt;
    plist_t root = nullptr;
    plist_from_xml(xml.constData(), static_cast<std::uint32_t>(xml.size()), &root);
    const NodePtr owner(root);
    if (!root)
        return std::nullopt;
    return toVariant(root);
}

bool canHold(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::QString:
    case QMetaType::QByteArray:
    case QMetaType::QDateTime:
    case QMetaType::QStringList:
        return true;
    case QMetaType::QVariantList:
        return std::ranges::all_of(value.toList(), canHold);
    case QMetaType::QVariantMap:
        return std::ranges::all_of(value.toMap(), canHold);
    default:
        return false;
    }
}

QByteArray serialize(const QVariant& value) {
    NodePtr root(fromVariant(value));
    if (!root)
        return {};
    char* text = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(root.get(), &text, &length);
    const std::unique_ptr<char, TextDeleter> owner(text);
    root.reset(); // a picture need not be held three times
    return QByteArray(text, static_cast<qsizetype>(length));
}

} // namespace merlode::property_list
