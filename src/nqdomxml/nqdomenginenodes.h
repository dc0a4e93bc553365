// Reads of engine nodes shared by the node handle's members and the writer.
#ifndef NQDOMENGINENODES_H
#define NQDOMENGINENODES_H

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMNode.hpp>

// The document `node` belongs to, or is.
inline xercesc::DOMDocument* nqDomDocumentOf(xercesc::DOMNode* node) {
    return node->getNodeType() == xercesc::DOMNode::DOCUMENT_NODE ? static_cast<xercesc::DOMDocument*>(node)
                                                                  : node->getOwnerDocument();
}

// The attribute's value; null when it is empty. A parsed value is one text
// child, read here directly: the engine's own getNodeValue finds that out
// through a dynamic_cast that costs more than the rest of the read.
inline const XMLCh* nqDomAttributeValue(xercesc::DOMNode* attribute) {
    xercesc::DOMNode* text = attribute->getFirstChild();
    if (!text) return nullptr;
    if (!text->getNextSibling() && text->getNodeType() == xercesc::DOMNode::TEXT_NODE)
        return text->getNodeValue();
    return attribute->getNodeValue();
}

#endif
