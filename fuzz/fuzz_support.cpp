#include "fuzz_support.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace fuzz {
namespace {

void append(std::string& out, const NqbString& text) {
    out.append(text.isNull() ? "\x01" : "\x02");
    out.append(text.asCstr(), static_cast<std::size_t>(text.length()));
}

void visitElement(const NqDomNode& node, Fingerprint& print) {
    ++print.elements;
    NqbString name = node.getName();
    check(!name.isNull() && name.length() > 0, "element without a name");
    append(print.names, name);

    int count = node.getAttributeCount();
    check(count >= 0, "negative attribute count");
    for (int i = 0; i < count; ++i) {
        NqbString attributeName, value, valueOnly;
        node.getAttributeNameValue(i, &attributeName, &value);
        node.getAttributeNameValue(i, nullptr, &valueOnly);
        check(!attributeName.isNull() && !value.isNull(), "attribute in range without name or value");
        check(valueOnly.compare(value, true) == 0, "value alone differs from value with name");
        check(node.getAttributeValue(attributeName).compare(value, true) == 0,
              "attribute looked up by name differs from the one by index");
        append(print.names, attributeName);
        append(print.names, value);
    }
    NqbString outside = NqbString("x");
    node.getAttributeNameValue(count, &outside, nullptr);
    check(outside.isNull(), "attribute past the end is not null");
    outside = NqbString("x");
    node.getAttributeNameValue(-1, nullptr, &outside);
    check(outside.isNull(), "attribute at -1 is not null");

    NqbString first = node.getValue(false);
    NqbString all = node.getValue(true);
    check(first.isNull() == all.isNull(), "first text and all texts disagree on presence");
    check(first.length() <= all.length(), "first text longer than all texts");
    check(std::string(all.asCstr(), static_cast<std::size_t>(all.length()))
                  .compare(0, static_cast<std::size_t>(first.length()), first.asCstr(),
                           static_cast<std::size_t>(first.length())) == 0,
          "all texts do not start with the first text");
    append(print.texts, first);
}

void visitComment(const NqDomNode& node, Fingerprint& print) {
    check(node.getName().isNull(), "comment with a name");
    check(node.getAttributeCount() == 0, "comment with attributes");
    check(node.getFirstChild(true).null(), "comment with a child");
    NqbString text = node.getValue(false);
    check(!text.isNull(), "comment without text");
    check(node.getValue(true).compare(text, true) == 0, "comment text depends on the flag");
    append(print.comments, text);
}

}  // namespace

void startEngine() {
    char* error = nullptr;
    if (nqDomStartup(nullptr, &error) != 0) fail(std::string("engine start: ") + (error ? error : ""));
}

void fail(const std::string& what) {
    std::fprintf(stderr, "fuzz check failed: %s\n", what.c_str());
    std::abort();
}

NqbString bytesToString(const std::uint8_t* data, std::size_t size) {
    NqbString text;
    text.assign(reinterpret_cast<const char*>(data), static_cast<int>(size));
    return text;
}

Fingerprint walkDocument(const NqDomNode& root) {
    Fingerprint print;
    if (root.null()) return print;
    visitElement(root, print);
    // Explicit stack: the handle has no parent link, and deep documents must
    // not exhaust the native stack here.
    std::vector<NqDomNode> stack;
    NqDomNode child = root.getFirstChild(true);
    if (!child.null()) stack.push_back(child);
    while (!stack.empty()) {
        NqDomNode node = stack.back();
        stack.pop_back();
        if (node.isComment()) {
            visitComment(node, print);
        } else {
            visitElement(node, print);
        }
        NqDomNode next = node.getNextSibling(true);
        if (!next.null()) stack.push_back(next);
        NqDomNode first = node.getFirstChild(true);
        if (!first.null()) stack.push_back(first);
    }
    return print;
}

}  // namespace fuzz
