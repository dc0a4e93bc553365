// Getting a subtree ready for the engine's serializer, whose own namespace
// fix-up sees only namespace-aware declarations: where it would write a
// namespace wrongly, a copy without namespaces carrying the declarations the
// names need is written instead; CDATA sections holding "]]>" are split, and
// text XML 1.0 cannot carry is refused with the node named.
#ifndef NQDOMWRITEPREP_H
#define NQDOMWRITEPREP_H

#include <string>
#include <unordered_map>
#include <vector>

#include <xercesc/dom/DOM.hpp>

#include "nqdomxml/nqdomnamespaces.h"
#include "nqxmltranscoder.h"

// What a document may hold that its write has to prepare for, kept on the
// document by the edits that make it: loaded documents and documents built
// with plain names and no declarations are written by the engine directly.
enum NqWriteCare : unsigned {
    NqWriteCareNamespaces = 1,  // namespace-aware nodes beside declarations
    NqWriteCareCData = 2,       // CDATA sections with text of the host's
    NqWriteCareAll = 3
};
void nqDomMarkWriteCare(xercesc::DOMNode* node, unsigned care);
unsigned nqDomWriteCare(xercesc::DOMNode* node);

class NqWritePreparation {
public:
    // Characters XML 1.0 cannot carry are looked for in CDATA sections, which
    // the engine writes unchecked, and with `everyCharacter` everywhere.
    NqWritePreparation(xercesc::DOMNode* target, NqXMLTranscoder& transcoder, bool everyCharacter);
    // Puts the document back as it was and frees what was made for the write.
    ~NqWritePreparation();
    NqWritePreparation(const NqWritePreparation&) = delete;
    NqWritePreparation& operator=(const NqWritePreparation&) = delete;

    // False, with the message naming the node and the reason in `problem`,
    // when the subtree cannot be written as XML that reads back the same.
    bool prepare(NqbString* problem);
    // After prepare: whether the target must be written through a copy. The
    // engine's own fix-up declares what namespace-aware names need, but reads
    // only prefixed namespace-aware declarations, and undeclares the default
    // namespace on every element without a namespace. It writes the tree
    // right when every declaration needed is one it adds, it sees all the
    // others, and no element without a namespace meets a default namespace.
    bool needsCopy() const {
        return m_needsCopy || !m_engineDeclaresAll ||
               (m_namespaceAware &&
                (m_plainDeclarations || m_defaultDeclaration || (m_defaultNamespace && m_plainElements)));
    }
    // The copy to write: of the target, or of the root when the target is
    // the document; null when the document has no root.
    xercesc::DOMNode* copy(xercesc::DOMImplementation* implementation);
    // Puts a comment holding `text` in the root's place until the next call
    // or the end; false when there is no root.
    bool standInForRoot(const XMLCh* text);

private:
    // Texts of the document, which stays as it is until the write is done.
    struct Binding {
        NqXmlView prefix;
        NqXmlView uri;  // empty: no namespace
    };

    bool enter(xercesc::DOMNode* node, NqbString* problem);
    void leave(xercesc::DOMNode* node);
    bool enterElement(xercesc::DOMElement* element, NqbString* problem);
    bool bind(xercesc::DOMElement* element, NqXmlView prefix, NqXmlView uri, bool namespaceAware,
              NqbString* problem);
    bool checkText(xercesc::DOMNode* node, const XMLCh* text, NqbString* problem);
    NqXmlView modelBinding(NqXmlView prefix) const;
    xercesc::DOMNode* plainCopy(xercesc::DOMNode* node);
    void restoreRoot();
    xercesc::DOMNode* splitCData(const XMLCh* text);
    std::string describe(xercesc::DOMNode* node);
    std::string utf8(const XMLCh* text);

    xercesc::DOMNode* m_target;
    xercesc::DOMNode* m_outside;  // where bindings from outside the subtree are looked up
    xercesc::DOMDocument* m_document;
    NqXMLTranscoder& m_transcoder;
    bool m_checkCharacters;
    bool m_everyCharacter;
    bool m_needsCopy = false;  // a CDATA section must be split
    bool m_engineDeclaresAll = true;
    bool m_namespaceAware = false;
    bool m_plainDeclarations = false;
    bool m_defaultNamespace = false;            // an element in one, without a prefix
    bool m_defaultDeclaration = false;          // xmlns, plain or namespace-aware
    bool m_plainElements = false;               // elements without a namespace
    xercesc::DOMDocument* m_scratch = nullptr;  // holds the copy
    xercesc::DOMNode* m_copy = nullptr;
    xercesc::DOMNode* m_standIn = nullptr;
    xercesc::DOMNode* m_swappedRoot = nullptr;
    // What the elements on the way down bind as the node handles read them,
    // and what the declarations that will be written bind; each element's
    // bindings start at its mark.
    std::vector<Binding> m_model;
    std::vector<std::size_t> m_modelMarks;
    std::vector<Binding> m_written;
    std::vector<std::size_t> m_writtenMarks;
    std::vector<Binding> m_level;  // reused for each element
    // Declarations the copy of an element carries beyond the element's own.
    std::unordered_map<const xercesc::DOMNode*, std::vector<Binding>> m_declarations;
};

#endif
