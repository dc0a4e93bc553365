// Plain Xerces-C doing what the library does: a load-and-save parser with
// namespaces off over a memory buffer, DOM calls plus UTF-8 conversion for
// the walk, a load-and-save serializer into a memory buffer. Two variants:
// "xerces" does the library's work (one cached transcoder, a reused buffer,
// each text handed out as its own std::string, the serialized text copied
// into one); "xerces-tts" converts with TranscodeToStr and keeps no result.
#include <benchmark/benchmark.h>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/Wrapper4InputSource.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <memory>
#include <string>
#include <vector>

#include "bench_libraries.h"

namespace bench {
namespace {

using namespace XERCES_CPP_NAMESPACE;

// Each text converted into a buffer kept from text to text and walk to walk,
// then copied into a std::string of its own.
class OwnedStrings {
public:
    explicit OwnedStrings(XMLTranscoder* utf8, std::vector<XMLByte>& buffer)
        : m_utf8(utf8), m_buffer(buffer) {}

    std::size_t text(const XMLCh* value) {
        std::string owned;
        append(value, owned);
        benchmark::DoNotOptimize(owned);
        return owned.size();
    }

    std::size_t joinedTexts(DOMNode* element) {
        std::string owned;
        for (DOMNode* child = element->getFirstChild(); child; child = child->getNextSibling()) {
            if (child->getNodeType() != DOMNode::TEXT_NODE) continue;
            if (!owned.empty()) owned += ' ';
            append(child->getNodeValue(), owned);
        }
        benchmark::DoNotOptimize(owned);
        return owned.size();
    }

private:
    void append(const XMLCh* value, std::string& out) {
        const XMLSize_t count = XMLString::stringLen(value);
        // No UTF-16 unit takes more than three bytes of UTF-8, so one call does.
        if (m_buffer.size() < count * 3) m_buffer.resize(count * 3);
        XMLSize_t eaten = 0;
        const XMLSize_t bytes = m_utf8->transcodeTo(value, count, m_buffer.data(), m_buffer.size(), eaten,
                                                    XMLTranscoder::UnRep_RepChar);
        out.append(reinterpret_cast<const char*>(m_buffer.data()), bytes);
    }

    XMLTranscoder* m_utf8;
    std::vector<XMLByte>& m_buffer;
};

// TranscodeToStr per text, which allocates its result; only lengths are kept.
class TranscodedLengths {
public:
    explicit TranscodedLengths(XMLTranscoder* utf8) : m_utf8(utf8) {}

    std::size_t text(const XMLCh* value) { return TranscodeToStr(value, m_utf8).length(); }

    std::size_t joinedTexts(DOMNode* element) {
        std::size_t bytes = 0;
        for (DOMNode* child = element->getFirstChild(); child; child = child->getNextSibling()) {
            if (child->getNodeType() != DOMNode::TEXT_NODE) continue;
            if (bytes) ++bytes;
            bytes += text(child->getNodeValue());
        }
        return bytes;
    }

private:
    XMLTranscoder* m_utf8;
};

class XercesLibrary : public Library {
public:
    explicit XercesLibrary(bool sameWork)
        : m_sameWork(sameWork), m_implementation(DOMImplementationRegistry::getDOMImplementation(u"Core")) {
        XMLTransService::Codes code;
        m_utf8.reset(XMLPlatformUtils::fgTransService->makeNewTranscoderFor("UTF-8", code, 16 * 1024));
    }
    ~XercesLibrary() override { unload(true); }

    const char* name() const override { return m_sameWork ? "xerces" : "xerces-tts"; }
    bool measuresLoad() const override { return m_sameWork; }

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

    WalkCounts walk() override {
        if (m_sameWork) {
            OwnedStrings texts(m_utf8.get(), m_buffer);
            return walkWith(texts);
        }
        TranscodedLengths texts(m_utf8.get());
        return walkWith(texts);
    }

    bool walksTexts() const override { return m_sameWork; }

    std::uint64_t walkTexts() override {
        OwnedStrings texts(m_utf8.get(), m_buffer);
        return textsFrom(m_document->getDocumentElement(), texts);
    }

    std::size_t serialize() override {
        DOMLSSerializer* serializer = m_implementation->createLSSerializer();
        DOMLSOutput* output = m_implementation->createLSOutput();
        MemBufFormatTarget target(1023);
        output->setEncoding(XMLUni::fgUTF8EncodingString);
        output->setByteStream(&target);
        serializer->write(m_document, output);
        std::size_t size = target.getLen();
        if (m_sameWork) {
            std::string text(reinterpret_cast<const char*>(target.getRawBuffer()), size);
            benchmark::DoNotOptimize(text);
            size = text.size();
        }
        output->release();
        serializer->release();
        return size;
    }

private:
    // Elements and comments in document order, each visited before its children.
    template <class Texts>
    static void walkFrom(DOMNode* node, Texts& texts, WalkCounts& counts) {
        if (node->getNodeType() == DOMNode::COMMENT_NODE) {
            ++counts.comments;
            counts.bytes += texts.text(node->getNodeValue());
            return;
        }
        ++counts.elements;
        counts.bytes += texts.text(node->getNodeName());
        DOMNamedNodeMap* attributes = node->getAttributes();
        const XMLSize_t attributeCount = attributes->getLength();
        for (XMLSize_t i = 0; i < attributeCount; ++i) {
            DOMNode* attribute = attributes->item(i);
            counts.bytes += texts.text(attribute->getNodeName());
            counts.bytes += texts.text(attribute->getNodeValue());
        }
        counts.attributes += attributeCount;
        counts.bytes += texts.joinedTexts(node);
        for (DOMNode* child = node->getFirstChild(); child; child = child->getNextSibling()) {
            const DOMNode::NodeType type = child->getNodeType();
            if (type == DOMNode::ELEMENT_NODE || type == DOMNode::COMMENT_NODE)
                walkFrom(child, texts, counts);
        }
    }

    // The engine's text content of each element, converted as every text is.
    static std::uint64_t textsFrom(DOMNode* element, OwnedStrings& texts) {
        std::uint64_t bytes = texts.text(element->getTextContent());
        for (DOMNode* child = element->getFirstChild(); child; child = child->getNextSibling()) {
            if (child->getNodeType() == DOMNode::ELEMENT_NODE) bytes += textsFrom(child, texts);
        }
        return bytes;
    }

    template <class Texts>
    WalkCounts walkWith(Texts& texts) {
        WalkCounts counts;
        walkFrom(m_document->getDocumentElement(), texts, counts);
        return counts;
    }

    const bool m_sameWork;
    DOMImplementation* m_implementation;
    std::unique_ptr<XMLTranscoder> m_utf8;
    std::vector<XMLByte> m_buffer;
    const Input* m_input = nullptr;
    DOMLSParser* m_parser = nullptr;
    DOMDocument* m_document = nullptr;
};

}  // namespace

std::unique_ptr<Library> makeXercesLibrary() {
    return std::make_unique<XercesLibrary>(true);
}

std::unique_ptr<Library> makeXercesTranscodeToStrLibrary() {
    return std::make_unique<XercesLibrary>(false);
}

}  // namespace bench
