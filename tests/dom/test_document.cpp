// Document handle: construction, sharing, assignment, new documents, and
// when the engine objects behind a handle are freed.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "nqdom.h"
#include "nqdommessages.h"

using xercesc::DOMException;
using xercesc::MemoryManager;
using xercesc::XMLPlatformUtils;

namespace {

std::string text(const NqbString& s) {
    return s.asCstr();
}

// Counts the engine blocks allocated while it is installed and not yet freed,
// so that a test can tell whether documents and parsers were released.
class CountingMemoryManager : public MemoryManager {
public:
    void start(MemoryManager* base) {
        m_base = base;
        m_live.clear();
    }
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
    size_t live() const { return m_live.size(); }

private:
    MemoryManager* m_base = nullptr;
    std::set<void*> m_live;
};

// Engine objects remember the manager that made them, so the counter lives as
// long as the process.
CountingMemoryManager& counter() {
    static CountingMemoryManager instance;
    return instance;
}

class DocumentMemoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        warmUp();
        m_original = XMLPlatformUtils::fgMemoryManager;
        counter().start(m_original);
        XMLPlatformUtils::fgMemoryManager = &counter();
    }
    void TearDown() override { XMLPlatformUtils::fgMemoryManager = m_original; }

    // Engine blocks allocated since SetUp and not yet freed.
    size_t live() const { return counter().live(); }

private:
    // The engine makes some process-wide objects on first use; make them
    // before counting starts.
    static void warmUp() {
        NqDom dom;
        dom.loadXML("<w><x/></w>");
        dom.startNewDocument("w");
        dom.createXML(true);
    }

    MemoryManager* m_original = nullptr;
};

}  // namespace

TEST(DocumentHandle, DefaultHandleHasNoRootAndNoError) {
    NqDom dom;
    EXPECT_TRUE(dom.getRoot().null());
    EXPECT_TRUE(dom.getErrorMessage().isNull());
}

TEST(DocumentHandle, StartNewDocumentMakesRootAndClearsError) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("config"));
    EXPECT_EQ(text(dom.getRoot().getName()), "config");
    EXPECT_TRUE(dom.getRoot().getFirstChild(true).null());
    EXPECT_FALSE(dom.getErrorMessage().isNull());
    EXPECT_EQ(dom.getErrorMessage().length(), 0);
}

struct BadNewDocument {
    const char* label;
    const char* namespaceURI;  // null: startNewDocument without a namespace
    const char* qualifiedName;
    int code;
};

void PrintTo(const BadNewDocument& c, std::ostream* out) {
    *out << c.label;
}

class DocumentBadName : public ::testing::TestWithParam<BadNewDocument> {};

// A failure also drops the document that was current before; the error is
// message 342 with the engine's code.
TEST_P(DocumentBadName, FailsWithCreateMessage) {
    const BadNewDocument& c = GetParam();
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("previous"));
    const bool made = c.namespaceURI ? dom.startNewDocumentNS(c.namespaceURI, c.qualifiedName)
                                     : dom.startNewDocument(c.qualifiedName);
    EXPECT_FALSE(made);
    EXPECT_TRUE(dom.getRoot().null());
    EXPECT_EQ(text(dom.getErrorMessage()), text(NQ_LIBXML_MESSAGE(NQ_MSG_CREATE_EXCEPTION, c.code)));
    EXPECT_TRUE(dom.createXML(false).isNull());
}

INSTANTIATE_TEST_SUITE_P(
    Names, DocumentBadName,
    ::testing::Values(BadNewDocument{"Space", nullptr, "a b", DOMException::INVALID_CHARACTER_ERR},
                      BadNewDocument{"Empty", nullptr, "", DOMException::INVALID_CHARACTER_ERR},
                      BadNewDocument{"LeadingDigit", nullptr, "1a", DOMException::INVALID_CHARACTER_ERR},
                      BadNewDocument{"NSSpace", "urn:x", "p:a b", DOMException::INVALID_CHARACTER_ERR},
                      BadNewDocument{"PrefixWithoutURI", "", "p:a", DOMException::NAMESPACE_ERR},
                      BadNewDocument{"EmptyLocalPart", "urn:x", "p:", DOMException::NAMESPACE_ERR}),
    [](const ::testing::TestParamInfo<BadNewDocument>& info) { return info.param.label; });

TEST(DocumentHandle, StartNewDocumentNSKeepsPrefixAndNamespace) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocumentNS("urn:example:cfg", "cfg:root"));
    EXPECT_EQ(text(dom.getRoot().getName()), "cfg:root");
    EXPECT_EQ(dom.getErrorMessage().length(), 0);
    EXPECT_FALSE(dom.getErrorMessage().isNull());
    // The namespace survives the conversion of the qualified name.
    EXPECT_EQ(text(dom.createXML(false)),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>"
              "<cfg:root xmlns:cfg=\"urn:example:cfg\"/>");
}

