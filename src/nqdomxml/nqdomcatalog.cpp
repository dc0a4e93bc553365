#include "nqdomxml/nqdomcatalog.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <sstream>

#include <libxml/catalog.h>
#include <libxml/parser.h>
#include <libxml/uri.h>
#include <libxml/xmlerror.h>

#include "nqdom.h"

namespace {

std::mutex hostFilesLock;
std::string hostFiles;

struct XmlFree {
    void operator()(void* p) const { xmlFree(p); }
};
using XmlText = std::unique_ptr<xmlChar, XmlFree>;

void ignoreMessage(void*, const char*, ...) {}

// libxml2 reports a catalog it cannot read on stderr of the host; the reason
// reaches the host in the load's message instead.
class QuietLibxml {
public:
    QuietLibxml() : m_handler(xmlGenericError), m_context(xmlGenericErrorContext) {
        xmlSetGenericErrorFunc(nullptr, ignoreMessage);
    }
    ~QuietLibxml() { xmlSetGenericErrorFunc(m_context, m_handler); }
    QuietLibxml(const QuietLibxml&) = delete;
    QuietLibxml& operator=(const QuietLibxml&) = delete;

private:
    xmlGenericErrorFunc m_handler;
    void* m_context;
};

void splitInto(const std::string& list, std::vector<std::string>* out) {
    std::istringstream words(list);
    for (std::string word; words >> word;) out->push_back(word);
}

// A local file named as a path or a file: URI; empty for anything else.
std::string localPath(const char* name) {
    std::unique_ptr<xmlURI, decltype(&xmlFreeURI)> uri(xmlParseURI(name), xmlFreeURI);
    if (!uri) return "";
    if (!uri->scheme) return name;
    if (std::strcmp(uri->scheme, "file") != 0 || !uri->path) return "";
    return uri->path;
}

// Why `path` is no XML catalog, or empty when it is one.
std::string catalogProblem(const std::string& path) {
    std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc(
        xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
        xmlFreeDoc);
    if (!doc) {
        const xmlError* error = xmlGetLastError();
        if (error && error->domain == XML_FROM_IO) return "\"" + path + "\" cannot be read";
        return "\"" + path + "\" is not well-formed XML";
    }
    const xmlNode* root = xmlDocGetRootElement(doc.get());
    if (!root || std::strcmp(reinterpret_cast<const char*>(root->name), "catalog") != 0)
        return "\"" + path + "\" is not an XML catalog";
    return "";
}

}  // namespace

void nqDomSetCatalogFiles(const NqbString& files) {
    const std::lock_guard<std::mutex> hold(hostFilesLock);
    hostFiles = files.isNull() ? "" : files.asCstr();
}

NqbString nqDomGetCatalogFiles() {
    const std::lock_guard<std::mutex> hold(hostFilesLock);
    return NqbString(hostFiles.c_str());
}

NqCatalog::~NqCatalog() {
    if (m_catalog) xmlFreeCatalog(m_catalog);
}

std::vector<std::string> NqCatalog::files() {
    std::vector<std::string> out;
    {
        const std::lock_guard<std::mutex> hold(hostFilesLock);
        splitInto(hostFiles, &out);
    }
    // As libxml2 reads it: set but empty names no catalog.
    const char* fromEnvironment = std::getenv("XML_CATALOG_FILES");
    splitInto(fromEnvironment ? fromEnvironment : "/etc/xml/catalog", &out);
    return out;
}

// The first file that is a catalog is loaded; the others follow it as its
// next catalogs, which libxml2 consults in order after its own entries.
void NqCatalog::load() {
    m_loaded = true;
    static std::once_flag initialised;
    std::call_once(initialised, [] {
        xmlInitParser();
        xmlInitializeCatalog();
    });
    const QuietLibxml quiet;
    for (const std::string& name : files()) {
        const std::string path = localPath(name.c_str());
        const std::string problem =
            path.empty() ? "\"" + name + "\" is not a local file" : catalogProblem(path);
        if (!problem.empty()) {
            m_problems += (m_problems.empty() ? "catalog " : "; catalog ") + problem;
            continue;
        }
        if (!m_catalog) {
            m_catalog = xmlLoadACatalog(path.c_str());
        } else {
            xmlACatalogAdd(m_catalog, reinterpret_cast<const xmlChar*>("nextCatalog"), nullptr,
                           reinterpret_cast<const xmlChar*>(path.c_str()));
        }
    }
}

std::string NqCatalog::resolve(const std::string& publicId, const std::string& systemId) {
    if (!m_loaded) load();
    if (!m_catalog) return "";
    const QuietLibxml quiet;
    const auto text = [](const std::string& id) {
        return id.empty() ? nullptr : reinterpret_cast<const xmlChar*>(id.c_str());
    };
    const XmlText found(xmlACatalogResolve(m_catalog, text(publicId), text(systemId)));
    if (!found) return "";
    return localPath(reinterpret_cast<const char*>(found.get()));
}
