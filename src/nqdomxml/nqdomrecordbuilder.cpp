#include "nqdomxml/nqdomrecordbuilder.h"

using xercesc::DOMElement;
using xercesc::DOMNode;

NqRecordBuilder::NqRecordBuilder(xercesc::DOMDocument* document, DOMElement* root)
    : m_document(document), m_root(root), m_open{root} {}

void NqRecordBuilder::append(DOMNode* node) {
    flushText();
    m_open.back()->appendChild(node);
}

void NqRecordBuilder::flushText() {
    if (m_text.empty()) return;
    m_open.back()->appendChild(m_document->createTextNode(m_text.c_str()));
    m_text.clear();
}

void NqRecordBuilder::startElement(const XMLCh* name,
                                   const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                                   XMLSize_t count) {
    DOMElement* element = m_document->createElement(name);
    for (XMLSize_t i = 0; i < count; ++i) {
        const xercesc::XMLAttr* attribute = attributes.elementAt(i);
        element->setAttribute(attribute->getQName(), attribute->getValue());
    }
    append(element);
    m_open.push_back(element);
}

void NqRecordBuilder::endElement() {
    flushText();
    if (m_open.size() > 1) m_open.pop_back();
}

void NqRecordBuilder::text(const XMLCh* chars, XMLSize_t length, bool cdata) {
    if (!cdata) {
        m_text.append(chars, length);
        return;
    }
    const std::u16string section(chars, length);
    append(m_document->createCDATASection(section.c_str()));
}

void NqRecordBuilder::comment(const XMLCh* text) {
    append(m_document->createComment(text));
}

void NqRecordBuilder::processingInstruction(const XMLCh* target, const XMLCh* data) {
    append(m_document->createProcessingInstruction(target, data));
}

void NqRecordBuilder::declare(const XMLCh* name, const XMLCh* value) {
    if (!m_root->hasAttribute(name)) m_root->setAttribute(name, value);
}
