// The template object's queries, its variable order and the growth of its tables.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <type_traits>

#include "nqdommessages.h"
#include "nqdomtemplate/nqdomtemplateimpl.h"

class NqDomTemplateTestPeer {
public:
    static void addVariable(NqDomTemplateImpl& tpl, const char* name, const char* xpath, bool optional) {
        NqDomTemplateVariable* record = new NqDomTemplateVariable;
        record->xpath = NqbString(xpath);
        record->optional = optional;
        tpl.m_variables[NqbString(name)] = record;
    }
    static void setNamespaces(NqDomTemplateImpl& tpl, const char* prefix0, const char* uri0,
                              const char* prefix1, const char* uri1) {
        tpl.m_namespaceCapacity = 10;
        tpl.m_namespacePrefixes = new NqbString[10];
        tpl.m_namespaceUris = new NqbString[10];
        tpl.m_namespacePrefixes[0] = NqbString(prefix0);
        tpl.m_namespaceUris[0] = NqbString(uri0);
        tpl.m_namespacePrefixes[1] = NqbString(prefix1);
        tpl.m_namespaceUris[1] = NqbString(uri1);
        tpl.m_namespaceCount = 2;
    }
    static int namespaceCapacity(const NqDomTemplate* tpl) {
        return static_cast<const NqDomTemplateImpl*>(tpl)->m_namespaceCapacity;
    }
    static int scopeCapacity(const NqDomTemplate* tpl) {
        return static_cast<const NqDomTemplateImpl*>(tpl)->m_scopeCapacity;
    }
    static int scopeCount(const NqDomTemplate* tpl) {
        return static_cast<const NqDomTemplateImpl*>(tpl)->m_scopeCount;
    }
};

namespace {

static_assert(std::is_abstract<NqDomTemplate>::value, "hosts only see the interface");
static_assert(!std::has_virtual_destructor<NqDomTemplate>::value, "templates are freed with release()");
static_assert(std::has_virtual_destructor<NqDomTemplateImpl>::value,
              "release() runs the deleting destructor");

NqbString indexMessage() {
    return nqb_get_message("", 0, NQ_CATALOGUE_LIBXML, NQ_MSG_VARIABLE_INDEX);
}

class TemplateModelTest : public ::testing::Test {
protected:
    // Owned through release(), as hosts do.
    NqDomTemplateImpl* tpl = new NqDomTemplateImpl();
    void TearDown() override { tpl->release(); }

