// Helpers shared by the tests of documents, nodes and templates.
#ifndef DOM_TEST_UTIL_H
#define DOM_TEST_UTIL_H

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "nqdom.h"

// The text of `s`; "<null>" tells a null string from an empty one.
inline std::string str(const NqbString& s) {
    return s.isNull() ? "<null>" : std::string(s.asCstr(), static_cast<size_t>(s.length()));
}

// Not UTF-8: a lead byte followed by no continuation byte.
inline const char* const kInvalidUtf8 = "\xc3\x28";
inline const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>";

// "name=value" per attribute, sorted by name, joined by `separator`.
inline std::string describeAttributes(const NqDomNode& node, const char* separator) {
    std::set<std::string> sorted;
    NqbString name, value;
    for (int i = 0; i < node.getAttributeCount(); ++i) {
        node.getAttributeNameValue(i, &name, &value);
        sorted.insert(str(name) + "=" + str(value));
    }
    std::string out;
    for (const std::string& pair : sorted) out += (out.empty() ? "" : separator) + pair;
    return out;
}

// "name=xpath" per variable in index order, "?" after an optional one.
inline std::string describeVariables(NqDomTemplate& tpl) {
    std::string out;
    for (int i = 0; i < tpl.getVariableCount(); ++i) {
        NqbString error;
        bool optional = false;
        const NqbString name = tpl.getVariableName(i, &optional, &error);
        out += (out.empty() ? "" : " ") + str(name) + "=" + str(tpl.getVariableXPath(i, &error));
        if (optional) out += '?';
    }
    return out;
}

// A document loaded from a literal; xml() writes its root element back.
class LoadedDom : public ::testing::Test {
protected:
    NqDomNode load(const std::string& xml) {
        EXPECT_TRUE(m_dom.loadXML(NqbString(xml.c_str()))) << xml;
        return m_dom.getRoot();
    }
    std::string xml() { return str(m_dom.createXML(false, m_dom.getRoot())); }

    NqDom m_dom;
};

#endif
