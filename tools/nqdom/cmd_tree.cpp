// nqdom tree: an outline of a document, every kind of node in document order.
#include "cli.h"
#include "commands.h"
#include "input.h"
#include "node_walk.h"

namespace nqtool {
namespace {

const CommandInfo kInfo = {
    "tree",
    "tree [--json] FILE|-",
    "Prints the document in FILE (\"-\": standard input) in document order: its\n"
    "document type, comments, processing instructions, elements with their\n"
    "attributes, and text (CDATA sections and entity text included), indented by\n"
    "depth. Text is shown with runs of white space as one space; text that is\n"
    "white space only is left out.\n"
    "\n"
    "  --json   one object per node, nested by \"children\"; texts exactly as the\n"
    "           document holds them, without the white space between elements\n"
    "           that hold only markup\n",
    {{"--json", false}, {"--external", false}, {"--untrusted", false}, {"--skip-dtd", false}},
    1,
    1};

// XML's white space: in an element that holds only markup, white space
// alone is layout.
const ContentView kLayout = {true, " \t\r\n"};

std::string textOf(const NqbString& text) {
    return std::string(text.asCstr(), static_cast<std::size_t>(text.length()));
}

// Writes the outline while walking the nodes, so that a large document
// never needs a second copy in memory. Text, CDATA sections and entity text
// next to each other make one text.
class TreeWriter {
public:
    TreeWriter(NqDom& doc, bool json) : m_doc(doc), m_json(json) {}

    void write() {
        if (m_json) writeOut(std::string("{\"type\": \"document\", \"children\": ["));
        walkNodes(m_doc.getDocumentNode(), *this);
        if (m_json) writeOut(std::string(m_firstChild ? "]}\n" : "\n]}\n"));
    }

    bool enter(const NqDomNode& node) {
        NqDomNodeKind kind = node.getKind();
        if (kind == NqDomNodeText || kind == NqDomNodeCData) {
            NqbString value = node.getValue(false);
            m_text.append(value.asCstr(), static_cast<std::size_t>(value.length()));
            return false;
        }
        if (kind == NqDomNodeEntityReference) return true;
        flushText();
        switch (kind) {
            case NqDomNodeElement:
                open(node);
                return true;
            case NqDomNodeDocumentType:
                doctype(node);
                return false;
            case NqDomNodeComment:
                comment(textOf(node.getValue(false)));
                return false;
            case NqDomNodeProcessingInstruction:
                pi(textOf(node.getNodeName()), textOf(node.getValue(false)));
                return false;
            default:
                return false;
        }
    }

    void leave(const NqDomNode& node) {
        if (node.getKind() != NqDomNodeElement) return;
        flushText();
        m_open.pop_back();
        if (m_json)
            writeOut(m_firstChild ? std::string("]}")
                                  : "\n" + std::string(2 * m_open.size() + 2, ' ') + "]}");
        m_firstChild = false;
    }

private:
    struct OpenElement {
        NqDomNode element;
        int onlyMarkup;  // holdsOnlyMarkup, -1 until asked
    };

    // As the library writes it.
    void doctype(const NqDomNode& node) {
        std::string text = textOf(m_doc.createXML(false, node));
        item(m_json ? "{\"type\": \"doctype\", \"text\": " + jsonString(text) + "}"
                    : collapseSpace(text.c_str()));
    }

    void comment(const std::string& text) {
        item(m_json ? "{\"type\": \"comment\", \"text\": " + jsonString(text) + "}"
                    : "<!-- " + collapseSpace(text.c_str()) + " -->");
    }

    void pi(const std::string& target, const std::string& data) {
        item(m_json ? "{\"type\": \"pi\", \"target\": " + jsonString(target) +
                          ", \"data\": " + jsonString(data) + "}"
                    : "<?" + collapseSpace((target + " " + data).c_str()) + "?>");
    }

    void open(const NqDomNode& element) {
        std::string name = textOf(element.getNodeName());
        NqbString attribute, value;
        if (m_json) {
            std::string head =
                "{\"type\": \"element\", \"name\": " + jsonString(name) + ", \"attributes\": {";
            for (int i = 0; i < element.getAttributeCount(); ++i) {
                element.getAttributeNameValue(i, &attribute, &value);
                head += (i > 0 ? ", " : "") + jsonString(attribute) + ": " + jsonString(value);
            }
            item(head + "}, \"children\": [");
        } else {
            item(name);
            std::string indent(2 * m_open.size() + 2, ' ');
            for (int i = 0; i < element.getAttributeCount(); ++i) {
                element.getAttributeNameValue(i, &attribute, &value);
                writeOut(indent + "@" + attribute.asCstr() + "=" + jsonString(value) + "\n");
            }
        }
        m_open.push_back({element, -1});
        m_firstChild = true;
    }

    // Whether the innermost open element holds only markup; asked only for
    // text that is white space, so most elements are never scanned.
    bool inLayout() {
        if (m_open.empty()) return false;
        OpenElement& element = m_open.back();
        if (element.onlyMarkup < 0) element.onlyMarkup = holdsOnlyMarkup(element.element, kLayout);
        return element.onlyMarkup == 1;
    }

    void flushText() {
        if (m_text.empty()) return;
        std::string text;
        text.swap(m_text);
        bool blank = text.find_first_not_of(kLayout.spaces) == std::string::npos;
        if (m_json && !(blank && inLayout()))
            item("{\"type\": \"text\", \"text\": " + jsonString(text) + "}");
        if (!m_json && !blank) item(jsonString(collapseSpace(text.c_str())));
    }

    // One node at the current depth.
    void item(const std::string& text) {
        if (!m_json) {
            writeOut(std::string(2 * m_open.size(), ' ') + text + "\n");
            return;
        }
        writeOut((m_firstChild ? "\n" : ",\n") + std::string(2 * m_open.size() + 2, ' ') + text);
        m_firstChild = false;
    }

    NqDom& m_doc;
    bool m_json;
    std::vector<OpenElement> m_open;
    bool m_firstChild = true;
    std::string m_text;  // text not yet written
};

}  // namespace

int runTree(const Words& argv) {
    Args args;
    int status = parseArgs(kInfo, argv, &args);
    if (status >= 0) return status;

    NqDom doc;
    std::string problem;
    if (!loadDocument(doc, args.positional[0], &problem)) return failure(kInfo, problem);
    TreeWriter(doc, args.has("--json")).write();
    return finishOutput(kInfo);
}

}  // namespace nqtool
