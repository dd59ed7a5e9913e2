#include "ctl/format_template.h"

#include "base/control_interface.h"
#include "ctl/plain_text.h"

#include <algorithm>
#include <array>

namespace merlode::ctl {

namespace {

QString plain(const QJsonValue& value) {
    return plainText(value.toString());
}

QString clock(const QJsonValue& value) {
    return value.isDouble() ? clockText(value.toInteger(static_cast<qint64>(value.toDouble()))) : QString();
}

QString number(const QJsonValue& value) {
    return value.isDouble() ? QString::number(value.toInt()) : QString();
}

/// A word rather than yes and no, so that {muted|volume} reads well.
QString muted(const QJsonValue& value) {
    return value.toBool() ? QStringLiteral("muted") : QString();
}

struct Field {
    const char* name;
    QString (*text)(const QJsonValue&);
};

constexpr std::array kFields{
    Field{control::status::kArtist, plain},   Field{control::status::kTitle, plain},
    Field{control::status::kAlbum, plain},    Field{control::status::kState, plain},
    Field{control::status::kPlayer, plain},   Field{control::status::kProgram, plain},
    Field{control::status::kPosition, clock}, Field{control::status::kDuration, clock},
    Field{control::status::kVolume, number},  Field{control::status::kMuted, muted},
    Field{control::status::kArtFile, plain},  Field{control::status::kRole, plain},
};

/// The alternatives between two braces, or what is wrong with them.
std::variant<std::vector<std::size_t>, QString> fieldsOf(const QString& inside) {
    std::vector<std::size_t> fields;
    for (const auto& part : inside.split(u'|')) {
        const auto name = part.trimmed();
        const auto found = std::ranges::find_if(
            kFields, [&](const Field& field) { return name == QLatin1String(field.name); });
        if (found == kFields.end())
            return QStringLiteral("unknown field '%1' in the format; there are %2")
                .arg(name, FormatTemplate::fieldNames().join(QStringLiteral(", ")));
        fields.push_back(static_cast<std::size_t>(found - kFields.begin()));
    }
    return fields;
}

/// The character that a backslash and `next` stand for, or nothing when the two stand for themselves.
QChar escaped(QChar next) {
    switch (next.unicode()) {
    case u'n':
        return u'\n';
    case u't':
        return u'\t';
    case u'\\':
        return u'\\';
    default:
        return {};
    }
}

} // namespace

QStringList FormatTemplate::fieldNames() {
    QStringList names;
    for (const auto& field : kFields)
        names << QString::fromLatin1(field.name);
    return names;
}

std::variant<FormatTemplate, QString> FormatTemplate::compile(const QString& text) {
    FormatTemplate result;
    QString literal;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const auto c = text[i];
        const auto next = i + 1 < text.size() ? text[i + 1] : QChar();
        if (const auto meant = c == u'\\' ? escaped(next) : QChar(); !meant.isNull()) {
            literal += meant;
            ++i;
        } else if ((c == u'{' || c == u'}') && next == c) {
            literal += c;
            ++i;
        } else if (c == u'}') {
            return QStringLiteral("a '}' in the format closes nothing; write '}}' for the character");
        } else if (c == u'{') {
            const auto end = text.indexOf(u'}', i);
            if (end < 0)
                return QStringLiteral("a '{' in the format is not closed; write '{{' for the character");
            auto fields = fieldsOf(text.mid(i + 1, end - i - 1));
            if (auto* wrong = std::get_if<QString>(&fields))
                return *wrong;
            result.pieces_.push_back({std::exchange(literal, {}), {}});
            result.pieces_.push_back({{}, std::get<0>(std::move(fields))});
            i = end;
        } else {
            literal += c;
        }
    }
    result.pieces_.push_back({literal, {}});
    return result;
}

QString FormatTemplate::render(const QJsonObject& status) const {
    QString text;
    for (const auto& piece : pieces_) {
        text += piece.literal;
        for (const auto index : piece.fields) {
            const auto& field = kFields[index];
            const auto value = field.text(status.value(QLatin1String(field.name)));
            if (!value.isEmpty()) {
                text += value;
                break;
            }
        }
    }
    return text;
}

} // namespace merlode::ctl
