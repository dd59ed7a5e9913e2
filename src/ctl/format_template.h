#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <variant>
#include <vector>

namespace merlode::ctl {

/// The template of "status --format": text with {fields}.
class FormatTemplate {
  public:
    /// The compiled template, or what is wrong with it in a sentence for people.
    static std::variant<FormatTemplate, QString> compile(const QString& text);

    /// The names that may stand between braces, in the order in which people read them.
    static QStringList fieldNames();

    /// The template with the fields of a status (keys of control::status) filled in. What is absent, or of a
    /// type that it should not have, gives empty text. Values come from players and are made safe for a
    /// terminal.
    QString render(const QJsonObject& status) const;

  private:
    struct Piece {
        QString literal;
        std::vector<std::size_t> fields; ///< alternatives; the literal counts when there are none
    };

    std::vector<Piece> pieces_;
};

} // namespace merlode::ctl
