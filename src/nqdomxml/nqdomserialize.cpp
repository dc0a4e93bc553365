// NqDom: writing XML text and files, importing nodes from other documents.
#include <climits>
#include <memory>
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLString.hpp>

#include "nqdommessages.h"
#include "nqdomxml/nqdomdata.h"
#include "nqdomxml/nqdomwriteprep.h"

using xercesc::DOMDocument;
using xercesc::DOMException;
using xercesc::DOMLSOutput;
using xercesc::DOMLSSerializer;
using xercesc::DOMNode;
using xercesc::MemBufFormatTarget;
using xercesc::XMLPlatformUtils;
using xercesc::XMLString;

namespace {

const XMLSize_t kInitialCapacity = 1023;

struct EngineRelease {
    void operator()(DOMLSSerializer* serializer) const { serializer->release(); }
    void operator()(DOMLSOutput* output) const { output->release(); }
};
using SerializerPtr = std::unique_ptr<DOMLSSerializer, EngineRelease>;
using OutputPtr = std::unique_ptr<DOMLSOutput, EngineRelease>;

struct TranscodedRelease {
    void operator()(char* text) const { XMLString::release(&text, XMLPlatformUtils::fgMemoryManager); }
};
using TranscodedPtr = std::unique_ptr<char, TranscodedRelease>;

DOMDocument* currentDocument(const NqDomData* data) {
    return data->m_root ? data->m_root->getOwnerDocument() : nullptr;
}

void setPrettyPrint(NqXMLTranscoder& transcoder, DOMLSSerializer* serializer) {
    serializer->getDomConfig()->setParameter(transcoder.fromC("format-pretty-print"), true);
    serializer->setNewLine(transcoder.fromC("\r\n"));
}

// UTF-8 text of `node` as the engine writes it; DOM exceptions reach the
// caller. A text too large for a string is a null string with a message.
NqbString writeNode(NqDomData* data, bool prettyPrint, const DOMNode* node) {
    NqXMLTranscoder& transcoder = data->m_transcoder;
    OutputPtr output;  // released last, after the buffer it points at
    const SerializerPtr serializer(
        data->m_implementation->createLSSerializer(XMLPlatformUtils::fgMemoryManager));
    if (prettyPrint) setPrettyPrint(transcoder, serializer.get());
    MemBufFormatTarget buffer(kInitialCapacity, XMLPlatformUtils::fgMemoryManager);
    output.reset(data->m_implementation->createLSOutput(XMLPlatformUtils::fgMemoryManager));
    output->setEncoding(transcoder.fromC("UTF-8"));
    output->setByteStream(&buffer);
    // The result is not consulted: what reached the buffer is the text.
    serializer->write(node, output.get());
    if (buffer.getLen() >= static_cast<XMLSize_t>(INT_MAX)) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_TEXT_TOO_LARGE);
        return NqbString();
    }
    NqbString text;
    text.assign(reinterpret_cast<const char*>(buffer.getRawBuffer()), static_cast<int>(buffer.getLen()));
    return text;
}

std::string bytesOf(const NqbString& text) {
    return std::string(text.asCstr(), static_cast<std::size_t>(text.length()));
}

// The document written with a stand-in for its root, and the stand-in's text
// replaced by `root`. The stand-in's text is one the rest of the text does
// not hold (a comment might).
NqbString joinRoot(NqDomData* data, bool prettyPrint, NqWritePreparation& preparation, const NqbString& root,
                   DOMNode* document) {
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const std::string name = "nq-root-" + std::to_string(attempt);
        preparation.standInForRoot(data->m_transcoder.fromC(name.c_str()));
        const NqbString written = writeNode(data, prettyPrint, document);
        if (written.isNull()) return written;
        std::string text = bytesOf(written);
        const std::string tag = "<!--" + name + "-->";
        const std::size_t at = text.find(tag);
        if (at == std::string::npos || text.find(tag, at + 1) != std::string::npos) continue;
        std::string body = bytesOf(root);
        // Pretty printed alone, an element opens with the line end the document has before it.
        if (prettyPrint && body.compare(0, 2, "\r\n") == 0 && at >= 2 && text.compare(at - 2, 2, "\r\n") == 0)
            body.erase(0, 2);
        text.replace(at, tag.size(), body);
        if (text.size() >= static_cast<std::size_t>(INT_MAX)) break;
        NqbString joined;
        joined.assign(text.data(), static_cast<int>(text.size()));
        return joined;
    }
    data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_TEXT_TOO_LARGE);
    return NqbString();
}

