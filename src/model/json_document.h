#pragma once

#include "model/json.h"

/// The one way from the value layer to the parser of JSON texts. Private to `JSON`.
namespace merlode {

/// A parsed text. Immutable; any thread. The places below are good for as long as it lives.
class JSONDocument;

struct JSONText {
    std::shared_ptr<const JSONDocument> document;
    JSONPlace root;
};

/// Reads a text within the limits of `JSON`. On failure `document` is empty and `error`, if given, tells why.
JSONText parseJSON(const QByteArray& data, JSONReadingOptions options, JSONError* error);

JSON::Type typeAt(JSONPlace place);

/// What stands at the place as an untyped object, containers whole.
QVariant objectAt(JSONPlace place);

/// An array's first element, and the end of its elements. Empty for other kinds.
JSONElements elementsAt(JSONPlace array);
JSONPlace nextElement(JSONPlace element);
std::optional<JSONPlace> elementAt(JSONPlace array, qsizetype index);
qsizetype elementCountAt(JSONPlace array);

/// A dictionary's fields ordered by their keys' bytes, of equal keys the first alone. Empty for other kinds.
std::vector<JSONField> fieldsAt(JSONPlace dictionary);
/// The key of a field, or any other text of the parser's.
QString textOf(std::string_view text);

std::optional<JSONPlace> fieldAt(JSONPlace dictionary, QStringView key);

} // namespace merlode
