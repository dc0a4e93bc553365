// Writing XML text and files, and importing nodes from other documents.
#include <gtest/gtest.h>

#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>

#include "dom_test_util.h"
#include "test_files.h"

using xercesc::DOMDocument;
using xercesc::DOMException;
using xercesc::DOMImplementation;
using xercesc::DOMImplementationRegistry;
using xercesc::DOMLSException;
using xercesc::XMLString;

namespace {

// a > b > c with a non-ASCII text in c.
void buildNested(NqDom& dom) {
    ASSERT_TRUE(dom.startNewDocument("a"));
    dom.getRoot().addChild("b").addChild("c").setValue("t\xc3\xa9");
}

TEST(Serialize, WholeDocumentPlainAndPrettyOrOneNode) {
    NqDom dom;
    buildNested(dom);
    EXPECT_EQ(str(dom.createXML(false)), kDeclaration + "<a><b><c>t\xc3\xa9</c></b></a>");
    // The engine's indentation, with every line ended by CR LF.
    EXPECT_EQ(str(dom.createXML(true)),
              kDeclaration + "\r\n<a>\r\n\r\n  <b>\r\n    <c>t\xc3\xa9</c>\r\n  </b>\r\n\r\n</a>\r\n");
    EXPECT_EQ(str(dom.createXML(false, dom.getRoot().getFirstChild(false))), "<b><c>t\xc3\xa9</c></b>");

    // A node handle needs no current document: it names what to write.
    NqDom empty;
    EXPECT_EQ(str(empty.createXML(false, dom.getRoot().getFirstChild(false).getFirstChild(false))),
              "<c>t\xc3\xa9</c>");
    EXPECT_EQ(str(empty.getErrorMessage()), "<null>");

    ASSERT_TRUE(dom.loadXML("<x:a xmlns:x=\"urn:x\" k=\"v\"><!--note--><b>1 &amp; 2</b></x:a>"));
    EXPECT_EQ(str(dom.createXML(false)),
              kDeclaration + "<x:a k=\"v\" xmlns:x=\"urn:x\"><!--note--><b>1 &amp; 2</b></x:a>");
}

// Without a document there is nothing to write; a text holding a character
// XML does not allow makes the engine's serializer throw.
TEST(Serialize, FailureGivesNullAndTheMessage) {
    const struct {
        void (*prepare)(NqDom&);
        std::string message;
    } rows[] = {
        {[](NqDom&) {}, libxml(NQ_MSG_NO_DOCUMENT)},
        {[](NqDom& d) { d.startNewDocument("a b"); }, libxml(NQ_MSG_NO_DOCUMENT)},
        {[](NqDom& d) {
             d.startNewDocument("a");
             d.getRoot().setValue("x\x01");
         },
         libxml(NQ_MSG_SERIALIZE_EXCEPTION, DOMLSException::SERIALIZE_ERR)},
    };
    TempDir dir;
    const std::string path = dir.file("out.xml");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        NqDom dom;
        row.prepare(dom);
        for (bool pretty : {false, true}) {
            EXPECT_TRUE(dom.createXML(pretty).isNull());
            EXPECT_EQ(str(dom.getErrorMessage()), row.message);
            // Another error first, so that createFile is seen to set its own.
            dom.importNode(NqDomNode());
            EXPECT_FALSE(dom.createFile(path.c_str(), pretty));
            EXPECT_EQ(str(dom.getErrorMessage()), row.message);
            EXPECT_FALSE(fileExists(path));
        }
    }
}

