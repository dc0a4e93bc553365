// The text of a failed or refused parse, with its place.
#ifndef NQDOMREFUSAL_H
#define NQDOMREFUSAL_H

#include <xercesc/util/XercesDefs.hpp>

#include "nqxbase.h"

// The first failure of a parse and where it happened. A reason the library
// knows before the engine reports the failure waits in `pending`.
struct NqParseFailure {
    NqbString pending;
    NqbString reason;
    NqbString uri;  // the system identifier of the entity it happened in
    XMLFileLoc line = 0;
    XMLFileLoc column = 0;

    bool failed() const { return !reason.isNull(); }
    // Keeps the first failure only, with the pending reason or else `message`.
    void record(const NqbString& message, const NqbString& at, XMLFileLoc atLine, XMLFileLoc atColumn) {
        if (failed()) return;
        reason = pending.isNull() ? message : pending;
        uri = at;
        line = atLine;
        column = atColumn;
    }
};

// Line and column in the text, or in the file it happened in: the file read
// (`fromFile`, named by `systemId`) or an external entity (`uri`, when it is
// not `systemId`).
NqbString nqDomRefusal(const NqbString& systemId, bool fromFile, const NqbString& uri, XMLFileLoc line,
                       XMLFileLoc column, const NqbString& reason);

#endif