TEST(DocumentHandle, SuccessfulStartClearsAnEarlierError) {
    NqDom dom;
    ASSERT_FALSE(dom.startNewDocument("a b"));
    ASSERT_FALSE(dom.getErrorMessage().isNull());
    ASSERT_TRUE(dom.startNewDocumentNS("urn:x", "x:a"));
    EXPECT_FALSE(dom.getErrorMessage().isNull());
    EXPECT_EQ(dom.getErrorMessage().length(), 0);
}

TEST(DocumentHandle, CopiesShareOneDocument) {
    NqDom original;
    NqDom copy(original);
    ASSERT_TRUE(copy.startNewDocument("shared"));
    EXPECT_EQ(text(original.getRoot().getName()), "shared");

    original.getRoot().addChild("added");
    EXPECT_EQ(text(copy.getRoot().getFirstChild(false).getName()), "added");

    EXPECT_FALSE(original.startNewDocument("a b"));
    EXPECT_EQ(text(copy.getErrorMessage()), text(original.getErrorMessage()));
    EXPECT_TRUE(copy.getRoot().null());
}

TEST(DocumentHandle, CopyOutlivesTheFirstHandle) {
    NqDom* first = new NqDom;
    ASSERT_TRUE(first->loadXML("<a><b>t</b></a>"));
    NqDom copy(*first);
    delete first;
    EXPECT_EQ(text(copy.getRoot().getName()), "a");
    EXPECT_EQ(text(copy.getRoot().getFirstChild(false).getValue(false)), "t");
    EXPECT_EQ(copy.getErrorMessage().length(), 0);
    EXPECT_FALSE(copy.getErrorMessage().isNull());
}

TEST(DocumentHandle, AssignmentSharesTheOtherDocument) {
    NqDom a;
    ASSERT_TRUE(a.startNewDocument("a"));
    NqDom b;
    ASSERT_FALSE(b.startNewDocument("b b"));
    a = b;
    EXPECT_TRUE(a.getRoot().null());
    EXPECT_EQ(text(a.getErrorMessage()), text(NQ_LIBXML_MESSAGE(NQ_MSG_CREATE_EXCEPTION, 5)));
    ASSERT_TRUE(b.startNewDocument("later"));
    EXPECT_EQ(text(a.getRoot().getName()), "later");
}

TEST_F(DocumentMemoryTest, DocumentsLiveUntilTheLastHandleGoes) {
    {
        NqDom* first = new NqDom;
        ASSERT_TRUE(first->loadXML("<a><b/></a>"));
        NqDom copy(*first);
        const size_t loaded = live();
        ASSERT_GT(loaded, 0u);
        delete first;
        EXPECT_EQ(live(), loaded);
    }
    EXPECT_EQ(live(), 0u);
}

TEST_F(DocumentMemoryTest, SelfAssignmentFreesNothing) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("a"));
    NqDom sharing(dom);
    const size_t before = live();
    NqDom& alias = dom;
    dom = alias;
    dom = sharing;
    sharing = dom;
    EXPECT_EQ(live(), before);
    EXPECT_EQ(text(dom.getRoot().getName()), "a");
    dom.getRoot().addChild("b");
    EXPECT_EQ(text(sharing.getRoot().getFirstChild(false).getName()), "b");
}

TEST_F(DocumentMemoryTest, AssignmentFreesTheOnlyHoldersDocuments) {
    NqDom b;
    ASSERT_TRUE(b.startNewDocument("b"));
    const size_t withB = live();
    {
        NqDom a;
        ASSERT_TRUE(a.startNewDocument("built"));
        ASSERT_TRUE(a.loadXML("<parsed><x/></parsed>"));
        ASSERT_GT(live(), withB);
        a = b;
        EXPECT_EQ(live(), withB);
        EXPECT_EQ(text(a.getRoot().getName()), "b");
    }
    EXPECT_EQ(live(), withB);
    EXPECT_EQ(text(b.getRoot().getName()), "b");
}

TEST_F(DocumentMemoryTest, NewDocumentReleasesBuiltAndParsedOnes) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("a"));
    const size_t oneDocument = live();
    ASSERT_TRUE(dom.startNewDocument("a"));
    EXPECT_EQ(live(), oneDocument);

    ASSERT_TRUE(dom.loadXML("<p><q/><q/></p>"));
    ASSERT_GT(live(), oneDocument);
    ASSERT_TRUE(dom.startNewDocument("a"));
    EXPECT_EQ(live(), oneDocument);
    EXPECT_EQ(text(dom.getRoot().getName()), "a");
    EXPECT_TRUE(dom.getRoot().getFirstChild(false).null());

    ASSERT_FALSE(dom.startNewDocument("a b"));
    EXPECT_LT(live(), oneDocument);
}

TEST_F(DocumentMemoryTest, ReloadReleasesThePreviousParse) {
    NqDom dom;
    ASSERT_TRUE(dom.loadXML("<p><q/></p>"));
    const size_t oneParse = live();
    ASSERT_TRUE(dom.loadXML("<p><q/></p>"));
    EXPECT_EQ(live(), oneParse);
}
