// Node handle: walking, texts, building, moving and removing nodes.
#include <gtest/gtest.h>

#include <string>

#include <xercesc/dom/DOMException.hpp>

#include "nqdom.h"

namespace {

const char* const kNull = "<null>";
const char* const kInvalidUtf8 = "\xc3\x28";

std::string str(const NqbString& text) {
    return text.isNull() ? kNull : std::string(text.asCstr());
}

// Element children by name, comments as "!" and their text, comma-separated.
std::string children(const NqDomNode& node, bool includeComments) {
    std::string out;
    for (NqDomNode child = node.getFirstChild(includeComments); !child.null();
         child = child.getNextSibling(includeComments)) {
        if (!out.empty()) out += ",";
        out += child.isComment() ? "!" + str(child.getValue(false)) : str(child.getName());
    }
    return out;
}

class NodeTest : public ::testing::Test {
protected:
    NqDomNode load(const char* xml) {
        EXPECT_TRUE(m_dom.loadXML(NqbString(xml))) << xml;
        return m_dom.getRoot();
    }
    // The root element as XML text, without declaration.
    std::string xml() { return str(m_dom.createXML(false, m_dom.getRoot())); }

    NqDom m_dom;
};

struct WalkCase {
    const char* xml;
    const char* elements;
    const char* withComments;
};

TEST_F(NodeTest, WalkingSeesOnlyElementsAndOptionallyComments) {
    const WalkCase cases[] = {
        {"<a/>", "", ""},
        {"<a>t<!--c--></a>", "", "!c"},
        {"<a>x<b/><?pi d?><![CDATA[z]]><!--c-->&amp;<d/>y</a>", "b,d", "b,!c,d"},
        {"<a><!--1--><!--2--></a>", "", "!1,!2"},
        {"<a><b><c/></b><!--k--><d/></a>", "b,d", "b,!k,d"},
    };
    for (const WalkCase& c : cases) {
        NqDomNode root = load(c.xml);
        EXPECT_EQ(children(root, false), c.elements) << c.xml;
        EXPECT_EQ(children(root, true), c.withComments) << c.xml;
    }
}

TEST_F(NodeTest, RootSiblingsAtDocumentLevel) {
    NqDomNode root = load("<!--before--><a/><!--after-->");
    EXPECT_TRUE(root.getNextSibling(false).null());
    NqDomNode after = root.getNextSibling(true);
    ASSERT_TRUE(after.isComment());
    EXPECT_EQ(str(after.getValue(false)), "after");
}

TEST_F(NodeTest, CommentHandleNavigatesOnlySideways) {
    NqDomNode comment = load("<a><!--c--><b><e/></b></a>").getFirstChild(true);
    ASSERT_FALSE(comment.null());
    ASSERT_TRUE(comment.isComment());
    EXPECT_TRUE(comment.getFirstChild(false).null());
    EXPECT_TRUE(comment.getFirstChild(true).null());
    NqDomNode next = comment.getNextSibling(false);
    EXPECT_FALSE(next.isComment());
    EXPECT_EQ(str(next.getName()), "b");
    EXPECT_EQ(str(comment.getName()), kNull);
    EXPECT_EQ(str(comment.getValue(false)), "c");
    EXPECT_EQ(str(comment.getValue(true)), "c");
}

TEST_F(NodeTest, CommentHandleDoesNotBuild) {
    NqDomNode root = load("<a><!--c--><b/></a>");
    NqDomNode comment = root.getFirstChild(true);
    ASSERT_TRUE(comment.isComment());
    const std::string before = xml();

    comment.setValue(NqbString("z"));
    EXPECT_TRUE(comment.addChild(NqbString("x")).null());
    EXPECT_TRUE(comment.addChildNS(NqbString("urn:x"), NqbString("p:x")).null());
    EXPECT_TRUE(comment.addChild(root.getFirstChild(false)).null());
    EXPECT_EQ(xml(), before);
}

TEST_F(NodeTest, NullHandleDoesNothing) {
    NqDomNode root = load("<a><b/></a>");
    const std::string before = xml();
    NqDomNode none;
    EXPECT_TRUE(none.null());
    EXPECT_FALSE(none.isComment());
    EXPECT_TRUE(none.getFirstChild(true).null());
    EXPECT_TRUE(none.getNextSibling(true).null());
    EXPECT_EQ(str(none.getName()), kNull);
    EXPECT_EQ(str(none.getValue(true)), kNull);
    none.setValue(NqbString("z"));
    EXPECT_TRUE(none.addChild(NqbString("x")).null());
    EXPECT_TRUE(none.addChildNS(NqbString("urn:x"), NqbString("p:x")).null());
    EXPECT_TRUE(none.addChild(root).null());
    EXPECT_TRUE(root.addChild(none).null());
    none.remove();
    EXPECT_TRUE(none.null());
    EXPECT_EQ(xml(), before);
}

TEST_F(NodeTest, NameIsQualifiedAsWritten) {
    NqDomNode root = load("<p:a xmlns:p=\"u\"><b\xc3\xa9/></p:a>");
    EXPECT_EQ(str(root.getName()), "p:a");
    EXPECT_EQ(str(root.getFirstChild(false).getName()), "b\xc3\xa9");
}

struct ValueCase {
    const char* xml;
    const char* first;
    const char* all;
};

TEST_F(NodeTest, ValueReadsDirectTextChildren) {
    const ValueCase cases[] = {
        {"<a>x<b/>y</a>", "x", "x y"},
        {"<a><![CDATA[c]]>t</a>", "t", "t"},
        {"<a/>", kNull, kNull},
        {"<a><b>inner</b></a>", kNull, kNull},
        {"<a>x<!--c-->y<b>in</b>z</a>", "x", "x y z"},
        {"<a>x&amp;y</a>", "x&y", "x&y"},
        {"<a> <b/>y</a>", " ", "  y"},
        {"<a>\xc3\xa9<b/>\xf0\x9f\x98\x80</a>", "\xc3\xa9", "\xc3\xa9 \xf0\x9f\x98\x80"},
    };
    for (const ValueCase& c : cases) {
        NqDomNode root = load(c.xml);
        EXPECT_EQ(str(root.getValue(false)), c.first) << c.xml;
        EXPECT_EQ(str(root.getValue(true)), c.all) << c.xml;
    }
}

TEST_F(NodeTest, ValueOfEmptyTextIsEmptyNotNull) {
    NqDomNode root = load("<a/>");
    root.setValue(NqbString(""));
    const NqbString value = root.getValue(true);
    EXPECT_FALSE(value.isNull());
    EXPECT_EQ(value.length(), 0);
}

struct SetValueCase {
    const char* xml;
    const char* text;
    const char* expected;
};

TEST_F(NodeTest, SetValueReplacesDirectTextChildren) {
    const SetValueCase cases[] = {
        {"<a>x<b/>y</a>", "z", "<a><b/>z</a>"},
        {"<a/>", "z", "<a>z</a>"},
        {"<a><![CDATA[c]]>t<!--k--><b>in</b></a>", "z", "<a><![CDATA[c]]><!--k--><b>in</b>z</a>"},
        {"<a>x</a>", "1<2&3", "<a>1&lt;2&amp;3</a>"},
        {"<a>x</a>", kInvalidUtf8, "<a>!INVALIDUTF8STR!</a>"},
    };
    for (const SetValueCase& c : cases) {
        NqDomNode root = load(c.xml);
        root.setValue(NqbString(c.text));
        EXPECT_EQ(xml(), c.expected) << c.xml;
    }
}

TEST_F(NodeTest, AddChildAppendsUsableElements) {
    NqDomNode root = load("<a><b/>t</a>");
    NqDomNode c = root.addChild(NqbString("c"));
    ASSERT_FALSE(c.null());
    EXPECT_EQ(str(c.getName()), "c");
    c.addChild(NqbString("d")).setValue(NqbString("v"));
    EXPECT_EQ(xml(), "<a><b/>t<c><d>v</d></c></a>");
}

TEST_F(NodeTest, AddChildWithBadNameThrowsAndChangesNothing) {
    const char* const names[] = {"x y", "", "1x", "<x", kInvalidUtf8};
    NqDomNode root = load("<a><b/></a>");
    for (const char* name : names) {
        EXPECT_THROW(root.addChild(NqbString(name)), xercesc::DOMException) << name;
        EXPECT_EQ(xml(), "<a><b/></a>") << name;
    }
}

TEST_F(NodeTest, AddChildNSCreatesNamespacedElement) {
    NqDomNode root = load("<a/>");
    NqDomNode child = root.addChildNS(NqbString("urn:x"), NqbString("p:c"));
    ASSERT_FALSE(child.null());
    EXPECT_EQ(str(child.getName()), "p:c");
    EXPECT_EQ(str(root.getFirstChild(false).getName()), "p:c");
    EXPECT_EQ(xml(), "<a><p:c xmlns:p=\"urn:x\"/></a>");
}

TEST_F(NodeTest, AddChildNSWithBadNameThrows) {
    struct {
        const char* uri;
        const char* name;
    } const cases[] = {
        {"urn:x", "p:1c"},
        {"", "p:c"},  // a prefix needs a namespace
        {"urn:x", "x y"},
        {"urn:x", kInvalidUtf8},
    };
    NqDomNode root = load("<a/>");
    for (const auto& c : cases) {
        EXPECT_THROW(root.addChildNS(NqbString(c.uri), NqbString(c.name)), xercesc::DOMException)
            << c.uri << " " << c.name;
    }
    EXPECT_EQ(xml(), "<a/>");
}

TEST_F(NodeTest, AddChildOfNodeMovesIt) {
    NqDomNode root = load("<a><b><c>t</c></b><d/></a>");
    NqDomNode b = root.getFirstChild(false);
    NqDomNode d = b.getNextSibling(false);
    NqDomNode moved = d.addChild(b.getFirstChild(false));
    ASSERT_FALSE(moved.null());
    EXPECT_EQ(str(moved.getName()), "c");
    EXPECT_EQ(xml(), "<a><b/><d><c>t</c></d></a>");
}

TEST_F(NodeTest, AddChildMovesComments) {
    NqDomNode root = load("<a><!--c--><b/></a>");
    NqDomNode moved = root.getFirstChild(false).addChild(root.getFirstChild(true));
    EXPECT_TRUE(moved.isComment());
    EXPECT_EQ(xml(), "<a><b><!--c--></b></a>");
}

NqDomNode descend(NqDomNode node, int depth) {
    for (; depth > 0; --depth) node = node.getFirstChild(false);
    return node;
}

TEST_F(NodeTest, AddChildRefusesToMakeANodeItsOwnAncestor) {
    // Depths below the root of the new parent and of the node appended to it.
    const struct {
        int parent;
        int child;
    } cases[] = {{0, 0}, {1, 1}, {2, 2}, {2, 1}, {2, 0}, {1, 0}};
    for (const auto& c : cases) {
        NqDomNode root = load("<a><b><c/></b></a>");
        EXPECT_TRUE(descend(root, c.parent).addChild(descend(root, c.child)).null())
            << c.parent << " " << c.child;
        EXPECT_EQ(xml(), "<a><b><c/></b></a>") << c.parent << " " << c.child;
    }
}

TEST_F(NodeTest, AddChildRefusesNodesOfAnotherDocument) {
    NqDomNode root = load("<a><b/></a>");
    NqDom other;
    ASSERT_TRUE(other.loadXML(NqbString("<x><y/></x>")));
    NqDomNode y = other.getRoot().getFirstChild(false);

    EXPECT_TRUE(root.addChild(y).null());
    EXPECT_TRUE(y.addChild(root.getFirstChild(false)).null());
    EXPECT_EQ(xml(), "<a><b/></a>");
    EXPECT_EQ(str(other.createXML(false, other.getRoot())), "<x><y/></x>");

    NqDomNode copy = m_dom.importNode(y);
    ASSERT_FALSE(copy.null());
    EXPECT_FALSE(root.addChild(copy).null());
    EXPECT_EQ(xml(), "<a><b/><y/></a>");
}

TEST_F(NodeTest, RemoveDetachesAndNullsTheHandle) {
    NqDomNode root = load("<a><b>t</b><!--c--><d/></a>");
    NqDomNode b = root.getFirstChild(false);
    const NqDomNode kept = b;
    b.remove();
    EXPECT_TRUE(b.null());
    EXPECT_EQ(xml(), "<a><!--c--><d/></a>");

    b.remove();
    EXPECT_EQ(xml(), "<a><!--c--><d/></a>");

    NqDomNode comment = root.getFirstChild(true);
    ASSERT_TRUE(comment.isComment());
    comment.remove();
    EXPECT_TRUE(comment.null());
    EXPECT_EQ(xml(), "<a><d/></a>");

    // The removed node stays with the document and can come back.
    EXPECT_EQ(str(kept.getValue(false)), "t");
    EXPECT_FALSE(root.addChild(kept).null());
    EXPECT_EQ(xml(), "<a><d/><b>t</b></a>");
}

TEST_F(NodeTest, RemoveWithoutParentOnlyNullsTheHandle) {
    NqDomNode root = load("<a><b/><c/></a>");
    NqDomNode b = root.getFirstChild(false);
    NqDomNode copy = b;
    b.remove();
    copy.remove();
    EXPECT_TRUE(copy.null());
    EXPECT_EQ(xml(), "<a><c/></a>");
}

}  // namespace
