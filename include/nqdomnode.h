/// \file
/// Handle on one node of a document held by an NqDom.
#ifndef NQDOMNODE_H
#define NQDOMNODE_H

#include "nqdomexport.h"
#include "nqxbase.h"

class NqXMLTranscoder;

/// The kind of node a handle designates, as the engine builds them.
enum NqDomNodeKind {
    NqDomNodeNull = 0,                   ///< a null handle
    NqDomNodeElement = 1,                ///< an element
    NqDomNodeText = 2,                   ///< text, character and predefined entity references resolved
    NqDomNodeCData = 3,                  ///< a CDATA section
    NqDomNodeComment = 4,                ///< a comment
    NqDomNodeProcessingInstruction = 5,  ///< a processing instruction
    NqDomNodeDocumentType = 6,           ///< the document type declaration
    NqDomNodeEntityReference = 7,  ///< a reference to a declared entity; its children are the entity's text
    NqDomNodeDocument = 8,         ///< the document itself, parent of the root, the prolog and the epilogue
    NqDomNodeOther = 9             ///< any other engine node given to the public constructor
};

/// A cheap value: three words, owning nothing. It stays usable while an NqDom
/// shares its document and the document is not replaced. A null handle makes
/// no DOM call; a comment handle acts as null except for null, isComment,
/// getValue, getNextSibling and remove. The members from getKind on reach
/// every kind of node; on a node that is not an element, the members before
/// them act as on a comment handle (getValue gives the node's data).
class NQDOM_API NqDomNode {
public:
    /// A null handle.
    NqDomNode();
    /// A handle on `node` (a DOM node) converting text with `transcoder` (an
    /// NqXMLTranscoder).
    NqDomNode(void* node, void* transcoder);

    /// True for a null handle: no node, or none found.
    bool null() const { return m_node == nullptr; }
    /// True when the handle is on a comment.
    bool isComment() const { return m_isComment; }

    /// First child element (or comment when `includeComments`); null handle
    /// when there is none, or on a null or comment handle.
    NqDomNode getFirstChild(bool includeComments) const;
    /// Next sibling element (or comment); null handle when there is none.
    NqDomNode getNextSibling(bool includeComments) const;
    /// Qualified name as written; null string on a null or comment handle.
    NqbString getName() const;
    /// The first direct text child, or all of them joined by single spaces;
    /// the comment's text on a comment handle; null string when none.
    NqbString getValue(bool allTexts) const;
    /// Replaces the direct text children by one text node after the other
    /// children. No effect on a null or comment handle.
    void setValue(const NqbString& text);
    /// Appends a new child element; null handle on a null or comment handle.
    /// A name that is not an XML name raises the DOM exception.
    NqDomNode addChild(const NqbString& name);
    /// The same with a namespace URI for the new element.
    NqDomNode addChildNS(const NqbString& namespaceURI, const NqbString& qualifiedName);
    /// Moves `child` (of the same document) to the end of this node's
    /// children; returns it, or a null handle when the DOM refuses the move.
    NqDomNode addChild(const NqDomNode& child);
    /// Detaches the node from its parent and makes this handle null; the node
    /// stays with its document.
    void remove();

    /// Attributes; a null or comment handle has none, and its setters fail.
    int getAttributeCount() const;
    /// Fills the outputs that are not null; null strings for an index out of range.
    void getAttributeNameValue(int index, NqbString* name, NqbString* value) const;
    /// The value of the attribute named `name` as written; null string when absent.
    NqbString getAttributeValue(const NqbString& name) const;
    /// Creates or replaces an attribute; false when the DOM refuses it, and
    /// for a declaration (xmlns, xmlns:p) of a prefix the element's own name
    /// or namespace-aware attributes bind to another namespace.
    bool setAttributeValue(const NqbString& name, const NqbString& value);
    /// Creates or replaces an attribute in `namespaceURI`. False, with no
    /// change, when the DOM refuses it, when the name has no prefix but the
    /// namespace is not empty (xmlns declarations aside), and when the
    /// element already binds the prefix to another namespace (through its
    /// name, another attribute or a declaration): no text could say both.
    bool setAttributeValueNS(const NqbString& namespaceURI, const NqbString& qualifiedName,
                             const NqbString& value);
    /// Removes every attribute (a declared default the DOM puts back may stay).
    void clearAttributes();

    /// The kind of node; NqDomNodeNull on a null handle.
    NqDomNodeKind getKind() const;

    // Walking every kind of node.
    /// The parent: an element, an entity reference, or the document for the
    /// root and the nodes of the prolog and epilogue; a null handle for the
    /// document, an unattached node and on a null handle.
    NqDomNode getParentNode() const;
    /// The first child of any kind; a null handle when there is none and on a null handle.
    NqDomNode getFirstChildNode() const;
    /// The last child of any kind; a null handle when there is none and on a null handle.
    NqDomNode getLastChildNode() const;
    /// The next sibling of any kind; a null handle when there is none and on a null handle.
    NqDomNode getNextSiblingNode() const;
    /// The previous sibling of any kind; a null handle when there is none and on a null handle.
    NqDomNode getPreviousSiblingNode() const;

