// The engine's parser under a load policy other than Lenient: it stops at
// the first error and keeps its position, and refuses what the policy does
// not accept before the engine reads it.
#ifndef NQDOMGUARDEDPARSER_H
#define NQDOMGUARDEDPARSER_H

#include <xercesc/dom/DOMErrorHandler.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include <string>

#include "nqdom.h"
#include "nqdomxml/nqdomcatalog.h"
#include "nqdomxml/nqdomlsparser.h"
#include "nqdomxml/nqdomrefusal.h"

class NqGuardedParser : public NqDomLSParser, private xercesc::DOMErrorHandler {
public:
    // `expansions`: how many entity references the text may expand;
    // `skipDtd`: the external DTD is not read.
    NqGuardedParser(NqDomLoadPolicy policy, NqXMLTranscoder& transcoder, xercesc::MemoryManager* manager,
                    XMLSize_t expansions, bool skipDtd);

    // The first error, or a refusal of the policy.
    const NqParseFailure& failure() const { return m_failure; }
    const xercesc::Locator* locator() const;

protected:
    xercesc::InputSource* resolveEntity(xercesc::XMLResourceIdentifier* resource) override;
    void error(unsigned int code, const XMLCh* domain, xercesc::XMLErrorReporter::ErrTypes type,
               const XMLCh* text, const XMLCh* systemId, const XMLCh* publicId, XMLFileLoc line,
               XMLFileLoc column) override;
    void doctypeDecl(const xercesc::DTDElementDecl& element, const XMLCh* publicId, const XMLCh* systemId,
                     bool hasIntSubset, bool hasExtSubset) override;
    void startElement(const xercesc::XMLElementDecl& element, unsigned int urlId, const XMLCh* prefix,
                      const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t count, bool isEmpty,
                      bool isRoot) override;
    void endElement(const xercesc::XMLElementDecl& element, unsigned int urlId, bool isRoot,
                    const XMLCh* prefix) override;

private:
    bool handleError(const xercesc::DOMError& error) override;
    // Stops the parse with `reason` as the text of its error.
    void refuse(const NqbString& reason);

    NqDomLoadPolicy m_policy;
    NqXMLTranscoder& m_transcoder;
    xercesc::SecurityManager m_security;
    NqCatalog m_catalog;
    bool m_skipDtd;
    // The system identifier of the external DTD, until it is asked for.
    std::u16string m_dtd;
    int m_depth = 0;
    NqParseFailure m_failure;
};

#endif
