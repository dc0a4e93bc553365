// getTemplate of arbitrary text, then every query of the template.
#include <cctype>
#include <string>

#include "fuzz_support.h"

namespace {

std::string upper(const NqbString& text) {
    std::string result(text.asCstr(), static_cast<std::size_t>(text.length()));
    for (char& c : result) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return result;
}

void queryNamespaces(NqDomTemplate& t) {
    int count = t.getNamespaceCount();
    fuzz::check(count >= 0, "negative namespace count");
    for (int i = 0; i < count; ++i) {
        NqbString prefix, uri;
        t.getNamespace(i, &prefix, &uri);
        fuzz::check(!prefix.isNull() && !uri.isNull(), "namespace in range is null");
    }
    for (int outside : {-1, count}) {
        NqbString prefix("p"), uri("u");
        t.getNamespace(outside, &prefix, &uri);
        fuzz::check(prefix.isNull() && uri.isNull(), "namespace out of range is not null");
    }
}

void queryVariables(NqDomTemplate& t) {
    int count = t.getVariableCount();
    fuzz::check(count >= 0, "negative variable count");
    NqbString previous;
    for (int i = 0; i < count; ++i) {
        bool optional = false;
        NqbString error;
        NqbString name = t.getVariableName(i, &optional, &error);
        fuzz::check(!name.isNull() && error.isNull(), "variable in range without name");
        if (i > 0) fuzz::check(previous.compare(name, false) < 0, "variables not in case-insensitive order");
        previous = name;
        NqbString byIndex = t.getVariableXPath(i, &error);
        fuzz::check(!byIndex.isNull() && error.isNull(), "variable in range without XPath");
        fuzz::check(t.getVariableXPath(name).compare(byIndex, true) == 0,
                    "XPath by name differs from by index");
        NqbString shouted(upper(name).c_str());
        fuzz::check(t.getVariableXPath(shouted).compare(byIndex, true) == 0,
                    "XPath by name in capitals differs from by index");
    }
    for (int outside : {-1, count}) {
        bool optional = true;
        NqbString error;
        fuzz::check(t.getVariableName(outside, &optional, &error).isNull(), "variable name out of range");
        fuzz::check(optional && error.length() > 0, "variable name out of range: flag touched or no message");
        error = NqbString();
        fuzz::check(t.getVariableXPath(outside, &error).isNull(), "variable XPath out of range");
        fuzz::check(error.length() > 0, "variable XPath out of range without message");
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::startEngine();
    return 0;
}

// What compiles under Untrusted compiles under Lenient to the same skeleton.
void checkUntrusted(const NqbString& text, NqDomTemplate* lenient) {
    NqDom dom;
    dom.setLoadPolicy(NqDomLoadUntrusted);
    NqDomTemplate* t = dom.getTemplate(text);
    if (!t) {
        fuzz::check(dom.getErrorMessage().length() > 0, "failed untrusted template without a message");
        return;
    }
    const bool same = lenient && t->getSkeleton().compare(lenient->getSkeleton(), true) == 0;
    t->release();
    fuzz::check(same, "untrusted and lenient templates differ");
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    NqDom dom;
    const NqbString text = fuzz::bytesToString(data, size);
    NqDomTemplate* t = dom.getTemplate(text);
    checkUntrusted(text, t);
    if (!t) {
        fuzz::check(dom.getErrorMessage().length() > 0, "failed template without a message");
        return 0;
    }
    fuzz::check(!t->getSkeleton().isNull(), "template without skeleton");
    queryNamespaces(*t);
    queryVariables(*t);
    t->release();
    return 0;
}
