// The tool's well-formedness check: every malformed case here is one that
// the library's parser would otherwise turn quietly into a partial document,
// and every well-formed case one it must not refuse.
#include <gtest/gtest.h>

#include <string>

#include "xml_check.h"

namespace {

using nqtool::checkWellFormed;
using nqtool::XmlProblem;

bool check(const std::string& text, XmlProblem* problem, std::size_t maxNesting = 100) {
    return checkWellFormed(text.data(), text.size(), maxNesting, problem);
}

struct Malformed {
    const char* text;
    std::size_t line;
    std::size_t column;
    const char* what;  // part of the description
};

class MalformedText : public testing::TestWithParam<Malformed> {};

TEST_P(MalformedText, IsRefusedWithItsPlace) {
    const Malformed& c = GetParam();
    XmlProblem problem;
    ASSERT_FALSE(check(c.text, &problem)) << c.text;
    EXPECT_EQ(problem.line, c.line) << c.text;
    EXPECT_EQ(problem.column, c.column) << c.text;
    EXPECT_NE(problem.what.find(c.what), std::string::npos) << c.text << " gave: " << problem.what;
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(All, MalformedText, testing::Values(
    // structure
    Malformed{"<a>\n  <b>\n</a>", 3, 1, "</a> does not match <b>"},
    Malformed{"<a>", 1, 4, "missing end tag </a>"},
    Malformed{"</a>", 1, 1, "without a start tag"},
    Malformed{"<a/><b/>", 1, 5, "second root element <b>"},
    Malformed{"<a/>text", 1, 5, "text after the root element"},
    Malformed{"text<a/>", 1, 1, "text before the root element"},
    Malformed{"", 1, 1, "no root element"},
    Malformed{"<!-- only -->", 1, 14, "no root element"},
    Malformed{"<a>1 < 2</a>", 1, 6, "not followed by a name"},
    Malformed{"<a></a >x</b>", 1, 9, "text after the root element"},
    // tags
    Malformed{"<a x=\"1\"y=\"2\"/>", 1, 9, "malformed start tag <a>"},
    Malformed{"<a x=\"1\" x=\"2\"/>", 1, 10, "attribute x given twice"},
    Malformed{"<a b=x/>", 1, 6, "without quotes"},
    Malformed{"<a b/>", 1, 5, "expected \"=\""},
    Malformed{"<a x=\"<\"/>", 1, 7, "\"<\" inside an attribute value"},
    Malformed{"<a x=\"1/>", 1, 6, "unterminated attribute value"},
    Malformed{"<a x=\"1\"", 1, 1, "unterminated start tag"},
    Malformed{"<a></a", 1, 4, "malformed end tag"},
    // references
    Malformed{"<a>&foo;</a>", 1, 4, "undeclared entity &foo;"},
    Malformed{"<a>&amp</a>", 1, 4, "malformed reference"},
    Malformed{"<a>AT&T</a>", 1, 6, "malformed reference"},
    Malformed{"<a>&#0;</a>", 1, 4, "does not allow"},
    Malformed{"<a>&#xD800;</a>", 1, 4, "does not allow"},
    Malformed{"<a>&#x110000;</a>", 1, 4, "does not allow"},
    Malformed{"<a>&#12a;</a>", 1, 4, "malformed character reference"},
    Malformed{"<a x=\"&bad\"/>", 1, 7, "malformed reference"},
    // other markup
    Malformed{"<a><!-- x -- y --></a>", 1, 11, "\"--\" inside a comment"},
    Malformed{"<a><!-- x ---></a>", 1, 11, "\"--\" inside a comment"},
    Malformed{"<a><!-- x </a>", 1, 4, "unterminated comment"},
    Malformed{"<a>]]></a>", 1, 4, "\"]]>\" in text"},
    Malformed{"<![CDATA[x]]><a/>", 1, 1, "CDATA section outside"},
    Malformed{"<a><![CDATA[x</a>", 1, 4, "unterminated CDATA"},
    Malformed{"<a><?xml version=\"1.0\"?></a>", 1, 4, "XML declaration not at the start"},
    Malformed{" <?xml version=\"1.0\"?><a/>", 1, 2, "XML declaration not at the start"},
    Malformed{"<a><? x?></a>", 1, 4, "without a target"},
    Malformed{"<a/><!DOCTYPE a>", 1, 5, "DOCTYPE after the root element"},
    Malformed{"<!DOCTYPE a><!DOCTYPE a><a/>", 1, 13, "second DOCTYPE"},
    Malformed{"<!DOCTYPE a [ <a/>", 1, 1, "unterminated DOCTYPE"},
    // characters
    Malformed{"<a>\x01</a>", 1, 4, "control character 1"},
    Malformed{"<a>\xff</a>", 1, 4, "not UTF-8"},
    Malformed{"<a>\xc3</a>", 1, 4, "not UTF-8"},          // cut short
    Malformed{"<a>\xc0\xaf</a>", 1, 4, "not UTF-8"},      // overlong
    Malformed{"<a>\xed\xa0\x80</a>", 1, 4, "not UTF-8"},  // surrogate
    Malformed{"<a>\xef\xbf\xbe</a>", 1, 4, "U+FFFE"},
    Malformed{"<a>\n\xc3\xa9\xff</a>", 2, 3, "not UTF-8"}));
// clang-format on

class WellFormedText : public testing::TestWithParam<std::string> {};

TEST_P(WellFormedText, IsAccepted) {
    XmlProblem problem;
    EXPECT_TRUE(check(GetParam(), &problem))
        << GetParam() << " gave: " << problem.what << " at " << problem.line << ":" << problem.column;
}

INSTANTIATE_TEST_SUITE_P(
    Documents, WellFormedText,
    testing::Values("<a/>", "<a></a >", "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<a/>\n",
                    "<?xml version='1.0' encoding='UTF-8' standalone='yes'?><a/>",
                    "<!-- before --><?pi data?><a/><!-- after --><?pi?>\n",
                    "<p:a xmlns:p=\"urn:x\" p:b='1' c = \"2\"><p:c/></p:a>",
                    "<a x=\"'>\" y='\"&lt;'>&amp;&lt;&gt;&quot;&apos;&#65;&#x1F600;</a>",
                    "<a><![CDATA[<not> & markup ]] >]]></a>", "<a>]] > and ]]</a>", "<a><!----></a>",
                    "<a>\xC3\xA9\xE2\x80\x94\xF0\x9F\x98\x80</a>", "<_x-1.y:z\xC3\xA9/>",
                    // Entities declared in a DOCTYPE are taken on trust.
                    "<!DOCTYPE a [<!ENTITY e \"]>\"> <!-- it's ] --> <?pi ']'?>]><a>&e;</a>",
                    "<!DOCTYPE a SYSTEM \"a.dtd\"><a>&anything;</a>",
                    // Other declared encodings are left to the parser.
                    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xe9</a>",
                    // Sixteen-bit text is left to the parser too.
                    std::string("\xFF\xFE<\0a\0/\0>\0", 10)));

TEST(XmlCheck, RefusesNestingBeyondTheLimit) {
    std::string deep;
    for (int i = 0; i < 3; ++i) deep = "<e>" + deep + "</e>";
    XmlProblem problem;
    EXPECT_TRUE(check(deep, &problem, 3));
    EXPECT_TRUE(check("<r>" + std::string("<e/>") + "</r>", &problem, 1)) << "empty elements add no level";
    ASSERT_FALSE(check("<r>" + deep + "</r>", &problem, 3));
    EXPECT_EQ(problem.column, 10u);
    EXPECT_EQ(problem.what, "elements nested deeper than 3 levels");
}

}  // namespace
