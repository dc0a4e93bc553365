#include "nqdomxml/nqdomguardedparser.h"

#include <xercesc/dom/DOMError.hpp>
#include <xercesc/dom/DOMLocator.hpp>
#include <xercesc/framework/XMLErrorCodes.hpp>
#include <xercesc/internal/XMLScanner.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/XMLResourceIdentifier.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "nqdomxml/nqdomresourceguard.h"

using xercesc::DOMError;
using xercesc::InputSource;
using xercesc::XMLUni;

NqGuardedParser::NqGuardedParser(NqDomLoadPolicy policy, NqXMLTranscoder& transcoder,
                                 xercesc::MemoryManager* manager, XMLSize_t expansions)
    : NqDomLSParser(manager), m_policy(policy), m_transcoder(transcoder) {
    m_security.setEntityExpansionLimit(expansions);
    xercesc::DOMConfiguration* config = getDomConfig();
    config->setParameter(XMLUni::fgDOMNamespaces, false);
    config->setParameter(XMLUni::fgDOMErrorHandler, static_cast<xercesc::DOMErrorHandler*>(this));
    config->setParameter(XMLUni::fgXercesSecurityManager, &m_security);
    if (policy >= NqDomLoadSelfContained)
        config->setParameter(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    if (policy == NqDomLoadUntrusted) config->setParameter(XMLUni::fgDOMDisallowDoctype, true);
    // The engine asks about external resources only with a handler in place.
    getScanner()->setEntityHandler(this);
}

const xercesc::Locator* NqGuardedParser::locator() const {
    return getScanner()->getLocator();
}

bool NqGuardedParser::handleError(const DOMError& error) {
    if (error.getSeverity() == DOMError::DOM_SEVERITY_WARNING) return true;
    if (failed()) return false;
    m_reason = m_pending.isNull() ? m_transcoder.toNqb(error.getMessage()) : m_pending;
    const xercesc::DOMLocator* at = error.getLocation();
    m_uri = m_transcoder.toNqb(at->getURI());
    m_line = at->getLineNumber();
    m_column = at->getColumnNumber();
    return false;
}

void NqGuardedParser::refuse(const NqbString& reason) {
    m_pending = reason;
    getScanner()->emitError(xercesc::XMLErrs::InvalidDocumentStructure);
}

InputSource* NqGuardedParser::resolveEntity(xercesc::XMLResourceIdentifier* resource) {
    const NqbString why = nqDomResourceRefusal(m_policy, *resource, m_transcoder, getMemoryManager());
    if (why.isNull()) return DOMLSParserImpl::resolveEntity(resource);
    m_pending = why;
    return nqDomRefusedSource(resource->getSystemId(), getMemoryManager());
}

// The engine refuses the declaration itself, cleaning up what it began;
// only its reason is ours.
void NqGuardedParser::error(unsigned int code, const XMLCh* domain, xercesc::XMLErrorReporter::ErrTypes type,
                            const XMLCh* text, const XMLCh* systemId, const XMLCh* publicId, XMLFileLoc line,
                            XMLFileLoc column) {
    if (m_policy == NqDomLoadUntrusted && m_pending.isNull() &&
        code == xercesc::XMLErrs::InvalidDocumentStructure)
        m_pending.assign("a document type declaration, which this load policy does not accept");
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
