// Mapping of template names to the skeleton's prefixes and namespaces.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "nqdomtemplate/nqdomtemplateimpl.h"

using Pairs = std::vector<std::pair<std::string, std::string>>;

class NqDomTemplateTestPeer {
public:
    // Scope pairs bottom to top, table pairs in table order.
    static void setUp(NqDomTemplateImpl& tpl, const Pairs& scope, const Pairs& table) {
        fill(scope, &tpl.m_scopeCount, &tpl.m_scopeCapacity, &tpl.m_scopePrefixes, &tpl.m_scopeUris);
        fill(table, &tpl.m_namespaceCount, &tpl.m_namespaceCapacity, &tpl.m_namespacePrefixes,
             &tpl.m_namespaceUris);
    }
    static NqbString resolve(NqDomTemplateImpl& tpl, const char* name, bool isAttribute, NqbString* uri) {
        return tpl.resolveName(NqbString(name), isAttribute, uri);
    }

private:
    static void fill(const Pairs& pairs, int* count, int* capacity, NqbString** prefixes, NqbString** uris) {
        *capacity = static_cast<int>(pairs.size()) + 10;
        *prefixes = new NqbString[*capacity];
        *uris = new NqbString[*capacity];
        *count = 0;
        for (const auto& pair : pairs) {
            (*prefixes)[*count] = NqbString(pair.first.c_str());
            (*uris)[*count] = NqbString(pair.second.c_str());
            ++*count;
        }
    }
};

namespace {

struct ResolveCase {
    const char* label;
    Pairs scope;
    Pairs table;
    const char* name;
    bool isAttribute;
    const char* expectedName;
    const char* expectedUri;
};

const Pairs kScope = {{"", "urn:a"}, {"p", "urn:b"}, {"p", "urn:c"}};
const Pairs kTable = {{"d", "urn:a"}, {"e", "urn:c"}};

const ResolveCase kCases[] = {
    {"unprefixed element takes the default namespace", kScope, kTable, "item", false, "d:item", "urn:a"},
    {"innermost declaration of a prefix wins", kScope, kTable, "p:item", false, "e:item", "urn:c"},
    {"unprefixed attribute is in no namespace", kScope, kTable, "size", true, "size", ""},
    {"prefixed attribute takes the table prefix", kScope, kTable, "p:size", true, "e:size", "urn:c"},
    {"undeclared prefix is kept", kScope, kTable, "q:item", false, "q:item", ""},
    {"further colons stay in the local part", kScope, kTable, "p:a:b", false, "e:a:b", "urn:c"},
    {"empty scope leaves an element alone", {}, {}, "item", false, "item", ""},
    {"prefixes compare case-sensitively", kScope, kTable, "P:item", false, "P:item", ""},
    {"namespace missing from the table keeps its prefix",
     {{"p", "urn:b"}},
     kTable,
     "p:item",
     false,
     "p:item",
     "urn:b"},
    {"first table entry for a URI wins",
     {{"p", "urn:b"}},
     {{"x", "urn:b"}, {"y", "urn:b"}},
     "p:item",
     false,
     "x:item",
     "urn:b"},
    {"table entry for the empty URI renames undeclared prefixes",
     {},
     {{"z", ""}},
     "q:item",
     false,
     "z:item",
     ""},
    {"table entry for the empty URI gives unprefixed elements its prefix",
     {},
     {{"z", ""}},
     "item",
     false,
     "z:item",
     ""},
    {"default declaration of the empty URI unprefixes a table prefix",
     {{"", "urn:a"}},
     {{"", "urn:a"}},
     "item",
     false,
     "item",
     "urn:a"},
    {"empty local part", kScope, kTable, "p:", false, "e:", "urn:c"},
    {"leading colon is the empty prefix", kScope, kTable, ":item", false, "d:item", "urn:a"},
};

void PrintTo(const ResolveCase& c, std::ostream* os) {
    *os << c.label;
}

class ResolveNameTest : public ::testing::TestWithParam<ResolveCase> {};

TEST_P(ResolveNameTest, GivesNameAndUri) {
    const ResolveCase& c = GetParam();
    NqDomTemplateImpl tpl;
    NqDomTemplateTestPeer::setUp(tpl, c.scope, c.table);
    NqbString uri("stale");
    NqbString name = NqDomTemplateTestPeer::resolve(tpl, c.name, c.isAttribute, &uri);
    EXPECT_STREQ(name.asCstr(), c.expectedName) << c.label;
    EXPECT_STREQ(uri.asCstr(), c.expectedUri) << c.label;
    EXPECT_FALSE(uri.isNull()) << c.label;
}

INSTANTIATE_TEST_SUITE_P(Table, ResolveNameTest, ::testing::ValuesIn(kCases));

}  // namespace
