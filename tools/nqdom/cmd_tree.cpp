// nqdom tree: an outline of a document, written while reading the text the
// library writes for it, so that a large document never needs a second copy
// in memory and nothing the node handles cannot reach is left out.
#include "cli.h"
#include "commands.h"
#include "input.h"
#include "markup.h"

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

// Entities within entities deeper than this are shown as references.
const int kMaxExpansions = 32;

// The elements of a document in the order of their start tags. The text
// the library writes leaves out attributes that the document type gives by
// default; the node handles have them.
class ElementCursor {
public:
    explicit ElementCursor(const NqDomNode& root) : m_next(root) {}

    NqDomNode take() {
        NqDomNode node = m_next;
        NqDomNode child = node.getFirstChild(false);
        if (!child.null()) {
            m_ancestors.push_back(node);
            m_next = child;
            return node;
        }
        for (NqDomNode at = node;; at = m_ancestors.back(), m_ancestors.pop_back()) {
            m_next = at.getNextSibling(false);
            if (!m_next.null() || m_ancestors.empty()) return node;
        }
    }

private:
    NqDomNode m_next;
    std::vector<NqDomNode> m_ancestors;
};

Attributes attributesOfElement(const NqDomNode& element) {
    Attributes attributes;
    NqbString name, value;
    for (int i = 0; i < element.getAttributeCount(); ++i) {
        element.getAttributeNameValue(i, &name, &value);
        attributes.emplace_back(name.asCstr(), value.asCstr());
    }
    return attributes;
}

// The first entity the document refers to whose text only the engine has
// seen (an external one), or "".
std::string externalReference(std::string_view compact) {
    Entities entities;
    auto unknownIn = [&entities](std::string_view raw) -> std::string {
        std::string decoded;
        for (std::size_t at = 0; at < raw.size();) {
            std::string_view name = decodeUntilEntity(raw, &at, &decoded);
            if (!name.empty() && entities.count(name) == 0) return std::string(name);
        }
        return "";
    };
    MarkupReader reader(compact);
    for (Piece piece; reader.next(&piece);) {
        std::string unknown;
        if (piece.kind == Markup::Doctype) {
            entities = internalEntities(piece.raw);
            for (const auto& entity : entities) {
                if (unknown.empty()) unknown = unknownIn(entity.second);
            }
        }
        if (piece.kind == Markup::Text) unknown = unknownIn(piece.raw);
        if (!unknown.empty()) return unknown;
    }
    return "";
}

class TreeWriter {
public:
    TreeWriter(bool json, std::string_view compact, const NqDomNode& root)
        : m_json(json), m_indentable(indentableElements(compact)), m_elements(root) {}

    void write(std::string_view compact) {
        if (m_json) writeOut(std::string("{\"type\": \"document\", \"children\": ["));
        m_firstChild = true;
        feed(compact, 0);
        if (m_json) writeOut(std::string(m_firstChild ? "]}\n" : "\n]}\n"));
    }

private:
    void feed(std::string_view content, int expansions) {
        MarkupReader reader(content);
        for (Piece piece; reader.next(&piece);) {
            if (piece.kind == Markup::Text) {
                addText(piece.raw, expansions);
                continue;
            }
            if (piece.kind == Markup::CData) {
                m_text.append(innerText(piece));
                continue;
            }
            flushText();
            take(piece, expansions);
        }
    }

    void take(const Piece& piece, int expansions) {
        switch (piece.kind) {
            case Markup::Doctype:
                m_entities = internalEntities(piece.raw);
                item(m_json ? "{\"type\": \"doctype\", \"text\": " + jsonString(std::string(piece.raw)) + "}"
                            : collapseSpace(std::string(piece.raw).c_str()));
                return;
            case Markup::Comment: {
                std::string text(innerText(piece));
                item(m_json ? "{\"type\": \"comment\", \"text\": " + jsonString(text) + "}"
                            : "<!-- " + collapseSpace(text.c_str()) + " -->");
                return;
            }
            case Markup::Pi:
                pi(std::string(innerText(piece)));
                return;
            case Markup::Start:
            case Markup::Empty:
                element(piece, expansions);
                return;
            case Markup::End:
                close();
                return;
            default:
                return;  // the declaration the library writes first
        }
    }

