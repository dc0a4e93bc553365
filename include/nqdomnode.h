/// \file
/// Handle on one element or comment of a document held by an NqDom.
#ifndef NQDOMNODE_H
#define NQDOMNODE_H

#include "nqdomexport.h"
#include "nqxbase.h"

class NqXMLTranscoder;

/// A cheap value: three words, owning nothing. It stays usable while an NqDom
/// shares its document and the document is not replaced. A null handle makes
/// no DOM call; a comment handle acts as null except for null, isComment,
/// getValue, getNextSibling and remove.
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
    /// Creates or replaces an attribute; false when the DOM refuses it.
    bool setAttributeValue(const NqbString& name, const NqbString& value);
    /// The same in `namespaceURI`; `qualifiedName` may carry a prefix.
    bool setAttributeValueNS(const NqbString& namespaceURI, const NqbString& qualifiedName,
                             const NqbString& value);
    /// Removes every attribute (a declared default the DOM puts back may stay).
    void clearAttributes();

private:
    /// The document handle serializes and imports the designated DOM node.
    friend class NqDom;

    /// Handle on the first element (or comment) from `candidate` on, a DOM
    /// node or null, along its siblings.
    NqDomNode walkableFrom(void* candidate, bool includeComments) const;

    void* m_node;
    NqXMLTranscoder* m_transcoder;
    bool m_isComment;
};

#endif
