// Document handle: new documents, sharing, and when the engine objects behind it are freed.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "dom_test_util.h"

using xercesc::MemoryManager;
using xercesc::XMLPlatformUtils;

namespace {

// The engine blocks allocated while it is installed and not yet freed.
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

// Engine objects keep the manager that made them, so it lives as long as the process.
CountingMemoryManager g_counter;

// Each start follows a success and an error. Success gives the root and an empty
// error text; failure drops the previous document and gives message 342.
TEST(DocumentHandle, StartNewDocument) {
    const char* const rows[][3] = {
        // namespace (null: startNewDocument), name, "root | error"
        {nullptr, "config", "config | "},
        {nullptr, "a b", "<null> | LibXML 342: creating a new document failed: DOM exception 5"},
        {"", "p:a", "<null> | LibXML 342: creating a new document failed: DOM exception 14"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row[1]);
        NqDom dom;
        ASSERT_TRUE(dom.startNewDocument("previous"));
        dom.importNode(NqDomNode());
        const bool made = row[0] ? dom.startNewDocumentNS(row[0], row[1]) : dom.startNewDocument(row[1]);
        EXPECT_EQ(made, !dom.getRoot().null());
        EXPECT_EQ(str(dom.getRoot().getName()) + " | " + str(dom.getErrorMessage()), row[2]);
    }
}

// A new document or a reload frees the one before. Copies share one document and error
// text; the last one frees them. Assignment frees what a alone held, self-assignment nothing.
TEST(DocumentMemoryTest, HandlesFreeWhatNoHandleHolds) {
    // The engine makes some process-wide objects on first use.
    NqDom warmUp;
    warmUp.loadXML("<w><x/></w>");
    warmUp.startNewDocument("w");
    warmUp.createXML(true);
    g_counter.m_base = XMLPlatformUtils::fgMemoryManager;
    XMLPlatformUtils::fgMemoryManager = &g_counter;
    const auto live = [] { return g_counter.m_live.size(); };
    {
        NqDom dom;
        ASSERT_TRUE(dom.loadXML("<p><q/></p>"));
        const size_t oneParse = live();
        ASSERT_TRUE(dom.loadXML("<p><q/></p>"));
        EXPECT_EQ(live(), oneParse);
        ASSERT_TRUE(dom.startNewDocument("a"));
        const size_t oneDocument = live();
        ASSERT_LT(oneDocument, oneParse);
        ASSERT_TRUE(dom.loadXML("<p><q/><q/></p>"));
        ASSERT_TRUE(dom.startNewDocument("a"));
        EXPECT_EQ(live(), oneDocument);
        ASSERT_FALSE(dom.startNewDocument("a b"));
        EXPECT_LT(live(), oneDocument);
    }
    EXPECT_EQ(live(), 0u);
    NqDom b;
    ASSERT_TRUE(b.startNewDocument("b"));
    {
        NqDom* first = new NqDom(b);
        first->getRoot().addChild("added");
        const size_t shared = live();
        delete first;
        NqDom& alias = b;
        b = alias;
        EXPECT_EQ(live(), shared);
        EXPECT_EQ(str(b.getRoot().getFirstChild(false).getName()), "added");
        NqDom a;
        ASSERT_TRUE(a.loadXML("<parsed><x/></parsed>"));
        ASSERT_GT(live(), shared);
        a = b;
        EXPECT_EQ(live(), shared);
        EXPECT_FALSE(a.startNewDocument("b b"));
        EXPECT_EQ(str(b.getErrorMessage()), "LibXML 342: creating a new document failed: DOM exception 5");
        ASSERT_TRUE(b.startNewDocument("later"));
        EXPECT_EQ(str(a.getRoot().getName()), "later");
    }
    EXPECT_EQ(str(b.getRoot().getName()) + str(b.getErrorMessage()), "later");
    XMLPlatformUtils::fgMemoryManager = g_counter.m_base;
}

}  // namespace
