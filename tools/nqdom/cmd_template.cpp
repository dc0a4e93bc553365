// nqdom template: compile a template and report what the library found.
#include <algorithm>
#include <vector>

#include "cli.h"
#include "commands.h"
#include "input.h"

namespace nqtool {
namespace {

const CommandInfo kInfo = {
    "template",
    "template [--json] FILE",
    "Compiles the template in FILE and prints its variables (index, name, whether\n"
    "optional, XPath), its namespaces (prefix, URI) and its skeleton.\n"
    "\n"
    "  --json   one object with \"variables\", \"namespaces\" and \"skeleton\"\n"
    "\n"
    "Template rules: an element's text or an attribute's value holds at most one\n"
    "variable, ${name} or ${name?} for an optional one; variable names must differ\n"
    "in more than letter case. CDATA sections and processing instructions are not\n"
    "carried into the skeleton: a warning names each one left out.\n",
    {{"--json", false}, {"--external", false}, {"--untrusted", false}, {"--skip-dtd", false}},
    1,
    1};

struct Variable {
    std::string name;
    bool optional;
    NqbString xpath;
};

struct Namespace {
    NqbString prefix;
    NqbString uri;
};

std::vector<Variable> variablesOf(NqDomTemplate& compiled) {
    std::vector<Variable> variables;
    NqbString error;
    for (int i = 0; i < compiled.getVariableCount(); ++i) {
        bool optional = false;
        NqbString name = compiled.getVariableName(i, &optional, &error);
        variables.push_back({name.asCstr(), optional, compiled.getVariableXPath(i, &error)});
    }
    return variables;
}

std::vector<Namespace> namespacesOf(NqDomTemplate& compiled) {
    std::vector<Namespace> namespaces;
    for (int i = 0; i < compiled.getNamespaceCount(); ++i) {
        Namespace entry;
        compiled.getNamespace(i, &entry.prefix, &entry.uri);
        namespaces.push_back(entry);
    }
    return namespaces;
}

// The skeleton is written with CR LF; a report read on a terminal wants LF.
std::string withNewlines(const NqbString& text) {
    std::string out;
    for (const char* p = text.asCstr(); *p; ++p) {
        if (p[0] == '\r' && p[1] == '\n') continue;
        out += *p;
    }
    if (!out.empty() && out.back() != '\n') out += '\n';
    return out;
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

void writeReport(const std::vector<Variable>& variables, const std::vector<Namespace>& namespaces,
                 const NqbString& skeleton) {
    std::size_t width = 0;
    for (const Variable& v : variables) width = std::max(width, v.name.size());
    writeOut("variables: " + std::to_string(variables.size()) + "\n");
    for (std::size_t i = 0; i < variables.size(); ++i) {
        const Variable& v = variables[i];
        writeOut("  " + std::to_string(i) + "  " + padded(v.name, width) + "  " +
                 (v.optional ? "optional" : "required") + "  " + v.xpath.asCstr() + "\n");
    }
    width = 0;
    for (const Namespace& n : namespaces) width = std::max<std::size_t>(width, n.prefix.length());
    writeOut("namespaces: " + std::to_string(namespaces.size()) + "\n");
    for (const Namespace& n : namespaces) {
        std::string prefix = n.prefix.length() > 0 ? n.prefix.asCstr() : "(default)";
        writeOut("  " + padded(prefix, width) + "  " + n.uri.asCstr() + "\n");
    }
    writeOut("skeleton:\n" + withNewlines(skeleton));
}

void writeJson(const std::vector<Variable>& variables, const std::vector<Namespace>& namespaces,
               const NqbString& skeleton) {
    writeOut(std::string("{\"variables\": ["));
    for (std::size_t i = 0; i < variables.size(); ++i) {
        const Variable& v = variables[i];
        writeOut(std::string(i == 0 ? "\n" : ",\n") + "  {\"index\": " + std::to_string(i) +
                 ", \"name\": " + jsonString(v.name) + ", \"optional\": " + (v.optional ? "true" : "false") +
                 ", \"xpath\": " + jsonString(v.xpath) + "}");
    }
    writeOut(std::string(variables.empty() ? "],\n" : "\n],\n") + "\"namespaces\": [");
    for (std::size_t i = 0; i < namespaces.size(); ++i) {
        writeOut(std::string(i == 0 ? "\n" : ",\n") + "  {\"prefix\": " + jsonString(namespaces[i].prefix) +
                 ", \"uri\": " + jsonString(namespaces[i].uri) + "}");
    }
    writeOut(std::string(namespaces.empty() ? "],\n" : "\n],\n") + "\"skeleton\": " + jsonString(skeleton) +
             "}\n");
}

}  // namespace

int runTemplate(const Words& argv) {
    Args args;
    int status = parseArgs(kInfo, argv, &args);
    if (status >= 0) return status;

    std::string problem;
    std::vector<std::string> dropped;
    TemplatePtr compiled = compileTemplateFile(args.positional[0], &problem, &dropped);
    if (!compiled) return failure(kInfo, problem);
    warnNotInSkeleton(kInfo, dropped);
    std::vector<Variable> variables = variablesOf(*compiled);
    std::vector<Namespace> namespaces = namespacesOf(*compiled);
    NqbString skeleton = compiled->getSkeleton();
    if (args.has("--json")) {
        writeJson(variables, namespaces, skeleton);
    } else {
        writeReport(variables, namespaces, skeleton);
    }
    return finishOutput(kInfo);
}

}  // namespace nqtool
