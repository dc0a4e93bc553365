// nqdom format: load a document and write it back as the library writes it,
// or indented.
#include "cli.h"
#include "commands.h"
#include "input.h"
#include "markup.h"
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
    {{"--pretty", false}, {"--stream", false}, {"-o", true}, {"--external", false}, {"--untrusted", false}},
    1,
    1};

// Indents the compact text. Line ends are LF throughout: the parser hands
// every text over with LF line ends, so LF is the one kind that leaves each
// text as the document holds it (the library's own pretty form ends its
// lines with CR LF and keeps the texts' LF).
std::string indent(std::string_view compact) {
    std::vector<bool> indentable = indentableElements(compact);
    std::vector<bool> open;  // per open element: whether its content is indented
    std::size_t started = 0;
    std::string out;
    out.reserve(compact.size() + compact.size() / 4);
    MarkupReader reader(compact);
    for (Piece piece; reader.next(&piece);) {
        if (piece.kind == Markup::End) {
            bool indented = open.back();
            open.pop_back();
            if (indented) out.append("\n").append(2 * open.size(), ' ');
            out.append(piece.raw);
            continue;
        }
        bool indenting = open.empty() || open.back();
        // In indented content, text is white space only: the indentation replaces it.
        if (indenting && piece.kind == Markup::Text) continue;
        if (indenting && !out.empty()) out.append("\n").append(2 * open.size(), ' ');
        out.append(piece.raw);
        if (piece.kind != Markup::Start) continue;
        bool own = indentable[started++];
        open.push_back(indenting && own);
    }
    return out.append("\n");
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

    NqbString text;
    std::string problem;
    if (!loadAndSerialize(args.positional[0], &text, &problem)) return failure(kInfo, problem);
    const std::string* output = args.value("-o");
    bool toFile = output && *output != "-";
    bool pretty = args.has("--pretty");
    if (!pretty && !toFile) {
        writeOut(text);
        // The compact form has no final line end; a terminal wants one.
        if (text.length() == 0 || text.asCstr()[text.length() - 1] != '\n') writeOut(std::string("\n"));
        return finishOutput(kInfo);
    }
    if (pretty) {
        std::string indented =
            indent(std::string_view(text.asCstr(), static_cast<std::size_t>(text.length())));
        text.setNull();
        if (!toFile) {
            writeOut(indented);
            return finishOutput(kInfo);
        }
        text.assign(indented.data(), static_cast<int>(indented.size()));
    }
    NqbString error;
    if (!nqDomWriteStringToFile(toNqb(*output), text, &error)) return failure(kInfo, error);
    return kExitOk;
}

}  // namespace nqtool
