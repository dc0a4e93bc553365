// The tree of a document as the public API reads it, for comparing a
// document with what its written text reads back as.
#ifndef TREE_OUTLINE_H
#define TREE_OUTLINE_H

#include <set>
#include <string>

#include "nqdom.h"

namespace outline_detail {

inline std::string text(const NqbString& s) {
    return s.isNull() ? "<null>" : std::string(s.asCstr(), static_cast<size_t>(s.length()));
}

inline std::string trimmed(const std::string& s) {
    const char* const space = " \t\r\n";
    const std::size_t first = s.find_first_not_of(space);
    return first == std::string::npos ? std::string()
                                      : s.substr(first, s.find_last_not_of(space) - first + 1);
}

struct Walk {
    explicit Walk(bool layoutOnly) : layout(layoutOnly) {}
    bool layout;
    std::string out;
    int pendingKind = 0;
    std::string pending;

    void flush(int depth) {
        if (!pendingKind) return;
        const std::string data = layout ? trimmed(pending) : pending;
        if (!data.empty())
            out += std::string(2 * depth, ' ') + (pendingKind == NqDomNodeText ? "text '" : "cdata '") +
                   data + "'\n";
        pendingKind = 0;
        pending.clear();
    }

    void element(const NqDomNode& node, int depth) {
        std::set<std::string> attributes;
        NqbString name, value, uri;
        for (int i = 0; i < node.getAttributeCount(); ++i) {
            node.getAttributeNameValue(i, &name, &value);
            node.getAttributeNamespace(i, &uri, nullptr, nullptr);
            if (text(uri) == "http://www.w3.org/2000/xmlns/") continue;
            attributes.insert(text(name) + "{" + text(uri) + "}=" + text(value));
        }
        out += std::string(2 * depth, ' ') + "element " + text(node.getNodeName()) + "{" +
               text(node.getNamespaceURI()) + "}";
        for (const std::string& attribute : attributes) out += " " + attribute;
        out += "\n";
    }

    void children(const NqDomNode& parent, int depth) {
        for (NqDomNode child = parent.getFirstChildNode(); !child.null();
             child = child.getNextSiblingNode()) {
            const NqDomNodeKind kind = child.getKind();
            // Layout white space between sections is pretty printing's too;
            // inside a run of texts it is the texts' own, as they read back as one.
            if (kind == NqDomNodeText || kind == NqDomNodeCData) {
                const std::string data = text(child.getText());
                if (layout && kind == NqDomNodeText && pendingKind != kind && trimmed(data).empty()) continue;
                if (pendingKind != kind) flush(depth);
                pendingKind = kind;
                pending += data;
                continue;
            }
            flush(depth);
            const std::string indent(2 * depth, ' ');
            if (kind == NqDomNodeElement) {
                element(child, depth);
                children(child, depth + 1);
                flush(depth + 1);
            } else if (kind == NqDomNodeComment) {
                out += indent + "comment '" + text(child.getText()) + "'\n";
            } else if (kind == NqDomNodeProcessingInstruction) {
                out += indent + "pi " + text(child.getNodeName()) + " '" + text(child.getText()) + "'\n";
            } else {
                out += indent + "node " + std::to_string(kind) + " " + text(child.getNodeName()) + "\n";
            }
        }
    }
};

}  // namespace outline_detail

// One line per node in document order: elements with their namespace and
// their attributes (sorted, each with its namespace and value; declarations
// are left out, as a writer may add some: what they bind shows in the
// namespaces of the names), texts,
// CDATA, comments and processing instructions. Adjacent texts, and adjacent
// sections, count as one; an empty one is no text. With `layout`, white
// space at the ends of a text is taken as pretty printing's.
inline std::string treeOutline(const NqDomNode& top, bool layout) {
    outline_detail::Walk walk(layout);
    if (top.getKind() == NqDomNodeElement) {
        walk.element(top, 0);
        walk.children(top, 1);
        walk.flush(1);
    } else {
        walk.children(top, 0);
        walk.flush(0);
    }
    return walk.out;
}

#endif