    void pi(const std::string& inner) {
        std::size_t space = std::min(inner.find_first_of(" \t\r\n"), inner.size());
        std::size_t data = std::min(inner.find_first_not_of(" \t\r\n", space), inner.size());
        item(m_json ? "{\"type\": \"pi\", \"target\": " + jsonString(inner.substr(0, space)) +
                          ", \"data\": " + jsonString(inner.substr(data)) + "}"
                    : "<?" + collapseSpace(inner.c_str()) + "?>");
    }

    void element(const Piece& piece, int expansions) {
        std::string name(tagName(piece.raw));
        // Elements in entity text are not the document's own children.
        Attributes attributes =
            expansions > 0 ? attributesOf(piece.raw) : attributesOfElement(m_elements.take());
        if (m_json) {
            std::string head =
                "{\"type\": \"element\", \"name\": " + jsonString(name) + ", \"attributes\": {";
            for (std::size_t i = 0; i < attributes.size(); ++i) {
                head += (i > 0 ? ", " : "") + jsonString(attributes[i].first) + ": " +
                        jsonString(attributes[i].second);
            }
            item(head + "}, \"children\": [");
        } else {
            item(name);
            std::string indent(2 * m_open.size() + 2, ' ');
            for (const auto& [attribute, value] : attributes)
                writeOut(indent + "@" + attribute + "=" + jsonString(value) + "\n");
        }
        // Elements from entity text were not counted with the document's own.
        bool elementOnly = piece.kind == Markup::Start && expansions == 0 && m_indentable[m_started++];
        if (piece.kind == Markup::Start) {
            m_open.push_back(elementOnly);
            m_firstChild = true;
            return;
        }
        if (m_json) writeOut(std::string("]}"));
        m_firstChild = false;
    }

    void close() {
        m_open.pop_back();
        if (m_json)
            writeOut(m_firstChild ? std::string("]}")
                                  : "\n" + std::string(2 * m_open.size() + 2, ' ') + "]}");
        m_firstChild = false;
    }

    void addText(std::string_view raw, int expansions) {
        for (std::size_t at = 0; at < raw.size();) {
            std::string_view name = decodeUntilEntity(raw, &at, &m_text);
            if (name.empty()) continue;
            auto found = m_entities.find(name);
            if (found == m_entities.end() || expansions >= kMaxExpansions) {
                m_text.append("&").append(name).append(";");
                continue;
            }
            feed(found->second, expansions + 1);
        }
    }

    void flushText() {
        if (m_text.empty()) return;
        std::string text;
        text.swap(m_text);
        bool blank = isSpace(text);
        if (m_json && !(blank && !m_open.empty() && m_open.back()))
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

    bool m_json;
    std::vector<bool> m_indentable;
    ElementCursor m_elements;
    std::size_t m_started = 0;
    std::vector<bool> m_open;  // per open element: whether it holds only markup
    bool m_firstChild = true;
    std::string m_text;  // text not yet written
    Entities m_entities;
};

}  // namespace

int runTree(const Words& argv) {
    Args args;
    int status = parseArgs(kInfo, argv, &args);
    if (status >= 0) return status;

    NqDom doc;
    std::string problem;
    if (!loadDocument(doc, args.positional[0], &problem)) return failure(kInfo, problem);
    NqbString compact = doc.createXML(false);
    if (compact.isNull()) return failure(kInfo, doc.getErrorMessage());
    std::string_view text(compact.asCstr(), static_cast<std::size_t>(compact.length()));
    std::string external = externalReference(text);
    if (!external.empty())
        return failure(kInfo, "cannot show the text of the external entity \"" + external + "\"");
    TreeWriter(args.has("--json"), text, doc.getRoot()).write(text);
    return finishOutput(kInfo);
}

}  // namespace nqtool
