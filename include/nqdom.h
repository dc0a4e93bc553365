/// \file
/// DOM Library: read, build, walk and write XML documents. The one header a
/// host includes.
#ifndef NQDOM_H
#define NQDOM_H

#include "nqdomexport.h"
#include "nqdomnode.h"
#include "nqdomtemplate.h"
#include "nqxbase.h"
#include "nqxmltranscoder.h"

class NqDomData;

/// How loadXML and loadFile treat what a text carries. Each policy refuses
/// what the one before it accepts.
enum NqDomLoadPolicy {
    /// The engine's defaults: errors in the text may still give true with part
    /// of the document; external DTDs and entities are read.
    NqDomLoadLenient = 0,
    /// Any error fails the load with its line and column; entity expansion and
    /// the memory a load takes are bounded; loadFile reads the file's bytes
    /// whole and resolves relative references against the file's folder.
    /// External DTDs and entities are looked up in the XML catalogs first
    /// (see nqDomSetCatalogFiles); a network resource that no catalog maps to
    /// a local file fails the load, naming its identifiers, before any
    /// connection is made.
    NqDomLoadStrict = 1,
    /// Strict, and nothing outside the text is read: a document that needs an
    /// external DTD or entity fails with a message naming it.
    NqDomLoadSelfContained = 2,
    /// SelfContained; a document type declaration only when it names the
    /// root and nothing else (<!DOCTYPE html>); elements nested at most
    /// nqDomUntrustedDepthLimit levels deep.
    NqDomLoadUntrusted = 3
};

/// Deepest element nesting NqDomLoadUntrusted accepts: enough for any real
/// document, shallow enough that createXML and getTemplate of what it accepts
/// run on a 1 MB stack.
const int nqDomUntrustedDepthLimit = 256;

/// Handle on one document. Copies share the document; it is freed with the
/// last copy. Failures give false, a null string or a null node handle, with
/// the text in getErrorMessage().
class NQDOM_API NqDom {
public:
    /// A handle with no document, taking the process's default load policy.
    NqDom();
    /// A handle sharing `other`'s document, load policy and error text.
    NqDom(const NqDom& other);
    /// Shares `other`'s document from now on; this handle's old document is
    /// freed when it was the last one holding it.
    NqDom& operator=(const NqDom& other);
    /// Frees the document when this is the last handle sharing it; node
    /// handles on it become unusable.
    ~NqDom();

    /// The document element; a null handle when there is no document.
    NqDomNode getRoot() const;
    /// The document itself (NqDomNodeDocument): its children are the root
    /// and the document type, comments and processing instructions around
    /// it. A null handle when there is no document.
    NqDomNode getDocumentNode() const;
    /// Text of the last failure; null until the first failure or clearing.
    NqbString getErrorMessage() const;

    /// Replaces the current document by a new one with a root named `rootName`;
    /// false with the text in getErrorMessage() when it is not an XML name.
    bool startNewDocument(const NqbString& rootName);
    /// The same with the root in `namespaceURI`; `qualifiedName` may carry a
    /// prefix. False with the text in getErrorMessage() when the DOM refuses
    /// the name.
    bool startNewDocumentNS(const NqbString& namespaceURI, const NqbString& qualifiedName);

    /// Parses UTF-8 (or declared-encoding) XML text without namespace processing.
    bool loadXML(const NqbString& xmlText);
    /// Reads the file whole and parses it.
    bool loadFile(const NqbString& fileName);

    /// UTF-8 XML text of `node`, or of the whole document for a null handle;
    /// pretty printing indents and ends lines with CR LF. The text declares
    /// the namespaces its names are in and reads back as the same nodes.
    /// Null string on failure, among them text holding a character XML 1.0
    /// cannot carry, with a message naming the node and the character.
    NqbString createXML(bool prettyPrint, const NqDomNode& node = NqDomNode());
    /// Writes what createXML gives to `fileName`, replacing the file as a
    /// whole; false with the text in getErrorMessage(), the old file kept.
    bool createFile(const NqbString& fileName, bool prettyPrint, const NqDomNode& node = NqDomNode());
    /// A deep, unattached copy of `node` owned by this document.
    NqDomNode importNode(const NqDomNode& node);

