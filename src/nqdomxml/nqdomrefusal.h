// The text of a failed or refused parse, with its place.
#ifndef NQDOMREFUSAL_H
#define NQDOMREFUSAL_H

#include <xercesc/util/XercesDefs.hpp>

#include "nqxbase.h"

// Line and column in the text, or in the file it happened in: the file read
// (`fromFile`, named by `systemId`) or an external entity (`uri`, when it is
// not `systemId`).
NqbString nqDomRefusal(const NqbString& systemId, bool fromFile, const NqbString& uri, XMLFileLoc line,
                       XMLFileLoc column, const NqbString& reason);

#endif
