// Builds one record, an element with everything inside it, into a document
// from the engine's parse events.
#ifndef NQDOMRECORDBUILDER_H
#define NQDOMRECORDBUILDER_H

#include <string>
#include <vector>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/util/RefVectorOf.hpp>

class NqRecordBuilder {
public:
    // `root`, already in `document`, receives what follows.
    NqRecordBuilder(xercesc::DOMDocument* document, xercesc::DOMElement* root);

    void startElement(const XMLCh* name, const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                      XMLSize_t count);
    void endElement();
    // Adjacent texts become one text node, as the engine's own DOM has them.
    void text(const XMLCh* chars, XMLSize_t length, bool cdata);
    void comment(const XMLCh* text);
    void processingInstruction(const XMLCh* target, const XMLCh* data);
    // A namespace declaration of an ancestor, put on the root unless the
    // root declares the same prefix.
    void declare(const XMLCh* name, const XMLCh* value);
    // UTF-16 units of the text not yet made a node.
    std::size_t pendingText() const { return m_text.size(); }

private:
    void append(xercesc::DOMNode* node);
    void flushText();

    xercesc::DOMDocument* m_document;
    xercesc::DOMElement* m_root;
    std::vector<xercesc::DOMNode*> m_open;
    std::u16string m_text;
};

#endif