TEST(Serialize, CreateFileWritesWhatCreateXMLYields) {
    NqDom dom;
    buildNested(dom);
    TempDir dir;
    const std::string path = dir.file("out.xml");
    ASSERT_TRUE(writeBytes(path, std::string(4096, 'o')));
    for (bool pretty : {true, false}) {
        ASSERT_TRUE(dom.createFile(path.c_str(), pretty));
        EXPECT_EQ(readBytes(path), str(dom.createXML(pretty)));
    }
    const NqDomNode c = dom.getRoot().getFirstChild(false).getFirstChild(false);
    ASSERT_TRUE(dom.createFile(path.c_str(), false, c));
    EXPECT_EQ(readBytes(path), "<c>t\xc3\xa9</c>");

    // Unwritable targets give the writing error and keep the document.
    const struct {
        std::string path;
        int message;
    } rows[] = {{dir.file("none/out.xml"), NQ_MSG_OPEN_WRITE}, {"/dev/full", NQ_MSG_WRITE_SHORT}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_FALSE(dom.createFile(row.path.c_str(), false));
        EXPECT_EQ(str(dom.getErrorMessage()), libxml(row.message, row.path.c_str()));
        EXPECT_EQ(str(dom.getRoot().getName()), "a");
    }
}

TEST(Serialize, SuccessKeepsAnEarlierError) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("a"));
    EXPECT_TRUE(dom.importNode(NqDomNode()).null());
    ASSERT_EQ(str(dom.getErrorMessage()), "Node is null");
    EXPECT_EQ(str(dom.createXML(false)), kDeclaration + "<a/>");
    EXPECT_FALSE(dom.createXML(true).isNull());
    EXPECT_EQ(str(dom.getErrorMessage()), "Node is null");
    NqDom other;
    ASSERT_TRUE(other.loadXML("<o/>"));
    EXPECT_FALSE(dom.importNode(other.getRoot()).null());
    EXPECT_EQ(str(dom.getErrorMessage()), "Node is null");
}

// Without a document there is nowhere to copy to; reported like the other
// "no document" failure.
TEST(Import, WithoutDocumentIsRefused) {
    NqDom source;
    ASSERT_TRUE(source.loadXML("<s/>"));
    NqDom dom;
    EXPECT_TRUE(dom.importNode(source.getRoot()).null());
    EXPECT_EQ(str(dom.getErrorMessage()), libxml(NQ_MSG_NO_DOCUMENT));
}

TEST(Import, CopiesFromAnotherDocumentAndOutlivesIt) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("t"));
    const std::string targetBefore = str(dom.createXML(false));
    {
        NqDom source;
        ASSERT_TRUE(source.loadXML("<s><e k=\"v\">txt<f/></e></s>"));
        const std::string sourceBefore = str(source.createXML(false));
        NqDomNode copy = dom.importNode(source.getRoot().getFirstChild(false));
        ASSERT_FALSE(copy.null());
        EXPECT_EQ(str(copy.getName()), "e");
        EXPECT_EQ(str(copy.getValue(true)), "txt");
        EXPECT_EQ(str(copy.getAttributeValue("k")), "v");
        EXPECT_EQ(str(copy.getFirstChild(false).getName()), "f");
        EXPECT_EQ(str(dom.createXML(false)), targetBefore);

        ASSERT_FALSE(dom.getRoot().addChild(copy).null());
        copy.getFirstChild(false).setValue("changed");
        EXPECT_EQ(str(source.createXML(false)), sourceBefore);
    }
    EXPECT_EQ(str(dom.createXML(false)), kDeclaration + "<t><e k=\"v\">txt<f>changed</f></e></t>");
}

// A document node cannot be imported; the engine's message text becomes the
// argument of message 471.
TEST(Import, EngineRefusalGivesMessageText) {
    DOMImplementation* core = DOMImplementationRegistry::getDOMImplementation(u"Core");
    DOMDocument* foreign = core->createDocument(nullptr, u"r", nullptr);
    DOMDocument* probe = core->createDocument(nullptr, u"r", nullptr);
    std::string engineText;
    try {
        probe->importNode(foreign, true);
    } catch (const DOMException& e) {
        char* converted = XMLString::transcode(e.getMessage());
        engineText = converted;
        XMLString::release(&converted);
    }
    probe->release();
    ASSERT_FALSE(engineText.empty());

    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("t"));
    EXPECT_TRUE(dom.importNode(NqDomNode(static_cast<xercesc::DOMNode*>(foreign), nullptr)).null());
    EXPECT_EQ(str(dom.getErrorMessage()), libxml(NQ_MSG_IMPORT_EXCEPTION, engineText.c_str()));
    foreign->release();
}

}  // namespace
