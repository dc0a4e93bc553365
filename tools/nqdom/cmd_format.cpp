// nqdom format: load a document and write it back as the library writes it,
// or indented.
#include "cli.h"
#include "commands.h"
#include "input.h"
#include "node_walk.h"
#include "stream_output.h"
#include "stream_writer.h"

namespace nqtool {
namespace {

const CommandInfo kInfo = {
    "format",
    "format [--pretty] [--stream] [-o OUT] FILE|-",
    "Loads the document in FILE (\"-\": standard input) and writes it back as UTF-8.\n"
    "\n"
    "  --pretty   one element, comment or processing instruction per line, indented\n"
    "             by two spaces, lines ending in LF; only elements that hold nothing\n"
    "             but markup and white space are indented, so mixed content and\n"
    "             xml:space=\"preserve\" keep their text as it is\n"
    "  --stream   read and write node by node, in constant memory, for a document\n"
    "             of any size; see below\n"
    "  -o OUT     write to the file OUT instead of standard output\n"
    "\n"
    "Without --stream the document is loaded whole and written as the library's\n"
    "createXML writes it. With --stream it keeps the attributes in their order and\n"
    "everything but the layout as in the document, and differs from that form in:\n"
    "  - the declaration is <?xml version=\"1.0\" encoding=\"UTF-8\"?>, without standalone;\n"
    "  - entity references are written expanded, and the document type declaration\n"
    "    keeps its name and identifiers but not its internal subset; attributes it\n"
    "    gives a default are written out;\n"
    "  - \">\" in texts is written &gt;, and an element without content as <e/>;\n"
    "  - with --pretty an element is indented until its first text that is not\n"
    "    blank, then kept as it is (the whole document is never seen at once);\n"
    "  - on an error in the document, standard output keeps what was written\n"
    "    before it (OUT is left as it was).\n",
    {{"--pretty", false},
     {"--stream", false},
     {"-o", true},
     {"--external", false},
     {"--untrusted", false},
     {"--skip-dtd", false}},
    1,
    1};

// Where the parser leaves a CR in a text it came from a reference, and the
// library writes it as one: it is text, not layout.
const ContentView kLayout = {false, " \t\n"};

// Indents the document in place: each element that holds only markup, and
// is not inside one that holds text, gets its children on lines of their
// own, indented by two spaces a level, in place of the white space it held.
// Lines end in LF: the parser hands every text over with LF line ends, so LF
// is the one kind that leaves each text as the document holds it (the
// library's own pretty form ends its lines with CR LF and keeps the texts'
// LF).
class Indenter {
public:
    bool enter(const NqDomNode& node) {
        if (node.getKind() != NqDomNodeElement || !holdsOnlyMarkup(node, kLayout)) return false;
        NqDomNode element = node;
        const NqbString inner(("\n" + std::string(2 * m_depth + 2, ' ')).c_str());
        // The first text of each run stays as the layout before the next
        // child, so that a document indented already is left alone.
        NqDomNode layout;
        for (NqDomNode child = element.getFirstChildNode(); !child.null();) {
            NqDomNode next = child.getNextSiblingNode();
            if (child.getKind() != NqDomNodeText) {
                setLayout(element, &layout, inner, child);
            } else if (layout.null()) {
                layout = child;
            } else {
                child.remove();
            }
            child = next;
        }
        setLayout(element, &layout, NqbString(("\n" + std::string(2 * m_depth, ' ')).c_str()), NqDomNode());
        ++m_depth;
        return true;
    }
    void leave(const NqDomNode&) { --m_depth; }

private:
    // Makes `*layout` (a text, or null for none) hold `text` before
    // `reference`, and clears it for the next run.
    static void setLayout(NqDomNode& element, NqDomNode* layout, const NqbString& text,
                          const NqDomNode& reference) {
        if (layout->null()) {
            element.addText(text, reference);
        } else if (layout->getValue(false).compare(text, true) != 0) {
            layout->setText(text);
        }
        *layout = NqDomNode();
    }

    std::size_t m_depth = 0;
};

// The document indented, each node outside the root on a line of its own,
// as the library writes each piece; false with the library's message.
bool indent(NqDom& doc, std::string* out, NqbString* error) {
    NqDomNode document = doc.getDocumentNode();
    Indenter indenter;
    walkNodes(document, indenter);
    std::vector<NqDomNode> children;
    for (NqDomNode child = document.getFirstChildNode(); !child.null(); child = child.getNextSiblingNode())
        children.push_back(child);
    // Left with its root alone, the document is written as the declaration
    // and the root's text; the other pieces are written each on its own.
    for (NqDomNode child : children) {
        if (child.getKind() != NqDomNodeElement) child.remove();
    }
    const NqbString whole = doc.createXML(false);
    if (whole.isNull()) {
        *error = doc.getErrorMessage();
        return false;
    }
    const std::string text(whole.asCstr(), static_cast<std::size_t>(whole.length()));
    const std::size_t declared = text.rfind("<?xml", 0) == 0 ? text.find("?>") + 2 : 0;
    out->append(text, 0, declared).append("\n");
    for (const NqDomNode& child : children) {
        if (child.getKind() == NqDomNodeElement) {
            out->append(text, declared, std::string::npos).append("\n");
            continue;
        }
        const NqbString piece = doc.createXML(false, child);
        if (piece.isNull()) {
            *error = doc.getErrorMessage();
            return false;
        }
        out->append(piece.asCstr(), static_cast<std::size_t>(piece.length())).append("\n");
    }
    return true;
}

int streamFormat(const Args& args) {
    std::string problem;
    NqDomReader reader;
    if (!openReader(reader, args.positional[0], &problem)) return failure(kInfo, problem);
    StreamOutput output;
    if (!output.open(args.value("-o"), &problem)) return failure(kInfo, problem);
    {
        StreamWriter writer(output.file(), args.has("--pretty") ? Layout::Pretty : Layout::Compact);
        writer.declaration();
        for (NqDomReadKind kind = reader.next(); kind != NqDomReadEnd; kind = reader.next()) {
            if (kind == NqDomReadError) {
                writer.flush();
                return failure(kInfo, reader.getErrorMessage());
            }
            writer.write(reader);
        }
        writer.finish();
    }
    if (!output.commit(&problem)) return failure(kInfo, problem);
    return kExitOk;
}

}  // namespace

int runFormat(const Words& argv) {
    Args args;
    int status = parseArgs(kInfo, argv, &args);
    if (status >= 0) return status;
    if (args.has("--stream")) return streamFormat(args);

    const std::string* output = args.value("-o");
    bool toFile = output && *output != "-";
    std::string problem;
    NqbString text, error;
    if (args.has("--pretty")) {
        std::string indented;
        {
            NqDom doc;
            if (!loadDocument(doc, args.positional[0], &problem)) return failure(kInfo, problem);
            if (!indent(doc, &indented, &error)) return failure(kInfo, error);
        }
        if (!toFile) {
            writeOut(indented);
            return finishOutput(kInfo);
        }
        text.assign(indented.data(), static_cast<int>(indented.size()));
    } else {
        if (!loadAndSerialize(args.positional[0], &text, &problem)) return failure(kInfo, problem);
        if (!toFile) {
            writeOut(text);
            // The compact form has no final line end; a terminal wants one.
            if (text.length() == 0 || text.asCstr()[text.length() - 1] != '\n') writeOut(std::string("\n"));
            return finishOutput(kInfo);
        }
    }
    if (!nqDomWriteStringToFile(toNqb(*output), text, &error)) return failure(kInfo, error);
    return kExitOk;
}

}  // namespace nqtool