    /// Compiles a template, loading it under this handle's load policy; null
    /// on failure with the text in getErrorMessage().
    NqDomTemplate* getTemplate(const NqbString& text);

    /// The policy of later loads, for this handle and the copies that share
    /// its document. A new handle takes the process default.
    void setLoadPolicy(NqDomLoadPolicy policy);
    /// The policy later loads of this handle use.
    NqDomLoadPolicy getLoadPolicy() const;

    /// Whether later bounded loads (every policy but Lenient) do without the
    /// external DTD, for this handle and the copies that share its document.
    /// The DTD is not read, so defaults for attributes that it declares are
    /// absent; a reference to an entity that the text itself does not declare
    /// fails the load, naming the entity. Lenient loads ignore the setting. A
    /// new handle takes the process default (nqDomSetDefaultSkipExternalDtd).
    void setSkipExternalDtd(bool skip);
    /// The setting of setSkipExternalDtd.
    bool getSkipExternalDtd() const;

private:
    // The reader hands expanded records to a handle.
    friend class NqDomReader;

    NqDomData* m_data;
};

extern "C" {
/// Initialises the XML engine: 0 on success; 1 with *errorText pointing at the
/// failure text (at most 255 bytes, in static storage).
NQDOM_API int nqDomStartup(void* reserved, char** errorText);
/// Terminates the XML engine; every handle, template and serializer must be gone.
NQDOM_API void nqDomShutdown();
/// A new object for `interfaceName`; only "NqbConfSerializer" is known. Null otherwise.
NQDOM_API NqbConfSerializer* nqDomGetInterface(const char* interfaceName);

/// The load policy of handles and serializers made from now on; Lenient
/// until set. An unknown value is ignored.
NQDOM_API void nqDomSetDefaultLoadPolicy(NqDomLoadPolicy policy);
/// The load policy new handles and serializers take.
NQDOM_API NqDomLoadPolicy nqDomGetDefaultLoadPolicy();

/// The build number of the loaded library, e.g. 32.
NQDOM_API extern int nqx_build_number;
/// The build identity as a sentence: "DOM Library version 2.8 (build 32)".
NQDOM_API extern const char* nqx_build_info;
/// The version of the loaded library, e.g. "2.8".
NQDOM_API extern const char* nqx_build_version;
}

/// The whole content of a file (up to its first 0 byte); a null string with a
/// message in *error on failure.
NQDOM_API NqbString nqDomReadFileToString(const NqbString& fileName, NqbString* error);
/// Creates or replaces the file with `text`; false with a message in *error.
NQDOM_API bool nqDomWriteStringToFile(const NqbString& fileName, const NqbString& text, NqbString* error);

/// The setSkipExternalDtd setting of handles made from now on (a
/// serializer makes its handle when it reads); false until set.
NQDOM_API void nqDomSetDefaultSkipExternalDtd(bool skip);
/// The current default of setSkipExternalDtd.
NQDOM_API bool nqDomGetDefaultSkipExternalDtd();

/// XML catalog files (paths or file: URIs, separated by spaces) that Strict
/// loads consult before those of the environment variable XML_CATALOG_FILES,
/// or /etc/xml/catalog when it is not set. A null or empty text names none.
/// A file that cannot be read or is no catalog is skipped; a load that then
/// finds no local copy names it in its message. Applies to loads that start
/// after the call, in every thread.
NQDOM_API void nqDomSetCatalogFiles(const NqbString& files);
/// The files named by nqDomSetCatalogFiles, as given; empty when none.
NQDOM_API NqbString nqDomGetCatalogFiles();

#include "nqdomreader.h"

#endif
