// NqDom: the shared representation, handle copying and new documents.
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "nqdommessages.h"
#include "nqdomxml/nqdomdata.h"
#include "nqdomxml/nqdomwriteprep.h"
#include "nqdomxmlcopy.h"

using xercesc::DOMDocument;
using xercesc::DOMException;
using xercesc::DOMImplementationRegistry;
using xercesc::XMLPlatformUtils;

namespace {

// Drops the current document, parsed or built; node handles into it dangle.
void releaseDocuments(NqDomData* data) {
    if (data->m_document) {
        data->m_document->release();
        data->m_document = nullptr;
    }
    if (data->m_parser) {
        data->m_parser->release();
        data->m_parser = nullptr;
    }
    data->m_root = nullptr;
}

void adoptDocument(NqDomData* data, DOMDocument* document) {
    data->m_document = document;
    data->m_root = document->getDocumentElement();
}

void dropReference(NqDomData* data) {
    if (--data->m_refCount == 0) delete data;
}

}  // namespace

NqDomData::NqDomData()
    : m_parser(nullptr),
      m_root(nullptr),
      m_document(nullptr),
      m_implementation(nullptr),
      m_initialised(false),
      m_refCount(1),
      m_logger(nullptr),
      m_loadPolicy(nqDomGetDefaultLoadPolicy()),
      m_skipExternalDtd(nqDomGetDefaultSkipExternalDtd()) {
    // Without an engine transcoder there is no feature name to ask for.
    const XMLCh* feature = m_transcoder.fromC("Core");
    if (feature) m_implementation = DOMImplementationRegistry::getDOMImplementation(feature);
    m_logger = nqlogGetLogger("NQ.DOMXML");
    if (m_implementation) {
        m_initialised = true;
        return;
    }
    m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_NO_CORE);
}

// The parser goes first: it frees the document it parsed. The memory budget
// that held them, the transcoder and then the error text follow as members,
// in reverse order of declaration.
NqDomData::~NqDomData() {
    if (m_parser) m_parser->release();
    if (m_document) m_document->release();
}

NqDom::NqDom() : m_data(new NqDomData) {}

NqDom::NqDom(const NqDom& other) : m_data(other.m_data) {
    ++m_data->m_refCount;
}

NqDom& NqDom::operator=(const NqDom& other) {
    if (m_data == other.m_data) return *this;
    dropReference(m_data);
    m_data = other.m_data;
    ++m_data->m_refCount;
    return *this;
}

NqDom::~NqDom() {
    dropReference(m_data);
}

NqDomNode NqDom::getRoot() const {
    return NqDomNode(m_data->m_root, &m_data->m_transcoder);
}

NqDomNode NqDom::getDocumentNode() const {
    xercesc::DOMElement* root = m_data->m_root;
    // The handle holds a DOMNode: the document's DOMNode part is not at its start.
    xercesc::DOMNode* document = root ? root->getOwnerDocument() : nullptr;
    return NqDomNode(document, &m_data->m_transcoder);
}

NqbString NqDom::getErrorMessage() const {
    return m_data->m_errorMessage;
}

bool NqDom::startNewDocument(const NqbString& rootName) {
    NqDomData* data = m_data;
    if (!data->m_initialised) return false;
    data->m_errorMessage.assign("");
    releaseDocuments(data);
    try {
        adoptDocument(data,
                      data->m_implementation->createDocument(nullptr, data->m_transcoder.fromNqb(rootName),
                                                             nullptr, XMLPlatformUtils::fgMemoryManager));
    } catch (const DOMException& e) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_CREATE_EXCEPTION, static_cast<int>(e.code));
        return false;
    }
    return true;
}

bool NqDom::startNewDocumentNS(const NqbString& namespaceURI, const NqbString& qualifiedName) {
    NqDomData* data = m_data;
    if (!data->m_initialised) return false;
    data->m_errorMessage.assign("");
    releaseDocuments(data);
    try {
        // The second conversion reuses the transcoder's buffer.
        const NqXmlCopy uri(data->m_transcoder.fromNqb(namespaceURI));
        DOMDocument* document = data->m_implementation->createDocument(
            uri.get(), data->m_transcoder.fromNqb(qualifiedName), nullptr, XMLPlatformUtils::fgMemoryManager);
        nqDomMarkWriteCare(document, NqWriteCareNamespaces);
        adoptDocument(data, document);
    } catch (const DOMException& e) {
        data->m_errorMessage = NQ_LIBXML_MESSAGE(NQ_MSG_CREATE_EXCEPTION, static_cast<int>(e.code));
        return false;
    }
    return true;
}
