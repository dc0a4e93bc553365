// The pull reader: the nodes it gives against the DOM's view, records
// expanded from it, and how it stops on a broken input.
#include <gtest/gtest.h>

#include <unistd.h>

#include <string>
#include <thread>

#include "dom_test_util.h"
#include "test_files.h"

namespace {

// One line per node: kind letter, depth, position, name, attributes,
// value; the message for an error.
std::string trace(NqDomReader& reader) {
    static const char kLetters[] = "-SE#C?D.!";
    std::string out;
    for (NqDomReadKind kind = reader.next(); kind != NqDomReadEnd; kind = reader.next()) {
        out += kLetters[kind];
        if (kind == NqDomReadError) return out + " " + str(reader.getErrorMessage()) + "\n";
        out += std::to_string(reader.getDepth()) + "@" + std::to_string(reader.getLine()) + ":" +
               std::to_string(reader.getColumn()) + " " + reader.getName();
        for (int i = 0; i < reader.getAttributeCount(); ++i)
            out += std::string(" ") + reader.getAttributeName(i) + "=" + reader.getAttributeValue(i);
        if (kind == NqDomReadDocumentType)
            out += std::string(" ") + reader.getPublicId() + "|" + reader.getSystemId();
        if (reader.getValueLength() > 0 || kind == NqDomReadText)
            out += std::string(reader.isCData() ? " [" : " '") + reader.getValue() + "'";
        out += "\n";
    }
    return out + ".\n";
}

NqbString bytes(const std::string& text) {
    NqbString out;
    out.assign(text.data(), static_cast<int>(text.size()));
    return out;
}

std::string traceText(const std::string& xml) {
    NqDomReader reader;
    EXPECT_TRUE(reader.openText(bytes(xml)));
    return trace(reader);
}

// Elements with their attributes (sorted) and comments, as the DOM holds them.
std::string outline(const NqDomNode& node) {
    if (node.isComment()) return "<!--" + str(node.getValue(false)) + "-->";
    std::string out = "<" + str(node.getName()) + " " + describeAttributes(node, ",") + ">";
    for (NqDomNode child = node.getFirstChild(true); !child.null(); child = child.getNextSibling(true))
        out += outline(child);
    return out + "</>";
}

// The same from the reader, for the root element.
std::string outline(NqDomReader& reader) {
    std::string out;
    bool inRoot = false;
    for (NqDomReadKind kind = reader.next(); kind != NqDomReadEnd && kind != NqDomReadError;
         kind = reader.next()) {
        inRoot = inRoot || kind == NqDomReadElementStart;
        const bool element = kind == NqDomReadElementStart || kind == NqDomReadElementEnd;
        if (!inRoot || (reader.getDepth() == 0 && !element)) continue;
        if (kind == NqDomReadComment) out += std::string("<!--") + reader.getValue() + "-->";
        if (kind == NqDomReadElementEnd) out += "</>";
        if (kind != NqDomReadElementStart) continue;
        std::set<std::string> sorted;
        for (int i = 0; i < reader.getAttributeCount(); ++i)
            sorted.insert(std::string(reader.getAttributeName(i)) + "=" + reader.getAttributeValue(i));
        out += std::string("<") + reader.getName() + " ";
        for (const std::string& pair : sorted) out += (&pair == &*sorted.begin() ? "" : ",") + pair;
        out += ">";
    }
    return out + (reader.getKind() == NqDomReadEnd ? "" : "<error>");
}

struct TraceCase {
    const char* name;
    std::string xml;
    std::string expected;
};

const TraceCase kTraces[] = {
    {"MixedContent", "<a>x<b>y</b>z</a>",
     "S0@1:1 a\n#1@1:4  'x'\nS1@1:5 b\n#2@1:8  'y'\nE1@1:9 b\n#1@1:13  'z'\nE0@1:14 a\n.\n"},
    {"EveryKind",
     "<?xml version='1.0'?>\n<!DOCTYPE r [<!ENTITY e 'h&#233;'><!ATTLIST b d CDATA 'dflt'><!-- in dtd -->]>\n"
     "<!-- c --><?pi data?>\n<r xmlns:x='u' a='1'>\n  <x:b "
     "k='&e;'>t&e;<![CDATA[<&>]]>u&amp;</x:b><b/>\n</r>\n"
     "<!-- after -->",
     "D0@1:22 r |\nC0@2:78  ' c '\n?0@3:11 pi 'data'\nS0@4:1 r xmlns:x=u a=1\n#1@4:22  '\n  '\n"
     "S1@5:3 x:b k=h\xc3\xa9\n#2@5:16  'th\xc3\xa9'\n#2@5:20  [<&>'\n#2@5:35  'u&'\nE1@5:41 x:b\n"
     "S1@5:47 b d=dflt\nE1@5:47 b\n#1@5:51  '\n'\nE0@6:1 r\nC0@6:5  ' after '\n.\n"},
    {"FourByteCharactersWrittenAndReferred", "<a>&#x1D11E;\xf0\x9d\x84\xa2</a>",
     "S0@1:1 a\n#1@1:4  '\xf0\x9d\x84\x9e\xf0\x9d\x84\xa2'\nE0@1:15 a\n.\n"},
};

void PrintTo(const TraceCase& row, std::ostream* out) {
    *out << row.name;
}

class Traces : public ::testing::TestWithParam<TraceCase> {};

TEST_P(Traces, GiveEveryNodeInOrderWithWhereItStarts) {
    EXPECT_EQ(traceText(GetParam().xml), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Reader, Traces, ::testing::ValuesIn(kTraces),
                         [](const auto& info) { return std::string(info.param.name); });

// Elements, attributes (declared defaults included) and comments: the
// reader sees what loadXML builds.
TEST(Reader, SeesTheElementsAttributesAndCommentsTheDomHolds) {
    for (const TraceCase& row : kTraces) {
        NqDom dom;
        ASSERT_TRUE(dom.loadXML(NqbString(row.xml.c_str())));
        NqDomReader reader;
        reader.openText(NqbString(row.xml.c_str()));
        EXPECT_EQ(outline(reader), outline(dom.getRoot())) << row.name;
    }
}

// Records two levels down, the namespaces they use declared above them.
const char kRecords[] =
    "<!DOCTYPE dump [<!ENTITY co 'Caf&#233; &amp; Co'>]>"
    "<dump xmlns='urn:d' xmlns:p='urn:p'><batch xmlns:p='urn:q'>"
    "<p:rec id='1'>&co;<![CDATA[<raw>]]><!--n--><?t d?><p:v/></p:rec>"
    "<rec xmlns='urn:own' id='2'/>"
    "</batch><after/></dump>";

TEST(Reader, ExpandsRecordsWithTheirNamespacesTextsAndSectionsIntoOneReusedHandle) {
    NqDomReader reader;
    reader.openText(kRecords);
    NqDom record;
    std::string written;
    while (reader.next() != NqDomReadEnd) {
        ASSERT_NE(reader.getKind(), NqDomReadError) << str(reader.getErrorMessage());
        if (reader.getKind() == NqDomReadElementStart && reader.getDepth() < 2) continue;
        if (reader.getKind() != NqDomReadElementStart) {
            ASSERT_NE(reader.getKind(), NqDomReadText);
            written += std::string("|") + reader.getName();
            continue;
        }
        ASSERT_TRUE(reader.expand(record)) << str(reader.getErrorMessage());
        EXPECT_EQ(reader.getKind(), NqDomReadElementEnd);
        EXPECT_EQ(str(reader.getName()), str(record.getRoot().getName()));
        written += "|" + str(record.createXML(false, record.getRoot()));
    }
    // The document type, records, ends of what was not expanded.
    EXPECT_EQ(written,
              "|dump|<p:rec id=\"1\" xmlns=\"urn:d\" xmlns:p=\"urn:q\">Caf\xc3\xa9 &amp; "
              "Co<![CDATA[<raw>]]><!--n--><?t d?>"
              "<p:v/></p:rec>|<rec id=\"2\" xmlns=\"urn:own\"/>|batch|after|dump");
    EXPECT_FALSE(reader.expand(record)) << "only on an element start";
    EXPECT_EQ(str(record.getRoot().getName()), "rec") << "and then the handle keeps its record";
}

struct ErrorCase {
    const char* xml;
    const char* message;
};

TEST(Reader, StopsAtTheFirstErrorWithItsPositionKeepingWhatCameBefore) {
    const ErrorCase cases[] = {
        {"<a>\n<b></a>",
         "S0@1:1 a\n#1@1:4  '\n'\nS1@2:1 b\n! LibXML 345: line 2, column 6: expected end of tag 'b'\n"},
        {"<a x='1' x='2'/>",
         "! LibXML 345: line 1, column 12: attribute 'x' is already specified for element 'a'\n"},
        {"<a>&undeclared;</a>", "S0@1:1 a\n! LibXML 345: line 1, column 16: entity 'undeclared' not found\n"},
        {"<a/><b/>",
         "S0@1:1 a\nE0@1:1 a\n! LibXML 345: line 1, column 5: comment or processing instruction expected\n"},
        {"", "! LibXML 345: line 1, column 1: invalid document structure\n"},
    };
    for (const ErrorCase& row : cases) EXPECT_EQ(traceText(row.xml), row.message) << row.xml;
}

// Cut anywhere, even inside a character or the declaration, the text fails:
// never a crash, never a quiet end.
TEST(Reader, ATextCutAtAnyByteIsAnError) {
    const std::string sample =
        "\xef\xbb\xbf<?xml version='1.0' encoding='UTF-8'?><!DOCTYPE r [<!ENTITY e '\xc3\xa9'>]>"
        "<!--c--><r a='&e;' b=\"&lt;\"><s>\xe6\x97\xa5 &e;&#10;</s><![CDATA[x]]><?p q?><t/></r>";
    ASSERT_EQ(traceText(sample).substr(traceText(sample).size() - 2), ".\n");
    for (std::size_t length = 0; length < sample.size(); ++length) {
        NqDomReader reader;
        reader.openText(bytes(sample.substr(0, length)));
        NqDomReadKind kind = reader.next();
        while (kind != NqDomReadEnd && kind != NqDomReadError) kind = reader.next();
        EXPECT_EQ(kind, NqDomReadError) << "cut at " << length;
        EXPECT_EQ(reader.next(), kind) << "the reader stays stopped";
    }
}

TEST(Reader, SkipsTheRestOfAnElementAndReadsFromADescriptor) {
    int pipeEnds[2];
    ASSERT_EQ(::pipe(pipeEnds), 0);
    std::thread writer([&] {
        const std::string xml = "<r><a><x>1</x><y/></a><b>2<c/>3</b><d/></r>";
        EXPECT_EQ(::write(pipeEnds[1], xml.data(), xml.size()), static_cast<ssize_t>(xml.size()));
        ::close(pipeEnds[1]);
    });
    NqDomReader reader;
    ASSERT_TRUE(reader.openDescriptor(pipeEnds[0]));
    std::string seen;
    for (NqDomReadKind kind = reader.next();
         kind == NqDomReadElementStart || kind == NqDomReadElementEnd || kind == NqDomReadText;) {
        seen +=
            std::string(kind == NqDomReadElementEnd ? "/" : "") + reader.getName() + reader.getValue() + " ";
        const std::string name = reader.getName();
        // From an element start: past it; from a text inside b: past the rest of b.
        const bool past =
            (kind == NqDomReadElementStart && name == "a") || std::string(reader.getValue()) == "2";
        kind = past ? reader.skip() : reader.next();
    }
    writer.join();
    ::close(pipeEnds[0]);
    EXPECT_EQ(reader.getKind(), NqDomReadEnd) << str(reader.getErrorMessage());
    EXPECT_EQ(seen, "r a /a b 2 /b d /d /r ");
}

}  // namespace
