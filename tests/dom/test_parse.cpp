// Parsing text and files, and the records it writes to "NQ.DOMXML".
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "nqdom.h"
#include "nqdommessages.h"
#include "nqxlog.h"
#include "test_files.h"

namespace {

std::string text(const NqbString& s) {
    return s.asCstr();
}

struct Record {
    std::string logger;
    int level;
    std::string message;
    bool operator==(const Record& o) const {
        return logger == o.logger && level == o.level && message == o.message;
    }
};

std::ostream& operator<<(std::ostream& out, const Record& r) {
    return out << "{" << r.logger << ", " << r.level << ", \"" << r.message << "\"}";
}

Record trace(const std::string& message) {
    return Record{"NQ.DOMXML", 1, message};
}
Record failure(const std::string& message) {
    return Record{"NQ.DOMXML", 5, message};
}

// Collects every record while it exists.
class LogCapture {
public:
    LogCapture() { nqlogSetSink(&LogCapture::collect, this); }
    ~LogCapture() { nqlogSetSink(nullptr, nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The records collected since the last call.
    std::vector<Record> take() {
        std::vector<Record> taken;
        taken.swap(m_records);
        return taken;
    }

private:
    static void collect(void* context, const char* loggerName, int level, const char*, int,
                        const char* message) {
        static_cast<LogCapture*>(context)->m_records.push_back(Record{loggerName, level, message});
    }

    std::vector<Record> m_records;
};

std::string enterLoadXML(size_t chars) {
    return "enter loadXML with " + std::to_string(chars) + " chars";
}

void expectClearedError(const NqDom& dom) {
    EXPECT_FALSE(dom.getErrorMessage().isNull());
    EXPECT_EQ(dom.getErrorMessage().length(), 0);
}

}  // namespace

TEST(Parse, LoadsDocumentAndTracesEntryAndExit) {
    NqDom dom;
    LogCapture log;
    ASSERT_TRUE(dom.loadXML("<a><b/></a>"));
    EXPECT_EQ(log.take(), (std::vector<Record>{trace(enterLoadXML(11)), trace("exit loadXML")}));
    EXPECT_EQ(text(dom.getRoot().getName()), "a");
    EXPECT_EQ(text(dom.getRoot().getFirstChild(false).getName()), "b");
    expectClearedError(dom);
}

TEST(Parse, ConstructionWritesNoRecord) {
    LogCapture log;
    NqDom dom;
    NqDom copy(dom);
    EXPECT_TRUE(log.take().empty());
}

// Without namespace processing names keep their prefixes and declarations
// are plain attributes.
TEST(Parse, PrefixesStayPartOfNames) {
    NqDom dom;
    ASSERT_TRUE(dom.loadXML("<x:a xmlns:x='urn:x' x:k='v'><x:b/></x:a>"));
    const NqDomNode root = dom.getRoot();
    EXPECT_EQ(text(root.getName()), "x:a");
    EXPECT_EQ(root.getAttributeCount(), 2);
    EXPECT_EQ(text(root.getAttributeValue("xmlns:x")), "urn:x");
    EXPECT_EQ(text(root.getAttributeValue("x:k")), "v");
    EXPECT_EQ(text(root.getFirstChild(false).getName()), "x:b");
}

// An undeclared prefix is no error when namespaces are not processed.
TEST(Parse, UndeclaredPrefixIsAccepted) {
    NqDom dom;
    ASSERT_TRUE(dom.loadXML("<u:a/>"));
    EXPECT_EQ(text(dom.getRoot().getName()), "u:a");
}

TEST(Parse, DeclaredEncodingIsHonoured) {
    NqDom dom;
    ASSERT_TRUE(dom.loadXML("<?xml version='1.0' encoding='ISO-8859-1'?><a>caf\xe9</a>"));
    EXPECT_EQ(text(dom.getRoot().getValue(false)), "caf\xc3\xa9");
}

TEST(Parse, LoadReplacesTheCurrentDocument) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("built"));
    ASSERT_TRUE(dom.loadXML("<first/>"));
    EXPECT_EQ(text(dom.getRoot().getName()), "first");
    ASSERT_TRUE(dom.loadXML("<second><c/></second>"));
    EXPECT_EQ(text(dom.getRoot().getName()), "second");
}

TEST(Parse, LoadClearsAnEarlierError) {
    NqDom dom;
    ASSERT_FALSE(dom.startNewDocument("a b"));
    ASSERT_TRUE(dom.loadXML("<a/>"));
    expectClearedError(dom);
}

struct BadText {
    const char* label;
    NqbString xml;
    const char* root;  // null: no document element
};

void PrintTo(const BadText& c, std::ostream* out) {
    *out << c.label;
}

class ParseBadText : public ::testing::TestWithParam<BadText> {};

