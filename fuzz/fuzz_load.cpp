// loadXML of arbitrary bytes, a walk over every node and attribute,
// createXML pretty and plain, and loadXML of both outputs again.
#include <string>
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

// Every kind of node from the document down, without recursion: each
// child's parent is the node walked from, the walk backwards meets as many
// children, elements outside entity text are those the element walk sees,
// and the root's text is the text and CDATA met on the way.
void walkEveryKind(NqDom& dom, std::size_t elements) {
    struct Step {
        NqDomNode node;
        bool inEntity;
    };
    std::vector<Step> stack{{dom.getDocumentNode(), false}};
    std::string text;
    std::size_t seen = 0;
    while (!stack.empty()) {
        const Step step = stack.back();
        stack.pop_back();
        const NqDomNodeKind kind = step.node.getKind();
        if (kind == NqDomNodeElement && !step.inEntity) ++seen;
        if (kind == NqDomNodeText || kind == NqDomNodeCData) text += step.node.getValue(false).asCstr();
        std::vector<Step> children;
        for (NqDomNode child = step.node.getFirstChildNode(); !child.null();
             child = child.getNextSiblingNode()) {
            fuzz::check(child.getParentNode().getKind() == kind, "a child's parent is another node");
            children.push_back({child, step.inEntity || kind == NqDomNodeEntityReference});
        }
        std::size_t backwards = 0;
        for (NqDomNode child = step.node.getLastChildNode(); !child.null();
             child = child.getPreviousSiblingNode())
            ++backwards;
        fuzz::check(backwards == children.size(), "walking backwards meets other children");
        // Outside the root's subtree, text is not the root's.
        if (kind == NqDomNodeDocument) {
            children.clear();
            if (!dom.getRoot().null()) children.push_back({dom.getRoot(), false});
        }
        stack.insert(stack.end(), children.rbegin(), children.rend());
    }
    fuzz::check(seen == elements, "the walks over every kind and over elements disagree");
    if (!dom.getRoot().null())
        fuzz::check(text == dom.getRoot().getText().asCstr(), "root text is not its texts in order");
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
    walkEveryKind(dom, print.elements);

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
