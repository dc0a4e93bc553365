#include "nqdomxml/nqdomguardedparser.h"

#include <xercesc/dom/DOMError.hpp>
#include <xercesc/dom/DOMLocator.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLErrorCodes.hpp>
#include <xercesc/framework/XMLValidityCodes.hpp>
#include <xercesc/internal/ReaderMgr.hpp>
#include <xercesc/internal/XMLScanner.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/XMLExceptMsgs.hpp>
#include <xercesc/util/XMLResourceIdentifier.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "nqdomxml/nqdomresourceguard.h"

using xercesc::DOMError;
using xercesc::InputSource;
using xercesc::XMLString;
using xercesc::XMLUni;

namespace {

// The external DTD of a load that does without it.
class EmptySource : public xercesc::MemBufInputSource {
public:
    EmptySource(const XMLCh* systemId, xercesc::MemoryManager* manager)
        : MemBufInputSource(reinterpret_cast<const XMLByte*>(""), 0, systemId, false, manager) {}
};

// A byte sequence that the encoding being read cannot have.
bool isBadByte(const XMLCh* domain, unsigned int code) {
    using xercesc::XMLExcepts;
    if (!XMLString::equals(domain, XMLUni::fgExceptDomain)) return false;
    return (code >= XMLExcepts::Trans_BadSrcSeq && code <= XMLExcepts::Trans_BadTrailingSurrogate) ||
           (code >= XMLExcepts::UTF8_FormatError && code <= XMLExcepts::UTF8_Exceeds_BytesLimit);
}

}  // namespace

NqGuardedParser::NqGuardedParser(NqDomLoadPolicy policy, NqXMLTranscoder& transcoder,
                                 xercesc::MemoryManager* manager, XMLSize_t expansions, bool skipDtd)
    : NqDomLSParser(manager), m_policy(policy), m_transcoder(transcoder), m_skipDtd(skipDtd) {
    m_security.setEntityExpansionLimit(expansions);
    xercesc::DOMConfiguration* config = getDomConfig();
    config->setParameter(XMLUni::fgDOMNamespaces, false);
    config->setParameter(XMLUni::fgDOMErrorHandler, static_cast<xercesc::DOMErrorHandler*>(this));
    config->setParameter(XMLUni::fgXercesSecurityManager, &m_security);
    if (policy >= NqDomLoadSelfContained)
        config->setParameter(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    // The engine reports an entity that no declaration defines only while
    // it validates, and it validates only where a DTD is named.
    if (skipDtd) config->setParameter(XMLUni::fgDOMValidateIfSchema, true);
    // The engine asks about external resources only with a handler in place.
    getScanner()->setEntityHandler(this);
}

const xercesc::Locator* NqGuardedParser::locator() const {
    return getScanner()->getLocator();
}

bool NqGuardedParser::handleError(const DOMError& error) {
    if (error.getSeverity() == DOMError::DOM_SEVERITY_WARNING) return true;
    if (m_failure.failed()) return false;
    const xercesc::DOMLocator* at = error.getLocation();
    m_failure.record(m_transcoder.toNqb(error.getMessage()), m_transcoder.toNqb(at->getURI()),
                     at->getLineNumber(), at->getColumnNumber());
    return false;
}

void NqGuardedParser::refuse(const NqbString& reason) {
    m_failure.pending = reason;
    getScanner()->emitError(xercesc::XMLErrs::InvalidDocumentStructure);
}

InputSource* NqGuardedParser::resolveEntity(xercesc::XMLResourceIdentifier* resource) {
    const XMLCh* systemId = resource->getSystemId();
    if (m_skipDtd && !m_dtd.empty() && systemId && m_dtd == systemId) {
        m_dtd.clear();
        return new EmptySource(systemId, getMemoryManager());
    }
    NqbString why;
    InputSource* source =
        nqDomGuardResource(m_policy, *resource, m_transcoder, m_catalog, getMemoryManager(), &why);
    if (!why.isNull()) m_failure.pending = why;
    return source ? source : DOMLSParserImpl::resolveEntity(resource);
}

// The engine has read nothing of the subsets yet.
void NqGuardedParser::doctypeDecl(const xercesc::DTDElementDecl& element, const XMLCh* publicId,
                                  const XMLCh* systemId, bool hasIntSubset, bool hasExtSubset) {
    const NqbString refused = nqDomDoctypeRefusal(m_policy, publicId, systemId, hasIntSubset);
    if (!refused.isNull()) refuse(refused);
    if (systemId && *systemId) m_dtd = systemId;
    DOMLSParserImpl::doctypeDecl(element, publicId, systemId, hasIntSubset, hasExtSubset);
}

// Without the DTD, the parser validates only to see undeclared entities: the
// other findings of the validator are about the DTD that was not read.
void NqGuardedParser::error(unsigned int code, const XMLCh* domain, xercesc::XMLErrorReporter::ErrTypes type,
                            const XMLCh* text, const XMLCh* systemId, const XMLCh* publicId, XMLFileLoc line,
                            XMLFileLoc column) {
    // The engine's transcoders fail with an exception about a byte; the
    // encoding it was reading in explains it.
    if (isBadByte(domain, code) && m_failure.pending.isNull()) {
        const XMLCh* encoding = getScanner()->getReaderMgr()->getCurrentEncodingStr();
        m_failure.pending =
            nqbStringFormat("the bytes are not %s, the encoding declared or implied: %s",
                            m_transcoder.toNqb(encoding).asCstr(), m_transcoder.toNqb(text).asCstr());
    }
    if (m_skipDtd && XMLString::equals(domain, XMLUni::fgValidityDomain)) {
        if (code != xercesc::XMLValid::VC_EntityNotFound) return;
        if (m_failure.pending.isNull())
            m_failure.pending = nqbStringFormat("%s, and the DTD that may declare it was not read",
                                                m_transcoder.toNqb(text).asCstr());
    }
    DOMLSParserImpl::error(code, domain, type, text, systemId, publicId, line, column);
}

void NqGuardedParser::startElement(const xercesc::XMLElementDecl& element, unsigned int urlId,
                                   const XMLCh* prefix,
                                   const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t count,
                                   bool isEmpty, bool isRoot) {
    if (m_policy == NqDomLoadUntrusted && m_depth >= nqDomUntrustedDepthLimit)
        refuse(nqbStringFormat("elements nested deeper than %d levels", nqDomUntrustedDepthLimit));
    DOMLSParserImpl::startElement(element, urlId, prefix, attributes, count, isEmpty, isRoot);
    // The engine ends an empty element with endElement too.
    ++m_depth;
}

void NqGuardedParser::endElement(const xercesc::XMLElementDecl& element, unsigned int urlId, bool isRoot,
                                 const XMLCh* prefix) {
    --m_depth;
    DOMLSParserImpl::endElement(element, urlId, isRoot, prefix);
}
