// NqDomNode: inserting before a node, new nodes of every kind, replacing
// texts and removing one attribute. The DOM checks each edit before it
// changes anything; its refusals become a null handle or false.
#include <xercesc/dom/DOM.hpp>

#include "nqdomnode.h"
#include "nqdomxmlcopy.h"
#include "nqxmltranscoder.h"

using xercesc::DOMDocument;
using xercesc::DOMElement;
using xercesc::DOMException;
using xercesc::DOMNode;

namespace {

// Nodes that can take children through the editing members.
bool takesChildren(NqDomNodeKind kind) {
    return kind == NqDomNodeElement || kind == NqDomNodeDocument;
}

DOMDocument* documentOf(DOMNode* node) {
    return node->getNodeType() == DOMNode::DOCUMENT_NODE ? static_cast<DOMDocument*>(node)
                                                         : node->getOwnerDocument();
}

// Moves `child` before `reference` (null: last) under `parent`; false when
// the DOM refuses.
bool placeBefore(DOMNode* parent, DOMNode* child, DOMNode* reference) {
    // Before itself: already in place; the engine would lose its siblings.
    if (child == reference) return reference->getParentNode() == parent;
    try {
        parent->insertBefore(child, reference);
    } catch (const DOMException&) {
        return false;
    }
    return true;
}

void removeChildren(DOMNode* node) {
    while (DOMNode* child = node->getLastChild()) node->removeChild(child);  // stays with the document
}

}  // namespace

NqDomNode NqDomNode::insertBefore(const NqDomNode& child, const NqDomNode& reference) {
    const NqDomNode none(nullptr, m_transcoder);
    if (!takesChildren(getKind()) || child.null() || child.m_node == m_node) return none;
    DOMNode* parent = static_cast<DOMNode*>(m_node);
    DOMNode* before = static_cast<DOMNode*>(reference.m_node);
    if (before && before->getParentNode() != parent) return none;
    return placeBefore(parent, static_cast<DOMNode*>(child.m_node), before) ? child : none;
}

// Each new node is made only where it can go; one the DOM then refuses stays
// unattached with the document.
NqDomNode NqDomNode::addText(const NqbString& text, const NqDomNode& reference) {
    if (getKind() != NqDomNodeElement) return NqDomNode(nullptr, m_transcoder);
    DOMNode* parent = static_cast<DOMNode*>(m_node);
    return insertBefore(sameDocument(documentOf(parent)->createTextNode(m_transcoder->fromNqb(text))),
                        reference);
}

NqDomNode NqDomNode::addCData(const NqbString& text, const NqDomNode& reference) {
    if (getKind() != NqDomNodeElement) return NqDomNode(nullptr, m_transcoder);
    DOMNode* parent = static_cast<DOMNode*>(m_node);
    return insertBefore(sameDocument(documentOf(parent)->createCDATASection(m_transcoder->fromNqb(text))),
                        reference);
}

NqDomNode NqDomNode::addComment(const NqbString& text, const NqDomNode& reference) {
    if (!takesChildren(getKind())) return NqDomNode(nullptr, m_transcoder);
    DOMNode* parent = static_cast<DOMNode*>(m_node);
    return insertBefore(sameDocument(documentOf(parent)->createComment(m_transcoder->fromNqb(text))),
                        reference);
}

NqDomNode NqDomNode::addProcessingInstruction(const NqbString& target, const NqbString& data,
                                              const NqDomNode& reference) {
    if (!takesChildren(getKind())) return NqDomNode(nullptr, m_transcoder);
    DOMNode* parent = static_cast<DOMNode*>(m_node);
    const NqXmlCopy targetCopy(m_transcoder->fromNqb(target));
    DOMNode* instruction = nullptr;
    try {
        instruction =
            documentOf(parent)->createProcessingInstruction(targetCopy.get(), m_transcoder->fromNqb(data));
    } catch (const DOMException&) {
        return NqDomNode(nullptr, m_transcoder);  // a target that is not a name
    }
    return insertBefore(sameDocument(instruction), reference);
}

bool NqDomNode::setText(const NqbString& text) {
    const NqDomNodeKind kind = getKind();
    DOMNode* node = static_cast<DOMNode*>(m_node);
    try {
        switch (kind) {
            case NqDomNodeText:
            case NqDomNodeCData:
            case NqDomNodeComment:
            case NqDomNodeProcessingInstruction:
                node->setNodeValue(m_transcoder->fromNqb(text));
                return true;
            case NqDomNodeElement:
                removeChildren(node);
                if (text.length() > 0)
                    node->appendChild(documentOf(node)->createTextNode(m_transcoder->fromNqb(text)));
                return true;
            default:
                return false;
        }
    } catch (const DOMException&) {
        return false;  // read-only: the text of an entity; refused before any change
    }
}

bool NqDomNode::removeAttribute(const NqbString& name) {
    if (!onElement()) return false;
    DOMElement* element = static_cast<DOMElement*>(static_cast<DOMNode*>(m_node));
    xercesc::DOMAttr* attribute = element->getAttributeNode(m_transcoder->fromNqb(name));
    if (!attribute) return false;
    try {
        element->removeAttributeNode(attribute);  // stays with the document
    } catch (const DOMException&) {
        return false;
    }
    return true;
}
