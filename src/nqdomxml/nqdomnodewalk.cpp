// NqDomNode: the kind of a node and the walk over nodes of every kind.
#include <xercesc/dom/DOM.hpp>

#include "nqdomnode.h"

using xercesc::DOMNode;

NqDomNodeKind NqDomNode::getKind() const {
    return static_cast<NqDomNodeKind>(m_kind);
}

NqDomNode NqDomNode::sameDocument(void* node) const {
    return NqDomNode(node, m_transcoder);
}

NqDomNode NqDomNode::getParentNode() const {
    if (null()) return NqDomNode();
    return sameDocument(static_cast<DOMNode*>(m_node)->getParentNode());
}

NqDomNode NqDomNode::getFirstChildNode() const {
    if (null()) return NqDomNode();
    return sameDocument(static_cast<DOMNode*>(m_node)->getFirstChild());
}

NqDomNode NqDomNode::getLastChildNode() const {
    if (null()) return NqDomNode();
    return sameDocument(static_cast<DOMNode*>(m_node)->getLastChild());
}

NqDomNode NqDomNode::getNextSiblingNode() const {
    if (null()) return NqDomNode();
    return sameDocument(static_cast<DOMNode*>(m_node)->getNextSibling());
}

NqDomNode NqDomNode::getPreviousSiblingNode() const {
    if (null()) return NqDomNode();
    return sameDocument(static_cast<DOMNode*>(m_node)->getPreviousSibling());
}
