// Document handle: construction, sharing, assignment, new documents, and
// when the engine objects behind a handle are freed.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "dom_test_util.h"

using xercesc::DOMException;
using xercesc::MemoryManager;
using xercesc::XMLPlatformUtils;

namespace {

// Counts the engine blocks allocated while it is installed and not yet freed,
// so that a test can tell whether documents and parsers were released.
class CountingMemoryManager : public MemoryManager {
public:
    MemoryManager* getExceptionMemoryManager() override { return m_base->getExceptionMemoryManager(); }
    void* allocate(XMLSize_t size) override {
        void* block = m_base->allocate(size);
        m_live.insert(block);
        return block;
    }
    void deallocate(void* block) override {
        m_live.erase(block);
        m_base->deallocate(block);
    }

    MemoryManager* m_base = nullptr;
    std::set<void*> m_live;
};

class DocumentMemoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        // The engine makes some process-wide objects on first use; make them
        // before counting starts.
        NqDom dom;
        dom.loadXML("<w><x/></w>");
        dom.startNewDocument("w");
        dom.createXML(true);
        counter().m_base = XMLPlatformUtils::fgMemoryManager;
        counter().m_live.clear();
        XMLPlatformUtils::fgMemoryManager = &counter();
    }
    void TearDown() override { XMLPlatformUtils::fgMemoryManager = counter().m_base; }

    // Engine blocks allocated since SetUp and not yet freed.
    size_t live() const { return counter().m_live.size(); }

private:
    // Engine objects remember the manager that made them, so the counter
    // lives as long as the process.
    static CountingMemoryManager& counter() {
        static CountingMemoryManager instance;
        return instance;
    }
};

// Each start follows a success and an error. Success gives the root and an
// empty error text; failure drops the previous document and gives message 342
// with the engine's code.
TEST(DocumentHandle, StartNewDocument) {
    const std::string badName = "<null> | " + libxml(NQ_MSG_CREATE_EXCEPTION, DOMException::NAMESPACE_ERR);
    const std::string badCharacter =
        "<null> | " + libxml(NQ_MSG_CREATE_EXCEPTION, DOMException::INVALID_CHARACTER_ERR);
    const struct {
        const char* uri;  // null: startNewDocument
        const char* name;
        std::string expected;  // root name | error text
        std::string xml;       // the document written
    } rows[] = {
        {nullptr, "config", "config | ", kDeclaration + "<config/>"},
        // The namespace survives the conversion of the qualified name.
        {"urn:example:cfg", "cfg:root", "cfg:root | ",
         kDeclaration + "<cfg:root xmlns:cfg=\"urn:example:cfg\"/>"},
        {nullptr, "a b", badCharacter, "<null>"},
        {"urn:x", "p:a b", badCharacter, "<null>"},
        {"", "p:a", badName, "<null>"},
        {"urn:x", "p:", badName, "<null>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        NqDom dom;
        EXPECT_TRUE(dom.getRoot().null());
        EXPECT_EQ(str(dom.getErrorMessage()), "<null>");
        ASSERT_TRUE(dom.startNewDocument("previous"));
        dom.importNode(NqDomNode());
        const bool made =
            row.uri ? dom.startNewDocumentNS(row.uri, row.name) : dom.startNewDocument(row.name);
        EXPECT_EQ(made, row.xml != "<null>");
        EXPECT_TRUE(dom.getRoot().getFirstChild(true).null());
        EXPECT_EQ(str(dom.getRoot().getName()) + " | " + str(dom.getErrorMessage()), row.expected);
        EXPECT_EQ(str(dom.createXML(false)), row.xml);
    }
}

// Copies share one document and error text; the last one to go frees them.
TEST_F(DocumentMemoryTest, CopiesShareOneDocumentUntilTheLastGoes) {
    {
        NqDom* first = new NqDom;
        NqDom copy(*first);
        ASSERT_TRUE(copy.loadXML("<a><b>t</b></a>"));
        first->getRoot().addChild("added");
        EXPECT_EQ(str(copy.getRoot().getFirstChild(false).getNextSibling(false).getName()), "added");
        const size_t loaded = live();
        ASSERT_GT(loaded, 0u);
        delete first;
        EXPECT_EQ(live(), loaded);
        EXPECT_EQ(str(copy.getRoot().getName()), "a");
        EXPECT_EQ(str(copy.getRoot().getFirstChild(false).getValue(false)), "t");
        EXPECT_EQ(str(copy.getErrorMessage()), "");
    }
    EXPECT_EQ(live(), 0u);
}

// Assigning from b frees what a alone held; a then follows b's document and
// error text. Self-assignment, alone or between sharers, frees nothing.
TEST_F(DocumentMemoryTest, AssignmentFreesTheOnlyHoldersDocumentsAndShares) {
    NqDom b;
    ASSERT_TRUE(b.startNewDocument("b"));
    const size_t withB = live();
    NqDom& alias = b;
    b = alias;
    EXPECT_EQ(live(), withB);
    NqDom a;
    ASSERT_TRUE(a.startNewDocument("built"));
    ASSERT_TRUE(a.loadXML("<parsed><x/></parsed>"));
    ASSERT_GT(live(), withB);
    a = b;
    EXPECT_EQ(live(), withB);
    b = a;
    a = b;
    EXPECT_EQ(live(), withB);
    EXPECT_EQ(str(a.getRoot().getName()), "b");

    EXPECT_FALSE(b.startNewDocument("b b"));
    EXPECT_TRUE(a.getRoot().null());
    EXPECT_EQ(str(a.getErrorMessage()), libxml(NQ_MSG_CREATE_EXCEPTION, DOMException::INVALID_CHARACTER_ERR));
    ASSERT_TRUE(a.startNewDocument("later"));
    EXPECT_EQ(str(b.getRoot().getName()), "later");
}

TEST_F(DocumentMemoryTest, NewDocumentOrReloadReleasesBuiltAndParsedOnes) {
    NqDom dom;
    ASSERT_TRUE(dom.loadXML("<p><q/></p>"));
    const size_t oneParse = live();
    ASSERT_TRUE(dom.loadXML("<p><q/></p>"));
    EXPECT_EQ(live(), oneParse);

    ASSERT_TRUE(dom.startNewDocument("a"));
    const size_t oneDocument = live();
    ASSERT_LT(oneDocument, oneParse);
    ASSERT_TRUE(dom.startNewDocument("a"));
    EXPECT_EQ(live(), oneDocument);

    ASSERT_TRUE(dom.loadXML("<p><q/><q/></p>"));
    ASSERT_TRUE(dom.startNewDocument("a"));
    EXPECT_EQ(live(), oneDocument);
    EXPECT_EQ(str(dom.getRoot().getName()), "a");
    EXPECT_TRUE(dom.getRoot().getFirstChild(false).null());

    ASSERT_FALSE(dom.startNewDocument("a b"));
    EXPECT_LT(live(), oneDocument);
}

}  // namespace
