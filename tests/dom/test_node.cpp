// Node handle: walking, texts, building, moving and removing nodes.
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
        if (!out.empty()) out += ",";
        out += child.isComment() ? "!" + str(child.getValue(false)) : str(child.getName());
    }
    return out;
}

// Walks from `node`: 'e' first child element, 'c' first child with comments,
// 'n' next element sibling.
NqDomNode at(NqDomNode node, const char* path) {
    for (; *path; ++path) node = *path == 'n' ? node.getNextSibling(false) : node.getFirstChild(*path == 'c');
    return node;
}

using NodeTest = LoadedDom;

TEST_F(NodeTest, WalkingSeesOnlyElementsAndOptionallyComments) {
    const struct {
        const char* xml;
        const char* elements;
        const char* withComments;
    } rows[] = {
        {"<a/>", "", ""},
        {"<a>t<!--c--></a>", "", "!c"},
        {"<a>x<b/><?pi d?><![CDATA[z]]><!--c-->&amp;<d/>y</a>", "b,d", "b,!c,d"},
        {"<a><b><c/></b><!--k--><d/></a>", "b,d", "b,!k,d"},
        {"<p:a xmlns:p=\"u\"><p:b/><b\xc3\xa9/></p:a>", "p:b,b\xc3\xa9", "p:b,b\xc3\xa9"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.xml);
        NqDomNode root = load(row.xml);
        EXPECT_EQ(children(root, false), row.elements);
        EXPECT_EQ(children(root, true), row.withComments);
    }
    NqDomNode root = load("<!--before--><a/><!--after-->");
    EXPECT_TRUE(root.getNextSibling(false).null());
    EXPECT_TRUE(root.getNextSibling(true).isComment());
    EXPECT_EQ(str(root.getNextSibling(true).getValue(false)), "after");
}

// A comment handle only walks sideways and reads its text; neither it nor a
// null handle builds anything or has attributes.
TEST_F(NodeTest, CommentAndNullHandlesDoNotBuild) {
    NqDomNode root = load("<a k=\"1\"><!--c--><b><e/></b></a>");
    const struct {
        NqDomNode handle;
        bool comment;
        const char* value;
        const char* next;
    } rows[] = {{root.getFirstChild(true), true, "c", "b"}, {NqDomNode(), false, "<null>", "<null>"}};
    for (auto row : rows) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(row.handle.null(), !row.comment);
        EXPECT_EQ(row.handle.isComment(), row.comment);
        EXPECT_TRUE(row.handle.getFirstChild(false).null());
        EXPECT_TRUE(row.handle.getFirstChild(true).null());
        EXPECT_EQ(str(row.handle.getNextSibling(false).getName()), row.next);
        EXPECT_EQ(str(row.handle.getNextSibling(true).getName()), row.next);
        EXPECT_EQ(str(row.handle.getName()), "<null>");
        EXPECT_EQ(str(row.handle.getValue(false)), row.value);
        EXPECT_EQ(str(row.handle.getValue(true)), row.value);

        row.handle.setValue("z");
        EXPECT_TRUE(row.handle.addChild("x").null());
        EXPECT_TRUE(row.handle.addChildNS("urn:x", "p:x").null());
        EXPECT_TRUE(row.handle.addChild(root.getFirstChild(false)).null());
        EXPECT_EQ(row.handle.getAttributeCount(), 0);
        NqbString name("stale"), value("stale");
        row.handle.getAttributeNameValue(0, &name, &value);
        EXPECT_EQ(str(name) + str(value), "<null><null>");
        EXPECT_EQ(str(row.handle.getAttributeValue("k")), "<null>");
        EXPECT_FALSE(row.handle.setAttributeValue("k", "v"));
        EXPECT_FALSE(row.handle.setAttributeValueNS("urn:x", "p:k", "v"));
        row.handle.clearAttributes();
        EXPECT_EQ(xml(), "<a k=\"1\"><!--c--><b><e/></b></a>");
    }
    NqDomNode none;
    EXPECT_TRUE(root.addChild(none).null());
    none.remove();
    EXPECT_TRUE(none.null());
    EXPECT_EQ(xml(), "<a k=\"1\"><!--c--><b><e/></b></a>");
}

TEST_F(NodeTest, ValueReadsDirectTextChildren) {
    const struct {
        const char* xml;
        const char* first;
        const char* all;
    } rows[] = {
        {"<a>x<b/>y</a>", "x", "x y"},
        {"<a><![CDATA[c]]>t</a>", "t", "t"},
        {"<a/>", "<null>", "<null>"},
        {"<a><b>inner</b></a>", "<null>", "<null>"},
        {"<a>x<!--c-->y<b>in</b>z</a>", "x", "x y z"},
        {"<a>x&amp;y</a>", "x&y", "x&y"},
        {"<a> <b/>y</a>", " ", "  y"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.xml);
        NqDomNode root = load(row.xml);
        EXPECT_EQ(str(root.getValue(false)), row.first);
        EXPECT_EQ(str(root.getValue(true)), row.all);
    }
}

