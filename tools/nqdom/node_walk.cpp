#include "node_walk.h"

#include <cstring>

namespace nqtool {
namespace {

bool onlySpaces(const NqbString& text, const char* spaces) {
    const char* at = text.asCstr();
    return at[std::strspn(at, spaces)] == '\0';
}

struct ContentScan {
    ContentView view;
    bool markup = false;
    bool text = false;

    bool enter(const NqDomNode& node) {
        switch (node.getKind()) {
            case NqDomNodeText:
                text = text || !onlySpaces(node.getValue(false), view.spaces);
                return false;
            case NqDomNodeCData:
                text = true;
                return false;
            case NqDomNodeEntityReference:
                text = text || !view.entityTextInPlace;
                return view.entityTextInPlace;
            default:
                markup = true;
                return false;
        }
    }
    void leave(const NqDomNode&) {}
};

}  // namespace

bool holdsOnlyMarkup(const NqDomNode& element, ContentView view) {
    if (element.getAttributeValue(NqbString("xml:space")).compare("preserve", true) == 0) return false;
    ContentScan scan{view};
    walkNodes(element, scan);
    return scan.markup && !scan.text;
}

}  // namespace nqtool
