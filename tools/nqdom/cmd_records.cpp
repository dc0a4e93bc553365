// nqdom records: every element of one name, each on a line of its own, read
// in constant memory.
#include <cstring>

#include "cli.h"
#include "commands.h"
#include "input.h"
#include "stream_output.h"
#include "stream_writer.h"

namespace nqtool {
namespace {

const CommandInfo kInfo = {
    "records",
    "records [--json] [-o OUT] NAME FILE|-",
    "Writes every element named NAME (as written, prefix included), at any depth, with\n"
    "everything inside it, as one line: compact XML, or JSON with --json. The document\n"
    "is read as it goes, never loaded whole, so its size does not matter. An element\n"
    "of that name inside another one is part of the outer line only.\n"
    "\n"
    "Each line keeps the attributes in their order and the texts, CDATA sections,\n"
    "comments and processing instructions as in the document, but for the white space\n"
    "between elements (until an element's first text that is not blank, and never\n"
    "under xml:space=\"preserve\"); entity references are expanded, line ends in texts\n"
    "and values are written as &#10; (comments and instructions keep theirs), and the\n"
    "namespace declarations in scope are repeated on the element, so that each line\n"
    "reads on its own.\n"
    "\n"
    "  --json     one object per line, shaped as \"tree --json\" writes a node\n"
    "  -o OUT     write to the file OUT instead of standard output; on an error in\n"
    "             the document OUT is left as it was, while standard output keeps\n"
    "             the lines written before it\n",
    {{"--json", false}, {"-o", true}, {"--external", false}, {"--untrusted", false}},
    2,
    2};

struct Declaration {
    int depth;
    std::string name;
    std::string value;
};

bool isDeclaration(const char* name) {
    return std::strncmp(name, "xmlns", 5) == 0 && (name[5] == 0 || name[5] == ':');
}

// Declarations of the ancestors, innermost first, that the element does
// not make itself.
std::vector<std::string> inherited(const NqDomReader& reader, const std::vector<Declaration>& scope) {
    std::vector<std::string> extra;
    for (auto declared = scope.rbegin(); declared != scope.rend(); ++declared) {
        bool shadowed = reader.findAttribute(declared->name.c_str()) != nullptr;
        for (std::size_t i = 0; i < extra.size() && !shadowed; i += 2) shadowed = extra[i] == declared->name;
        if (shadowed) continue;
        extra.push_back(declared->name);
        extra.push_back(declared->value);
    }
    return extra;
}

// One element per line as "tree --json" shapes a node.
class JsonRecord {
public:
    explicit JsonRecord(std::FILE* out) : m_out(out) {}

    void write(const NqDomReader& reader, const std::vector<std::string>& extra) {
        switch (reader.getKind()) {
            case NqDomReadElementStart: {
                item("{\"type\": \"element\", \"name\": " + jsonString(std::string(reader.getName())) +
                     ", \"attributes\": {");
                for (int i = 0; i < reader.getAttributeCount(); ++i)
                    attribute(i == 0, reader.getAttributeName(i), reader.getAttributeValue(i));
                for (std::size_t i = 0; i + 1 < extra.size(); i += 2)
                    attribute(i == 0 && reader.getAttributeCount() == 0, extra[i], extra[i + 1]);
                m_line += "}, \"children\": [";
                m_first = true;
                const char* space = reader.findAttribute("xml:space");
                const bool preserve = space && std::strcmp(space, "preserve") == 0;
                m_dropping.push_back((m_dropping.empty() || m_dropping.back()) && !preserve);
                return;
            }
            case NqDomReadElementEnd:
                m_line += "]}";
                m_first = false;
                m_dropping.pop_back();
                return;
            case NqDomReadText:
                if (!keep(reader)) return;
                return item("{\"type\": \"text\", \"text\": " + jsonString(std::string(reader.getValue())) +
                            "}");
            case NqDomReadComment:
                return item(
                    "{\"type\": \"comment\", \"text\": " + jsonString(std::string(reader.getValue())) + "}");
            case NqDomReadProcessingInstruction:
                return item("{\"type\": \"pi\", \"target\": " + jsonString(std::string(reader.getName())) +
                            ", \"data\": " + jsonString(std::string(reader.getValue())) + "}");
            default:
                return;
        }
    }
    void discard() {
        m_line.clear();
        m_dropping.clear();
    }
    void finish() {
        m_line += '\n';
        std::fwrite(m_line.data(), 1, m_line.size(), m_out);
        m_line.clear();
        m_first = true;
    }

private:
    // White space between elements is layout, until the element's first text
    // that is not blank.
    bool keep(const NqDomReader& reader) {
        if (reader.isCData() || m_dropping.empty() || !m_dropping.back()) return true;
        if (isBlank(reader.getValue(), reader.getValueLength())) return false;
        m_dropping.back() = false;
        return true;
    }
    void item(const std::string& text) {
        if (!m_first) m_line += ", ";
        m_line += text;
        m_first = false;
    }
    void attribute(bool first, const std::string& name, const std::string& value) {
        m_line += (first ? "" : ", ") + jsonString(name) + ": " + jsonString(value);
    }

