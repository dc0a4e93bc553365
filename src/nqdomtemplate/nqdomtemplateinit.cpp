// Compilation: the template text rewritten into the skeleton document with
// one prefix per namespace, serialised, and its variables collected.
#include <memory>
#include <new>

#include <xercesc/dom/DOMException.hpp>

#include "nqdommessages.h"
#include "nqdomtemplate/nqdomtemplateimpl.h"

namespace {

const char* const kXmlnsUri = "http://www.w3.org/2000/xmlns/";

// Adds (prefix, uri) at index `count` of an array pair, growing both by ten
// slots when the new entry would fill them. False when an array can't be had.
bool appendPair(int& count, int& capacity, NqbString*& prefixes, NqbString*& uris, const NqbString& prefix,
                const NqbString& uri) {
    if (count + 1 >= capacity) {
        const int grown = capacity + 10;
        // Held until both are filled: a string copy may still throw.
        std::unique_ptr<NqbString[]> newPrefixes(new (std::nothrow) NqbString[grown]);
        if (!newPrefixes) return false;
        std::unique_ptr<NqbString[]> newUris(new (std::nothrow) NqbString[grown]);
        if (!newUris) return false;
        for (int i = 0; i < count; ++i) {
            newPrefixes[i] = prefixes[i];
            newUris[i] = uris[i];
        }
        delete[] prefixes;
        prefixes = newPrefixes.release();
        delete[] uris;
        uris = newUris.release();
        capacity = grown;
    }
    prefixes[count] = prefix;
    uris[count] = uri;
    ++count;
    return true;
}

// A setter refused a name; the document has no text for that, since the node
// operations report no message, so say that the DOM refused a namespace.
NqbString refusedBy(const NqDom& target) {
    NqbString message = target.getErrorMessage();
    if (message.length() > 0) return message;
    return NQ_LIBXML_MESSAGE(NQ_MSG_CREATE_EXCEPTION, static_cast<int>(xercesc::DOMException::NAMESPACE_ERR));
}

}  // namespace

bool NqDomTemplateImpl::init(const NqbString& text, NqbString* error, NqDomLoadPolicy policy) {
    error->setNull();
    NqDom source;
    NqDom skeleton;
    source.setLoadPolicy(policy);
    if (!source.loadXML(text)) {
        *error = source.getErrorMessage();
        return false;
    }
    NqDomNode sourceRoot = source.getRoot();
    if (sourceRoot.null()) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_NO_ROOT);
        return false;
    }
    if (!patchUpElement(skeleton, nullptr, sourceRoot, error)) return false;

    NqDomNode root = skeleton.getRoot();
    NqbString skeletonText = skeleton.createXML(true, root);
    if (skeletonText.isNull()) {
        *error = skeleton.getErrorMessage();
        return false;
    }

    NqBasicTemplatePtr basic(nqbCreateBasicTemplate(nullptr, error));
    if (!basic) return false;
    if (!basic->init(skeletonText, error)) return false;
    return storeSkeletonAndCheck(basic.get(), root, error);
}

bool NqDomTemplateImpl::storeSkeletonAndCheck(NqbBasicTemplate* basic, const NqDomNode& root,
                                              NqbString* error) {
    m_skeleton = basic->getSkeleton(error);
    // Null only when the base library ran out of memory; *error says so.
    if (m_skeleton.isNull()) return false;
    if (!collectVariables(NqbString(""), 1, false, root, error)) return false;

    const int count = basic->getVariableCount();
    if (count != getVariableCount()) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_VARIABLE_COUNT);
        return false;
    }
    for (int i = 0; i < count; ++i) {
        bool flag = false;
        NqbString name = basic->getVariableName(i, &flag, error);
        // Keys are unique ignoring case, so the one key that can match is
        // the one the map finds; it must also match in letter case.
        auto entry = m_variables.find(name);
        if (entry == m_variables.end() || entry->first.compare(name, true) != 0) {
            *error = NQ_LIBXML_MESSAGE(NQ_MSG_VARIABLE_NOT_FOUND, name.asCstr());
            return false;
        }
    }
    return true;
}