    // Reading
    /// The name of an element (qualified, as written), the target of a
    /// processing instruction, the name of the document type or of the
    /// referenced entity; a null string for other kinds and on a null handle.
    NqbString getNodeName() const;
    /// The text of the node and everything below it in document order: text,
    /// CDATA sections and the text of entity references; comments and
    /// processing instructions are left out, except that a comment or
    /// processing-instruction handle gives its own data. The document gives
    /// the text of its root. An empty string when there is none; a null
    /// string on a null handle or a document type.
    NqbString getText() const;
    /// The public identifier of a document type; a null string when it has
    /// none, for other kinds and on a null handle.
    NqbString getPublicId() const;
    /// The system identifier of a document type, as written; a null string as for getPublicId.
    NqbString getSystemId() const;
    /// The internal subset of a document type, without its brackets; a null
    /// string when there is none, for other kinds and on a null handle.
    NqbString getInternalSubset() const;

    // Namespaces, resolved from the xmlns declarations in scope as a loaded
    // document writes them, and from the namespaces given to
    // startNewDocumentNS, addChildNS and setAttributeValueNS. An element made
    // with an empty namespace is read as its name is written: in the default
    // namespace in scope.
    /// The prefix of an element's name; a null string when it has none, for
    /// other kinds and on a null handle.
    NqbString getPrefix() const;
    /// The name of an element without its prefix; a null string for other
    /// kinds and on a null handle.
    NqbString getLocalName() const;
    /// The namespace an element is in; a null string when it is in none (an
    /// undeclared prefix included), for other kinds and on a null handle.
    NqbString getNamespaceURI() const;
    /// The namespace URI, prefix and local name of the attribute at `index`
    /// (as for getAttributeNameValue); fills the outputs that are not null,
    /// each a null string where there is none, all of them for an index out
    /// of range, on a node that is not an element and on a null handle. An
    /// attribute without a prefix is in no namespace; xmlns declarations are
    /// in "http://www.w3.org/2000/xmlns/".
    void getAttributeNamespace(int index, NqbString* namespaceURI, NqbString* prefix,
                               NqbString* localName) const;
    /// The namespace `prefix` is bound to at this node (an empty or null
    /// prefix: the default namespace); a null string when it is bound to
    /// none and on a null handle. "xml" is always bound.
    NqbString lookupNamespaceURI(const NqbString& prefix) const;

    // Editing. On a null handle, a parent that cannot hold the node, or when
    // the engine refuses the edit, the result is a null handle (or false)
    // and nothing changes.
    /// Moves `child` (a node of the same document, any kind) before
    /// `reference`, a child of this node; a null `reference` appends.
    /// Returns `child`; a null handle for text moved beside the root, which
    /// no parser would read back.
    NqDomNode insertBefore(const NqDomNode& child, const NqDomNode& reference);
    /// A new text child holding `text`, before `reference` (a child of this
    /// node) or last when `reference` is null.
    NqDomNode addText(const NqbString& text, const NqDomNode& reference = NqDomNode());
    /// A new CDATA section child holding `text`, placed as addText places
    /// text; a null handle for a text holding a CR, which no section can keep.
    NqDomNode addCData(const NqbString& text, const NqDomNode& reference = NqDomNode());
    /// A new comment child holding `text`, placed as addText places text; a
    /// null handle for a text holding "--" or a CR, or ending in "-".
    NqDomNode addComment(const NqbString& text, const NqDomNode& reference = NqDomNode());
    /// A new processing-instruction child, placed as addText places text; a
    /// null handle for a target that is "xml" in any case, or data holding
    /// "?>" or a CR or starting with white space (which reads back as separator).
    NqDomNode addProcessingInstruction(const NqbString& target, const NqbString& data,
                                       const NqDomNode& reference = NqDomNode());
    /// Replaces all the content of an element by one text node (none for an
    /// empty text), or sets the data of a text, CDATA section, comment or
    /// processing instruction. False on other kinds, on a null handle, and
    /// for a text a section, a comment or a processing instruction cannot
    /// hold (as for addCData, addComment and addProcessingInstruction).
    bool setText(const NqbString& text);
    /// Removes the attribute named `name` as written; false when the element
    /// has none, on a node that is not an element and on a null handle. A
    /// default the document type declares comes back.
    bool removeAttribute(const NqbString& name);

private:
    /// The document handle serializes and imports the designated DOM node.
    friend class NqDom;

    /// Handle on the first element (or comment) from `candidate` on, a DOM
    /// node or null, along its siblings.
    NqDomNode walkableFrom(void* candidate, bool includeComments) const;

    // Whether the members that read and edit elements and their attributes
    // apply: the node is an element.
    bool onElement() const { return m_kind == NqDomNodeElement; }
    // A handle on `node` (or null) of the same document.
    NqDomNode sameDocument(void* node) const;

    void* m_node;
    NqXMLTranscoder* m_transcoder;
    bool m_isComment;
    // An NqDomNodeKind, kept in what was padding so the handle's size stays.
    unsigned char m_kind;
};

#endif
