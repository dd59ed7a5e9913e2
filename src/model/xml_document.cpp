#include "model/xml_document.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace merlode {

namespace {

AEXMLElement errorElement(const QString& reason) {
    return AEXMLElement(AEXMLElement::errorElementName.toString(), reason);
}

} // namespace

AEXMLElement::AEXMLElement(QString name, std::optional<QString> value, Attributes attributes)
    : node_(std::make_shared<Node>(
          Node{std::move(name), std::move(value), std::move(attributes), {}, {}, {}})) {}

std::optional<AEXMLElement> AEXMLElement::parent() const {
    if (auto parent = node_->parent.lock())
        return AEXMLElement(std::move(parent));
    return std::nullopt;
}

QString AEXMLElement::escapedStringValue() const {
    // The ampersand first, so that the others are not escaped twice.
    return stringValue()
        .replace(u'&', QStringLiteral("&amp;"))
        .replace(u'<', QStringLiteral("&lt;"))
        .replace(u'>', QStringLiteral("&gt;"))
        .replace(u'\'', QStringLiteral("&apos;"))
        .replace(u'"', QStringLiteral("&quot;"));
}

bool AEXMLElement::boolValue() const {
    return stringValue().toLower() == QStringLiteral("true") || intValue() == 1;
}

qint64 AEXMLElement::intValue() const {
    return stringValue().toLongLong(); // 0 for what is no integer
}

double AEXMLElement::doubleValue() const {
    const std::string text = stringValue().trimmed().toStdString();
    std::string_view digits = text;
    const bool isNegative = digits.starts_with('-');
    if (isNegative || digits.starts_with('+'))
        digits.remove_prefix(1);
    // Neither "inf" nor "nan", which the library reads, is a number here.
    if (digits.find_first_of("0123456789.") != 0)
        return 0;
    double number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return isNegative ? -number : number;
}

AEXMLElement AEXMLElement::operator[](QStringView name) const {
    if (node_->name == errorElementName)
        return *this;
    const auto child = std::ranges::find(node_->children, name, &AEXMLElement::name);
    if (child != node_->children.end())
        return *child;
    return errorElement(QStringLiteral("element <%1> not found").arg(name));
}

std::vector<AEXMLElement> AEXMLElement::all() const {
    std::vector<AEXMLElement> result;
    if (const auto parent = node_->parent.lock()) {
        std::ranges::copy_if(parent->children, std::back_inserter(result),
                             [this](const AEXMLElement& sibling) { return sibling.name() == name(); });
    }
    return result;
}

std::optional<AEXMLElement> AEXMLElement::first() const {
    const auto elements = all();
    return elements.empty() ? std::nullopt : std::optional(elements.front());
}

std::optional<AEXMLElement> AEXMLElement::last() const {
    const auto elements = all();
    return elements.empty() ? std::nullopt : std::optional(elements.back());
}

std::vector<AEXMLElement> AEXMLElement::allWithValue(const QString& value) const {
    auto elements = all();
    std::erase_if(elements, [&value](const AEXMLElement& element) { return element.value() != value; });
    return elements;
}

std::vector<AEXMLElement> AEXMLElement::allWithAttributes(const Attributes& attributes) const {
    auto elements = all();
    std::erase_if(elements, [&attributes](const AEXMLElement& element) {
        for (auto wanted = attributes.cbegin(); wanted != attributes.cend(); ++wanted) {
            const auto found = element.attributes().constFind(wanted.key());
            if (found == element.attributes().cend() || *found != *wanted)
                return true;
        }
        return false;
    });
    return elements;
}

AEXMLElement AEXMLElement::addChild(AEXMLElement child) {
    child.node_->parent = node_;
    node_->children.push_back(child);
    return child;
}

void AEXMLElement::removeFromParent() {
    if (const auto parent = node_->parent.lock())
        std::erase(parent->children, AEXMLElement(*this));
}

QString AEXMLElement::xmlString() const {
    int ancestors = 0;
    for (auto above = node_->parent.lock(); above; above = above->parent.lock())
        ++ancestors;
    QString text;
    write(text, ancestors - 1);
    return text;
}

void AEXMLElement::write(QString& text, int depth) const {
    if (const auto* const declaration = node_->declaration.get()) {
        text += QStringLiteral("<?xml version=\"%1\" encoding=\"%2\" standalone=\"%3\"?>\n")
                    .arg(QString::number(declaration->version, 'f', 1), declaration->encoding,
                         declaration->standalone);
        for (const AEXMLElement& child : node_->children) {
            child.write(text, depth + 1);
            text += u'\n';
        }
        return;
    }
    const QString indent(std::max(depth, 0), u'\t');
    text += indent + u'<' + node_->name;
    for (auto attribute = node_->attributes.cbegin(); attribute != node_->attributes.cend(); ++attribute)
        text += u' ' + attribute.key() + QStringLiteral("=\"") + attribute.value() + u'"';
    if (node_->children.empty() && !node_->value) {
        text += QStringLiteral(" />");
        return;
    }
    text += u'>';
    if (node_->children.empty())
        text += escapedStringValue();
    else
        text += u'\n';
    for (const AEXMLElement& child : node_->children) {
        child.write(text, depth + 1);
        text += u'\n';
    }
    if (!node_->children.empty())
        text += indent;
    text += QStringLiteral("</") + node_->name + u'>';
}

AEXMLDocument::AEXMLDocument(double version, const QString& encoding, const QString& standalone,
                             const std::optional<AEXMLElement>& root)
    : AEXMLElement(QStringLiteral("AEXMLDocument")) {
    node_->declaration = std::make_unique<Declaration>(Declaration{version, encoding, standalone});
    if (root)
        addChild(*root);
}

AEXMLElement AEXMLDocument::root() const {
    if (children().size() == 1)
        return children().front();
    return errorElement(QStringLiteral("XML Document must have root element."));
}

} // namespace merlode
