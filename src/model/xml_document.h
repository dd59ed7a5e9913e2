#pragma once

#include "model/value_error.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

/// A small tree for reading web feeds, as tolerant as the JSON layer: a missing child is an error element,
/// which answers everything as an empty element does and says in its value what is missing.
///
///     const auto feed = AEXMLDocument::read(data);
///     for (const AEXMLElement& item : feed->root()[u"channel"][u"item"].all())
///         take(item[u"itms:album"].stringValue());
namespace merlode {

/// A handle on one element: copies are the same element, and equality is identity. An element keeps its
/// children alive, but not its parent: hold the document while you walk in it. One thread at a time for a
/// whole tree.
class AEXMLElement {
  public:
    using Attributes = QMap<QString, QString>;

    /// The name of error elements.
    static constexpr QStringView errorElementName = u"AEXMLError";

    explicit AEXMLElement(QString name, std::optional<QString> value = {}, Attributes attributes = {});

    bool operator==(const AEXMLElement&) const = default;

    const QString& name() const { return node_->name; }
    const std::optional<QString>& value() const { return node_->value; }
    const Attributes& attributes() const { return node_->attributes; }
    const std::vector<AEXMLElement>& children() const { return node_->children; }
    std::optional<AEXMLElement> parent() const;
    void setName(QString name) { node_->name = std::move(name); }
    void setValue(std::optional<QString> value) { node_->value = std::move(value); }
    void setAttributes(Attributes attributes) { node_->attributes = std::move(attributes); }

    QString stringValue() const { return node_->value.value_or(QString()); }
    /// `stringValue` with & < > ' " as entities.
    QString escapedStringValue() const;
    /// Whether the value is "true" in any case, or the integer 1.
    bool boolValue() const;
    /// The value if it is an integer, else 0.
    qint64 intValue() const;
    /// The number that the value begins with, else 0.
    double doubleValue() const;

    /// The first child of that name. Without one an error element; an error element gives itself.
    AEXMLElement operator[](QStringView name) const;

    /// Those of the parent's children that have this element's name, and the first, the last and the number
    /// of them. Empty for an element without parent.
    std::vector<AEXMLElement> all() const;
    std::optional<AEXMLElement> first() const;
    std::optional<AEXMLElement> last() const;
    qsizetype count() const { return static_cast<qsizetype>(all().size()); }
    /// Those of `all` with that value; those that have each of these attributes.
    std::vector<AEXMLElement> allWithValue(const QString& value) const;
    std::vector<AEXMLElement> allWithAttributes(const Attributes& attributes) const;

    /// Appends a child, which may not contain this element, and returns it.
    AEXMLElement addChild(AEXMLElement child);
    AEXMLElement addChild(QString name, std::optional<QString> value = {}, Attributes attributes = {}) {
        return addChild(AEXMLElement(std::move(name), std::move(value), std::move(attributes)));
    }
    /// Leaves the parent's children; `parent` stays. Nothing without a parent.
    void removeFromParent();

    /// The element as text, indented by tabs; of a document the declaration and its children. A value beside
    /// children is left out, and attributes are not escaped.
    QString xmlString() const;

  protected:
    struct Declaration {
        double version;
        QString encoding;
        QString standalone;
    };
    struct Node {
        QString name;
        std::optional<QString> value;
        Attributes attributes;
        std::vector<AEXMLElement> children;
        std::weak_ptr<Node> parent;
        std::unique_ptr<Declaration> declaration; // of documents
    };

    explicit AEXMLElement(std::shared_ptr<Node> node) : node_(std::move(node)) {}
    void write(QString& text, int depth) const;

    std::shared_ptr<Node> node_;
};

/// The element above the root of a tree; its name is "AEXMLDocument".
class AEXMLDocument : public AEXMLElement {
  public:
    /// The longest data that is read, in bytes: ten times the longest feed there is.
    static constexpr qsizetype kLargestData = 8 * 1024 * 1024;
    /// How deep elements may nest in data, and how many attributes one may have.
    static constexpr int kDeepestNesting = 256;
    static constexpr int kMostAttributes = 256;
    /// How much text data may give. More than it has itself comes of entities only.
    static constexpr qsizetype kMostCharacters = 2 * kLargestData;

    explicit AEXMLDocument(double version = 1.0, const QString& encoding = QStringLiteral("utf-8"),
                           const QString& standalone = QStringLiteral("no"),
                           const std::optional<AEXMLElement>& root = {});
    /// A document out of data; nothing if it cannot be read, and the reason in `error`.
    static std::optional<AEXMLDocument> read(const QByteArray& data, ValueError* error = nullptr);

    double version() const { return node_->declaration->version; }
    const QString& encoding() const { return node_->declaration->encoding; }
    const QString& standalone() const { return node_->declaration->standalone; }

    /// The single child. An error element if there is none, or more than one.
    AEXMLElement root() const;

    /// Replaces the children by what the data holds. Nothing on success. After a failure what was read up to
    /// there stays; the domain is "QXmlStreamReader" and the code the reader's, or "net.Brolin.AEXML" for
    /// data beyond the limits above, in an encoding that is unknown or broken, or which declares parameter
    /// entities, default attributes, or entities that hold more than text. External entities are never looked
    /// for.
    std::optional<ValueError> loadXMLData(const QByteArray& data);
};

} // namespace merlode
