// NqDomNode: namespaces. A loaded document keeps its xmlns declarations as
// plain attributes and its names as written, so prefixes are resolved here
// from the declarations in scope; nodes made with a namespace carry their own.
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>

#include "nqdomnode.h"
#include "nqdomxml/nqdomnamespaces.h"
#include "nqxmltranscoder.h"

using xercesc::DOMElement;
using xercesc::DOMNamedNodeMap;
using xercesc::DOMNode;
using xercesc::XMLString;

namespace {

using XmlText = NqXmlText;

const XMLCh kXmlNamespace[] = u"http://www.w3.org/XML/1998/namespace";
const XMLCh* const kXmlnsNamespace = nqXmlnsNamespace;
const XMLCh kXmlns[] = u"xmlns";
const XMLCh kXml[] = u"xml";
// Found as undeclared (xmlns=""): the search stops with no namespace.
const XMLCh kUnbound[] = {0};

// A name split at its colon; a name with no colon, or with one at either
// end, or with two, has no prefix.
struct NameParts {
    XmlText prefix;
    XmlText local;
    bool prefixed = false;
};

NameParts splitName(const XMLCh* name) {
    NameParts parts;
    const XmlText whole(name ? name : u"");
    const std::size_t colon = whole.find(u':');
    if (colon == XmlText::npos || colon == 0 || colon + 1 == whole.size() ||
        whole.find(u':', colon + 1) != XmlText::npos) {
        parts.local = whole;
        return parts;
    }
    parts.prefix = whole.substr(0, colon);
    parts.local = whole.substr(colon + 1);
    parts.prefixed = true;
    return parts;
}

bool samePrefix(const XMLCh* prefix, const XmlText& wanted) {
    return wanted.empty() ? (!prefix || !*prefix) : (prefix && wanted == prefix);
}

// What a declaration's value binds: an empty value undeclares.
const XMLCh* declared(const XMLCh* value) {
    return value && *value ? value : kUnbound;
}

// The binding an attribute made with a namespace gives `prefix`, or null.
const XMLCh* boundByNamespacedAttribute(DOMNode* attribute, const XmlText& prefix) {
    const XMLCh* uri = attribute->getNamespaceURI();
    if (XMLString::equals(uri, kXmlnsNamespace)) {
        const bool isDefault = !attribute->getPrefix();
        const bool matches = prefix.empty() ? isDefault : !isDefault && prefix == attribute->getLocalName();
        return matches ? declared(attribute->getNodeValue()) : nullptr;
    }
    return uri && !prefix.empty() && samePrefix(attribute->getPrefix(), prefix) ? uri : nullptr;
}

// The binding `element` itself makes for `prefix`: its own namespace, or a
// declaration among its attributes. Null when it makes none.
// An element made without a namespace binds nothing: like a plain name, it
// is in the default namespace in scope, as its text reads.
const XMLCh* boundByName(DOMElement* element, const XmlText& prefix) {
    if (!element->getLocalName() || !element->getNamespaceURI() || !samePrefix(element->getPrefix(), prefix))
        return nullptr;
    return element->getNamespaceURI();
}

const XMLCh* boundByAttribute(DOMNode* attribute, const XmlText& prefix, const XmlText& declaration) {
    if (attribute->getLocalName()) return boundByNamespacedAttribute(attribute, prefix);
    return declaration == attribute->getNodeName() ? declared(attribute->getNodeValue()) : nullptr;
}

XmlText declarationName(const XmlText& prefix) {
    return prefix.empty() ? XmlText(kXmlns) : XmlText(kXmlns) + u":" + prefix;
}

const XMLCh* boundAt(DOMElement* element, const XmlText& prefix) {
    if (const XMLCh* own = boundByName(element, prefix)) return own;
    const XmlText declaration = declarationName(prefix);
    DOMNamedNodeMap* attributes = element->getAttributes();
    const XMLSize_t count = attributes ? attributes->getLength() : 0;
    for (XMLSize_t i = 0; i < count; ++i) {
        if (const XMLCh* found = boundByAttribute(attributes->item(i), prefix, declaration)) return found;
    }
    return nullptr;
}

// The namespace `prefix` (empty: the default) is bound to at `node`; null
// when none.
const XMLCh* lookup(DOMNode* node, const XmlText& prefix) {
    if (prefix == kXml) return kXmlNamespace;
    if (prefix == kXmlns) return kXmlnsNamespace;
    for (; node; node = node->getParentNode()) {
        if (node->getNodeType() != DOMNode::ELEMENT_NODE) continue;
        const XMLCh* found = boundAt(static_cast<DOMElement*>(node), prefix);
        if (found) return found == kUnbound ? nullptr : found;
    }
    return nullptr;
}

// The namespace of an attribute without one of its own, from its name.
const XMLCh* attributeNamespace(DOMNode* element, const XMLCh* name, const NameParts& parts) {
    if (XMLString::equals(name, kXmlns)) return kXmlnsNamespace;
    return parts.prefixed ? lookup(element, parts.prefix) : nullptr;
}

void assignText(NqXMLTranscoder* transcoder, const XMLCh* text, NqbString* out) {
    if (!out) return;
    if (text) {
        transcoder->toNqb(text, *out);
        return;
    }
    out->setNull();
}

}  // namespace

