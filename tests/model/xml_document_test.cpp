#include "model/xml_document.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

AEXMLDocument parsed(const QByteArray& data) {
    ValueError error;
    auto document = AEXMLDocument::read(data, &error);
    EXPECT_TRUE(document) << error.localizedDescription.toStdString();
    return document.value_or(AEXMLDocument());
}

TEST(XMLDocumentTest, WalksByName) {
    const auto document = parsed(R"(<?xml version="1.0" encoding="ISO-8859-1"?><rss><x:e k="1" l="é">a</x:e>
        <other/><x:e k="1">b</x:e><x:e k="2">a</x:e></rss>)");
    const AEXMLElement entry = document.root()[u"x:e"];
    EXPECT_TRUE(entry.count() == 3 && entry.first() == entry);
    EXPECT_EQ(entry.last()->attributes().value(u"k"_qs), u"2"_qs);
    EXPECT_EQ(entry.attributes().value(u"l"_qs), u"Ã©"_qs); // as Latin-1 reads UTF-8
    EXPECT_EQ(entry.allWithValue(u"a"_qs).size(), 2U);
    EXPECT_EQ(entry.allWithAttributes({{u"k"_qs, u"1"_qs}}).size(), 2U);
    EXPECT_TRUE(entry.allWithAttributes({{u"l"_qs, {}}}).empty());
    const AEXMLElement missing = document.root()[u"a"][u"b"];
    EXPECT_EQ(missing.name(), AEXMLElement::errorElementName);
    EXPECT_EQ(missing.value(), u"element <a> not found"_qs);
    EXPECT_EQ(missing.count() + static_cast<qsizetype>(document.all().size()), 0);
    EXPECT_EQ(AEXMLDocument().root().value(), u"XML Document must have root element."_qs);
}

TEST(XMLDocumentTest, JoinsAndTrimsText) {
    const std::vector<std::pair<QByteArray, std::optional<QString>>> rows = {
        {"<a> \n x &amp;<!-- c --><![CDATA[<y> ]]>&#33; </a>", u"x &<y> !"_qs},
        {"<a> \n </a>", std::nullopt},
        {"<a>before<b>in</b>behind</a>", u"before"_qs},
        {"<a> <b>in</b>behind</a>", std::nullopt},
        {"<!DOCTYPE a [<!ENTITY e \"text\">]><a>&e; &e;</a>", u"text text"_qs},
        {QByteArray("\xFF\xFE<\0a\0>\0\x07\x27<\0/\0a\0>\0", 18), u"\u2707"_qs}};
    for (const auto& [data, expected] : rows)
        EXPECT_EQ(parsed(data).root().value(), expected) << data.toStdString();
}

TEST(XMLDocumentTest, RefusesWhatIsBrokenOrHostile) {
    QByteArray attributes;
    for (int number = 0; number < 100'000; ++number)
        attributes += " a" + QByteArray::number(number) + "=''";
    const QByteArray entity = "<!ENTITY e '" + QByteArray(4000, 'x') + "'>";
    QByteArray doubling = "<!ENTITY e0 ''>"; // never longer than its references, and 2^40 of them
    for (int number = 1; number <= 40; ++number)
        doubling += QStringLiteral("<!ENTITY e%1 '&e%2;&e%2;'>").arg(number).arg(number - 1).toUtf8();
    const std::vector<QByteArray> rows = {
        "",
        "<a>",
        "<a></b>",
        "<a>\xC3(</a>",
        "<a>&undeclared;</a>",
        "<?xml version='1.0' encoding='nonsense'?><a/>",
        QByteArray("<a>").repeated(257) + QByteArray("</a>").repeated(257),
        "<!DOCTYPE a [" + entity + "]><a>" + QByteArray("&e;").repeated(100'000) + "</a>",
        "<!DOCTYPE a [" + doubling + "]><a>&e40;</a>",
        "<!DOCTYPE a [<!ATTLIST a b CDATA 'x'>]><a/>",
        "<!DOCTYPE a [<!ENTITY \n% p '&#60;!ATTLIST a b CDATA \"x\">'>%p;]><a/>",
        "<!-- <' --><a" + attributes + "/>",
        "<a>" + QByteArray(AEXMLDocument::kLargestData, ' ') + "</a>"};
    for (const auto& data : rows) {
        ValueError error;
        EXPECT_FALSE(AEXMLDocument::read(data, &error)) << data.left(60).toStdString();
        EXPECT_FALSE(error.domain.isEmpty());
    }
    EXPECT_FALSE(parsed("<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>").root().value());
}

TEST(XMLDocumentTest, ConvertsLeniently) {
    const std::vector<std::tuple<QString, bool, qint64, double>> rows = {
        {u"TRUE"_qs, true, 0, 0},   {u"1"_qs, true, 1, 1},         {u"12 ms"_qs, false, 0, 12},
        {u"-.5"_qs, false, 0, -.5}, {u"infinity"_qs, false, 0, 0}, {u"+"_qs, false, 0, 0}};
    for (const auto& [value, boolean, integer, real] : rows) {
        const AEXMLElement element(u"a"_qs, value);
        EXPECT_EQ(element.boolValue(), boolean) << value.toStdString();
        EXPECT_EQ(element.intValue(), integer) << value.toStdString();
        EXPECT_EQ(element.doubleValue(), real) << value.toStdString();
    }
}

TEST(XMLDocumentTest, WritesWhatWasBuilt) {
    AEXMLDocument document;
    AEXMLElement root =
        document.addChild(u"feed"_qs, u"not written"_qs, {{u"b"_qs, u"<"_qs}, {u"a"_qs, u"1"_qs}});
    root.addChild(u"entry"_qs).addChild(u"title"_qs, u"&<>'\""_qs);
    AEXMLElement gone = root.addChild(u"gone"_qs);
    gone.removeFromParent();
    EXPECT_EQ(gone.parent(), root);
    EXPECT_EQ(document.xmlString(),
              u"<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"no\"?>\n"
              "<feed a=\"1\" b=\"<\">\n\t<entry>\n\t\t<title>&amp;&lt;&gt;&apos;&quot;</title>\n"
              "\t</entry>\n</feed>\n"_qs);
    EXPECT_EQ(root[u"entry"][u"title"].xmlString().count(u'\t'), 2);
    EXPECT_EQ(AEXMLElement(u"alone"_qs).xmlString(), u"<alone />"_qs);
}

} // namespace
} // namespace merlode
