// The handle's kind for each type of engine node.
#ifndef NQDOMNODEKIND_H
#define NQDOMNODEKIND_H

#include <xercesc/dom/DOMNode.hpp>

#include "nqdomnode.h"

inline NqDomNodeKind nqDomKindOf(xercesc::DOMNode::NodeType type) {
    using xercesc::DOMNode;
    switch (type) {
        case DOMNode::ELEMENT_NODE:
            return NqDomNodeElement;
        case DOMNode::TEXT_NODE:
            return NqDomNodeText;
        case DOMNode::CDATA_SECTION_NODE:
            return NqDomNodeCData;
        case DOMNode::COMMENT_NODE:
            return NqDomNodeComment;
        case DOMNode::PROCESSING_INSTRUCTION_NODE:
            return NqDomNodeProcessingInstruction;
        case DOMNode::DOCUMENT_TYPE_NODE:
            return NqDomNodeDocumentType;
        case DOMNode::ENTITY_REFERENCE_NODE:
            return NqDomNodeEntityReference;
        case DOMNode::DOCUMENT_NODE:
            return NqDomNodeDocument;
        default:
            return NqDomNodeOther;
    }
}

#endif
