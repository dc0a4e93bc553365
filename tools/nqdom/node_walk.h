// Walking the nodes of a document, every kind, through the node handles.
#ifndef NQDOM_TOOL_NODE_WALK_H
#define NQDOM_TOOL_NODE_WALK_H

#include "nqdom.h"

namespace nqtool {

// Visits the nodes below `top` in document order, without recursion, so that
// deep nesting costs no stack. `visitor.enter(node)` says whether to go into
// the node's children, and may change them; `visitor.leave(node)` follows
// the children of each node gone into.
template <class Visitor>
void walkNodes(const NqDomNode& top, Visitor& visitor) {
    int depth = 0;
    NqDomNode node = top.getFirstChildNode();
    while (!node.null()) {
        if (visitor.enter(node)) {
            NqDomNode child = node.getFirstChildNode();
            if (!child.null()) {
                ++depth;
                node = child;
                continue;
            }
            visitor.leave(node);
        }
        for (;;) {
            NqDomNode next = node.getNextSiblingNode();
            if (!next.null()) {
                node = next;
                break;
            }
            if (depth-- == 0) return;
            node = node.getParentNode();
            visitor.leave(node);
        }
    }
}

// How holdsOnlyMarkup reads an element's content.
struct ContentView {
    bool entityTextInPlace;  // else an entity reference counts as text
    const char* spaces;      // the characters that are white space
};

// Whether `element` holds elements, comments or processing instructions and
// nothing but white space between them, so that this white space is layout
// and not text. CDATA sections are text; an element marked
// xml:space="preserve" holds no layout.
bool holdsOnlyMarkup(const NqDomNode& element, ContentView view);

}  // namespace nqtool

#endif
