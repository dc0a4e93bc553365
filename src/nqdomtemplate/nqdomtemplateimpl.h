// The template object: namespace table, scope stack, skeleton and variables.
#ifndef NQDOMTEMPLATEIMPL_H
#define NQDOMTEMPLATEIMPL_H

#include <map>
#include <memory>

#include "nqdom.h"
#include "nqxlog.h"

struct NqDomTemplateVariable {
    NqbString xpath;
    bool optional;
};

// Releases a basic template of the base library when its holder goes.
struct NqBasicTemplateRelease {
    void operator()(NqbBasicTemplate* basic) const { basic->release(); }
};
using NqBasicTemplatePtr = std::unique_ptr<NqbBasicTemplate, NqBasicTemplateRelease>;

class NqDomTemplateImpl : public NqDomTemplate {
public:
    NqDomTemplateImpl();

    void getNamespace(int index, NqbString* prefix, NqbString* uri) override;
    int getNamespaceCount() override;
    NqbString getSkeleton() override;
    int getVariableCount() override;
    NqbString getVariableName(int index, bool* optional, NqbString* error) override;
    NqbString getVariableXPath(const NqbString& name) override;
    NqbString getVariableXPath(int index, NqbString* error) override;
    void release() override;
    virtual ~NqDomTemplateImpl();

    NqDomTemplateImpl(const NqDomTemplateImpl&) = delete;
    NqDomTemplateImpl& operator=(const NqDomTemplateImpl&) = delete;

    // Compiles `text`; false with the failure text in *error.
    bool init(const NqbString& text, NqbString* error, NqDomLoadPolicy policy = NqDomLoadLenient);

private:
    friend class NqDomTemplateTestPeer;

    bool collectVariables(const NqbString& parentPath, int position, bool optional, NqDomNode node,
                          NqbString* error);
    NqbString resolveName(const NqbString& name, bool isAttribute, NqbString* uri);
    bool patchUpElement(NqDom target, NqDomNode* parent, NqDomNode source, NqbString* error);

    // Steps of the compilation, kept out of the recursive frames.
    bool storeSkeletonAndCheck(NqbBasicTemplate* basic, const NqDomNode& root, NqbString* error);
    bool declareNamespaces(const NqDomNode& source, NqbString* error);
    bool createElement(NqDom& target, NqDomNode* parent, const NqbString& name, const NqbString& uri,
                       NqDomNode* created, NqbString* error);
    bool writeDeclarations(const NqDom& target, int firstNew, const NqbString& elementName,
                           const NqbString& elementUri, NqDomNode* element, NqbString* error);
    bool copyAttributes(const NqDom& target, const NqDomNode& source, NqDomNode* element, NqbString* error);
    // "xmlns" or "xmlns:" followed by a prefix, compared case-sensitively.
    static bool isNamespaceDeclaration(const NqbString& attributeName);

    NqLogger_* m_logger;
    int m_namespaceCount;
    int m_namespaceCapacity;
    NqbString* m_namespacePrefixes;
    NqbString* m_namespaceUris;
    int m_scopeCount;
    int m_scopeCapacity;
    NqbString* m_scopePrefixes;
    NqbString* m_scopeUris;
    NqbString m_skeleton;
    std::map<NqbString, NqDomTemplateVariable*, NqbStringLessInsensitive> m_variables;
};

#endif
