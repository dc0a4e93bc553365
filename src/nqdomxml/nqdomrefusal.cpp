#include "nqdomxml/nqdomrefusal.h"

#include <climits>

#include "nqdommessages.h"

namespace {

int clamped(XMLFileLoc position) {
    return position > INT_MAX ? INT_MAX : static_cast<int>(position);
}

}  // namespace

NqbString nqDomRefusal(const NqbString& systemId, bool fromFile, const NqbString& uri, XMLFileLoc line,
                       XMLFileLoc column, const NqbString& reason) {
    const bool inText = uri.isNull() || uri.compare(systemId, true) == 0;
    if (inText && !fromFile)
        return NQ_LIBXML_MESSAGE(NQ_MSG_TEXT_REFUSED, clamped(line), clamped(column), reason.asCstr());
    return NQ_LIBXML_MESSAGE(NQ_MSG_FILE_REFUSED, inText ? systemId.asCstr() : uri.asCstr(), clamped(line),
                             clamped(column), reason.asCstr());
}
