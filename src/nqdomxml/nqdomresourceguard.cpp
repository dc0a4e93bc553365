#include "nqdomxml/nqdomresourceguard.h"

#include <sys/stat.h>

#include <string>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLURL.hpp>

#include "nqdomxml/nqdomcatalog.h"

using xercesc::InputSource;
using xercesc::XMLResourceIdentifier;
using xercesc::XMLString;

namespace {

// Stands for a refused resource: the engine finds nothing to open and
// reports that with its position.
class RefusedSource : public InputSource {
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

InputSource* refused(const XMLCh* systemId, const NqbString& reason, xercesc::MemoryManager* manager,
                     NqbString* why) {
    *why = reason;
    return new RefusedSource(systemId, manager);
}

NqbString named(const XMLCh* systemId, NqXMLTranscoder& transcoder, const char* why) {
    return nqbStringFormat("\"%s\" %s", transcoder.toNqb(systemId).asCstr(), why);
}

NqbString onTheNetwork(const XMLResourceIdentifier& resource, NqXMLTranscoder& transcoder,
                       const NqCatalog& catalog) {
    const NqbString publicId = transcoder.toNqb(resource.getPublicId());
    const NqbString systemId = transcoder.toNqb(resource.getSystemId());
    const std::string which =
        publicId.length() == 0
            ? "\"" + std::string(systemId.asCstr()) + "\" (no public identifier)"
            : "\"" + std::string(systemId.asCstr()) + "\" (public identifier \"" + publicId.asCstr() + "\")";
    const std::string& problems = catalog.problems();
    return nqbStringFormat(
        "%s is on the network, which this load policy does not reach: install the package that provides "
        "it, or map it to a local file in an XML catalog (XML_CATALOG_FILES, else /etc/xml/catalog)%s%s",
        which.c_str(), problems.empty() ? "" : "; ", problems.c_str());
}

// The file a local system identifier names, relative to its base.
NqbString localPath(const XMLResourceIdentifier& resource, NqXMLTranscoder& transcoder,
                    xercesc::MemoryManager* manager) {
    const XMLCh* systemId = resource.getSystemId();
    if (XMLString::startsWithI(systemId, kFileScheme)) {
        const xercesc::XMLURL url(systemId, manager);
        return transcoder.toNqb(url.getPath());
    }
    const xercesc::LocalFileInputSource local(resource.getBaseURI(), systemId, manager);
    return transcoder.toNqb(local.getSystemId());
}

}  // namespace

InputSource* nqDomGuardResource(NqDomLoadPolicy policy, const XMLResourceIdentifier& resource,
                                NqXMLTranscoder& transcoder, NqCatalog& catalog,
                                xercesc::MemoryManager* manager, NqbString* why) {
    const XMLCh* systemId = resource.getSystemId();
    if (policy >= NqDomLoadSelfContained)
        return refused(
            systemId,
            named(systemId, transcoder, "is outside the text, and this load policy reads nothing outside it"),
            manager, why);
    const std::string mapped = catalog.resolve(transcoder.toNqb(resource.getPublicId()).asCstr(),
                                               transcoder.toNqb(systemId).asCstr());
    if (!mapped.empty()) {
        const NqbString file(mapped.c_str());
        if (isSpecialFile(file))
            return refused(systemId, named(systemId, transcoder, "is not a regular file"), manager, why);
        return new xercesc::LocalFileInputSource(transcoder.fromNqb(file), manager);
    }
    if (!XMLString::startsWithI(systemId, kFileScheme) && XMLString::patternMatch(systemId, kSchemeEnd) >= 0)
        return refused(systemId, onTheNetwork(resource, transcoder, catalog), manager, why);
    if (isSpecialFile(localPath(resource, transcoder, manager)))
        return refused(systemId, named(systemId, transcoder, "is not a regular file"), manager, why);
    return nullptr;
}

NqbString nqDomDoctypeRefusal(NqDomLoadPolicy policy, const XMLCh* publicId, const XMLCh* systemId,
                              bool hasIntSubset) {
    const bool bare = (!publicId || !*publicId) && (!systemId || !*systemId) && !hasIntSubset;
    if (policy != NqDomLoadUntrusted || bare) return NqbString();
    return NqbString(
        "a document type declaration with an identifier or internal subset, which this load policy does not "
        "accept");
}
