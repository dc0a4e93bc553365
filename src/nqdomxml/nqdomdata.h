// The shared, reference-counted representation behind NqDom handles.
#ifndef NQDOMDATA_H
#define NQDOMDATA_H

#include <cstdint>
#include <memory>

#include <xercesc/dom/DOM.hpp>

#include "nqdom.h"
#include "nqdomxml/nqdommemorybudget.h"
#include "nqxlog.h"

class NqDomData {
public:
    NqDomData();
    ~NqDomData();
    NqDomData(const NqDomData&) = delete;
    NqDomData& operator=(const NqDomData&) = delete;

    xercesc::DOMLSParser* m_parser;
    xercesc::DOMElement* m_root;
    xercesc::DOMDocument* m_document;
    xercesc::DOMImplementation* m_implementation;
    bool m_initialised;
    NqbString m_errorMessage;
    NqXMLTranscoder m_transcoder;
    std::uint32_t m_refCount;
    NqLogger_* m_logger;
    NqDomLoadPolicy m_loadPolicy;
    // Bounded loads do without the external DTD.
    bool m_skipExternalDtd;
    // Engine memory of the parser and its document under a bounded policy;
    // released after both.
    std::unique_ptr<NqMemoryBudget> m_budget;
};

#endif