// With no error handler the parser reports nothing: the load succeeds and the
// root is whatever element was built before the error, if any.
TEST_P(ParseBadText, SucceedsWithWhatTheParserBuilt) {
    const BadText& c = GetParam();
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("previous"));
    LogCapture log;
    const bool loaded = dom.loadXML(c.xml);

    EXPECT_TRUE(loaded);
    expectClearedError(dom);
    if (c.root) {
        EXPECT_EQ(text(dom.getRoot().getName()), c.root);
    } else {
        EXPECT_TRUE(dom.getRoot().null());
    }
    EXPECT_EQ(log.take(), (std::vector<Record>{trace(enterLoadXML(c.xml.length())), trace("exit loadXML")}));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseBadText,
    ::testing::Values(BadText{"Null", NqbString(), nullptr}, BadText{"Empty", NqbString(""), nullptr},
                      BadText{"NotXml", NqbString("not xml"), nullptr},
                      BadText{"Unclosed", NqbString("<a><b></a>"), "a"},
                      BadText{"TwoRoots", NqbString("<a/><b/>"), "a"},
                      BadText{"DuplicateAttribute", NqbString("<a x='1' x='2'/>"), nullptr},
                      BadText{"BadUtf8", NqbString("<a>\xc3</a>"), nullptr},
                      BadText{"MissingDtd", NqbString("<!DOCTYPE a SYSTEM '/nonexistent/a.dtd'><a/>"),
                              nullptr}),
    [](const ::testing::TestParamInfo<BadText>& info) { return info.param.label; });

TEST(Parse, LoadFileTracesBothLevels) {
    TempDir dir;
    const std::string path = dir.file("doc.xml");
    const std::string content = "<?xml version=\"1.0\"?>\n<entries><entry name=\"n\">v</entry></entries>\n";
    ASSERT_TRUE(writeBytes(path, content));
    NqDom dom;
    LogCapture log;
    ASSERT_TRUE(dom.loadFile(path.c_str()));
    EXPECT_EQ(log.take(),
              (std::vector<Record>{trace("enter loadFile " + path), trace(enterLoadXML(content.size())),
                                   trace("exit loadXML"), trace("exit loadFile")}));
    EXPECT_EQ(text(dom.getRoot().getName()), "entries");
    EXPECT_EQ(text(dom.getRoot().getFirstChild(false).getAttributeValue("name")), "n");
    expectClearedError(dom);
}

TEST(Parse, LoadFileOfMalformedTextFollowsLoadXML) {
    TempDir dir;
    const std::string path = dir.file("bad.xml");
    ASSERT_TRUE(writeBytes(path, "garbage"));
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("previous"));
    LogCapture log;
    EXPECT_TRUE(dom.loadFile(path.c_str()));
    EXPECT_TRUE(dom.getRoot().null());
    EXPECT_EQ(log.take(), (std::vector<Record>{trace("enter loadFile " + path), trace(enterLoadXML(7)),
                                               trace("exit loadXML"), trace("exit loadFile")}));
}

struct UnreadableFile {
    const char* label;
    const char* name;     // in a fresh directory
    const char* content;  // null: the file is not made
    NqLibXmlMessage message;
    bool messageNamesFile;
};

void PrintTo(const UnreadableFile& c, std::ostream* out) {
    *out << c.label;
}

class ParseUnreadableFile : public ::testing::TestWithParam<UnreadableFile> {};

// The current document stays and the reading error becomes the error text.
TEST_P(ParseUnreadableFile, KeepsDocumentAndReportsReadingError) {
    const UnreadableFile& c = GetParam();
    TempDir dir;
    const std::string path = dir.file(c.name);
    if (c.content) {
        ASSERT_TRUE(writeBytes(path, c.content));
    }
    NqDom dom;
    ASSERT_TRUE(dom.loadXML("<kept><child/></kept>"));
    LogCapture log;
    const bool loaded = dom.loadFile(path.c_str());

    EXPECT_FALSE(loaded);
    const NqbString expected =
        c.messageNamesFile ? NQ_LIBXML_MESSAGE(c.message, path.c_str()) : NQ_LIBXML_MESSAGE(c.message);
    EXPECT_EQ(text(dom.getErrorMessage()), text(expected));
    EXPECT_EQ(text(dom.getRoot().getName()), "kept");
    EXPECT_EQ(text(dom.getRoot().getFirstChild(false).getName()), "child");
    EXPECT_EQ(log.take(),
              (std::vector<Record>{trace("enter loadFile " + path), failure("reading file " + path)}));
}

INSTANTIATE_TEST_SUITE_P(
    Files, ParseUnreadableFile,
    ::testing::Values(UnreadableFile{"Missing", "missing.xml", nullptr, NQ_MSG_OPEN_READ, true},
                      UnreadableFile{"MissingDirectory", "none/doc.xml", nullptr, NQ_MSG_OPEN_READ, true},
                      UnreadableFile{"Empty", "empty.xml", "", NQ_MSG_FILE_EMPTY, false}),
    [](const ::testing::TestParamInfo<UnreadableFile>& info) { return info.param.label; });
