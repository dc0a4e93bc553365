// NqDomNode: inserting before a node, new nodes of every kind, replacing
// texts and removing one attribute. The DOM checks each edit before it
// changes anything; its refusals become a null handle or false.
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>

#include "nqdomnode.h"
#include "nqdomxml/nqdomenginenodes.h"
#include "nqdomxml/nqdomwriteprep.h"
#include "nqdomxmlcopy.h"
#include "nqxmltranscoder.h"

using xercesc::DOMDocument;
using xercesc::DOMElement;
using xercesc::DOMException;
using xercesc::DOMNode;
using xercesc::XMLString;

namespace {

// Nodes that can take children through the editing members.
bool takesChildren(NqDomNodeKind kind) {
    return kind == NqDomNodeElement || kind == NqDomNodeDocument;
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

// What a comment, a section or a processing instruction cannot hold and
// still be read back as the same text. None can escape a CR, which reading
// turns into a line end.
bool hasCarriageReturn(const XMLCh* text) {
    return text && std::u16string(text).find(u'\r') != std::u16string::npos;
}

bool commentCanHold(const XMLCh* text) {
    const std::u16string data(text ? text : u"");
    return data.find(u"--") == std::u16string::npos && (data.empty() || data.back() != u'-') &&
           !hasCarriageReturn(text);
}

// White space after the target only separates it from the data.
bool instructionCanHold(const XMLCh* data) {
    if (!data || !*data) return true;
    if (*data == u' ' || *data == u'\t' || *data == u'\n' || *data == u'\r') return false;
    return std::u16string(data).find(u"?>") == std::u16string::npos && !hasCarriageReturn(data);
}

bool reservedTarget(const XMLCh* target) {
    return XMLString::compareIString(target, u"xml") == 0;
}

bool dataFits(DOMNode* node, const XMLCh* text) {
    switch (node->getNodeType()) {
        case DOMNode::COMMENT_NODE:
            return commentCanHold(text);
        case DOMNode::PROCESSING_INSTRUCTION_NODE:
            return instructionCanHold(text);
        case DOMNode::CDATA_SECTION_NODE:
            return !hasCarriageReturn(text);
        default:
            return true;
    }
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
    // The engine takes white space beside the root, which no parser reads
    // back as a node.
    if (getKind() == NqDomNodeDocument && child.getKind() == NqDomNodeText) return none;
    return placeBefore(parent, static_cast<DOMNode*>(child.m_node), before) ? child : none;
}

// Each new node is made only where it can go; one the DOM then refuses stays
// unattached with the document.
NqDomNode NqDomNode::addText(const NqbString& text, const NqDomNode& reference) {
    if (getKind() != NqDomNodeElement) return NqDomNode(nullptr, m_transcoder);
    DOMNode* parent = static_cast<DOMNode*>(m_node);
    return insertBefore(sameDocument(nqDomDocumentOf(parent)->createTextNode(m_transcoder->fromNqb(text))),
                        reference);
}

NqDomNode NqDomNode::addCData(const NqbString& text, const NqDomNode& reference) {
    if (getKind() != NqDomNodeElement) return NqDomNode(nullptr, m_transcoder);
    DOMNode* parent = static_cast<DOMNode*>(m_node);
    const XMLCh* data = m_transcoder->fromNqb(text);
    if (hasCarriageReturn(data)) return NqDomNode(nullptr, m_transcoder);
    nqDomMarkWriteCare(parent, NqWriteCareCData);
    return insertBefore(sameDocument(nqDomDocumentOf(parent)->createCDATASection(data)), reference);
}

NqDomNode NqDomNode::addComment(const NqbString& text, const NqDomNode& reference) {
    if (!takesChildren(getKind())) return NqDomNode(nullptr, m_transcoder);
    DOMNode* parent = static_cast<DOMNode*>(m_node);
    const XMLCh* data = m_transcoder->fromNqb(text);
    if (!commentCanHold(data)) return NqDomNode(nullptr, m_transcoder);
    return insertBefore(sameDocument(nqDomDocumentOf(parent)->createComment(data)), reference);
}

NqDomNode NqDomNode::addProcessingInstruction(const NqbString& target, const NqbString& data,
                                              const NqDomNode& reference) {
    if (!takesChildren(getKind())) return NqDomNode(nullptr, m_transcoder);
    DOMNode* parent = static_cast<DOMNode*>(m_node);
    const NqXmlCopy targetCopy(m_transcoder->fromNqb(target));
    const XMLCh* dataText = m_transcoder->fromNqb(data);
    if (reservedTarget(targetCopy.get()) || !instructionCanHold(dataText))
        return NqDomNode(nullptr, m_transcoder);
    DOMNode* instruction = nullptr;
    try {
        instruction = nqDomDocumentOf(parent)->createProcessingInstruction(targetCopy.get(), dataText);
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
            case NqDomNodeProcessingInstruction: {
                const XMLCh* data = m_transcoder->fromNqb(text);
                if (!dataFits(node, data)) return false;
                if (kind == NqDomNodeCData) nqDomMarkWriteCare(node, NqWriteCareCData);
                node->setNodeValue(data);
                return true;
            }
            case NqDomNodeElement:
                removeChildren(node);
                if (text.length() > 0)
                    node->appendChild(nqDomDocumentOf(node)->createTextNode(m_transcoder->fromNqb(text)));
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
