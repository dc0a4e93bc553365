// Writing XML text and files, and importing nodes from other documents.
#include <gtest/gtest.h>

#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>

#include "nqdom.h"
#include "nqdommessages.h"
#include "test_files.h"

using xercesc::DOMDocument;
using xercesc::DOMException;
using xercesc::DOMImplementationRegistry;
using xercesc::DOMLSException;
using xercesc::XMLString;

namespace {

std::string text(const NqbString& s) {
    return s.asCstr();
}

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>";

// a > b > c with a non-ASCII text in c.
void buildNested(NqDom& dom) {
    ASSERT_TRUE(dom.startNewDocument("a"));
    dom.getRoot().addChild("b").addChild("c").setValue("t\xc3\xa9");
}

}  // namespace

TEST(Serialize, NewDocumentWithSingleElement) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("a"));
    const NqbString xml = dom.createXML(false);
    ASSERT_FALSE(xml.isNull());
    EXPECT_EQ(text(xml), kDeclaration + "<a/>");
}

TEST(Serialize, WholeDocumentPlainAndPretty) {
    NqDom dom;
    buildNested(dom);
    EXPECT_EQ(text(dom.createXML(false)), kDeclaration + "<a><b><c>t\xc3\xa9</c></b></a>");
    // The engine's indentation, with every line ended by CR LF.
    EXPECT_EQ(text(dom.createXML(true)),
              kDeclaration + "\r\n<a>\r\n\r\n  <b>\r\n    <c>t\xc3\xa9</c>\r\n  </b>\r\n\r\n</a>\r\n");
}

TEST(Serialize, InnerNodeOnly) {
    NqDom dom;
    buildNested(dom);
    const NqDomNode b = dom.getRoot().getFirstChild(false);
    EXPECT_EQ(text(dom.createXML(false, b)), "<b><c>t\xc3\xa9</c></b>");
}

TEST(Serialize, ParsedTextRoundTrips) {
    NqDom dom;
    ASSERT_TRUE(dom.loadXML("<x:a xmlns:x=\"urn:x\" k=\"v\"><!--note--><b>1 &amp; 2</b></x:a>"));
    EXPECT_EQ(text(dom.createXML(false)),
              kDeclaration + "<x:a k=\"v\" xmlns:x=\"urn:x\"><!--note--><b>1 &amp; 2</b></x:a>");
}

// A node handle needs no current document: it names what to write.
TEST(Serialize, NodeOfAnotherDocumentWithoutOwnDocument) {
    NqDom source;
    ASSERT_TRUE(source.loadXML("<s><e/></s>"));
    NqDom empty;
    EXPECT_EQ(text(empty.createXML(false, source.getRoot().getFirstChild(false))), "<e/>");
    EXPECT_TRUE(empty.getErrorMessage().isNull());
}

struct NoDocument {
    const char* label;
    void (*prepare)(NqDom& dom);
};

void PrintTo(const NoDocument& c, std::ostream* out) {
    *out << c.label;
}

class SerializeNoDocument : public ::testing::TestWithParam<NoDocument> {};

TEST_P(SerializeNoDocument, FailsWithNothingToWrite) {
    NqDom dom;
    GetParam().prepare(dom);
    const std::string expected = text(NQ_LIBXML_MESSAGE(NQ_MSG_NO_DOCUMENT));
    for (bool pretty : {false, true}) {
        EXPECT_TRUE(dom.createXML(pretty).isNull());
        EXPECT_EQ(text(dom.getErrorMessage()), expected);
    }
    TempDir dir;
    const std::string path = dir.file("out.xml");
    // Another error first, so that createFile is seen to set its own.
    dom.startNewDocument("a b");
    EXPECT_FALSE(dom.createFile(path.c_str(), true));
    EXPECT_EQ(text(dom.getErrorMessage()), expected);
    EXPECT_FALSE(fileExists(path));
}

INSTANTIATE_TEST_SUITE_P(States, SerializeNoDocument,
                         ::testing::Values(NoDocument{"Fresh", [](NqDom&) {}},
                                           NoDocument{"EmptyTextLoaded", [](NqDom& d) { d.loadXML(""); }},
                                           NoDocument{"FailedStart",
                                                      [](NqDom& d) { d.startNewDocument("a b"); }}),
                         [](const ::testing::TestParamInfo<NoDocument>& info) { return info.param.label; });

// A text holding a character XML does not allow makes the engine's
// serializer throw.
TEST(Serialize, SerializerExceptionGivesNullAndCode) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("a"));
    dom.getRoot().setValue("x\x01");
    TempDir dir;
    const std::string path = dir.file("out.xml");
    const std::string expected =
        text(NQ_LIBXML_MESSAGE(NQ_MSG_SERIALIZE_EXCEPTION, DOMLSException::SERIALIZE_ERR));
    EXPECT_TRUE(dom.createXML(false).isNull());
    EXPECT_EQ(text(dom.getErrorMessage()), expected);
    EXPECT_FALSE(dom.createFile(path.c_str(), true));
    EXPECT_EQ(text(dom.getErrorMessage()), expected);
    EXPECT_FALSE(fileExists(path));
}

TEST(Serialize, CreateFileWritesWhatCreateXMLYields) {
    NqDom dom;
    buildNested(dom);
    TempDir dir;
    const std::string path = dir.file("out.xml");
    ASSERT_TRUE(writeBytes(path, std::string(4096, 'o')));
    for (bool pretty : {true, false}) {
        ASSERT_TRUE(dom.createFile(path.c_str(), pretty));
        EXPECT_EQ(readBytes(path), text(dom.createXML(pretty)));
    }
    const NqDomNode c = dom.getRoot().getFirstChild(false).getFirstChild(false);
    ASSERT_TRUE(dom.createFile(path.c_str(), false, c));
    EXPECT_EQ(readBytes(path), "<c>t\xc3\xa9</c>");
}

