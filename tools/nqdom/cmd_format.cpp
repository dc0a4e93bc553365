// nqdom format: load a document and write it back as the library writes it.
#include "cli.h"
#include "commands.h"
#include "input.h"
#include "tree_walk.h"

namespace nqtool {
namespace {

const CommandInfo kInfo = {"format",
                           "format [--pretty] [-o OUT] FILE|-",
                           "Loads the document in FILE (\"-\": standard input) and writes it back as UTF-8.\n"
                           "\n"
                           "  --pretty   indent, with CR LF line ends\n"
                           "  -o OUT     write to the file OUT instead of standard output\n",
                           {{"--pretty", false}, {"-o", true}},
                           1,
                           1};

// Drops the indentation the document came with, so that pretty printing
// indents afresh instead of adding its line ends to the old ones. Only
// elements with child elements or comments and nothing but white space
// between them are touched; mixed content keeps its text.
class IndentationRemover : public TreeVisitor {
public:
    void enter(NqDomNode& node, std::size_t, bool hasChildren) override {
        if (!hasChildren) return;
        NqbString text = node.getValue(true);
        if (text.isNull()) return;
        text.trim(true, true);
        if (text.length() == 0) node.setValue(NqbString("", true));
    }
    void leave(std::size_t, bool) override {}
};

}  // namespace

int runFormat(const Words& argv) {
    Args args;
    int status = parseArgs(kInfo, argv, &args);
    if (status >= 0) return status;

    NqDom doc;
    std::string problem;
    if (!loadDocument(doc, args.positional[0], &problem)) return failure(kInfo, problem);

    bool pretty = args.has("--pretty");
    if (pretty) {
        IndentationRemover remover;
        walkTree(doc.getRoot(), remover);
    }
    const std::string* output = args.value("-o");
    if (output && *output != "-") {
        if (!doc.createFile(toNqb(*output), pretty)) return failure(kInfo, doc.getErrorMessage());
        return kExitOk;
    }
    NqbString text = doc.createXML(pretty);
    if (text.isNull()) return failure(kInfo, doc.getErrorMessage());
    writeOut(text);
    // The compact form has no final line end; a terminal wants one.
    if (text.length() == 0 || text.asCstr()[text.length() - 1] != '\n') writeOut(std::string("\n"));
    return finishOutput(kInfo);
}

}  // namespace nqtool
