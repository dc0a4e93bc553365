/// \file
/// A compiled XML template, obtained from NqDom::getTemplate.
#ifndef NQDOMTEMPLATE_H
#define NQDOMTEMPLATE_H

#include "nqxbase.h"

/// The variables, namespaces and skeleton of a template. Freed with
/// release(), never with delete; it does not need the NqDom that made it.
class NqDomTemplate {
public:
    /// Prefix and URI of the index-th namespace of the skeleton; both null when
    /// out of range.
    virtual void getNamespace(int index, NqbString* prefix, NqbString* uri) = 0;
    /// Number of namespaces the skeleton declares.
    virtual int getNamespaceCount() = 0;
    /// The template's text with its namespace prefixes normalised and each
    /// variable written `${name}`.
    virtual NqbString getSkeleton() = 0;
    /// Number of distinct variables.
    virtual int getVariableCount() = 0;
    /// Variables are indexed in the case-insensitive order of their names; out
    /// of range: null string and a message in *error.
    virtual NqbString getVariableName(int index, bool* optional, NqbString* error) = 0;
    /// XPath of the variable named `name` (any letter case); null when unknown.
    virtual NqbString getVariableXPath(const NqbString& name) = 0;
    /// XPath of the index-th variable; out of range: null string and a
    /// message in *error (when `error` is not null).
    virtual NqbString getVariableXPath(int index, NqbString* error) = 0;
    /// Frees the template.
    virtual void release() = 0;

protected:
    ~NqDomTemplate() = default;
};

#endif