TEST_F(NodeTest, SetValueReplacesDirectTextChildren) {
    const struct {
        const char* xml;
        const char* text;
        const char* expected;
    } rows[] = {
        {"<a>x<b/>y</a>", "z", "<a><b/>z</a>"},
        {"<a/>", "z", "<a>z</a>"},
        {"<a><![CDATA[c]]>t<!--k--><b>in</b></a>", "z", "<a><![CDATA[c]]><!--k--><b>in</b>z</a>"},
        {"<a>x</a>", "1<2&3", "<a>1&lt;2&amp;3</a>"},
        {"<a>x</a>", kInvalidUtf8, "<a>!INVALIDUTF8STR!</a>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.xml);
        load(row.xml).setValue(row.text);
        EXPECT_EQ(xml(), row.expected);
    }
    NqDomNode root = load("<a/>");
    root.setValue("");
    EXPECT_EQ(str(root.getValue(true)), "") << "empty text, not null";
}

TEST_F(NodeTest, AddChildAppendsOrThrowsOnABadName) {
    const struct {
        const char* uri;  // null: addChild
        const char* name;
    } rows[] = {
        {nullptr, "x y"},        {nullptr, kInvalidUtf8},
        {"urn:x", "p:1c"},       {"", "p:c"},  // a prefix needs a namespace
        {"urn:x", kInvalidUtf8},
    };
    NqDomNode root = load("<a><b/>t</a>");
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.uri ? row.uri : "-") + " " + row.name);
        EXPECT_THROW(row.uri ? root.addChildNS(row.uri, row.name) : root.addChild(row.name),
                     xercesc::DOMException);
        EXPECT_EQ(xml(), "<a><b/>t</a>");
    }
    // Good names give usable elements at the end.
    NqDomNode c = root.addChild("c");
    EXPECT_EQ(str(c.getName()), "c");
    c.addChild("d").setValue("v");
    EXPECT_EQ(str(root.addChildNS("urn:x", "p:e").getName()), "p:e");
    EXPECT_EQ(xml(), "<a><b/>t<c><d>v</d></c><p:e xmlns:p=\"urn:x\"/></a>");
}

// A node of the same document moves, unless it would become its own ancestor.
TEST_F(NodeTest, AddChildOfANodeMovesIt) {
    const char* const original = "<a><!--k--><b><c>t</c></b><d/></a>";
    const struct {
        const char* parent;
        const char* child;
        const char* expected;
    } rows[] = {
        {"en", "ee", "<a><!--k--><b/><d><c>t</c></d></a>"},
        {"e", "c", "<a><b><c>t</c><!--k--></b><d/></a>"},
        {"e", "e", original},
        {"ee", "e", original},
        {"ee", "", original},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.parent) + " " + row.child);
        NqDomNode root = load(original);
        const NqDomNode child = at(root, row.child);
        const NqDomNode added = at(root, row.parent).addChild(child);
        // The result designates the moved node.
        const std::string moved = str(child.getName()) + str(child.getValue(false));
        EXPECT_EQ(added.null() ? "refused" : str(added.getName()) + str(added.getValue(false)),
                  row.expected == original ? "refused" : moved);
        EXPECT_EQ(xml(), row.expected);
    }
}

TEST_F(NodeTest, AddChildRefusesNodesOfAnotherDocument) {
    NqDomNode root = load("<a><b/></a>");
    NqDom other;
    ASSERT_TRUE(other.loadXML("<x><y/></x>"));
    NqDomNode y = other.getRoot().getFirstChild(false);

    EXPECT_TRUE(root.addChild(y).null());
    EXPECT_TRUE(y.addChild(root.getFirstChild(false)).null());
    EXPECT_EQ(xml(), "<a><b/></a>");
    EXPECT_EQ(str(other.createXML(false, other.getRoot())), "<x><y/></x>");

    EXPECT_FALSE(root.addChild(m_dom.importNode(y)).null());
    EXPECT_EQ(xml(), "<a><b/><y/></a>");
}

TEST_F(NodeTest, RemoveDetachesAndNullsTheHandle) {
    NqDomNode root = load("<a><b>t</b><!--c--><d/></a>");
    NqDomNode b = root.getFirstChild(false);
    const NqDomNode kept = b;
    NqDomNode copy = b;
    b.remove();
    EXPECT_TRUE(b.null());
    EXPECT_EQ(xml(), "<a><!--c--><d/></a>");

    b.remove();
    // A copy of the handle has no parent to leave.
    copy.remove();
    EXPECT_TRUE(copy.null());
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

}  // namespace
