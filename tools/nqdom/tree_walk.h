// Walking the elements and comments of a document without recursion: deep
// documents must not exhaust the stack.
#ifndef NQDOM_TOOL_TREE_WALK_H
#define NQDOM_TOOL_TREE_WALK_H

#include <cstddef>

#include "nqdom.h"

namespace nqtool {

// Receives every element and comment below and including the root, in
// document order, and the end of each element after its children.
class TreeVisitor {
public:
    virtual void enter(NqDomNode& node, std::size_t depth, bool hasChildren) = 0;
    virtual void leave(std::size_t depth, bool hadChildren) = 0;

protected:
    ~TreeVisitor() = default;
};

// Siblings of the root (comments around it) are not visited.
void walkTree(const NqDomNode& root, TreeVisitor& visitor);

}  // namespace nqtool

#endif
