#include "model/xml_document.h"

#include <QHash>
#include <QStringDecoder>
#include <QXmlStreamReader>

#include <algorithm>
#include <utility>

namespace merlode {

namespace {

// The data in UTF-8 and without its declaration. The encoding is settled here and not by the reader, so that
// what is looked at below is what that will read.
std::optional<QByteArray> markupOf(const QByteArray& data) {
    constexpr qsizetype kLongestDeclaration = 1024;
    QXmlStreamReader front(data.left(kLongestDeclaration));
    if (front.readNext() != QXmlStreamReader::StartDocument)
        return std::nullopt;
    const QByteArray declared = front.documentEncoding().toUtf8();
    QStringDecoder decoder(declared.isEmpty() ? "UTF-8" : declared.constData());
    if (const auto told = QStringConverter::encodingForData(data, u'<'))
        decoder = QStringDecoder(*told);
    QByteArray markup = data;
    if (qstrcmp(decoder.name(), "UTF-8") != 0) {
        const QString text = decoder(data);
        if (!decoder.isValid() || decoder.hasError())
            return std::nullopt;
        markup = text.toUtf8();
    } else if (markup.startsWith("\xEF\xBB\xBF")) {
        markup.remove(0, 3);
    }
    if (!front.documentVersion().isEmpty())
        markup.remove(0, markup.indexOf("?>") + 2);
    return markup;
}

// How many attributes the tag has that this piece of a markup, from one "<" to the next, begins with. No tag
// is longer: none holds a "<" within.
int attributesOf(QByteArrayView piece) {
    if (piece.startsWith("<!") || piece.startsWith("<?"))
        return 0;
    int attributes = 0;
    for (qsizetype at = 0; at < piece.size() && piece[at] != '>'; ++at) {
        if (piece[at] != '"' && piece[at] != '\'')
            continue;
        ++attributes;
        const qsizetype end = piece.indexOf(piece[at], at + 1);
        if (end < 0)
            break;
        at = end;
    }
    return attributes;
}

// Whether some tag has more attributes than allowed: the reader compares each with each.
bool hasCrowdedTag(QByteArrayView markup) {
    constexpr qsizetype kShortest = AEXMLDocument::kMostAttributes * qsizetype{sizeof("a='' ") - 1};
    qsizetype start = markup.indexOf('<');
    while (start >= 0 && markup.size() - start > kShortest) {
        // Nearly always there are tags further on that begin so near that those before are short.
        if (const qsizetype near = markup.sliced(start + 1, kShortest).lastIndexOf('<'); near >= 0) {
            start += 1 + near;
            continue;
        }
        const qsizetype next = markup.indexOf('<', start + 1);
        const auto piece = markup.sliced(start, (next < 0 ? markup.size() : next) - start);
        if (attributesOf(piece) > AEXMLDocument::kMostAttributes)
            return true;
        start = next;
    }
    return false;
}

// Whether it declares default attributes, which the reader adds to every element of a name, or entities by
// which it could do so unseen.
bool hasHeavyDeclarations(QByteArrayView markup) {
    if (!markup.contains("<!DOCTYPE"))
        return false;
    constexpr QByteArrayView kEntity = "<!ENTITY";
    for (qsizetype at = 0; (at = markup.indexOf(kEntity, at)) >= 0;) {
        at += kEntity.size();
        const auto rest = markup.sliced(at);
        const auto kind =
            std::ranges::find_if_not(rest, [](char c) { return QByteArrayView(" \t\r\n").contains(c); });
        if (kind != rest.end() && *kind == '%')
            return true;
    }
    return markup.contains("<!ATTLIST");
}

// Entities within entities grow without bound, and pass the reader's own limit by doing so in small steps.
bool holdsText(const QXmlStreamEntityDeclaration& entity) {
    return !entity.value().contains(u'&') && !entity.value().contains(u'<');
}

// One run over the events of the reader.
class AEXMLParser {
  public:
    AEXMLParser(const AEXMLDocument& document, const QByteArray& markup)
        : reader_(markup), parents_{document} {
        constexpr qsizetype kLargestEntity = 4096;
        qsizetype references = 1;
        for (qsizetype at = markup.indexOf('&'); at >= 0; at = markup.indexOf('&', at + 1))
            ++references;
        reader_.setNamespaceProcessing(false); // names as they stand, prefixes included
        reader_.setEntityExpansionLimit(
            static_cast<int>(std::min(kLargestEntity, AEXMLDocument::kMostCharacters / references)));
    }

