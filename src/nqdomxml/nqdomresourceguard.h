// What a load policy lets the engine read outside the text: the same rules
// for a document loaded whole and for one read step by step.
#ifndef NQDOMRESOURCEGUARD_H
#define NQDOMRESOURCEGUARD_H

#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/XMLResourceIdentifier.hpp>

#include "nqdom.h"

// Why `policy` does not read the external resource, as "\"ID\" why"; a null
// string when the engine may read it.
NqbString nqDomResourceRefusal(NqDomLoadPolicy policy, const xercesc::XMLResourceIdentifier& resource,
                               NqXMLTranscoder& transcoder, xercesc::MemoryManager* manager);

// Stands for a refused resource: the engine finds nothing to open and
// reports that with its position. The caller owns it.
xercesc::InputSource* nqDomRefusedSource(const XMLCh* systemId, xercesc::MemoryManager* manager);

#endif
