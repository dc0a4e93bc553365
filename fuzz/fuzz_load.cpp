// loadXML of arbitrary bytes, a walk over every node and attribute,
// createXML pretty and plain, and loadXML of both outputs again.
#include <vector>

#include "fuzz_support.h"

namespace {

// Elements only, through the other flag of the navigation calls.
std::size_t countElements(const NqDomNode& root) {
    if (root.null()) return 0;
    std::size_t count = 1;
    std::vector<NqDomNode> stack;
    NqDomNode child = root.getFirstChild(false);
    if (!child.null()) stack.push_back(child);
    while (!stack.empty()) {
        NqDomNode node = stack.back();
        stack.pop_back();
        fuzz::check(!node.isComment(), "comment returned while comments are skipped");
        ++count;
        NqDomNode next = node.getNextSibling(false);
        if (!next.null()) stack.push_back(next);
        NqDomNode first = node.getFirstChild(false);
        if (!first.null()) stack.push_back(first);
    }
    return count;
}

// The library's own output must load again, with the same elements,
// attributes and comments.
void reload(const NqbString& text, const fuzz::Fingerprint& original, bool pretty) {
    NqDom dom;
    if (!dom.loadXML(text))
        fuzz::fail(std::string("own output does not load: ") + dom.getErrorMessage().asCstr());
    fuzz::Fingerprint again = fuzz::walkDocument(dom.getRoot());
    fuzz::check(again.elements == original.elements, "reloaded output has other elements");
    fuzz::check(again.names == original.names, "reloaded output has other names or attributes");
    fuzz::check(again.comments == original.comments, "reloaded output has other comments");
    // Pretty printing adds indentation text, so only plain output keeps texts.
    if (!pretty) fuzz::check(again.texts == original.texts, "reloaded output has other texts");
}

// What Untrusted accepts, Lenient loads as the same document; what it
// refuses it refuses with a message and no root.
void checkUntrusted(const NqbString& text, bool lenientLoaded, const fuzz::Fingerprint* lenient) {
    NqDom dom;
    dom.setLoadPolicy(NqDomLoadUntrusted);
    if (!dom.loadXML(text)) {
        fuzz::check(dom.getErrorMessage().length() > 0, "untrusted load failed without a message");
        fuzz::check(dom.getRoot().null(), "failed untrusted load left a root");
        return;
    }
    fuzz::check(lenientLoaded && lenient, "untrusted load accepted what the lenient one did not");
    const fuzz::Fingerprint print = fuzz::walkDocument(dom.getRoot());
    fuzz::check(print.elements == lenient->elements && print.names == lenient->names &&
                    print.texts == lenient->texts && print.comments == lenient->comments,
                "untrusted and lenient loads built other documents");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::startEngine();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    NqDom dom;
    const NqbString text = fuzz::bytesToString(data, size);
    if (!dom.loadXML(text)) {
        fuzz::check(dom.getErrorMessage().length() > 0, "failed load without a message");
        fuzz::check(dom.getRoot().null(), "failed load left a root");
        checkUntrusted(text, false, nullptr);
        return 0;
    }
    fuzz::check(!dom.getErrorMessage().isNull() && dom.getErrorMessage().length() == 0,
                "successful load left an error text");
    NqDomNode root = dom.getRoot();
    fuzz::Fingerprint print = fuzz::walkDocument(root);
    checkUntrusted(text, !root.null(), &print);
    fuzz::check(countElements(root) == print.elements, "walks with and without comments disagree");

    NqbString pretty = dom.createXML(true);
    NqbString plain = dom.createXML(false);
    if (root.null()) {
        fuzz::check(pretty.isNull() && plain.isNull(), "document without root serialized");
        return 0;
    }
    if (pretty.isNull() || plain.isNull()) {
        // The engine's serializer refuses some documents its parser accepted
        // (XML 1.1 control characters, for one): a failure with a message.
        fuzz::check(dom.getErrorMessage().length() > 0, "serialization failed without a message");
        return 0;
    }
    NqbString inner = dom.createXML(false, root);
    fuzz::check(!inner.isNull(), "root element did not serialize");
    reload(plain, print, false);
    reload(pretty, print, true);
    return 0;
}
