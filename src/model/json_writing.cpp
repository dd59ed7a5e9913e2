#include "model/json.h"

#include <QLocale>

#include <cmath>

namespace merlode {

namespace {

// Writes one text. Qt's own writer would round integers that need all 64 bits.
class JSONWriter {
  public:
    explicit JSONWriter(JSONWritingOptions options) : pretty_(options == JSONWritingOptions::PrettyPrinted) {}

    // False for what has no form in JSON; the text is of no use then.
    bool write(const JSON& value);
    QByteArray text() && { return std::move(text_); }

  private:
    bool writeContainer(const JSON& container, char open, char close);
    bool writeNumber(const QVariant& number);
    void writeString(const QString& string);
    void newLine();

    bool pretty_;
    int depth_ = 0;
    QByteArray text_;
};

bool JSONWriter::write(const JSON& value) {
    switch (value.type()) {
    case JSON::Array:
        return writeContainer(value, '[', ']');
    case JSON::Dictionary:
        return writeContainer(value, '{', '}');
    case JSON::String:
        writeString(value.stringValue());
        return true;
    case JSON::Number:
        return writeNumber(value.numberValue());
    case JSON::Bool:
        text_ += value.boolValue() ? "true" : "false";
        return true;
    case JSON::Null:
        text_ += "null";
        return true;
    case JSON::Unknown:
        break;
    }
    return false;
}

bool JSONWriter::writeContainer(const JSON& container, char open, char close) {
    if (++depth_ > JSON::kDeepestNesting) // it could not be read back, and each level takes some of the stack
        return false;
    text_ += open;
    bool first = true;
    for (const auto& [key, value] : container) {
        if (!std::exchange(first, false))
            text_ += ',';
        newLine();
        if (container.type() == JSON::Dictionary) {
            writeString(key);
            text_ += pretty_ ? ": " : ":";
        }
        if (!write(value))
            return false;
    }
    --depth_;
    if (!first)
        newLine();
    text_ += close;
    return true;
}

bool JSONWriter::writeNumber(const QVariant& number) {
    if (number.typeId() != QMetaType::Double) {
        text_ += number.toByteArray();
        return true;
    }
    constexpr double kLargestExact =
        9007199254740992; // 2^53: beyond, digits that tell a real are another integer's
    const double real = number.toDouble();
    const QByteArray digits = QByteArray::number(real, 'g', QLocale::FloatingPointShortest);
    text_ += digits;
    if (std::abs(real) > kLargestExact && !digits.contains('e'))
        text_ += ".0";
    return std::isfinite(real);
}

void JSONWriter::writeString(const QString& string) {
    static constexpr std::string_view kHexadecimal = "0123456789abcdef";
    text_ += '"';
    const QByteArray bytes = string.toUtf8();
    for (const char byte : bytes) {
        const auto code = static_cast<uchar>(byte);
        if (byte == '"' || byte == '\\') {
            text_ += '\\';
            text_ += byte;
        } else if (code < 0x20) {
            text_ += "\\u00";
            text_ += kHexadecimal[code >> 4];
            text_ += kHexadecimal[code & 0xF];
        } else {
            text_ += byte;
        }
    }
    text_ += '"';
}

void JSONWriter::newLine() {
    if (pretty_)
        text_.append('\n').append(4 * depth_, ' ');
}

} // namespace

std::optional<QByteArray> JSON::rawData(JSONWritingOptions options) const {
    JSONWriter writer(options);
    if ((type_ != Array && type_ != Dictionary) || !writer.write(*this))
        return std::nullopt;
    return std::move(writer).text();
}

std::optional<QString> JSON::rawString(QStringConverter::Encoding encoding,
                                       JSONWritingOptions options) const {
    switch (type_) {
    case Array:
    case Dictionary: {
        const auto data = rawData(options);
        if (!data)
            return std::nullopt;
        QStringDecoder decoder(encoding);
        QString text = decoder(*data);
        return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
    }
    case Null:
        return QStringLiteral("null");
    case Unknown:
        return std::nullopt;
    default:
        return stringValue();
    }
}

} // namespace merlode
