// Node attributes: count, enumerate, read, set and clear.
#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <string>

#include "nqdom.h"

namespace {

const char* const kNull = "<null>";
const char* const kInvalidUtf8 = "\xc3\x28";

std::string str(const NqbString& text) {
    return text.isNull() ? kNull : std::string(text.asCstr());
}

// "name=value" pairs sorted by name, space-separated, read by index.
std::string attributes(const NqDomNode& node) {
    std::map<std::string, std::string> sorted;
    for (int i = 0; i < node.getAttributeCount(); ++i) {
        NqbString name;
        NqbString value;
        node.getAttributeNameValue(i, &name, &value);
        sorted[str(name)] = str(value);
    }
    std::string out;
    for (const auto& entry : sorted) {
        if (!out.empty()) out += " ";
        out += entry.first + "=" + entry.second;
    }
    return out;
}

class AttributeTest : public ::testing::Test {
protected:
    NqDomNode load(const char* xml) {
        EXPECT_TRUE(m_dom.loadXML(NqbString(xml))) << xml;
        return m_dom.getRoot();
    }
    std::string xml() { return str(m_dom.createXML(false, m_dom.getRoot())); }

    NqDom m_dom;
};

TEST_F(AttributeTest, NamesAreReadAsWritten) {
    NqDomNode e = load("<e xmlns:p=\"u\" p:a=\"1\"/>");
    EXPECT_EQ(e.getAttributeCount(), 2);
    EXPECT_EQ(attributes(e), "p:a=1 xmlns:p=u");
    EXPECT_EQ(str(e.getAttributeValue(NqbString("p:a"))), "1");
    EXPECT_EQ(str(e.getAttributeValue(NqbString("xmlns:p"))), "u");
    EXPECT_EQ(str(e.getAttributeValue(NqbString("a"))), kNull);
    EXPECT_EQ(str(e.getAttributeValue(NqbString(kInvalidUtf8))), kNull);
}

TEST_F(AttributeTest, EmptyValueIsNotNull) {
    NqDomNode e = load("<e a=\"\" b=\"&lt;\xc3\xa9&quot;\"/>");
    const NqbString empty = e.getAttributeValue(NqbString("a"));
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(empty.length(), 0);
    EXPECT_EQ(str(e.getAttributeValue(NqbString("b"))), "<\xc3\xa9\"");
}

TEST_F(AttributeTest, IndexOutOfRangeGivesNullOutputs) {
    NqDomNode e = load("<e a=\"1\" b=\"2\"/>");
    const int indexes[] = {-1, e.getAttributeCount(), e.getAttributeCount() + 1, INT_MIN, INT_MAX};
    for (int index : indexes) {
        NqbString name("stale");
        NqbString value("stale");
        e.getAttributeNameValue(index, &name, &value);
        EXPECT_TRUE(name.isNull()) << index;
        EXPECT_TRUE(value.isNull()) << index;
    }
}

TEST_F(AttributeTest, OnlyRequestedOutputsAreFilled) {
    NqDomNode e = load("<e a=\"1\"/>");
    NqbString value;
    e.getAttributeNameValue(0, nullptr, &value);
    EXPECT_EQ(str(value), "1");

    NqbString name;
    e.getAttributeNameValue(0, &name, nullptr);
    EXPECT_EQ(str(name), "a");
}

TEST_F(AttributeTest, SetCreatesOrReplaces) {
    NqDomNode e = load("<e a=\"1\"/>");
    EXPECT_TRUE(e.setAttributeValue(NqbString("k"), NqbString("first")));
    EXPECT_TRUE(e.setAttributeValue(NqbString("k"), NqbString("second")));
    EXPECT_TRUE(e.setAttributeValue(NqbString("a"), NqbString("x<\"&")));
    EXPECT_EQ(e.getAttributeCount(), 2);
    EXPECT_EQ(attributes(e), "a=x<\"& k=second");
    EXPECT_EQ(xml(), "<e a=\"x&lt;&quot;&amp;\" k=\"second\"/>");
}

TEST_F(AttributeTest, SetWithInvalidValueStoresMarker) {
    NqDomNode e = load("<e/>");
    EXPECT_TRUE(e.setAttributeValue(NqbString("k"), NqbString(kInvalidUtf8)));
    EXPECT_EQ(str(e.getAttributeValue(NqbString("k"))), "!INVALIDUTF8STR!");
}

TEST_F(AttributeTest, SetWithBadNameFailsAndChangesNothing) {
    const char* const names[] = {"x y", "", "1a", "a>", kInvalidUtf8};
    NqDomNode e = load("<e a=\"1\"><f/></e>");
    for (const char* name : names) {
        EXPECT_FALSE(e.setAttributeValue(NqbString(name), NqbString("v"))) << name;
        EXPECT_EQ(xml(), "<e a=\"1\"><f/></e>") << name;
    }
}

TEST_F(AttributeTest, SetNSCreatesOrReplacesByNamespaceAndLocalName) {
    NqDomNode e = load("<e/>");
    EXPECT_TRUE(e.setAttributeValueNS(NqbString("urn:x"), NqbString("p:k"), NqbString("1")));
    EXPECT_TRUE(e.setAttributeValueNS(NqbString("urn:x"), NqbString("p:k"), NqbString("2")));
    EXPECT_TRUE(e.setAttributeValueNS(NqbString("urn:y"), NqbString("q:k"), NqbString("3")));
    EXPECT_TRUE(e.setAttributeValueNS(NqbString("http://www.w3.org/2000/xmlns/"), NqbString("xmlns:p"),
                                      NqbString("urn:x")));
    EXPECT_EQ(attributes(e), "p:k=2 q:k=3 xmlns:p=urn:x");
}

TEST_F(AttributeTest, SetNSWithBadNameFailsAndChangesNothing) {
    struct {
        const char* uri;
        const char* name;
    } const cases[] = {
        {"urn:x", "p:1k"},    {"", "p:k"},  // a prefix needs a namespace
        {"urn:x", "xmlns:k"}, {"urn:x", "x y"}, {"urn:x", kInvalidUtf8},
    };
    NqDomNode e = load("<e a=\"1\"/>");
    for (const auto& c : cases) {
        EXPECT_FALSE(e.setAttributeValueNS(NqbString(c.uri), NqbString(c.name), NqbString("v")))
            << c.uri << " " << c.name;
        EXPECT_EQ(xml(), "<e a=\"1\"/>") << c.uri << " " << c.name;
    }
}

TEST_F(AttributeTest, ClearRemovesOnlyTheElementsOwnAttributes) {
    NqDomNode e = load("<e a=\"1\" xmlns:p=\"u\" p:b=\"2\"><f c=\"3\"/></e>");
    e.clearAttributes();
    EXPECT_EQ(e.getAttributeCount(), 0);
    EXPECT_EQ(xml(), "<e><f c=\"3\"/></e>");

    e.clearAttributes();
    EXPECT_EQ(e.getAttributeCount(), 0);
    EXPECT_EQ(xml(), "<e><f c=\"3\"/></e>");
}

struct DefaultsCase {
    const char* xml;
    const char* before;
    const char* after;
};

// Removing an attribute with a declared default puts the default back; the
// loop must still end.
TEST_F(AttributeTest, ClearEndsWhenDefaultsComeBack) {
    const char* const dtd = "<!DOCTYPE e [<!ATTLIST e d CDATA \"dv\" z CDATA \"zv\">]>";
    const DefaultsCase cases[] = {
        {"<e/>", "d=dv z=zv", "d=dv z=zv"},
        {"<e a=\"1\" d=\"x\" b=\"2\"/>", "a=1 b=2 d=x z=zv", "d=dv z=zv"},
        {"<e d=\"x\" z=\"y\"/>", "d=x z=y", "d=dv z=zv"},
        {"<e b=\"2\" z=\"y\" a=\"1\" d=\"x\" c=\"3\"/>", "a=1 b=2 c=3 d=x z=y", "d=dv z=zv"},
    };
    for (const DefaultsCase& c : cases) {
        NqDomNode e = load((std::string(dtd) + c.xml).c_str());
        EXPECT_EQ(attributes(e), c.before) << c.xml;
        e.clearAttributes();
        EXPECT_EQ(attributes(e), c.after) << c.xml;
    }
}

TEST_F(AttributeTest, ClearResetsDefaultsChangedAfterLoading) {
    NqDomNode e = load("<!DOCTYPE e [<!ATTLIST e d CDATA \"dv\">]><e/>");
    EXPECT_TRUE(e.setAttributeValue(NqbString("d"), NqbString("changed")));
    EXPECT_TRUE(e.setAttributeValue(NqbString("n"), NqbString("new")));
    e.clearAttributes();
    EXPECT_EQ(attributes(e), "d=dv");
}

TEST_F(AttributeTest, NullAndCommentHandlesHaveNoAttributes) {
    NqDomNode root = load("<e a=\"1\"><!--c--></e>");
    const NqDomNode handles[] = {NqDomNode(), root.getFirstChild(true)};
    ASSERT_TRUE(handles[1].isComment());
    for (NqDomNode handle : handles) {
        EXPECT_EQ(handle.getAttributeCount(), 0);
        NqbString name("stale");
        NqbString value("stale");
        handle.getAttributeNameValue(0, &name, &value);
        EXPECT_TRUE(name.isNull());
        EXPECT_TRUE(value.isNull());
        EXPECT_EQ(str(handle.getAttributeValue(NqbString("a"))), kNull);
        EXPECT_FALSE(handle.setAttributeValue(NqbString("k"), NqbString("v")));
        EXPECT_FALSE(handle.setAttributeValueNS(NqbString("urn:x"), NqbString("p:k"), NqbString("v")));
        handle.clearAttributes();
    }
    EXPECT_EQ(xml(), "<e a=\"1\"><!--c--></e>");
}

}  // namespace
