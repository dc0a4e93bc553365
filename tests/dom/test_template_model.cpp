// The template object's queries, its variable order and the growth of its tables.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "dom_test_util.h"
#include "nqdomtemplate/nqdomtemplateimpl.h"

class NqDomTemplateTestPeer {
public:
    static void addVariable(NqDomTemplateImpl& tpl, const char* name, const char* xpath, bool optional) {
        tpl.m_variables[NqbString(name)] = new NqDomTemplateVariable{NqbString(xpath), optional};
    }
    static void setNamespaces(NqDomTemplateImpl& tpl) {
        tpl.m_namespaceCapacity = 10;
        tpl.m_namespacePrefixes = new NqbString[10]{"", "nq1ns"};
        tpl.m_namespaceUris = new NqbString[10]{"urn:a", "urn:b"};
        tpl.m_namespaceCount = 2;
    }
    static const NqDomTemplateImpl& impl(const NqDomTemplate* tpl) {
        return *static_cast<const NqDomTemplateImpl*>(tpl);
    }
    // Namespace capacity, scope capacity and scope count.
    static std::string tables(const NqDomTemplate* tpl) {
        return std::to_string(impl(tpl).m_namespaceCapacity) + " " +
               std::to_string(impl(tpl).m_scopeCapacity) + " " + std::to_string(impl(tpl).m_scopeCount);
    }
};

namespace {

static_assert(std::is_abstract<NqDomTemplate>::value, "hosts only see the interface");
static_assert(!std::has_virtual_destructor<NqDomTemplate>::value, "templates are freed with release()");
static_assert(std::has_virtual_destructor<NqDomTemplateImpl>::value,
              "release() runs the deleting destructor");

class TemplateModelTest : public ::testing::Test {
protected:
    // Owned through release(), as hosts do.
    NqDomTemplateImpl* tpl = new NqDomTemplateImpl();
    void TearDown() override { tpl->release(); }

    // Every index query at `index` fails with message 1420 and leaves the bool.
    void expectIndexFails(int index) {
        SCOPED_TRACE(index);
        NqbString error;
        bool optional = true;
        EXPECT_EQ(str(tpl->getVariableName(index, &optional, &error)), "<null>");
        EXPECT_TRUE(optional);
        EXPECT_EQ(str(error), libxml(NQ_MSG_VARIABLE_INDEX));
        error.setNull();
        EXPECT_EQ(str(tpl->getVariableXPath(index, &error)), "<null>");
        EXPECT_EQ(str(error), libxml(NQ_MSG_VARIABLE_INDEX));
    }
};

// Variables b, A, c come back as A, b, c, and by name in any letter case.
TEST_F(TemplateModelTest, VariablesInCaseInsensitiveNameOrder) {
    EXPECT_EQ(tpl->getNamespaceCount(), 0);
    EXPECT_TRUE(tpl->getSkeleton().isNull());
    EXPECT_EQ(tpl->getVariableCount(), 0);
    expectIndexFails(0);
    EXPECT_TRUE(tpl->getVariableXPath("a").isNull());

    NqDomTemplateTestPeer::addVariable(*tpl, "b", "/r/b", false);
    NqDomTemplateTestPeer::addVariable(*tpl, "A", "/r/@A", true);
    NqDomTemplateTestPeer::addVariable(*tpl, "c", "/r/c[2]", false);
    ASSERT_EQ(tpl->getVariableCount(), 3);
    EXPECT_EQ(describeVariables(*tpl), "A=/r/@A? b=/r/b c=/r/c[2]");
    NqbString error("untouched");
    bool optional = true;
    EXPECT_EQ(str(tpl->getVariableName(2, &optional, &error)), "c");
    EXPECT_FALSE(optional);
    EXPECT_EQ(str(tpl->getVariableXPath(0, &error)), "/r/@A");
    EXPECT_EQ(str(error), "untouched");
    for (int index : {-1, 3, 4, -100}) expectIndexFails(index);

    EXPECT_EQ(str(tpl->getVariableXPath("B")), "/r/b");
    EXPECT_EQ(str(tpl->getVariableXPath("a")), "/r/@A");
    EXPECT_EQ(str(tpl->getVariableXPath("C")), "/r/c[2]");
    // Names ordering between and around the stored ones.
    for (const char* unknown : {"", "0", "aa", "bb", "d", "zz"}) {
        EXPECT_TRUE(tpl->getVariableXPath(NqbString(unknown)).isNull()) << unknown;
    }
}

TEST_F(TemplateModelTest, NamespacesByIndex) {
    NqDomTemplateTestPeer::setNamespaces(*tpl);
    ASSERT_EQ(tpl->getNamespaceCount(), 2);
    const struct {
        int index;
        const char* prefix;
        const char* uri;
    } rows[] = {{1, "nq1ns", "urn:b"},
                {0, "", "urn:a"},
                {-1, "<null>", "<null>"},
                {2, "<null>", "<null>"},
                {10, "<null>", "<null>"}};
    for (const auto& row : rows) {
        NqbString prefix("x");
        NqbString uri("y");
        tpl->getNamespace(row.index, &prefix, &uri);
        EXPECT_EQ(str(prefix), row.prefix) << row.index;
        EXPECT_EQ(str(uri), row.uri) << row.index;
    }
}

// Two digits, so that the DOM's attribute order is the numeric order.
std::string number(int i) {
    return (i < 10 ? "0" : "") + std::to_string(i);
}

// One slot always stays free: the tenth entry already needs twenty slots.
TEST(TemplateGrowthTest, BothPairsGrowByTenKeepingOneSlotFree) {
    const struct {
        int declarations;
        int capacity;
    } rows[] = {{0, 0}, {1, 10}, {9, 10}, {10, 20}, {19, 20}, {20, 30}, {45, 50}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.declarations);
        std::string text = "<r";
        for (int i = 0; i < row.declarations; ++i)
            text += " xmlns:p" + number(i) + "=\"urn:" + number(i) + "\"";
        NqDom dom;
        NqDomTemplate* tpl = dom.getTemplate(NqbString((text + "/>").c_str()));
        ASSERT_NE(tpl, nullptr) << str(dom.getErrorMessage());
        EXPECT_EQ(tpl->getNamespaceCount(), row.declarations);
        const std::string capacity = std::to_string(row.capacity);
        EXPECT_EQ(NqDomTemplateTestPeer::tables(tpl), capacity + " " + capacity + " 0");
        // Every entry survives the copies made while growing.
        for (int i = 0; i < row.declarations; ++i) {
            NqbString prefix;
            NqbString uri;
            tpl->getNamespace(i, &prefix, &uri);
            EXPECT_EQ(str(prefix) + "=" + str(uri), "p" + number(i) + "=urn:" + number(i));
        }
        tpl->release();
    }
    // Eleven nested declarations of one prefix: two table entries, but the
    // scope stack holds all eleven at the innermost element.
    std::string text;
    for (int i = 0; i < 11; ++i) text += "<p:e xmlns:p=\"urn:" + std::to_string(i % 2) + "\">";
    for (int i = 0; i < 11; ++i) text += "</p:e>";
    NqDom dom;
    NqDomTemplate* tpl = dom.getTemplate(NqbString(text.c_str()));
    ASSERT_NE(tpl, nullptr) << str(dom.getErrorMessage());
    EXPECT_EQ(tpl->getNamespaceCount(), 2);
    EXPECT_EQ(NqDomTemplateTestPeer::tables(tpl), "10 20 0");
    tpl->release();
}

}  // namespace
