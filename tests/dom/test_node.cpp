// Node handle: walking, texts, building, moving, removing, attributes.
#include <gtest/gtest.h>

#include <string>

#include <xercesc/dom/DOMException.hpp>

#include "dom_test_util.h"

namespace {

// Element children by name, comments as "!" and their text, comma-separated.
std::string children(const NqDomNode& node, bool includeComments) {
    std::string out;
    for (NqDomNode child = node.getFirstChild(includeComments); !child.null();
         child = child.getNextSibling(includeComments)) {
        out += (out.empty() ? "" : ",") +
               (child.isComment() ? "!" + str(child.getValue(false)) : str(child.getName()));
    }
    return out;
}

using NodeTest = LoadedDom;

// Rows: document, element children, children with comments, first text, all
// texts, and the element once setValue("1<2") has replaced its direct texts.
TEST_F(NodeTest, WalkingReadingAndSettingTexts) {
    const char* const rows[][6] = {
        {"<a>x<b/><?pi d?><![CDATA[z]]><!--c-->&amp;<d/>y</a>", "b,d", "b,!c,d", "x", "x & y",
         "<a><b/><?pi d?><![CDATA[z]]><!--c--><d/>1&lt;2</a>"},
        {"<a><b><c/></b><!--k--><d>in</d></a>", "b,d", "b,!k,d", "<null>", "<null>",
         "<a><b><c/></b><!--k--><d>in</d>1&lt;2</a>"},
        {"<a> <b/>y</a>", "b", "b", " ", "  y", "<a><b/>1&lt;2</a>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row[0]);
        NqDomNode root = load(row[0]);
        EXPECT_EQ(children(root, false), row[1]);
        EXPECT_EQ(children(root, true), row[2]);
        EXPECT_EQ(str(root.getValue(false)), row[3]);
        EXPECT_EQ(str(root.getValue(true)), row[4]);
        root.setValue("1<2");
        EXPECT_EQ(xml(), row[5]);
    }
    NqDomNode root = load("<!--before--><a/><!--after-->");
    EXPECT_TRUE(root.getNextSibling(false).null());
    EXPECT_EQ(str(root.getNextSibling(true).getValue(false)), "after");
    root.setValue(kInvalidUtf8);
    EXPECT_EQ(xml(), "<a>!INVALIDUTF8STR!</a>");
}

// A comment handle only walks sideways and reads its text; neither it nor a null handle builds.
TEST_F(NodeTest, CommentAndNullHandlesDoNotBuild) {
    NqDomNode root = load("<a k=\"1\"><!--c--><b><e/></b></a>");
    const struct {
        NqDomNode handle;
        const char* value;
        const char* next;
    } rows[] = {{root.getFirstChild(true), "c", "b"}, {NqDomNode(), "<null>", "<null>"}};
    for (auto row : rows) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(row.handle.isComment(), !row.handle.null());
        EXPECT_TRUE(row.handle.getFirstChild(true).null());
        EXPECT_EQ(str(row.handle.getNextSibling(false).getName()), row.next);
        EXPECT_EQ(str(row.handle.getName()), "<null>");
        EXPECT_EQ(str(row.handle.getValue(true)), row.value);
        row.handle.setValue("z");
        EXPECT_TRUE(row.handle.addChild("x").null());
        EXPECT_TRUE(row.handle.addChildNS("urn:x", "p:x").null());
        EXPECT_TRUE(row.handle.addChild(root.getFirstChild(false)).null());
        EXPECT_EQ(row.handle.getAttributeCount(), 0);
        NqbString name("stale"), value("stale");
        row.handle.getAttributeNameValue(0, &name, &value);
        EXPECT_EQ(str(name) + str(value) + str(row.handle.getAttributeValue("k")), "<null><null><null>");
        EXPECT_FALSE(row.handle.setAttributeValue("k", "v"));
        row.handle.clearAttributes();
        EXPECT_TRUE(root.addChild(NqDomNode()).null());
        EXPECT_EQ(xml(), "<a k=\"1\"><!--c--><b><e/></b></a>");
    }
}

// A bad name makes the engine throw; a node moves unless it would become its own ancestor;
// one of another document is refused until imported; a removed node can come back.
TEST_F(NodeTest, BuildMoveAndRemove) {
    NqDomNode root = load("<a><!--k--><b><c>t</c></b><d/></a>");
    EXPECT_THROW(root.addChild("x y"), xercesc::DOMException);
    EXPECT_THROW(root.addChildNS("", "p:c"), xercesc::DOMException);  // a prefix needs a namespace
    NqDomNode b = root.getFirstChild(false), c = b.getFirstChild(false);
    EXPECT_TRUE(b.addChild(b).null());
    EXPECT_TRUE(c.addChild(b).null());
    EXPECT_EQ(str(b.getNextSibling(false).addChild(c).getName()), "c");
    root.addChild("e").addChild("f").setValue("v");
    EXPECT_EQ(str(root.addChildNS("urn:x", "p:g").getName()), "p:g");
    EXPECT_EQ(xml(), "<a><!--k--><b/><d><c>t</c></d><e><f>v</f></e><p:g xmlns:p=\"urn:x\"/></a>");

    {
        NqDom other;
        ASSERT_TRUE(other.loadXML("<x><y k=\"v\">t<z/></y></x>"));
        NqDomNode y = other.getRoot().getFirstChild(false);
        EXPECT_TRUE(b.addChild(y).null());
        EXPECT_FALSE(b.addChild(m_dom.importNode(y)).null());
    }  // the imported copy outlives its source

    const NqDomNode kept = b;
    NqDomNode copy = b;
    b.remove();
    copy.remove();  // no parent left to leave
    EXPECT_TRUE(b.null() && copy.null());
    root.getFirstChild(true).remove();
    EXPECT_EQ(xml(), "<a><d><c>t</c></d><e><f>v</f></e><p:g xmlns:p=\"urn:x\"/></a>");
    EXPECT_FALSE(root.getFirstChild(false).addChild(kept).null());
    EXPECT_EQ(xml(),
              "<a><d><c>t</c><b><y k=\"v\">t<z/></y></b></d><e><f>v</f></e><p:g xmlns:p=\"urn:x\"/></a>");
}

// Attributes are read as written and set by name or namespace; a bad name changes nothing.
TEST_F(NodeTest, AttributesReadAndSet) {
    NqDomNode e = load("<e xmlns:p=\"u\" p:a=\"1\" b=\"\" c=\"&lt;\xc3\xa9&quot;\"/>");
    EXPECT_EQ(e.getAttributeCount(), 4);
    EXPECT_EQ(describeAttributes(e, " "), "b= c=<\xc3\xa9\" p:a=1 xmlns:p=u");
    EXPECT_EQ(str(e.getAttributeValue("p:a")) + str(e.getAttributeValue("a")), "1<null>");
    for (int index : {-1, 4}) {
        NqbString name("stale"), value("stale");
        e.getAttributeNameValue(index, &name, &value);
        EXPECT_EQ(str(name) + str(value), "<null><null>") << index;
    }
    e = load("<e a=\"1\"/>");
    NqbString name, value;  // only the outputs asked for are filled
    e.getAttributeNameValue(0, nullptr, &value);
    e.getAttributeNameValue(0, &name, nullptr);
    EXPECT_EQ(str(name) + "=" + str(value), "a=1");
    EXPECT_TRUE(e.setAttributeValue("k", "x<\"&"));
    EXPECT_TRUE(e.setAttributeValueNS("urn:x", "p:k", "1"));
    EXPECT_TRUE(e.setAttributeValueNS("urn:x", "p:k", "2"));
    EXPECT_FALSE(e.setAttributeValue("x y", "v"));
    EXPECT_FALSE(e.setAttributeValueNS("urn:x", "xmlns:k", "v"));
    EXPECT_EQ(describeAttributes(e, " "), "a=1 k=x<\"& p:k=2");
}

// Removing an attribute with a declared default puts the default back; the
// loop must still end, and only the element's own attributes go.
TEST_F(NodeTest, ClearAttributesEndsWhenDefaultsComeBack) {
    NqDomNode e = load(
        "<!DOCTYPE e [<!ATTLIST e d CDATA \"dv\" z CDATA \"zv\">]>"
        "<e b=\"2\" a=\"1\" d=\"x\" c=\"3\"><f c=\"3\"/></e>");
    EXPECT_EQ(describeAttributes(e, " "), "a=1 b=2 c=3 d=x z=zv");
    e.clearAttributes();
    EXPECT_EQ(describeAttributes(e, " "), "d=dv z=zv");
    EXPECT_EQ(describeAttributes(e.getFirstChild(false), " "), "c=3");
}

}  // namespace
