// Writing XML text and files, and importing nodes from other documents.
#include <gtest/gtest.h>

#include <string>

#include <xercesc/dom/DOM.hpp>

#include "dom_test_util.h"
#include "test_files.h"

using xercesc::DOMDocument;
using xercesc::DOMImplementationRegistry;

namespace {

const std::string kNoDocument = "LibXML 344: nothing to serialize: there is no current document";

TEST(Serialize, WholeDocumentPlainAndPrettyOrOneNode) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("a"));
    dom.getRoot().addChild("b").addChild("c").setValue("t\xc3\xa9");
    EXPECT_EQ(str(dom.createXML(false)), kDeclaration + "<a><b><c>t\xc3\xa9</c></b></a>");
    // The engine's indentation, with every line ended by CR LF.
    EXPECT_EQ(str(dom.createXML(true)),
              kDeclaration + "\r\n<a>\r\n\r\n  <b>\r\n    <c>t\xc3\xa9</c>\r\n  </b>\r\n\r\n</a>\r\n");
    // A node handle needs no current document: it names what to write.
    NqDom empty;
    EXPECT_EQ(str(empty.createXML(false, dom.getRoot().getFirstChild(false))), "<b><c>t\xc3\xa9</c></b>");
    EXPECT_EQ(str(empty.getErrorMessage()), "<null>");

    TempDir dir;
    const std::string path = dir.file("out.xml");
    ASSERT_TRUE(dom.createFile(path.c_str(), true));
    EXPECT_EQ(readBytes(path), str(dom.createXML(true)));
    ASSERT_TRUE(dom.createFile(path.c_str(), false, dom.getRoot().getFirstChild(false).getFirstChild(false)));
    EXPECT_EQ(readBytes(path), "<c>t\xc3\xa9</c>");

    ASSERT_TRUE(dom.loadXML("<x:a xmlns:x=\"urn:x\" k=\"v\"><!--note--><b>1 &amp; 2</b></x:a>"));
    EXPECT_EQ(str(dom.createXML(false)),
              kDeclaration + "<x:a k=\"v\" xmlns:x=\"urn:x\"><!--note--><b>1 &amp; 2</b></x:a>");
    // Values of the internal subset are escaped so that the text reads back the same.
    const std::string subset =
        "<!DOCTYPE r [<!ENTITY e \"q&#34;&#37;&#38;#38;&amp;\"><!ATTLIST r a CDATA \"x&#9;&quot;\">]>";
    ASSERT_TRUE(dom.loadXML(
        "<!DOCTYPE r [<!ENTITY e 'q\"&#37;&#38;#38;&amp;'><!ATTLIST r a CDATA 'x&#9;\"'>]><r>&e;</r>"));
    EXPECT_EQ(str(dom.createXML(false)), kDeclaration + subset + "<r>&e;</r>");
}

// Without a document there is nothing to write; a text holding a character
// XML does not allow makes the engine's serializer throw. A file that takes
// only part of the text gives the writing error. A success keeps an earlier
// error text.
TEST(Serialize, FailureGivesNullAndTheMessage) {
    TempDir dir;
    const std::string path = dir.file("out.xml");
    const struct {
        void (*prepare)(NqDom&);
        std::string file;
        std::string message;
    } rows[] = {
        {[](NqDom&) {}, path, kNoDocument},
        {[](NqDom& d) {
             d.startNewDocument("a");
             d.getRoot().setValue("x\x01");
         },
         path,
         "LibXML 348: cannot write text in element \"a\": it holds U+0001, a character XML 1.0 cannot carry"},
        {[](NqDom& d) { d.startNewDocument("a"); }, "/dev/full",
         "LibXML 463: not all of the text could be written to file \"/dev/full\""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        NqDom dom;
        row.prepare(dom);
        const bool written = !dom.createXML(true).isNull();
        EXPECT_EQ(str(dom.getErrorMessage()), written ? "" : row.message);
        // Another error first, so that createFile is seen to set its own.
        dom.importNode(NqDomNode());
        EXPECT_FALSE(dom.createFile(row.file.c_str(), false));
        EXPECT_EQ(str(dom.getErrorMessage()), row.message);
        EXPECT_FALSE(fileExists(path));
        EXPECT_EQ(dom.createXML(false).isNull(), !written);
        EXPECT_EQ(str(dom.getErrorMessage()), row.message);
    }
}

// Nothing is imported without a document. A document node cannot be imported;
// the engine's message text becomes the argument of message 471.
TEST(Import, RefusalGivesTheMessage) {
    DOMDocument* foreign =
        DOMImplementationRegistry::getDOMImplementation(u"Core")->createDocument(nullptr, u"r", nullptr);
    const NqDomNode node(static_cast<xercesc::DOMNode*>(foreign), nullptr);
    NqDom dom;
    EXPECT_TRUE(dom.importNode(node).null());
    EXPECT_EQ(str(dom.getErrorMessage()), kNoDocument);
    ASSERT_TRUE(dom.startNewDocument("t"));
    EXPECT_TRUE(dom.importNode(node).null());
    EXPECT_EQ(str(dom.getErrorMessage()),
              "LibXML 471: importing a node failed: implementation does not support the requested type of "
              "object or operation");
    foreign->release();
}

}  // namespace
