// Mapping of template names to the skeleton's prefixes and namespaces.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "nqdomtemplate/nqdomtemplateimpl.h"

using Pairs = std::vector<std::pair<const char*, const char*>>;

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
        *count = static_cast<int>(pairs.size());
        *capacity = *count + 10;
        *prefixes = new NqbString[*capacity];
        *uris = new NqbString[*capacity];
        for (int i = 0; i < *count; ++i) {
            (*prefixes)[i] = NqbString(pairs[i].first);
            (*uris)[i] = NqbString(pairs[i].second);
        }
    }
};

namespace {

TEST(ResolveNameTest, GivesNameAndUri) {
    const Pairs kScope = {{"", "urn:a"}, {"p", "urn:b"}, {"p", "urn:c"}};
    const Pairs kTable = {{"d", "urn:a"}, {"e", "urn:c"}};
    const Pairs kPB = {{"p", "urn:b"}}, kXYB = {{"x", "urn:b"}, {"y", "urn:b"}}, kZ = {{"z", ""}},
                kDA = {{"", "urn:a"}};
    const struct {
        const char* label;
        Pairs scope;
        Pairs table;
        const char* name;
        bool isAttribute;
        const char* expectedName;
        const char* expectedUri;
    } rows[] = {
        {"unprefixed element takes the default namespace", kScope, kTable, "item", false, "d:item", "urn:a"},
        {"innermost declaration of a prefix wins", kScope, kTable, "p:item", false, "e:item", "urn:c"},
        {"unprefixed attribute is in no namespace", kScope, kTable, "size", true, "size", ""},
        {"prefixed attribute takes the table prefix", kScope, kTable, "p:size", true, "e:size", "urn:c"},
        {"undeclared prefix is kept", kScope, kTable, "q:item", false, "q:item", ""},
        {"further colons stay in the local part", kScope, kTable, "p:a:b", false, "e:a:b", "urn:c"},
        {"empty scope leaves an element alone", {}, {}, "item", false, "item", ""},
        {"prefixes compare case-sensitively", kScope, kTable, "P:item", false, "P:item", ""},
        {"namespace not in the table keeps its prefix", kPB, kTable, "p:item", false, "p:item", "urn:b"},
        {"first table entry for a URI wins", kPB, kXYB, "p:item", false, "x:item", "urn:b"},
        {"empty-URI entry renames undeclared prefixes", {}, kZ, "q:item", false, "z:item", ""},
        {"empty-URI entry prefixes unprefixed elements", {}, kZ, "item", false, "z:item", ""},
        {"default declaration unprefixes a table prefix", kDA, kDA, "item", false, "item", "urn:a"},
        {"empty local part", kScope, kTable, "p:", false, "e:", "urn:c"},
        {"leading colon is the empty prefix", kScope, kTable, ":item", false, "d:item", "urn:a"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        NqDomTemplateImpl tpl;
        NqDomTemplateTestPeer::setUp(tpl, row.scope, row.table);
        NqbString uri("stale");
        const NqbString name = NqDomTemplateTestPeer::resolve(tpl, row.name, row.isAttribute, &uri);
        EXPECT_STREQ(name.asCstr(), row.expectedName);
        EXPECT_STREQ(uri.asCstr(), row.expectedUri);
        EXPECT_FALSE(uri.isNull());
    }
}

}  // namespace