    std::FILE* m_out;
    std::string m_line;
    bool m_first = true;
    std::vector<bool> m_dropping;
};

// Writes the element the reader stands on, through its end.
template <class Writer>
NqDomReadKind writeRecord(NqDomReader& reader, Writer& writer, const std::vector<std::string>& extra) {
    const int depth = reader.getDepth();
    writer.write(reader, extra);
    NqDomReadKind kind = reader.next();
    for (; kind != NqDomReadError && kind != NqDomReadEnd; kind = reader.next()) {
        writer.write(reader, {});
        if (kind == NqDomReadElementEnd && reader.getDepth() == depth) break;
    }
    // Only whole records reach the output.
    if (kind == NqDomReadError) {
        writer.discard();
    } else {
        writer.finish();
    }
    return kind;
}

template <class Writer>
bool writeRecords(NqDomReader& reader, const std::string& name, Writer& writer) {
    std::vector<Declaration> scope;
    for (NqDomReadKind kind = reader.next(); kind != NqDomReadEnd; kind = reader.next()) {
        if (kind == NqDomReadError) return false;
        if (kind == NqDomReadElementEnd) {
            while (!scope.empty() && scope.back().depth >= reader.getDepth()) scope.pop_back();
            continue;
        }
        if (kind != NqDomReadElementStart) continue;
        if (name == reader.getName()) {
            if (writeRecord(reader, writer, inherited(reader, scope)) == NqDomReadError) return false;
            continue;
        }
        for (int i = 0; i < reader.getAttributeCount(); ++i) {
            if (isDeclaration(reader.getAttributeName(i)))
                scope.push_back({reader.getDepth(), reader.getAttributeName(i), reader.getAttributeValue(i)});
        }
    }
    return true;
}

}  // namespace

int runRecords(const Words& argv) {
    Args args;
    const int status = parseArgs(kInfo, argv, &args);
    if (status >= 0) return status;

    std::string problem;
    NqDomReader reader;
    if (!openReader(reader, args.positional[1], &problem)) return failure(kInfo, problem);
    StreamOutput output;
    if (!output.open(args.value("-o"), &problem)) return failure(kInfo, problem);
    bool read;
    if (args.has("--json")) {
        JsonRecord writer(output.file());
        read = writeRecords(reader, args.positional[0], writer);
    } else {
        StreamWriter writer(output.file(), Layout::Line);
        read = writeRecords(reader, args.positional[0], writer);
    }
    if (!read) {
        std::fflush(output.file());
        return failure(kInfo, reader.getErrorMessage());
    }
    if (!output.commit(&problem)) return failure(kInfo, problem);
    return kExitOk;
}

}  // namespace nqtool
