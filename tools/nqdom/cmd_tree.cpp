// nqdom tree: an outline of a document, written while walking it so that a
// large document never needs a second copy in memory.
#include "cli.h"
#include "commands.h"
#include "input.h"
#include "tree_walk.h"

namespace nqtool {
namespace {

const CommandInfo kInfo = {"tree",
                           "tree [--json] FILE|-",
                           "Prints the elements, comments, attributes and text of the document in FILE\n"
                           "(\"-\": standard input), indented by depth. Text is an element's own text,\n"
                           "trimmed; white space only text is left out.\n"
                           "\n"
                           "  --json   one JSON object per node, nested by \"children\"\n",
                           {{"--json", false}},
                           1,
                           1};

NqbString trimmedText(const NqDomNode& node) {
    NqbString text = node.getValue(true);
    if (!text.isNull()) text.trim(true, true);
    return text;
}

class OutlineWriter : public TreeVisitor {
public:
    void enter(NqDomNode& node, std::size_t depth, bool) override {
        std::string indent(depth * 2, ' ');
        if (node.isComment()) {
            writeOut(indent + "<!-- " + collapseSpace(node.getValue(true).asCstr()) + " -->\n");
            return;
        }
        writeOut(indent + node.getName().asCstr() + "\n");
        indent += "  ";
        NqbString name, value;
        for (int i = 0; i < node.getAttributeCount(); ++i) {
            node.getAttributeNameValue(i, &name, &value);
            writeOut(indent + "@" + name.asCstr() + "=\"" + value.asCstr() + "\"\n");
        }
        std::string text = collapseSpace(node.getValue(true).asCstr());
        if (!text.empty()) writeOut(indent + "\"" + text + "\"\n");
    }
    void leave(std::size_t, bool) override {}
};

// Nested JSON: {"type", "name", "attributes", "text", "children"} for an
// element, {"type", "text"} for a comment; one node per line.
class JsonWriter : public TreeVisitor {
public:
    void enter(NqDomNode& node, std::size_t depth, bool hasChildren) override {
        if (depth > 0) writeOut(m_firstChild ? std::string("\n") : std::string(",\n"));
        writeOut(std::string(depth * 2, ' '));
        m_firstChild = false;
        if (node.isComment()) {
            writeOut("{\"type\": \"comment\", \"text\": " + jsonString(trimmedText(node)) + "}");
            return;
        }
        std::string head =
            "{\"type\": \"element\", \"name\": " + jsonString(node.getName()) + ", \"attributes\": {";
        NqbString name, value;
        for (int i = 0; i < node.getAttributeCount(); ++i) {
            node.getAttributeNameValue(i, &name, &value);
            if (i > 0) head += ", ";
            head += jsonString(name) + ": " + jsonString(value);
        }
        NqbString text = trimmedText(node);
        if (text.length() == 0) text.setNull();
        head += "}, \"text\": " + jsonString(text) + ", \"children\": [";
        writeOut(head);
        m_firstChild = hasChildren;
    }
    void leave(std::size_t depth, bool hadChildren) override {
        if (hadChildren) writeOut("\n" + std::string(depth * 2, ' '));
        writeOut(std::string(depth == 0 ? "]}\n" : "]}"));
    }

private:
    bool m_firstChild = false;
};

}  // namespace

int runTree(const Words& argv) {
    Args args;
    int status = parseArgs(kInfo, argv, &args);
    if (status >= 0) return status;

    NqDom doc;
    std::string problem;
    if (!loadDocument(doc, args.positional[0], &problem)) return failure(kInfo, problem);
    NqDomNode root = doc.getRoot();

    if (args.has("--json")) {
        JsonWriter writer;
        walkTree(root, writer);
    } else {
        OutlineWriter writer;
        walkTree(root, writer);
    }
    return finishOutput(kInfo);
}

}  // namespace nqtool
