// The template object: construction, destruction and the queries.
#include "nqdomtemplate/nqdomtemplateimpl.h"

#include <iterator>

#include "nqdommessages.h"

NqDomTemplateImpl::NqDomTemplateImpl()
    : m_logger(nqlogGetLogger("NQ.DOM.Template")),
      m_namespaceCount(0),
      m_namespaceCapacity(0),
      m_namespacePrefixes(nullptr),
      m_namespaceUris(nullptr),
      m_scopeCount(0),
      m_scopeCapacity(0),
      m_scopePrefixes(nullptr),
      m_scopeUris(nullptr) {}

NqDomTemplateImpl::~NqDomTemplateImpl() {
    delete[] m_namespacePrefixes;
    delete[] m_namespaceUris;
    delete[] m_scopePrefixes;
    delete[] m_scopeUris;
    while (!m_variables.empty()) {
        auto first = m_variables.begin();
        NqDomTemplateVariable* record = first->second;
        m_variables.erase(first);
        delete record;
    }
}

void NqDomTemplateImpl::release() {
    delete this;
}

int NqDomTemplateImpl::getNamespaceCount() {
    return m_namespaceCount;
}

void NqDomTemplateImpl::getNamespace(int index, NqbString* prefix, NqbString* uri) {
    const bool inRange = index >= 0 && index < m_namespaceCount;
    if (prefix) {
        if (inRange) {
            *prefix = m_namespacePrefixes[index];
        } else {
            prefix->setNull();
        }
    }
    if (uri) {
        if (inRange) {
            *uri = m_namespaceUris[index];
        } else {
            uri->setNull();
        }
    }
}

NqbString NqDomTemplateImpl::getSkeleton() {
    return m_skeleton;
}

int NqDomTemplateImpl::getVariableCount() {
    return static_cast<int>(m_variables.size());
}

NqbString NqDomTemplateImpl::getVariableName(int index, bool* optional, NqbString* error) {
    if (index < 0 || index >= getVariableCount()) {
        if (error) *error = NQ_LIBXML_MESSAGE(NQ_MSG_VARIABLE_INDEX);
        return NqbString();
    }
    auto entry = std::next(m_variables.begin(), index);
    if (optional) *optional = entry->second->optional;
    return entry->first;
}

NqbString NqDomTemplateImpl::getVariableXPath(int index, NqbString* error) {
    if (index < 0 || index >= getVariableCount()) {
        if (error) *error = NQ_LIBXML_MESSAGE(NQ_MSG_VARIABLE_INDEX);
        return NqbString();
    }
    return std::next(m_variables.begin(), index)->second->xpath;
}

NqbString NqDomTemplateImpl::getVariableXPath(const NqbString& name) {
    auto entry = m_variables.lower_bound(name);
    if (entry == m_variables.end() || m_variables.key_comp()(name, entry->first)) return NqbString();
    return entry->second->xpath;
}

bool NqDomTemplateImpl::isNamespaceDeclaration(const NqbString& attributeName) {
    return attributeName.compare("xmlns", true) == 0 || attributeName.mid(0, 6).compare("xmlns:", true) == 0;
}
