// NqDomNode: navigation, names and texts, building and moving nodes.
#include <xercesc/dom/DOM.hpp>

#include "nqdomnode.h"
#include "nqdomxml/nqdomnodekind.h"
#include "nqdomxml/nqdomwriteprep.h"
#include "nqdomxmlcopy.h"
#include "nqxmltranscoder.h"

using xercesc::DOMDocument;
using xercesc::DOMElement;
using xercesc::DOMException;
using xercesc::DOMNode;

namespace {

DOMNode* firstText(DOMNode* candidate) {
    for (; candidate; candidate = candidate->getNextSibling()) {
        if (candidate->getNodeType() == DOMNode::TEXT_NODE) return candidate;
    }
    return nullptr;
}

DOMElement* createElementNS(DOMDocument* document, NqXMLTranscoder* transcoder, const NqbString& namespaceURI,
                            const NqbString& qualifiedName) {
    const NqXmlCopy uri(transcoder->fromNqb(namespaceURI));
    return document->createElementNS(uri.get(), transcoder->fromNqb(qualifiedName));
}

}  // namespace

NqDomNode::NqDomNode() : m_node(nullptr), m_transcoder(nullptr), m_isComment(false), m_kind(NqDomNodeNull) {}

NqDomNode::NqDomNode(void* node, void* transcoder)
    : m_node(node),
      m_transcoder(static_cast<NqXMLTranscoder*>(transcoder)),
      m_isComment(false),
      m_kind(NqDomNodeNull) {
    if (!node) return;
    m_kind = static_cast<unsigned char>(nqDomKindOf(static_cast<DOMNode*>(node)->getNodeType()));
    m_isComment = m_kind == NqDomNodeComment;
}

// Elements, and comments when asked; every other kind of node is passed over.
// The type found is kept, so the handle needs no second DOM call.
NqDomNode NqDomNode::walkableFrom(void* candidate, bool includeComments) const {
    NqDomNode found(nullptr, m_transcoder);
    for (DOMNode* node = static_cast<DOMNode*>(candidate); node; node = node->getNextSibling()) {
        const DOMNode::NodeType type = node->getNodeType();
        const bool isComment = type == DOMNode::COMMENT_NODE;
        if (type == DOMNode::ELEMENT_NODE || (includeComments && isComment)) {
            found.m_node = node;
            found.m_isComment = isComment;
            found.m_kind = isComment ? NqDomNodeComment : NqDomNodeElement;
            break;
        }
    }
    return found;
}

NqDomNode NqDomNode::getFirstChild(bool includeComments) const {
    if (!onElement()) return NqDomNode();
    return walkableFrom(static_cast<DOMNode*>(m_node)->getFirstChild(), includeComments);
}

NqDomNode NqDomNode::getNextSibling(bool includeComments) const {
    if (null()) return NqDomNode();
    return walkableFrom(static_cast<DOMNode*>(m_node)->getNextSibling(), includeComments);
}

// Results are converted straight into the returned string.
NqbString NqDomNode::getName() const {
    NqbString name;
    if (!onElement()) return name;
    m_transcoder->toNqb(static_cast<DOMNode*>(m_node)->getNodeName(), name);
    return name;
}

NqbString NqDomNode::getValue(bool allTexts) const {
    NqbString value;
    if (null()) return value;
    DOMNode* node = static_cast<DOMNode*>(m_node);
    if (!onElement()) {
        // The data of a comment, text, CDATA section or processing instruction.
        const XMLCh* data = node->getNodeValue();
        if (data) m_transcoder->toNqb(data, value);
        return value;
    }

    DOMNode* text = firstText(node->getFirstChild());
    if (!text) return value;
    m_transcoder->toNqb(text->getNodeValue(), value);
    if (!allTexts) return value;
    NqbString next;
    for (text = firstText(text->getNextSibling()); text; text = firstText(text->getNextSibling())) {
        if (value.length() != 0) value.append(" ");
        m_transcoder->toNqb(text->getNodeValue(), next);
        value.append(next);
    }
    return value;
}

void NqDomNode::setValue(const NqbString& text) {
    if (!onElement()) return;
    DOMNode* node = static_cast<DOMNode*>(m_node);
    DOMDocument* document = node->getOwnerDocument();
    if (!document) return;

    // Removed text nodes stay with the document and are freed with it.
    DOMNode* child = node->getFirstChild();
    while (child) {
        DOMNode* next = child->getNextSibling();
        if (child->getNodeType() == DOMNode::TEXT_NODE) node->removeChild(child);
        child = next;
    }
    node->appendChild(document->createTextNode(m_transcoder->fromNqb(text)));
}

NqDomNode NqDomNode::addChild(const NqbString& name) {
    if (!onElement()) return NqDomNode(nullptr, m_transcoder);
    DOMNode* node = static_cast<DOMNode*>(m_node);
    DOMDocument* document = node->getOwnerDocument();
    if (!document) return NqDomNode(nullptr, m_transcoder);

    DOMNode* element = document->createElement(m_transcoder->fromNqb(name));
    if (element) node->appendChild(element);
    return NqDomNode(element, m_transcoder);
}

NqDomNode NqDomNode::addChildNS(const NqbString& namespaceURI, const NqbString& qualifiedName) {
    if (!onElement()) return NqDomNode(nullptr, m_transcoder);
    DOMNode* node = static_cast<DOMNode*>(m_node);
    DOMDocument* document = node->getOwnerDocument();
    if (!document) return NqDomNode(nullptr, m_transcoder);

    DOMNode* element = createElementNS(document, m_transcoder, namespaceURI, qualifiedName);
    nqDomMarkWriteCare(element, NqWriteCareNamespaces);
    if (element) node->appendChild(element);
    return NqDomNode(element, m_transcoder);
}

NqDomNode NqDomNode::addChild(const NqDomNode& child) {
    if (!onElement() || child.null()) return NqDomNode(nullptr, m_transcoder);
    // The engine checks the ancestors of this node but not the node itself,
    // and would detach it and make it its own child.
    if (child.m_node == m_node) return NqDomNode(nullptr, m_transcoder);
    try {
        // A node that already has a parent is moved.
        static_cast<DOMNode*>(m_node)->appendChild(static_cast<DOMNode*>(child.m_node));
    } catch (const DOMException&) {
        // Wrong document, own ancestor, read-only parent: the DOM checks
        // before it changes anything.
        return NqDomNode(nullptr, m_transcoder);
    }
    return child;
}

void NqDomNode::remove() {
    if (null()) return;
    DOMNode* node = static_cast<DOMNode*>(m_node);
    // The removed node stays with the document and is freed with it.
    DOMNode* parent = node->getParentNode();
    if (parent) parent->removeChild(node);
    m_node = nullptr;
    m_kind = NqDomNodeNull;  // every member then acts as on a null handle
}