// UTF-8 text of `target`, or a null string with a message when it would not
// read back as the same nodes.
NqbString serializePrepared(NqDomData* data, bool prettyPrint, DOMNode* target) {
    NqWritePreparation preparation(target, data->m_transcoder, false);  // undone when the text is made
    NqbString problem;
    if (!preparation.prepare(&problem)) {
        data->m_errorMessage = problem;
        return NqbString();
    }
    DOMNode* copy = preparation.needsCopy() ? preparation.copy(data->m_implementation) : nullptr;
    if (!copy) return writeNode(data, prettyPrint, target);
    const NqbString text = writeNode(data, prettyPrint, copy);
    if (text.isNull() || target->getNodeType() != DOMNode::DOCUMENT_NODE) return text;
    return joinRoot(data, prettyPrint, preparation, text, target);
}

// Whether an element above `target` declares a prefix, which a write of the
// subtree alone may have to repeat.
bool declaredAbove(const DOMNode* target) {
    for (const DOMNode* node = target->getParentNode(); node; node = node->getParentNode()) {
        const xercesc::DOMNamedNodeMap* attributes = node->getAttributes();
        for (XMLSize_t i = 0; attributes && i < attributes->getLength(); ++i) {
            if (XMLString::startsWith(attributes->item(i)->getNodeName(), u"xmlns")) return true;
        }
    }
    return false;
}

// Why the engine refused to write `target`, when it is a character XML 1.0
// cannot carry; null otherwise.
NqbString explainRefusal(NqDomData* data, DOMNode* target) {
    NqWritePreparation preparation(target, data->m_transcoder, true);
    NqbString problem;
    return preparation.prepare(&problem) ? NqbString() : problem;
}

// A document whose edits brought nothing the engine could write wrongly is
// written by it directly. The engine refuses characters XML 1.0 cannot carry
// everywhere but in CDATA, and only then is the document looked at to say
// where.
NqbString serialize(NqDomData* data, bool prettyPrint, DOMNode* target) {
    try {
        if (nqDomWriteCare(target) != 0 || declaredAbove(target))
            return serializePrepared(data, prettyPrint, target);
        return writeNode(data, prettyPrint, target);
    } catch (const DOMException&) {
        const NqbString problem = explainRefusal(data, target);
        if (problem.isNull()) throw;
        data->m_errorMessage = problem;
        return NqbString();
    }
}

// What a copy of `source` may bring that its write must prepare for; the
// copied tree is not looked at.
unsigned importedCare(const DOMNode* source) {
    switch (source->getNodeType()) {
        case DOMNode::TEXT_NODE:
        case DOMNode::COMMENT_NODE:
        case DOMNode::PROCESSING_INSTRUCTION_NODE:
            return 0;
        case DOMNode::CDATA_SECTION_NODE:
            return NqWriteCareCData;
        default:
            return NqWriteCareAll;
    }
}

}  // namespace

NqbString NqDom::createXML(bool prettyPrint, const NqDomNode& node) {
    NqDomData* data = m_data;
    // No implementation: nothing can be written, and the text of message 282 stays.
    if (!data->m_initialised) return NqbString();
    DOMNode* target = node.null() ? currentDocument(data) : static_cast<DOMNode*>(node.m_node);
    if (!target) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_NO_DOCUMENT);
        return NqbString();
    }
    // Its root removed or moved into another element, a document would be
    // written as its declaration alone.
    if (node.null() && !static_cast<DOMDocument*>(target)->getDocumentElement()) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_WRITE_NO_ROOT);
        return NqbString();
    }
    try {
        return serialize(data, prettyPrint, target);
    } catch (const DOMException& e) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_SERIALIZE_EXCEPTION, static_cast<int>(e.code));
        return NqbString();
    }
}

bool NqDom::createFile(const NqbString& fileName, bool prettyPrint, const NqDomNode& node) {
    const NqbString text = createXML(prettyPrint, node);
    if (text.isNull()) return false;
    NqbString writeError;
    if (nqDomWriteStringToFile(fileName, text, &writeError)) return true;
    m_data->m_errorMessage = writeError;
    return false;
}

NqDomNode NqDom::importNode(const NqDomNode& node) {
    NqDomData* data = m_data;
    const NqDomNode none(nullptr, &data->m_transcoder);
    if (node.null()) {
        data->m_errorMessage.assign("Node is null");
        return none;
    }
    DOMDocument* document = currentDocument(data);
    if (!document) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_NO_DOCUMENT);
        return none;
    }
    try {
        DOMNode* source = static_cast<DOMNode*>(node.m_node);
        DOMNode* copy = document->importNode(source, true);
        nqDomMarkWriteCare(document, importedCare(source));
        return NqDomNode(copy, &data->m_transcoder);
    } catch (const DOMException& e) {
        const TranscodedPtr text(XMLString::transcode(e.getMessage(), XMLPlatformUtils::fgMemoryManager));
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_IMPORT_EXCEPTION, text ? text.get() : "");
        return none;
    }
}
