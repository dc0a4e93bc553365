// Qualified names of the source template mapped to the skeleton's prefixes.
#include "nqdomtemplate/nqdomtemplateimpl.h"

NqbString NqDomTemplateImpl::resolveName(const NqbString& name, bool isAttribute, NqbString* uri) {
    uri->truncate(0);
    const int colon = name.find(NqbString(":"), 0);
    // An unprefixed attribute is in no namespace, not in the default one.
    if (colon < 0 && isAttribute) return name;

    NqbString prefix("");
    NqbString local = name;
    if (colon >= 0) {
        prefix = name.mid(0, colon);
        local = name.mid(static_cast<unsigned>(colon) + 1, -1);
    }

    NqbString namespaceUri("");
    for (int i = m_scopeCount - 1; i >= 0; --i) {
        if (m_scopePrefixes[i].compare(prefix, true) == 0) {
            namespaceUri = m_scopeUris[i];
            break;
        }
    }
    for (int i = 0; i < m_namespaceCount; ++i) {
        if (m_namespaceUris[i].compare(namespaceUri, true) == 0) {
            prefix = m_namespacePrefixes[i];
            break;
        }
    }

    NqbString result = local;
    if (prefix.length() > 0) {
        result = prefix;
        result.append(":");
        result.append(local);
    }
    *uri = namespaceUri;
    return result;
}