struct Unwritable {
    const char* label;
    bool inTempDir;  // the path is relative to a fresh directory
    const char* path;
    NqLibXmlMessage message;
};

void PrintTo(const Unwritable& c, std::ostream* out) {
    *out << c.label;
}

class SerializeUnwritable : public ::testing::TestWithParam<Unwritable> {};

TEST_P(SerializeUnwritable, FailsWithWritingError) {
    const Unwritable& c = GetParam();
    TempDir dir;
    const std::string path = c.inTempDir ? dir.file(c.path) : c.path;
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("a"));
    EXPECT_FALSE(dom.createFile(path.c_str(), false));
    EXPECT_EQ(text(dom.getErrorMessage()), text(NQ_LIBXML_MESSAGE(c.message, path.c_str())));
    EXPECT_EQ(text(dom.getRoot().getName()), "a");
}

INSTANTIATE_TEST_SUITE_P(Targets, SerializeUnwritable,
                         ::testing::Values(Unwritable{"MissingDirectory", true, "none/out.xml",
                                                      NQ_MSG_OPEN_WRITE},
                                           Unwritable{"Directory", true, "", NQ_MSG_OPEN_WRITE},
                                           Unwritable{"FullDisk", false, "/dev/full", NQ_MSG_WRITE_SHORT}),
                         [](const ::testing::TestParamInfo<Unwritable>& info) { return info.param.label; });

TEST(Serialize, SuccessKeepsAnEarlierError) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("a"));
    dom.importNode(NqDomNode());
    ASSERT_EQ(text(dom.getErrorMessage()), "Node is null");
    EXPECT_FALSE(dom.createXML(true).isNull());
    EXPECT_EQ(text(dom.getErrorMessage()), "Node is null");
    NqDom other;
    ASSERT_TRUE(other.loadXML("<o/>"));
    EXPECT_FALSE(dom.importNode(other.getRoot()).null());
    EXPECT_EQ(text(dom.getErrorMessage()), "Node is null");
}

TEST(Import, NullHandleIsRefused) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("a"));
    EXPECT_TRUE(dom.importNode(NqDomNode()).null());
    EXPECT_EQ(text(dom.getErrorMessage()), "Node is null");
    EXPECT_EQ(text(dom.createXML(false)), kDeclaration + "<a/>");
}

// Without a document there is nowhere to copy to; reported like the other
// "no document" failure.
TEST(Import, WithoutDocumentIsRefused) {
    NqDom source;
    ASSERT_TRUE(source.loadXML("<s/>"));
    NqDom dom;
    EXPECT_TRUE(dom.importNode(source.getRoot()).null());
    EXPECT_EQ(text(dom.getErrorMessage()), text(NQ_LIBXML_MESSAGE(NQ_MSG_NO_DOCUMENT)));
}

TEST(Import, CopiesFromAnotherDocument) {
    NqDom source;
    ASSERT_TRUE(source.loadXML("<s><e k=\"v\">txt<f/></e></s>"));
    const std::string sourceBefore = text(source.createXML(false));
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("t"));
    const std::string targetBefore = text(dom.createXML(false));

    NqDomNode copy = dom.importNode(source.getRoot().getFirstChild(false));
    ASSERT_FALSE(copy.null());
    EXPECT_EQ(text(copy.getName()), "e");
    EXPECT_EQ(text(copy.getValue(true)), "txt");
    EXPECT_EQ(text(copy.getAttributeValue("k")), "v");
    EXPECT_EQ(text(copy.getFirstChild(false).getName()), "f");
    EXPECT_EQ(text(dom.createXML(false)), targetBefore);

    ASSERT_FALSE(dom.getRoot().addChild(copy).null());
    EXPECT_EQ(text(dom.createXML(false)), kDeclaration + "<t><e k=\"v\">txt<f/></e></t>");
    copy.setValue("changed");
    EXPECT_EQ(text(source.createXML(false)), sourceBefore);
}

TEST(Import, CopyOutlivesTheSourceDocument) {
    NqDom dom;
    ASSERT_TRUE(dom.startNewDocument("t"));
    {
        NqDom source;
        ASSERT_TRUE(source.loadXML("<s><e>kept</e></s>"));
        NqDomNode copy = dom.importNode(source.getRoot().getFirstChild(false));
        dom.getRoot().addChild(copy);
    }
    EXPECT_EQ(text(dom.createXML(false)), kDeclaration + "<t><e>kept</e></t>");
}

// A document node cannot be imported; the engine's message text becomes the
// argument of message 471.
TEST(Import, EngineRefusalGivesMessageText) {
    const XMLCh core[] = {'C', 'o', 'r', 'e', 0};
    const XMLCh name[] = {'r', 0};
    DOMDocument* foreign =
        DOMImplementationRegistry::getDOMImplementation(core)->createDocument(nullptr, name, nullptr);
    DOMDocument* probe =
        DOMImplementationRegistry::getDOMImplementation(core)->createDocument(nullptr, name, nullptr);
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
    EXPECT_EQ(text(dom.getErrorMessage()),
              text(NQ_LIBXML_MESSAGE(NQ_MSG_IMPORT_EXCEPTION, engineText.c_str())));
    foreign->release();
}
