// Node attributes: count, enumerate, read, set and clear.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "dom_test_util.h"

namespace {

std::string attributes(const NqDomNode& node) {
    return describeAttributes(node, " ");
}

using AttributeTest = LoadedDom;

TEST_F(AttributeTest, NamesAndValuesAreReadAsWritten) {
    NqDomNode e = load("<e xmlns:p=\"u\" p:a=\"1\" b=\"\" c=\"&lt;\xc3\xa9&quot;\"/>");
    EXPECT_EQ(e.getAttributeCount(), 4);
    EXPECT_EQ(attributes(e), "b= c=<\xc3\xa9\" p:a=1 xmlns:p=u");
    const struct {
        const char* name;
        const char* value;
    } rows[] = {{"p:a", "1"}, {"xmlns:p", "u"}, {"a", "<null>"}, {kInvalidUtf8, "<null>"}, {"b", ""}};
    for (const auto& row : rows) EXPECT_EQ(str(e.getAttributeValue(row.name)), row.value) << row.name;

    for (int index : {-1, 4, INT_MIN, INT_MAX}) {
        NqbString name("stale");
        NqbString value("stale");
        e.getAttributeNameValue(index, &name, &value);
        EXPECT_TRUE(name.isNull()) << index;
        EXPECT_TRUE(value.isNull()) << index;
    }
    // Only the outputs asked for are filled.
    e = load("<e a=\"1\"/>");
    NqbString value;
    e.getAttributeNameValue(0, nullptr, &value);
    NqbString name;
    e.getAttributeNameValue(0, &name, nullptr);
    EXPECT_EQ(str(name) + "=" + str(value), "a=1");
}

TEST_F(AttributeTest, SetCreatesOrReplacesByNameOrNamespaceAndLocalName) {
    NqDomNode e = load("<e a=\"1\"/>");
    EXPECT_TRUE(e.setAttributeValue("k", "first"));
    EXPECT_TRUE(e.setAttributeValue("k", "second"));
    EXPECT_TRUE(e.setAttributeValue("a", NqbString("x<\"&")));
    EXPECT_EQ(e.getAttributeCount(), 2);
    EXPECT_EQ(xml(), "<e a=\"x&lt;&quot;&amp;\" k=\"second\"/>");
    EXPECT_TRUE(e.setAttributeValue("k", kInvalidUtf8));
    EXPECT_EQ(str(e.getAttributeValue("k")), "!INVALIDUTF8STR!");

    // The namespace variant goes by namespace and local name.
    e.clearAttributes();
    EXPECT_TRUE(e.setAttributeValueNS("urn:x", "p:k", "1"));
    EXPECT_TRUE(e.setAttributeValueNS("urn:x", "p:k", "2"));
    EXPECT_TRUE(e.setAttributeValueNS("urn:y", "q:k", "3"));
    EXPECT_TRUE(e.setAttributeValueNS("http://www.w3.org/2000/xmlns/", "xmlns:p", "urn:x"));
    EXPECT_EQ(attributes(e), "p:k=2 q:k=3 xmlns:p=urn:x");
}

TEST_F(AttributeTest, SetWithBadNameFailsAndChangesNothing) {
    const struct {
        const char* uri;  // null: setAttributeValue
        const char* name;
    } rows[] = {
        {nullptr, "x y"},     {nullptr, kInvalidUtf8},
        {"urn:x", "p:1k"},    {"", "p:k"},  // a prefix needs a namespace
        {"urn:x", "xmlns:k"}, {"urn:x", kInvalidUtf8},
    };
    NqDomNode e = load("<e a=\"1\"><f/></e>");
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.uri ? row.uri : "-") + " " + row.name);
        EXPECT_FALSE(row.uri ? e.setAttributeValueNS(row.uri, row.name, "v")
                             : e.setAttributeValue(row.name, "v"));
        EXPECT_EQ(xml(), "<e a=\"1\"><f/></e>");
    }
}

TEST_F(AttributeTest, ClearRemovesOnlyTheElementsOwnAttributes) {
    NqDomNode e = load("<e a=\"1\" xmlns:p=\"u\" p:b=\"2\"><f c=\"3\"/></e>");
    for (int round = 0; round < 2; ++round) {
        e.clearAttributes();
        EXPECT_EQ(e.getAttributeCount(), 0);
        EXPECT_EQ(xml(), "<e><f c=\"3\"/></e>");
    }
}

// Removing an attribute with a declared default puts the default back; the
// loop must still end.
TEST_F(AttributeTest, ClearEndsWhenDefaultsComeBack) {
    const char* const dtd = "<!DOCTYPE e [<!ATTLIST e d CDATA \"dv\" z CDATA \"zv\">]>";
    const struct {
        const char* xml;
        const char* before;
    } rows[] = {
        {"<e/>", "d=dv z=zv"},
        {"<e a=\"1\" d=\"x\" b=\"2\"/>", "a=1 b=2 d=x z=zv"},
        {"<e d=\"x\" z=\"y\"/>", "d=x z=y"},
        {"<e b=\"2\" z=\"y\" a=\"1\" d=\"x\" c=\"3\"/>", "a=1 b=2 c=3 d=x z=y"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.xml);
        NqDomNode e = load(std::string(dtd) + row.xml);
        EXPECT_EQ(attributes(e), row.before);
        e.clearAttributes();
        EXPECT_EQ(attributes(e), "d=dv z=zv");
    }
    // Defaults changed after loading are reset too.
    NqDomNode e = load(std::string(dtd) + "<e/>");
    EXPECT_TRUE(e.setAttributeValue("d", "changed"));
    EXPECT_TRUE(e.setAttributeValue("n", "new"));
    e.clearAttributes();
    EXPECT_EQ(attributes(e), "d=dv z=zv");
}

}  // namespace
