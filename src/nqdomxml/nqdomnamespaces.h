// Namespace bindings as the node handles see them, shared with the writer
// and the attribute setters.
#ifndef NQDOMNAMESPACES_H
#define NQDOMNAMESPACES_H

#include <string>
#include <string_view>

#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNode.hpp>

using NqXmlText = std::basic_string<XMLCh>;
using NqXmlView = std::basic_string_view<XMLCh>;

extern const XMLCh nqXmlnsNamespace[];

// The namespace `prefix` (empty: the default) is bound to at `node`, from the
// declarations and the namespace-aware names of it and its ancestors; null
// when none.
const XMLCh* nqDomLookupNamespace(xercesc::DOMNode* node, const NqXmlText& prefix);

// Whether `element` already binds `prefix` to something other than `uri`
// (null: no namespace), through its own name, a namespace-aware attribute or
// a declaration; `skipped` (an attribute about to be replaced) is not counted.
bool nqDomBindingConflicts(xercesc::DOMElement* element, const NqXmlText& prefix, const XMLCh* uri,
                           const xercesc::DOMNode* skipped);

#endif
