// NqDomNode: the attributes of the designated element.
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>

#include "nqdomnode.h"
#include "nqdomxml/nqdomenginenodes.h"
#include "nqdomxml/nqdomnamespaces.h"
#include "nqdomxml/nqdomwriteprep.h"
#include "nqdomxmlcopy.h"
#include "nqxmltranscoder.h"

using xercesc::DOMAttr;
using xercesc::DOMElement;
using xercesc::DOMException;
using xercesc::DOMNamedNodeMap;
using xercesc::DOMNode;
using xercesc::XMLString;

namespace {

// Null unless the handle is on an element.
DOMNamedNodeMap* attributeMap(void* node, bool onElement) {
    if (!onElement) return nullptr;
    return static_cast<DOMNode*>(node)->getAttributes();
}

DOMElement* asElement(void* node, bool onElement) {
    return onElement ? static_cast<DOMElement*>(static_cast<DOMNode*>(node)) : nullptr;
}

const XMLCh kXmlns[] = u"xmlns";

// The prefix a declaration named `name` binds, when it is one.
bool declaredPrefix(const XMLCh* name, NqXmlText* prefix) {
    const NqXmlText whole(name ? name : u"");
    if (whole == kXmlns) {
        prefix->clear();
        return true;
    }
    if (whole.compare(0, 6, u"xmlns:") != 0) return false;
    *prefix = whole.substr(6);
    return true;
}

// Whether an attribute named `name` in `uri` would bind a prefix on
// `element` that the element already binds to another namespace, or is in a
// namespace without a prefix to say so.
bool namespaceRefused(DOMElement* element, const XMLCh* uri, const XMLCh* name, const XMLCh* value) {
    const NqXmlText whole(name ? name : u"");
    const std::size_t colon = whole.find(u':');
    const NqXmlText local = colon == NqXmlText::npos ? whole : whole.substr(colon + 1);
    const DOMNode* replaced = element->getAttributeNodeNS(uri, local.c_str());
    NqXmlText prefix;
    if (XMLString::equals(uri, nqXmlnsNamespace) && declaredPrefix(name, &prefix))
        return nqDomBindingConflicts(element, prefix, value, replaced);
    if (!uri || !*uri) return false;
    if (colon == NqXmlText::npos) return true;
    prefix = whole.substr(0, colon);
    return prefix != u"xml" && nqDomBindingConflicts(element, prefix, uri, replaced);
}

}  // namespace

int NqDomNode::getAttributeCount() const {
    DOMNamedNodeMap* map = attributeMap(m_node, onElement());
    return map ? static_cast<int>(map->getLength()) : 0;
}

void NqDomNode::getAttributeNameValue(int index, NqbString* name, NqbString* value) const {
    DOMNamedNodeMap* map = attributeMap(m_node, onElement());
    if (!map || index < 0 || index >= static_cast<int>(map->getLength())) {
        if (name) name->setNull();
        if (value) value->setNull();
        return;
    }
    DOMNode* attribute = map->item(static_cast<XMLSize_t>(index));
    if (name) m_transcoder->toNqb(attribute->getNodeName(), *name);
    if (value) m_transcoder->toNqb(nqDomAttributeValue(attribute), *value);
}

NqbString NqDomNode::getAttributeValue(const NqbString& name) const {
    DOMNamedNodeMap* map = attributeMap(m_node, onElement());
    if (!map) return NqbString();
    DOMNode* attribute = map->getNamedItem(m_transcoder->fromNqb(name));
    if (!attribute) return NqbString();
    return m_transcoder->toNqb(nqDomAttributeValue(attribute));
}

bool NqDomNode::setAttributeValue(const NqbString& name, const NqbString& value) {
    DOMElement* element = asElement(m_node, onElement());
    if (!element) return false;
    const NqXmlCopy nameCopy(m_transcoder->fromNqb(name));
    const XMLCh* valueText = m_transcoder->fromNqb(value);
    NqXmlText prefix;
    const bool declaration = declaredPrefix(nameCopy.get(), &prefix);
    if (declaration &&
        nqDomBindingConflicts(element, prefix, valueText, element->getAttributeNode(nameCopy.get())))
        return false;
    try {
        element->setAttribute(nameCopy.get(), valueText);
    } catch (const DOMException&) {
        return false;
    }
    // A namespace-aware name may now stand where the declaration speaks.
    if (declaration) nqDomMarkWriteCare(element, NqWriteCareNamespaces);
    return true;
}

bool NqDomNode::setAttributeValueNS(const NqbString& namespaceURI, const NqbString& qualifiedName,
                                    const NqbString& value) {
    DOMElement* element = asElement(m_node, onElement());
    if (!element) return false;
    const NqXmlCopy uriCopy(m_transcoder->fromNqb(namespaceURI));
    const NqXmlCopy nameCopy(m_transcoder->fromNqb(qualifiedName));
    const XMLCh* valueText = m_transcoder->fromNqb(value);
    if (namespaceRefused(element, uriCopy.get(), nameCopy.get(), valueText)) return false;
    try {
        element->setAttributeNS(uriCopy.get(), nameCopy.get(), valueText);
    } catch (const DOMException&) {
        return false;
    }
    nqDomMarkWriteCare(element, NqWriteCareNamespaces);
    return true;
}

void NqDomNode::clearAttributes() {
    DOMElement* element = asElement(m_node, onElement());
    if (!element) return;
    DOMNamedNodeMap* map = element->getAttributes();

    // Removing an attribute whose default the document type declares makes the
    // DOM put an unspecified copy of the default back, at a place of its
    // choosing. Such attributes are passed over, so every removal takes one
    // specified attribute away and everything before `index` stays
    // unspecified wherever the copy lands. The budget is a second stop should
    // a DOM ever put a specified attribute back.
    XMLSize_t budget = map->getLength();
    XMLSize_t index = 0;
    while (budget > 0 && index < map->getLength()) {
        DOMAttr* attribute = static_cast<DOMAttr*>(map->item(index));
        if (!attribute->getSpecified()) {
            ++index;
            continue;
        }
        element->removeAttributeNode(attribute);  // stays with the document
        --budget;
    }
}