bool NqDomTemplateImpl::declareNamespaces(const NqDomNode& source, NqbString* error) {
    const int attributeCount = source.getAttributeCount();
    for (int index = 0; index < attributeCount; ++index) {
        NqbString name;
        NqbString uri;
        source.getAttributeNameValue(index, &name, &uri);
        if (!isNamespaceDeclaration(name)) continue;
        NqbString prefix = name.length() == 5 ? NqbString("") : name.mid(6, -1);
        if (!appendPair(m_scopeCount, m_scopeCapacity, m_scopePrefixes, m_scopeUris, prefix, uri)) {
            *error = NQ_LIBXML_MESSAGE(NQ_MSG_NO_MEMORY);
            return false;
        }

        bool uriKnown = false;
        bool prefixTaken = false;
        for (int i = 0; i < m_namespaceCount; ++i) {
            uriKnown = uriKnown || m_namespaceUris[i].compare(uri, true) == 0;
            prefixTaken = prefixTaken || m_namespacePrefixes[i].compare(prefix, true) == 0;
        }
        if (uriKnown) continue;
        if (prefixTaken) prefix = nqbStringFormat("nq%dns", m_namespaceCount);
        if (!appendPair(m_namespaceCount, m_namespaceCapacity, m_namespacePrefixes, m_namespaceUris, prefix,
                        uri)) {
            *error = NQ_LIBXML_MESSAGE(NQ_MSG_NO_MEMORY);
            return false;
        }
    }
    return true;
}

bool NqDomTemplateImpl::createElement(NqDom& target, NqDomNode* parent, const NqbString& name,
                                      const NqbString& uri, NqDomNode* created, NqbString* error) {
    if (!parent) {
        const bool started =
            uri.length() == 0 ? target.startNewDocument(name) : target.startNewDocumentNS(uri, name);
        if (!started) {
            *error = target.getErrorMessage();
            return false;
        }
        *created = target.getRoot();
        return true;
    }
    // Creating a child lets the DOM's exception out; a compilation reports it.
    try {
        *created = uri.length() == 0 ? parent->addChild(name) : parent->addChildNS(uri, name);
    } catch (const xercesc::DOMException& exception) {
        *error = NQ_LIBXML_MESSAGE(NQ_MSG_CREATE_EXCEPTION, static_cast<int>(exception.code));
        return false;
    }
    if (created->null()) {
        *error = target.getErrorMessage();
        return false;
    }
    return true;
}

bool NqDomTemplateImpl::writeDeclarations(const NqDom& target, int firstNew, const NqbString& elementName,
                                          const NqbString& elementUri, NqDomNode* element, NqbString* error) {
    for (int k = firstNew; k < m_namespaceCount; ++k) {
        const NqbString& prefix = m_namespacePrefixes[k];
        // The serializer declares the element's own namespace.
        if (m_namespaceUris[k].compare(elementUri, true) == 0 &&
            elementName.mid(0, prefix.length()).compare(prefix, true) == 0) {
            continue;
        }
        NqbString attribute =
            prefix.length() == 0 ? NqbString("xmlns") : nqbStringFormat("xmlns:%s", prefix.asCstr());
        // In the xmlns namespace, so that the serializer counts it as a
        // declaration and does not declare the prefix a second time for an
        // attribute of this element.
        if (!element->setAttributeValueNS(NqbString(kXmlnsUri), attribute, m_namespaceUris[k])) {
            *error = refusedBy(target);
            return false;
        }
    }
    return true;
}

bool NqDomTemplateImpl::copyAttributes(const NqDom& target, const NqDomNode& source, NqDomNode* element,
                                       NqbString* error) {
    const int attributeCount = source.getAttributeCount();
    for (int index = 0; index < attributeCount; ++index) {
        NqbString name;
        NqbString value;
        source.getAttributeNameValue(index, &name, &value);
        if (isNamespaceDeclaration(name)) continue;
        NqbString uri;
        NqbString newName = resolveName(name, true, &uri);
        const bool set = uri.length() == 0 ? element->setAttributeValue(newName, value)
                                           : element->setAttributeValueNS(uri, newName, value);
        if (!set) {
            *error = refusedBy(target);
            return false;
        }
    }
    return true;
}

bool NqDomTemplateImpl::patchUpElement(NqDom target, NqDomNode* parent, NqDomNode source, NqbString* error) {
    const int firstNew = m_namespaceCount;
    const int scopeMark = m_scopeCount;
    if (!declareNamespaces(source, error)) return false;

    NqbString uri;
    NqbString name = resolveName(source.getName(), false, &uri);
    NqDomNode element;
    if (!createElement(target, parent, name, uri, &element, error)) return false;
    if (!writeDeclarations(target, firstNew, name, uri, &element, error)) return false;
    if (!copyAttributes(target, source, &element, error)) return false;

    // The text goes ahead of the children: setValue appends it after them.
    NqbString text = source.getValue(true);
    text.trim(true, true);
    if (text.length() > 0) element.setValue(text);

    for (NqDomNode child = source.getFirstChild(true); !child.null(); child = child.getNextSibling(true)) {
        if (!child.isComment()) {
            if (!patchUpElement(target, &element, child, error)) return false;
            continue;
        }
        NqDomNode copy = target.importNode(child);
        if (copy.null()) {
            *error = target.getErrorMessage();
            return false;
        }
        element.addChild(copy);
    }
    m_scopeCount = scopeMark;
    return true;
}
