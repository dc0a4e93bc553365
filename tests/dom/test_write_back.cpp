// What the library writes reads back as the same tree, or the write fails
// with a message naming the node; edits that no text could hold are refused.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "dom_test_util.h"
#include "tree_outline.h"

namespace {

const char* const kXlink = "http://www.w3.org/1999/xlink";
const char* const kSvg =
    "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\">"
    "<a xlink:href=\"#x\"/></svg>";

// Both outputs of `dom` (or of `node`) read back under Strict as the same
// tree; the plain one is returned.
std::string writtenBack(NqDom& dom, const NqDomNode& node = NqDomNode()) {
    const NqDomNode top = node.null() ? dom.getDocumentNode() : node;
    std::string plain;
    for (const bool pretty : {false, true}) {
        const NqbString text = dom.createXML(pretty, node);
        EXPECT_FALSE(text.isNull()) << str(dom.getErrorMessage());
        NqDom again;
        again.setLoadPolicy(NqDomLoadStrict);
        EXPECT_TRUE(again.loadXML(text)) << str(text) << "\n" << str(again.getErrorMessage());
        const NqDomNode back = node.null() ? again.getDocumentNode() : again.getRoot();
        EXPECT_EQ(treeOutline(back, pretty), treeOutline(top, pretty)) << str(text);
        if (!pretty) plain = str(text);
    }
    return plain;
}

struct Case {
    const char* name;
    std::function<void(NqDom&)> edit;
    const char* written;  // a piece the plain output holds
};

TEST(WriteBack, EditedDocumentsReadBackTheSame) {
    const Case cases[] = {
        {"declared prefix, attribute set with it",
         [](NqDom& d) {
             d.loadXML(kSvg);
             EXPECT_TRUE(d.getRoot().setAttributeValueNS(kXlink, "xlink:title", "edited"));
         },
         "<svg xlink:title=\"edited\" xmlns=\"http://www.w3.org/2000/svg\" "
         "xmlns:xlink=\"http://www.w3.org/1999/xlink\">"},
        {"prefix declared plainly, then wanted for another namespace",
         [](NqDom& d) {
             d.startNewDocument("r");
             EXPECT_TRUE(d.getRoot().setAttributeValue("xmlns:p", "urn:a"));
             EXPECT_FALSE(d.getRoot().setAttributeValueNS("urn:b", "p:x", "1"));
             EXPECT_TRUE(d.getRoot().setAttributeValueNS("urn:a", "p:y", "2"));
         },
         "<r p:y=\"2\" xmlns:p=\"urn:a\"/>"},
        {"child in a namespace its parent declares",
         [](NqDom& d) {
             d.loadXML("<r xmlns:p=\"urn:a\"/>");
             d.getRoot().addChildNS("urn:a", "p:c").addChildNS("urn:b", "p:d");
         },
         "<r xmlns:p=\"urn:a\"><p:c><p:d xmlns:p=\"urn:b\"/></p:c></r>"},
        {"made without a namespace, under a default one",
         [](NqDom& d) {
             d.loadXML("<r xmlns=\"urn:d\"/>");
             d.getRoot().addChildNS("", "c").addChild("e");
             EXPECT_TRUE(d.getRoot().addChild("f").setAttributeValue("xmlns", ""));
         },
         "<r xmlns=\"urn:d\"><c><e/></c><f xmlns=\"\"/></r>"},
        {"a default namespace declared on a new root",
         [](NqDom& d) {
             d.startNewDocument("html");
             EXPECT_TRUE(d.getRoot().setAttributeValue("xmlns", "http://www.w3.org/1999/xhtml"));
             d.getRoot().addChildNS("", "body");
             EXPECT_EQ(str(d.getRoot().getNamespaceURI()), "http://www.w3.org/1999/xhtml");
         },
         "<html xmlns=\"http://www.w3.org/1999/xhtml\"><body/></html>"},
        {"plain names under namespace-aware ones",
         [](NqDom& d) {
             d.startNewDocumentNS("urn:a", "a:r");
             NqDomNode c = d.getRoot().addChildNS("urn:b", "c");
             c.addChild("a:e").setAttributeValue("a:k", "v");
             c.addChild("f");
         },
         "<c xmlns=\"urn:b\"><a:e a:k=\"v\"/><f/></c>"},
        {"two attributes wanting one prefix",
         [](NqDom& d) {
             d.startNewDocument("r");
             EXPECT_TRUE(d.getRoot().setAttributeValueNS("urn:a", "p:x", "1"));
             EXPECT_FALSE(d.getRoot().setAttributeValueNS("urn:b", "p:y", "2"));
             EXPECT_FALSE(d.getRoot().setAttributeValueNS("urn:b", "z", "3"));
             EXPECT_FALSE(d.getRoot().setAttributeValue("xmlns:p", "urn:b"));
             EXPECT_TRUE(d.getRoot().setAttributeValue("xmlns:p", "urn:a"));
         },
         "<r p:x=\"1\" xmlns:p=\"urn:a\"/>"},
        {"line ends, tabs and markup in texts and values",
         [](NqDom& d) {
             d.startNewDocument("r");
             d.getRoot().setAttributeValue("v", "a\tb\nc\r\nd<&\"'");
             d.getRoot().addText("p\r\nq]]>&<");
             d.getRoot().addComment(" - a comment - ");
             d.getRoot().addProcessingInstruction("t", "x y");
         },
         "p&#xD;\nq]]&gt;&amp;&lt;"},
        {"CDATA holding its own end",
         [](NqDom& d) {
             d.startNewDocument("r");
             d.getRoot().addCData("]]>x]]]>");
             d.getRoot().addChild("e").addCData("a]]>");
         },
         "<![CDATA[]]]]><![CDATA[>x]]]]]><![CDATA[>]]>"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        NqDom dom;
        c.edit(dom);
        EXPECT_NE(writtenBack(dom).find(c.written), std::string::npos);
    }
}

// White space beside the root would be written, but not read back as a node.
TEST(WriteBack, TextIsNotMovedBesideTheRoot) {
    NqDom dom;
    ASSERT_TRUE(dom.loadXML("<r> </r>"));
    NqDomNode space = dom.getRoot().getFirstChildNode();
    ASSERT_EQ(space.getKind(), NqDomNodeText);
    EXPECT_TRUE(dom.getDocumentNode().insertBefore(space, dom.getRoot()).null());
    EXPECT_EQ(str(dom.createXML(false)), kDeclaration + "<r> </r>");
}

// A document whose root was removed, or moved into an element outside it,
// has nothing that could be read back.
TEST(WriteBack, DocumentWithoutItsRootIsNotWritten) {
    for (const bool moved : {false, true}) {
        NqDom dom;
        ASSERT_TRUE(dom.loadXML("<r><c/></r>"));
        NqDomNode root = dom.getRoot();
        if (moved) {
            NqDomNode outside = dom.importNode(root);
            EXPECT_FALSE(outside.insertBefore(root, NqDomNode()).null());
        } else {
            root.remove();
        }
        EXPECT_TRUE(dom.createXML(false).isNull());
        EXPECT_EQ(str(dom.getErrorMessage()),
                  "LibXML 351: cannot write the document: it has no root element");
        EXPECT_EQ(str(dom.createXML(false, dom.getRoot())), "<r><c/></r>");  // the element alone still is
    }
}

// A node written alone carries the bindings its names have in the document.
TEST(WriteBack, NodeWrittenAloneKeepsItsNamespaces) {
    NqDom dom;
    ASSERT_TRUE(dom.loadXML("<r xmlns:p=\"urn:a\" xmlns=\"urn:d\"><p:c p:k=\"1\"><e/></p:c></r>"));
    NqDomNode c = dom.getRoot().getFirstChild(false);
    c.addChildNS("urn:a", "p:f");
    EXPECT_EQ(writtenBack(dom, c), "<p:c p:k=\"1\" xmlns:p=\"urn:a\"><e xmlns=\"urn:d\"/><p:f/></p:c>");
    // The document itself is as it was.
    EXPECT_EQ(c.getAttributeCount(), 1);
    EXPECT_EQ(str(dom.createXML(false)), kDeclaration +
                                             "<r xmlns=\"urn:d\" xmlns:p=\"urn:a\"><p:c p:k=\"1\"><e/><p:f/>"
                                             "</p:c></r>");
}

TEST(WriteBack, CharacterXmlCannotCarryFailsTheWrite) {
    const struct {
        std::function<void(NqDomNode&)> edit;
        const char* message;
    } rows[] = {
        {[](NqDomNode& r) { r.addText("a\x01"); }, "text in element \"r\": it holds U+0001"},
        {[](NqDomNode& r) { r.setAttributeValue("k", "\x1f"); },
         "attribute \"k\" in element \"r\": it holds U+001F"},
        {[](NqDomNode& r) { r.addChild("e").addComment("\xef\xbf\xbf"); },
         "comment in element \"e\": it holds U+FFFF"},
        {[](NqDomNode& r) { r.addProcessingInstruction("t", "\x08"); },
         "processing instruction \"t\" in element \"r\": it holds U+0008"},
        {[](NqDomNode& r) { r.addCData("\xef\xbf\xbe"); }, "CDATA section in element \"r\": it holds U+FFFE"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        NqDom dom;
        dom.startNewDocument("r");
        NqDomNode root = dom.getRoot();
        row.edit(root);
        for (const bool pretty : {false, true}) {
            EXPECT_TRUE(dom.createXML(pretty).isNull());
            EXPECT_EQ(str(dom.getErrorMessage()), std::string("LibXML 348: cannot write ") + row.message +
                                                      ", a character XML 1.0 cannot carry");
        }
    }
}

// Text a comment or a processing instruction cannot hold is refused when it
// is given, and nothing changes.
TEST(WriteBack, EditsNoTextCouldHoldAreRefused) {
    NqDom dom;
    dom.startNewDocument("r");
    NqDomNode root = dom.getRoot();
    NqDomNode comment = root.addComment("ok");
    NqDomNode instruction = root.addProcessingInstruction("t", "ok");
    NqDomNode section = root.addCData("ok");
    const std::string before = str(dom.createXML(false));
    EXPECT_TRUE(root.addCData("a\r").null());
    EXPECT_FALSE(section.setText("\rb"));
    for (const char* text : {"a--b", "a-", "-", "a\r\nb"}) {
        EXPECT_TRUE(root.addComment(text).null()) << text;
        EXPECT_FALSE(comment.setText(text)) << text;
    }
    for (const char* target : {"xml", "XmL"}) EXPECT_TRUE(root.addProcessingInstruction(target, "x").null());
    for (const char* data : {"a?>b", " a", "\na", "a\rb"})
        EXPECT_TRUE(root.addProcessingInstruction("t", data).null());
    EXPECT_FALSE(instruction.setText("?>"));
    EXPECT_FALSE(root.setAttributeValue("a b", "x"));
    EXPECT_EQ(str(dom.createXML(false)), before);
    EXPECT_TRUE(comment.setText("-a- b"));
    EXPECT_TRUE(instruction.setText("x?y>"));
    EXPECT_FALSE(root.addProcessingInstruction("xml-stylesheet", "href=\"s\"").null());
    writtenBack(dom);
}

}  // namespace
