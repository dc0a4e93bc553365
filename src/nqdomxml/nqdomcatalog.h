// OASIS XML catalogs, read by libxml2's resolver: the files the host named,
// then those of XML_CATALOG_FILES, else the system catalog. They map the
// public and system identifiers of DTDs and entities to local files.
#ifndef NQDOMCATALOG_H
#define NQDOMCATALOG_H

#include <string>
#include <vector>

struct _xmlCatalog;

class NqCatalog {
public:
    NqCatalog() = default;
    ~NqCatalog();
    NqCatalog(const NqCatalog&) = delete;
    NqCatalog& operator=(const NqCatalog&) = delete;

    // The local file that a catalog maps the identifiers to (either may be
    // empty); empty when none does. The catalogs are read at the first call.
    std::string resolve(const std::string& publicId, const std::string& systemId);
    // The catalog files named that could not be read, as a sentence for a
    // message; empty when there were none.
    const std::string& problems() const { return m_problems; }

    // The files, in the order they are consulted.
    static std::vector<std::string> files();

private:
    void load();

    bool m_loaded = false;
    _xmlCatalog* m_catalog = nullptr;
    std::string m_problems;
};

#endif
