// What a load policy lets the engine read outside the text: the same rules
// for a document loaded whole and for one read step by step.
#ifndef NQDOMRESOURCEGUARD_H
#define NQDOMRESOURCEGUARD_H

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/XMLResourceIdentifier.hpp>

#include "nqdom.h"

class NqCatalog;

// The source the engine reads for an external resource under a bounded
// `policy`: null to let the engine resolve it itself, the local copy an XML
// catalog maps it to, or a source that opens nothing, with the reason in
// *why. Nothing is fetched from the network. The caller owns the source.
xercesc::InputSource* nqDomGuardResource(NqDomLoadPolicy policy,
                                         const xercesc::XMLResourceIdentifier& resource,
                                         NqXMLTranscoder& transcoder, NqCatalog& catalog,
                                         xercesc::MemoryManager* manager, NqbString* why);

// Why `policy` refuses a document type declaration with these parts; a null
// string when it accepts it. Untrusted takes one that names the root alone,
// as HTML's does.
NqbString nqDomDoctypeRefusal(NqDomLoadPolicy policy, const XMLCh* publicId, const XMLCh* systemId,
                              bool hasIntSubset);

#endif
