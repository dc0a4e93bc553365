#include "nqdomxml/nqdomresourceguard.h"

#include <sys/stat.h>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLURL.hpp>

using xercesc::XMLString;

namespace {

class RefusedSource : public xercesc::InputSource {
public:
    RefusedSource(const XMLCh* systemId, xercesc::MemoryManager* manager) : InputSource(systemId, manager) {}
    xercesc::BinInputStream* makeStream() const override { return nullptr; }
};

const XMLCh kFileScheme[] = {'f', 'i', 'l', 'e', ':', 0};
const XMLCh kSchemeEnd[] = {':', '/', '/', 0};

// A file that exists and is no regular file: reading it could block or never end.
bool isSpecialFile(const NqbString& path) {
    struct stat info;
    return ::stat(path.asCstr(), &info) == 0 && !S_ISREG(info.st_mode);
}

NqbString refusal(const XMLCh* systemId, NqXMLTranscoder& transcoder, const char* why) {
    return nqbStringFormat("\"%s\" %s", transcoder.toNqb(systemId).asCstr(), why);
}

}  // namespace

NqbString nqDomResourceRefusal(NqDomLoadPolicy policy, const xercesc::XMLResourceIdentifier& resource,
                               NqXMLTranscoder& transcoder, xercesc::MemoryManager* manager) {
    const XMLCh* systemId = resource.getSystemId();
    if (policy >= NqDomLoadSelfContained)
        return refusal(systemId, transcoder,
                       "is outside the text, and this load policy reads nothing outside it");
    // Network resources are the engine's to fetch.
    NqbString path;
    if (XMLString::startsWithI(systemId, kFileScheme)) {
        const xercesc::XMLURL url(systemId, manager);
        path = transcoder.toNqb(url.getPath());
    } else if (XMLString::patternMatch(systemId, kSchemeEnd) < 0) {
        const xercesc::LocalFileInputSource local(resource.getBaseURI(), systemId, manager);
        path = transcoder.toNqb(local.getSystemId());
    }
    if (!path.isNull() && isSpecialFile(path)) return refusal(systemId, transcoder, "is not a regular file");
    return NqbString();
}

xercesc::InputSource* nqDomRefusedSource(const XMLCh* systemId, xercesc::MemoryManager* manager) {
    return new RefusedSource(systemId, manager);
}
