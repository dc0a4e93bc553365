#include "tree_walk.h"

#include <vector>

namespace nqtool {

void walkTree(const NqDomNode& root, TreeVisitor& visitor) {
    std::vector<NqDomNode> open;  // ancestors of `node`
    NqDomNode node = root;
    for (;;) {
        NqDomNode child = node.isComment() ? NqDomNode() : node.getFirstChild(true);
        visitor.enter(node, open.size(), !child.null());
        if (!child.null()) {
            open.push_back(node);
            node = child;
            continue;
        }
        if (!node.isComment()) visitor.leave(open.size(), false);
        for (;;) {
            if (open.empty()) return;
            NqDomNode next = node.getNextSibling(true);
            if (!next.null()) {
                node = next;
                break;
            }
            node = open.back();
            open.pop_back();
            visitor.leave(open.size(), true);
        }
    }
}

}  // namespace nqtool