    // False for what is beyond the limits.
    bool parse();
    std::optional<ValueError> parseError() const;

  private:
    bool take(QXmlStreamReader::TokenType token);
    void startElement();
    void endElement();
    void takeCharacters();
    void takeValue();
    const QString& shared(QStringView name);

    QXmlStreamReader reader_;
    std::vector<AEXMLElement> parents_; // the document, the root, and so on to the current parent
    bool isCurrentElement_ = false;     // that one; it is not any more behind its first child
    QString currentValue_;
    qsizetype characters_ = 0;
    QHash<QStringView, QString> names_; // each name once, under a view of itself
};

bool AEXMLParser::parse() {
    while (!reader_.atEnd()) {
        if (!take(reader_.readNext()))
            return false;
    }
    return true;
}

std::optional<ValueError> AEXMLParser::parseError() const {
    if (!reader_.hasError())
        return std::nullopt;
    return ValueError{QStringLiteral("QXmlStreamReader"), reader_.error(), reader_.errorString()};
}

bool AEXMLParser::take(QXmlStreamReader::TokenType token) {
    switch (token) {
    case QXmlStreamReader::DTD:
        return std::ranges::all_of(reader_.entityDeclarations(), holdsText);
    case QXmlStreamReader::StartElement:
        startElement();
        break;
    case QXmlStreamReader::EndElement:
        endElement();
        break;
    case QXmlStreamReader::Characters:
        takeCharacters();
        break;
    default:
        break;
    }
    return parents_.size() <= 1 + AEXMLDocument::kDeepestNesting &&
           characters_ <= AEXMLDocument::kMostCharacters;
}

void AEXMLParser::startElement() {
    takeValue();
    AEXMLElement::Attributes attributes;
    for (const QXmlStreamAttribute& attribute : reader_.attributes()) {
        attributes.insert(shared(attribute.qualifiedName()), attribute.value().toString());
        characters_ += attribute.qualifiedName().size() + attribute.value().size();
    }
    parents_.push_back(parents_.back().addChild(shared(reader_.qualifiedName()), {}, std::move(attributes)));
    isCurrentElement_ = true;
}

void AEXMLParser::endElement() {
    takeValue();
    parents_.pop_back();
}

// Text comes in pieces, to be joined. Blanks at the front count for nothing, and stand between all elements.
void AEXMLParser::takeCharacters() {
    characters_ += reader_.text().size();
    if (!isCurrentElement_ || (currentValue_.isEmpty() && reader_.isWhitespace()))
        return;
    if (currentValue_.isEmpty())
        currentValue_ = reader_.text().toString();
    else
        currentValue_ += reader_.text();
}

void AEXMLParser::takeValue() {
    if (isCurrentElement_ && !currentValue_.isEmpty()) {
        QString value = std::exchange(currentValue_, {}).trimmed();
        if (!value.isEmpty())
            parents_.back().setValue(std::move(value));
    }
    isCurrentElement_ = false;
}

const QString& AEXMLParser::shared(QStringView name) {
    const auto known = names_.constFind(name);
    if (known != names_.cend())
        return *known;
    const QString text = name.toString();
    return *names_.insert(text, text);
}

} // namespace

std::optional<ValueError> AEXMLDocument::loadXMLData(const QByteArray& data) {
    const ValueError refusal{QStringLiteral("net.Brolin.AEXML"), 0, {}};
    node_->children.clear();
    if (data.size() > kLargestData)
        return refusal;
    const auto markup = markupOf(data);
    if (!markup || hasHeavyDeclarations(*markup) || hasCrowdedTag(*markup))
        return refusal;
    AEXMLParser parser(*this, *markup);
    if (!parser.parse())
        return refusal;
    return parser.parseError();
}

std::optional<AEXMLDocument> AEXMLDocument::read(const QByteArray& data, ValueError* error) {
    AEXMLDocument document;
    const auto failure = document.loadXMLData(data);
    if (!failure)
        return document;
    if (error)
        *error = *failure;
    return std::nullopt;
}

} // namespace merlode
