// Parsing text and files, and the records it writes to "NQ.DOMXML".
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
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

// Without namespace processing names keep their prefixes, declarations are
// plain attributes and an undeclared prefix is no error. With no error
// handler the parser reports nothing: the load succeeds and the root is
// whatever element was built before the error, if any. Only an exception of
// the engine's document builder fails the load.
TEST(Parse, LoadReplacesTheDocumentClearsTheErrorAndTraces) {
    const struct {
        NqbString xml;
        const char* root;  // "name/first child/attribute count", "<null>", or the error
    } rows[] = {
        {NqbString("<x:a xmlns:x='urn:x' x:k='v'><u:c/></x:a>"), "x:a/u:c/2"},
        {NqbString("<?xml version='1.0' encoding='ISO-8859-1'?><a>caf\xe9</a>"), "a/caf\xc3\xa9/0"},
        {NqbString(), "<null>"},
        {NqbString("<a><b></a>"), "a/b/0"},
        {NqbString("<?xml version='1.2'?><a/>"), "LibXML 341: parsing failed: DOM exception 9"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(str(row.xml));
        NqDom dom;
        ASSERT_FALSE(dom.startNewDocument("a b"));
        LogCapture log;
        const bool loaded = dom.loadXML(row.xml);
        EXPECT_EQ(log.take(),
                  (Records{enterLoadXML(row.xml.length()),
                           loaded ? trace("exit loadXML") : Record{"NQ.DOMXML", 5, "parse failure"}}));
        const NqDomNode root = dom.getRoot();
        const NqDomNode child = root.getFirstChild(false);
        EXPECT_EQ(str(dom.getErrorMessage()), loaded ? "" : row.root);
        EXPECT_EQ(!loaded || root.null()
                      ? "<null>"
                      : str(root.getName()) + "/" +
                            (child.null() ? str(root.getValue(false)) : str(child.getName())) + "/" +
                            std::to_string(root.getAttributeCount()),
                  loaded ? row.root : "<null>");
    }
}

// An unreadable file keeps the current document, and its error becomes the error text.
TEST(Parse, LoadFileTracesBothLevels) {
    TempDir dir;
    const std::string path = dir.file("doc.xml");
    const std::string missing = "LibXML 1041: cannot open file \"" + path + "\" for reading";
    const char* const rows[][2] = {
        // content (null: no file), root or error
        {"<?xml version=\"1.0\"?>\n<entries/>\n", "entries"},
        {"garbage", "<null>"},
        {nullptr, missing.c_str()},
        {"", "LibXML 336: the file to read is empty"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row[1]);
        std::remove(path.c_str());
        ASSERT_TRUE(!row[0] || writeBytes(path, row[0]));
        NqDom dom;
        ASSERT_TRUE(dom.loadXML("<kept/>"));
        LogCapture log;
        const Records read{trace("enter loadFile " + path), enterLoadXML(row[0] ? std::strlen(row[0]) : 0),
                           trace("exit loadXML"), trace("exit loadFile")};
        const Records failed{trace("enter loadFile " + path), Record{"NQ.DOMXML", 5, "reading file " + path}};
        const bool loaded = dom.loadFile(path.c_str());
        EXPECT_EQ(log.take(), loaded ? read : failed);
        EXPECT_EQ(loaded ? str(dom.getRoot().getName()) : str(dom.getErrorMessage()), row[1]);
        EXPECT_EQ(str(dom.getRoot().getName()), loaded ? row[1] : "kept");
    }
}

}  // namespace
