// Plain Xerces-C doing what the library does: a load-and-save parser with
// namespaces off over a memory buffer, DOM calls plus TranscodeToStr for the
// walk, a load-and-save serializer into a memory buffer.
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/Wrapper4InputSource.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <memory>

#include "bench_libraries.h"

namespace bench {
namespace {

using namespace XERCES_CPP_NAMESPACE;

class XercesLibrary : public Library {
public:
    XercesLibrary() : m_implementation(DOMImplementationRegistry::getDOMImplementation(u"Core")) {}
    ~XercesLibrary() override { unload(true); }

    const char* name() const override { return "xerces"; }

    void prepare(const Input& input) override { m_input = &input; }

    bool load() override {
        unload(false);
        m_parser = m_implementation->createLSParser(DOMImplementationLS::MODE_SYNCHRONOUS, nullptr);
        m_parser->getDomConfig()->setParameter(XMLUni::fgDOMNamespaces, false);
        MemBufInputSource source(reinterpret_cast<const XMLByte*>(m_input->xml.data()), m_input->xml.size(),
                                 u"dummy", false);
        Wrapper4InputSource wrapper(&source, false);
        m_document = m_parser->parse(&wrapper);
        return m_document && m_document->getDocumentElement();
    }

    void unload(bool all) override {
        if (m_parser) m_parser->release();
        m_parser = nullptr;
        m_document = nullptr;
        if (all) m_input = nullptr;
    }

    // One UTF-8 transcoder per walk, handed to TranscodeToStr: what a careful
    // Xerces user would write.
    WalkCounts walk() override {
        XMLTransService::Codes code;
        std::unique_ptr<XMLTranscoder> utf8(
            XMLPlatformUtils::fgTransService->makeNewTranscoderFor("UTF-8", code, 16 * 1024));
        WalkCounts counts;
        DOMNode* root = m_document->getDocumentElement();
        DOMNode* node = root;
        while (node) {
            visit(node, utf8.get(), counts);
            node = nextElement(node, root);
        }
        return counts;
    }

    std::size_t serialize() override {
        DOMLSSerializer* serializer = m_implementation->createLSSerializer();
        DOMLSOutput* output = m_implementation->createLSOutput();
        MemBufFormatTarget target(1023);
        output->setEncoding(XMLUni::fgUTF8EncodingString);
        output->setByteStream(&target);
        serializer->write(m_document, output);
        std::size_t size = target.getLen();
        output->release();
        serializer->release();
        return size;
    }

private:
    static DOMNode* firstElement(DOMNode* node) {
        while (node && node->getNodeType() != DOMNode::ELEMENT_NODE) node = node->getNextSibling();
        return node;
    }

    // Pre-order successor of `node` among the elements below `root`.
    static DOMNode* nextElement(DOMNode* node, DOMNode* root) {
        if (DOMNode* child = firstElement(node->getFirstChild())) return child;
        while (node && node != root) {
            if (DOMNode* sibling = firstElement(node->getNextSibling())) return sibling;
            node = node->getParentNode();
        }
        return nullptr;
    }

    static void visit(DOMNode* node, XMLTranscoder* utf8, WalkCounts& counts) {
        ++counts.elements;
        counts.bytes += TranscodeToStr(node->getNodeName(), utf8).length();
        DOMNamedNodeMap* attributes = node->getAttributes();
        XMLSize_t attributeCount = attributes->getLength();
        for (XMLSize_t i = 0; i < attributeCount; ++i) {
            DOMNode* attribute = attributes->item(i);
            counts.bytes += TranscodeToStr(attribute->getNodeName(), utf8).length();
            counts.bytes += TranscodeToStr(attribute->getNodeValue(), utf8).length();
        }
        counts.attributes += attributeCount;
        for (DOMNode* child = node->getFirstChild(); child; child = child->getNextSibling()) {
            if (child->getNodeType() == DOMNode::TEXT_NODE) {
                counts.bytes += TranscodeToStr(child->getNodeValue(), utf8).length();
                break;
            }
        }
    }

    DOMImplementation* m_implementation;
    const Input* m_input = nullptr;
    DOMLSParser* m_parser = nullptr;
    DOMDocument* m_document = nullptr;
};

}  // namespace

std::unique_ptr<Library> makeXercesLibrary() {
    return std::make_unique<XercesLibrary>();
}

}  // namespace bench
