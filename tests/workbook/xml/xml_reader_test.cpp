#include "workbook/xml/xml_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace kes {
namespace {

// The tokens of a document as a compact trace: <name a=v> for starts, </name>, "text". With a
// `piece` size, the reader is given the document that many bytes at a time.
std::string trace(std::string_view xml, std::initializer_list<const char*> attributes = {}, size_t piece = 0) {
    size_t given = 0;
    XmlReader reader = piece == 0 ? XmlReader(xml) : XmlReader([&](char* into, size_t capacity) {
        const size_t n = std::min({piece, capacity, xml.size() - given});
        std::memcpy(into, xml.data() + given, n);
        given += n;
        return n;
    }, 64);
    std::string out;
    for (XmlReader::Token t; (t = reader.next()) != XmlReader::Token::End;) {
        if (t == XmlReader::Token::StartElement) {
            out += "<" + std::string(reader.name());
            for (const char* a : attributes) {
                std::string_view value;
                if (reader.attribute(a, value)) out += " " + std::string(a) + "=" + std::string(value);
            }
            out += ">";
        } else if (t == XmlReader::Token::EndElement) {
            out += "</" + std::string(reader.name()) + ">";
        } else {
            out += "\"" + std::string(reader.text()) + "\"";
        }
    }
    return out;
}

TEST(XmlReader, ReadsPrefixedElementsReferencesAndCdata) {
    EXPECT_EQ(trace("<?xml version=\"1.0\"?><x:c r=\"A1\" t='s'><x:v>1</x:v></x:c>", {"r", "t"}),
              "<c r=A1 t=s><v>\"1\"</v></c>");
    EXPECT_EQ(trace("<t>a &amp; b &lt;&gt; &#x4E2D;&#25991; &#x1F600;</t>"), "<t>\"a & b <> \xE4\xB8\xAD\xE6\x96\x87 \xF0\x9F\x98\x80\"</t>");
    EXPECT_EQ(trace("<t><![CDATA[<not> &markup;]]></t>"), "<t>\"<not> &markup;\"</t>");
    EXPECT_EQ(trace("<a><!-- note --><b/></a>"), "<a><b></b></a>");
    EXPECT_EQ(trace("<t>line1\r\nline2\rline3</t>"), "<t>\"line1\nline2\nline3\"</t>");
    EXPECT_EQ(trace("<a v=\"x&#10;y\tz\"/>", {"v"}), "<a v=x\ny z></a>");
}

TEST(XmlReader, RefusesMalformedDocumentsSayingWhere) {
    struct Case { std::string xml; const char* error; };
    const Case cases[] = {
        {"<a><b></a>", "closes"},
        {"<a>", "ends inside"},
        {"</a>", "without its start"},
        {"<a x=1/>", "without quotes"},
        {"<a>&bogus;</a>", "unknown entity"},
        {"<a>&#0;</a>", "bad character reference"},
        {"<!DOCTYPE a [<!ENTITY x \"boom\">]><a>&x;</a>", "DOCTYPE with declarations"},
        {"<a><!-- open</a>", "unterminated comment"},
        {[] {
             std::string nested;
             for (int i = 0; i < 300; ++i) nested += "<a>";
             return nested;
         }(),
         "too deep"},
    };
    for (const Case& c : cases) {
        try {
            trace(c.xml);
            ADD_FAILURE() << c.xml << " was read";
        } catch (const EXmlError& e) {
            EXPECT_NE(std::string(e.what()).find(c.error), std::string::npos) << e.what();
        }
    }
}

// The trace of a document, or its error, and the same read in pieces of every small size, and
// through a buffer smaller than its tokens.
std::string traceOrError(std::string_view xml, size_t piece) {
    try {
        return trace(xml, {"r", "t", "v"}, piece);
    } catch (const EXmlError& e) {
        return e.what();
    }
}

TEST(XmlReader, ReadsADocumentGivenInPiecesAsItReadsItWhole) {
    const std::string longText(300, 'x');
    const std::string documents[] = {
        "\xEF\xBB\xBF<?xml version=\"1.0\"?><x:c r=\"A1\" t='s'><x:v>1</x:v></x:c>",
        "<t>a &amp; b &lt;&gt; &#x4E2D;&#25991; &#x1F600;</t>",
        "<t><![CDATA[<not> &markup;]]></t>  ",
        "<a><!-- note --><b/><?pi x?></a>",
        "<t>line1\r\nline2\rline3</t>",
        "<a v=\"x&#10;y\tz\"/>",
        "<a><b r=\"" + longText + "\">" + longText + "</b><c/></a>",
        "<a><b></a>",
        "<a>",
        "<a x=1/>",
        "<a>&bogus;</a>",
        "<a><!-- open</a>",
        "<a><![CDATA[open</a>",
        "<a>text</a> tail",
    };
    for (const std::string& xml : documents) {
        const std::string whole = traceOrError(xml, 0);
        for (size_t piece : {1, 2, 3, 5, 8, 13, 1000}) EXPECT_EQ(traceOrError(xml, piece), whole) << xml << " in pieces of " << piece;
    }
}

TEST(XmlReader, EveryPrefixOfADocumentEndsInAnErrorOrTheDocument) {
    const std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><worksheet xmlns=\"ns\"><sheetData><row r=\"1\">"
        "<c r=\"A1\" t=\"inlineStr\"><is><t xml:space=\"preserve\"> a &amp; b </t></is></c>"
        "<c r=\"B1\"><f>SUM(A1:A2)</f><v>3</v></c></row></sheetData><!-- end --></worksheet>";
    for (size_t length = 0; length <= xml.size(); ++length) {
        auto copy = std::make_unique<char[]>(length + 1);
        std::memcpy(copy.get(), xml.data(), length);
        try {
            trace(std::string_view(copy.get(), length));
        } catch (const EXmlError&) {
        }
    }
}

}  // namespace
}  // namespace kes