    void addBAC() {
        NqDomTemplateTestPeer::addVariable(*tpl, "b", "/r/b", false);
        NqDomTemplateTestPeer::addVariable(*tpl, "A", "/r/@A", true);
        NqDomTemplateTestPeer::addVariable(*tpl, "c", "/r/c[2]", false);
    }
};

TEST_F(TemplateModelTest, FreshTemplateIsEmpty) {
    EXPECT_EQ(tpl->getVariableCount(), 0);
    EXPECT_EQ(tpl->getNamespaceCount(), 0);
    EXPECT_TRUE(tpl->getSkeleton().isNull());
    NqbString error;
    bool optional = true;
    EXPECT_TRUE(tpl->getVariableName(0, &optional, &error).isNull());
    EXPECT_EQ(error.compare(indexMessage(), true), 0);
    error.setNull();
    EXPECT_TRUE(tpl->getVariableXPath(0, &error).isNull());
    EXPECT_EQ(error.compare(indexMessage(), true), 0);
    EXPECT_TRUE(tpl->getVariableXPath(NqbString("a")).isNull());
}

TEST_F(TemplateModelTest, IndicesFollowCaseInsensitiveNameOrder) {
    addBAC();
    ASSERT_EQ(tpl->getVariableCount(), 3);
    struct Expected {
        const char* name;
        const char* xpath;
        bool optional;
    };
    const Expected expected[] = {{"A", "/r/@A", true}, {"b", "/r/b", false}, {"c", "/r/c[2]", false}};
    for (int i = 0; i < 3; ++i) {
        NqbString error("untouched");
        bool optional = !expected[i].optional;
        EXPECT_STREQ(tpl->getVariableName(i, &optional, &error).asCstr(), expected[i].name) << i;
        EXPECT_EQ(optional, expected[i].optional) << i;
        EXPECT_STREQ(tpl->getVariableXPath(i, &error).asCstr(), expected[i].xpath) << i;
        EXPECT_STREQ(error.asCstr(), "untouched") << i;
    }
}

TEST_F(TemplateModelTest, LookupByNameIgnoresCase) {
    addBAC();
    EXPECT_STREQ(tpl->getVariableXPath(NqbString("B")).asCstr(), "/r/b");
    EXPECT_STREQ(tpl->getVariableXPath(NqbString("a")).asCstr(), "/r/@A");
    EXPECT_STREQ(tpl->getVariableXPath(NqbString("C")).asCstr(), "/r/c[2]");
    // Names ordering between and around the stored ones.
    for (const char* unknown : {"", "0", "aa", "bb", "d", "zz"}) {
        EXPECT_TRUE(tpl->getVariableXPath(NqbString(unknown)).isNull()) << unknown;
    }
}

TEST_F(TemplateModelTest, IndexOutOfRangeFailsWith1420) {
    addBAC();
    for (int index : {-1, 3, 4, -100}) {
        NqbString error;
        bool optional = true;
        EXPECT_TRUE(tpl->getVariableName(index, &optional, &error).isNull()) << index;
        EXPECT_TRUE(optional) << index;
        EXPECT_EQ(error.compare(indexMessage(), true), 0) << index;
        error.setNull();
        EXPECT_TRUE(tpl->getVariableXPath(index, &error).isNull()) << index;
        EXPECT_EQ(error.compare(indexMessage(), true), 0) << index;
    }
    bool optional = true;
    NqbString error;
    EXPECT_STREQ(tpl->getVariableName(2, &optional, &error).asCstr(), "c");
    EXPECT_FALSE(optional);
    EXPECT_TRUE(error.isNull());
}

TEST_F(TemplateModelTest, NamespacesByIndex) {
    NqDomTemplateTestPeer::setNamespaces(*tpl, "", "urn:a", "nq1ns", "urn:b");
    ASSERT_EQ(tpl->getNamespaceCount(), 2);
    NqbString prefix;
    NqbString uri;
    tpl->getNamespace(1, &prefix, &uri);
    EXPECT_STREQ(prefix.asCstr(), "nq1ns");
    EXPECT_STREQ(uri.asCstr(), "urn:b");
    tpl->getNamespace(0, &prefix, &uri);
    EXPECT_FALSE(prefix.isNull());
    EXPECT_EQ(prefix.length(), 0);
    EXPECT_STREQ(uri.asCstr(), "urn:a");
    for (int index : {-1, 2, 10}) {
        NqbString p("x");
        NqbString u("y");
        tpl->getNamespace(index, &p, &u);
        EXPECT_TRUE(p.isNull()) << index;
        EXPECT_TRUE(u.isNull()) << index;
    }
}

// Two digits, so that the DOM's attribute order is the numeric order.
std::string number(int i) {
    return (i < 10 ? "0" : "") + std::to_string(i);
}

// Builds a template whose root declares `count` distinct namespaces.
std::string declaringTemplate(int count) {
    std::string text = "<r";
    for (int i = 0; i < count; ++i) text += " xmlns:p" + number(i) + "=\"urn:" + number(i) + "\"";
    return text + "/>";
}

struct GrowthCase {
    int declarations;
    int capacity;
};

void PrintTo(const GrowthCase& c, std::ostream* os) {
    *os << c.declarations << " declarations";
}

class TemplateGrowthTest : public ::testing::TestWithParam<GrowthCase> {};

// One slot always stays free: the tenth entry already needs twenty slots.
TEST_P(TemplateGrowthTest, BothPairsGrowByTenKeepingOneSlotFree) {
    const GrowthCase& c = GetParam();
    NqDom dom;
    NqDomTemplate* tpl = dom.getTemplate(NqbString(declaringTemplate(c.declarations).c_str()));
    ASSERT_NE(tpl, nullptr) << dom.getErrorMessage().asCstr();
    EXPECT_EQ(tpl->getNamespaceCount(), c.declarations);
    EXPECT_EQ(NqDomTemplateTestPeer::namespaceCapacity(tpl), c.capacity);
    EXPECT_EQ(NqDomTemplateTestPeer::scopeCapacity(tpl), c.capacity);
    EXPECT_EQ(NqDomTemplateTestPeer::scopeCount(tpl), 0);
    // Every entry survives the copies made while growing.
    for (int i = 0; i < c.declarations; ++i) {
        NqbString prefix;
        NqbString uri;
        tpl->getNamespace(i, &prefix, &uri);
        EXPECT_EQ(prefix.compare(("p" + number(i)).c_str(), true), 0) << i;
        EXPECT_EQ(uri.compare(("urn:" + number(i)).c_str(), true), 0) << i;
    }
    tpl->release();
}

INSTANTIATE_TEST_SUITE_P(Capacities, TemplateGrowthTest,
                         ::testing::Values(GrowthCase{0, 0}, GrowthCase{1, 10}, GrowthCase{9, 10},
                                           GrowthCase{10, 20}, GrowthCase{19, 20}, GrowthCase{20, 30},
                                           GrowthCase{45, 50}));

TEST(TemplateScopeTest, ScopeStackGrowsWithNestingAndEmptiesAgain) {
    // Eleven nested declarations of one prefix: one table entry, but the
    // scope stack holds all eleven at the innermost element.
    std::string text;
    for (int i = 0; i < 11; ++i) text += "<p:e xmlns:p=\"urn:" + std::to_string(i % 2) + "\">";
    for (int i = 0; i < 11; ++i) text += "</p:e>";
    NqDom dom;
    NqDomTemplate* tpl = dom.getTemplate(NqbString(text.c_str()));
    ASSERT_NE(tpl, nullptr) << dom.getErrorMessage().asCstr();
    EXPECT_EQ(tpl->getNamespaceCount(), 2);
    EXPECT_EQ(NqDomTemplateTestPeer::namespaceCapacity(tpl), 10);
    EXPECT_EQ(NqDomTemplateTestPeer::scopeCapacity(tpl), 20);
    EXPECT_EQ(NqDomTemplateTestPeer::scopeCount(tpl), 0);
    tpl->release();
}

}  // namespace