const XMLCh nqXmlnsNamespace[] = u"http://www.w3.org/2000/xmlns/";

const XMLCh* nqDomLookupNamespace(DOMNode* node, const NqXmlText& prefix) {
    return lookup(node, prefix);
}

bool nqDomBindingConflicts(DOMElement* element, const NqXmlText& prefix, const XMLCh* uri,
                           const DOMNode* skipped) {
    // An unbound prefix is found as an empty text, equal to a null `uri`.
    const auto differs = [uri](const XMLCh* found) { return found && !XMLString::equals(found, uri); };
    if (differs(boundByName(element, prefix))) return true;
    const XmlText declaration = declarationName(prefix);
    DOMNamedNodeMap* attributes = element->getAttributes();
    const XMLSize_t count = attributes ? attributes->getLength() : 0;
    for (XMLSize_t i = 0; i < count; ++i) {
        DOMNode* attribute = attributes->item(i);
        if (attribute != skipped && differs(boundByAttribute(attribute, prefix, declaration))) return true;
    }
    return false;
}

NqbString NqDomNode::getPrefix() const {
    NqbString prefix;
    if (!onElement()) return prefix;
    DOMNode* node = static_cast<DOMNode*>(m_node);
    if (node->getLocalName()) {
        assignText(m_transcoder, node->getPrefix(), &prefix);
        return prefix;
    }
    const NameParts parts = splitName(node->getNodeName());
    if (parts.prefixed) m_transcoder->toNqb(parts.prefix.c_str(), prefix);
    return prefix;
}

NqbString NqDomNode::getLocalName() const {
    NqbString local;
    if (!onElement()) return local;
    DOMNode* node = static_cast<DOMNode*>(m_node);
    if (node->getLocalName()) {
        m_transcoder->toNqb(node->getLocalName(), local);
        return local;
    }
    m_transcoder->toNqb(splitName(node->getNodeName()).local.c_str(), local);
    return local;
}

NqbString NqDomNode::getNamespaceURI() const {
    NqbString uri;
    if (!onElement()) return uri;
    DOMNode* node = static_cast<DOMNode*>(m_node);
    const XMLCh* found = node->getNamespaceURI() ? node->getNamespaceURI()
                                                 : lookup(node, splitName(node->getNodeName()).prefix);
    assignText(m_transcoder, found, &uri);
    return uri;
}

void NqDomNode::getAttributeNamespace(int index, NqbString* namespaceURI, NqbString* prefix,
                                      NqbString* localName) const {
    for (NqbString* out : {namespaceURI, prefix, localName}) {
        if (out) out->setNull();
    }
    if (!onElement() || index < 0) return;
    DOMNamedNodeMap* attributes = static_cast<DOMNode*>(m_node)->getAttributes();
    if (static_cast<XMLSize_t>(index) >= attributes->getLength()) return;
    DOMNode* attribute = attributes->item(static_cast<XMLSize_t>(index));
    if (attribute->getLocalName()) {
        assignText(m_transcoder, attribute->getNamespaceURI(), namespaceURI);
        assignText(m_transcoder, attribute->getPrefix(), prefix);
        assignText(m_transcoder, attribute->getLocalName(), localName);
        return;
    }
    const XMLCh* name = attribute->getNodeName();
    const NameParts parts = splitName(name);
    assignText(m_transcoder, attributeNamespace(static_cast<DOMNode*>(m_node), name, parts), namespaceURI);
    if (parts.prefixed) assignText(m_transcoder, parts.prefix.c_str(), prefix);
    assignText(m_transcoder, parts.local.c_str(), localName);
}

NqbString NqDomNode::lookupNamespaceURI(const NqbString& prefix) const {
    NqbString uri;
    if (null()) return uri;
    const XMLCh* converted = prefix.isNull() ? nullptr : m_transcoder->fromNqb(prefix);
    const XmlText wanted(converted ? converted : u"");
    assignText(m_transcoder, lookup(static_cast<DOMNode*>(m_node), wanted), &uri);
    return uri;
}
