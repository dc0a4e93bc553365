// Parsing text and files, and the records it writes to "NQ.DOMXML".
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "dom_test_util.h"
#include "nqxlog.h"
#include "test_files.h"

namespace {

using Record = std::tuple<std::string, int, std::string>;  // logger, level, message
using Records = std::vector<Record>;

Record trace(const std::string& message) {
    return Record{"NQ.DOMXML", 1, message};
}
Record enterLoadXML(size_t chars) {
    return trace("enter loadXML with " + std::to_string(chars) + " chars");
}

// Collects every record while it exists.
class LogCapture {
public:
    LogCapture() { nqlogSetSink(&LogCapture::collect, this); }
    ~LogCapture() { nqlogSetSink(nullptr, nullptr); }
    // The records collected since the last call.
    Records take() { return std::exchange(m_records, {}); }

private:
    static void collect(void* context, const char* logger, int level, const char*, int, const char* message) {
        static_cast<LogCapture*>(context)->m_records.emplace_back(logger, level, message);
    }

    Records m_records;
};

TEST(Parse, LoadReplacesTheDocumentClearsTheErrorAndTraces) {
    LogCapture log;
    NqDom dom;
    NqDom copy(dom);
    EXPECT_TRUE(log.take().empty()) << "construction writes no record";
    ASSERT_FALSE(dom.startNewDocument("a b"));
    ASSERT_TRUE(dom.loadXML("<a><b/></a>"));
    EXPECT_EQ(log.take(), (Records{enterLoadXML(11), trace("exit loadXML")}));
    EXPECT_EQ(str(dom.getRoot().getName()), "a");
    EXPECT_EQ(str(dom.getRoot().getFirstChild(false).getName()), "b");
    EXPECT_EQ(str(dom.getErrorMessage()), "");

    // Without namespace processing names keep their prefixes, declarations
    // are plain attributes and an undeclared prefix is no error.
    ASSERT_TRUE(dom.loadXML("<x:a xmlns:x='urn:x' x:k='v'><x:b/><u:c/></x:a>"));
    const NqDomNode root = dom.getRoot();
    EXPECT_EQ(str(root.getName()), "x:a");
    EXPECT_EQ(root.getAttributeCount(), 2);
    EXPECT_EQ(str(root.getAttributeValue("xmlns:x")), "urn:x");
    EXPECT_EQ(str(root.getAttributeValue("x:k")), "v");
    EXPECT_EQ(str(root.getFirstChild(false).getName()), "x:b");
    EXPECT_EQ(str(root.getFirstChild(false).getNextSibling(false).getName()), "u:c");

    ASSERT_TRUE(dom.loadXML("<?xml version='1.0' encoding='ISO-8859-1'?><a>caf\xe9</a>"));
    EXPECT_EQ(str(dom.getRoot().getValue(false)), "caf\xc3\xa9");
}

// With no error handler the parser reports nothing: the load succeeds and the
// root is whatever element was built before the error, if any.
TEST(Parse, BadTextSucceedsWithWhatTheParserBuilt) {
    const struct {
        NqbString xml;
        const char* root;  // null: no document element
    } rows[] = {
        {NqbString(), nullptr},
        {NqbString(""), nullptr},
        {NqbString("<a><b></a>"), "a"},
        {NqbString("<a x='1' x='2'/>"), nullptr},
        {NqbString("<!DOCTYPE a SYSTEM '/nonexistent/a.dtd'><a/>"), nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(str(row.xml));
        NqDom dom;
        ASSERT_TRUE(dom.startNewDocument("previous"));
        LogCapture log;
        EXPECT_TRUE(dom.loadXML(row.xml));
        EXPECT_EQ(str(dom.getErrorMessage()), "");
        EXPECT_EQ(str(dom.getRoot().getName()), row.root ? row.root : "<null>");
        EXPECT_EQ(log.take(), (Records{enterLoadXML(row.xml.length()), trace("exit loadXML")}));
    }
}

TEST(Parse, LoadFileTracesBothLevels) {
    const struct {
        std::string content;
        const char* root;  // null: no document element
    } rows[] = {
        {"<?xml version=\"1.0\"?>\n<entries><entry name=\"n\">v</entry></entries>\n", "entries"},
        {"garbage", nullptr},
    };
    TempDir dir;
    const std::string path = dir.file("doc.xml");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.content);
        ASSERT_TRUE(writeBytes(path, row.content));
        NqDom dom;
        ASSERT_TRUE(dom.startNewDocument("previous"));
        LogCapture log;
        ASSERT_TRUE(dom.loadFile(path.c_str()));
        EXPECT_EQ(log.take(), (Records{trace("enter loadFile " + path), enterLoadXML(row.content.size()),
                                       trace("exit loadXML"), trace("exit loadFile")}));
        EXPECT_EQ(str(dom.getRoot().getName()), row.root ? row.root : "<null>");
        EXPECT_EQ(str(dom.getErrorMessage()), "");
    }
}

// The current document stays and the reading error becomes the error text.
TEST(Parse, UnreadableFileKeepsTheDocument) {
    const struct {
        const char* name;
        const char* content;  // null: the file is not made
        int message;
        bool namesFile;
    } rows[] = {
        {"missing.xml", nullptr, NQ_MSG_OPEN_READ, true},
        {"empty.xml", "", NQ_MSG_FILE_EMPTY, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        TempDir dir;
        const std::string path = dir.file(row.name);
        ASSERT_TRUE(!row.content || writeBytes(path, row.content));
        NqDom dom;
        ASSERT_TRUE(dom.loadXML("<kept><child/></kept>"));
        LogCapture log;
        EXPECT_FALSE(dom.loadFile(path.c_str()));
        EXPECT_EQ(str(dom.getErrorMessage()),
                  row.namesFile ? libxml(row.message, path.c_str()) : libxml(row.message));
        EXPECT_EQ(str(dom.getRoot().getName()), "kept");
        EXPECT_EQ(str(dom.getRoot().getFirstChild(false).getName()), "child");
        EXPECT_EQ(log.take(),
                  (Records{trace("enter loadFile " + path), Record{"NQ.DOMXML", 5, "reading file " + path}}));
    }
}

}  // namespace
