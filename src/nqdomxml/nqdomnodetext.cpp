// NqDomNode: names of every kind of node, the text of a subtree, and the
// identifiers of the document type.
#include <string>

#include <xercesc/dom/DOM.hpp>

#include "nqdomnode.h"
#include "nqxmltranscoder.h"

using xercesc::DOMDocument;
using xercesc::DOMDocumentType;
using xercesc::DOMNode;

namespace {

// The pieces of text of a subtree, joined only when there is more than one,
// so that the common single piece is converted straight from the DOM.
class TextPieces {
public:
    void add(const XMLCh* piece) {
        if (!piece || !*piece) return;
        if (!m_first) {
            m_first = piece;
            return;
        }
        if (m_joined.empty()) m_joined = m_first;
        m_joined += piece;
    }
    const XMLCh* text() const {
        static const XMLCh kEmpty[] = {0};
        if (!m_joined.empty()) return m_joined.c_str();
        return m_first ? m_first : kEmpty;
    }

private:
    const XMLCh* m_first = nullptr;
    std::basic_string<XMLCh> m_joined;
};

bool holdsText(DOMNode::NodeType type) {
    return type == DOMNode::ELEMENT_NODE || type == DOMNode::ENTITY_REFERENCE_NODE;
}

// Text and CDATA below `top` in document order, through elements and entity
// references; without recursion, so that depth costs no stack.
void collectBelow(DOMNode* top, TextPieces& pieces) {
    DOMNode* node = top->getFirstChild();
    while (node) {
        const DOMNode::NodeType type = node->getNodeType();
        if (type == DOMNode::TEXT_NODE || type == DOMNode::CDATA_SECTION_NODE)
            pieces.add(node->getNodeValue());
        if (holdsText(type) && node->getFirstChild()) {
            node = node->getFirstChild();
            continue;
        }
        while (!node->getNextSibling()) {
            node = node->getParentNode();
            if (!node || node == top) return;
        }
        node = node->getNextSibling();
    }
}

// One part of a document type: a null string for other kinds, and where
// the declaration has no such part.
NqbString documentTypePart(void* node, NqDomNodeKind kind, NqXMLTranscoder* transcoder,
                           const XMLCh* (DOMDocumentType::*part)() const) {
    NqbString text;
    if (kind != NqDomNodeDocumentType) return text;
    const DOMDocumentType* type = static_cast<DOMDocumentType*>(static_cast<DOMNode*>(node));
    if (const XMLCh* value = (type->*part)()) transcoder->toNqb(value, text);
    return text;
}

}  // namespace

NqbString NqDomNode::getNodeName() const {
    NqbString name;
    switch (getKind()) {
        case NqDomNodeElement:
        case NqDomNodeProcessingInstruction:
        case NqDomNodeDocumentType:
        case NqDomNodeEntityReference:
            m_transcoder->toNqb(static_cast<DOMNode*>(m_node)->getNodeName(), name);
            return name;
        default:
            return name;
    }
}

NqbString NqDomNode::getText() const {
    NqbString text;
    DOMNode* node = static_cast<DOMNode*>(m_node);
    switch (getKind()) {
        case NqDomNodeNull:
        case NqDomNodeDocumentType:
        case NqDomNodeOther:
            return text;
        case NqDomNodeText:
        case NqDomNodeCData:
        case NqDomNodeComment:
        case NqDomNodeProcessingInstruction:
            m_transcoder->toNqb(node->getNodeValue(), text);
            return text;
        case NqDomNodeDocument:
            node = static_cast<DOMDocument*>(node)->getDocumentElement();
            if (!node) {
                text.assign("");
                return text;
            }
            break;
        default:
            break;
    }
    TextPieces pieces;
    collectBelow(node, pieces);
    m_transcoder->toNqb(pieces.text(), text);
    return text;
}

NqbString NqDomNode::getPublicId() const {
    return documentTypePart(m_node, getKind(), m_transcoder, &DOMDocumentType::getPublicId);
}

NqbString NqDomNode::getSystemId() const {
    return documentTypePart(m_node, getKind(), m_transcoder, &DOMDocumentType::getSystemId);
}

NqbString NqDomNode::getInternalSubset() const {
    return documentTypePart(m_node, getKind(), m_transcoder, &DOMDocumentType::getInternalSubset);
}
