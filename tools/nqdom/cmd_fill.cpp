// nqdom fill: render a template's skeleton with values, through the base
// library's basic template rendering.
#include <map>
#include <set>

#include "cli.h"
#include "commands.h"
#include "conf_entries.h"
#include "input.h"

namespace nqtool {
namespace {

const CommandInfo kInfo = {
    "fill",
    "fill TEMPLATE [NAME=VALUE...] [--values FILE]",
    "Compiles TEMPLATE and prints its skeleton with every variable replaced by its\n"
    "value, XML-escaped. Names match the template's variables in any letter case.\n"
    "A required variable must have a value; an optional one without a value is\n"
    "left empty.\n"
    "\n"
    "  --values FILE   take values from a configuration entries file; NAME=VALUE\n"
    "                  arguments take precedence, entries unknown to the template\n"
    "                  are ignored\n"
    "\n"
    "Template rules: an element's text or an attribute's value holds at most one\n"
    "variable, ${name} or ${name?} for an optional one; variable names must differ\n"
    "in more than letter case. CDATA sections and processing instructions are not\n"
    "carried into the skeleton: a warning names each one left out.\n",
    {{"--values", true}, {"--external", false}, {"--untrusted", false}, {"--skip-dtd", false}},
    1,
    kUnlimited};

using ValueMap = std::map<NqbString, NqbString, NqbStringLessInsensitive>;
using NameSet = std::set<NqbString, NqbStringLessInsensitive>;

// Answers the renderer: the escaped value, or empty text for an optional
// variable that has none. The basic template alone only knows ${name?} as
// optional; the compiled template also knows elements marked optional.
class ValueSource final : public NqbTemplateValueCB {
public:
    ValueSource(const ValueMap& values, const NameSet& optional) : m_values(values), m_optional(optional) {}

    bool getValue(const NqbString& name, NqbString* value) override {
        auto found = m_values.find(name);
        if (found != m_values.end()) {
            *value = found->second;
            return true;
        }
        if (m_optional.count(name) == 0) return false;
        value->assign("");
        return true;
    }

private:
    const ValueMap& m_values;
    const NameSet& m_optional;
};

// Length of the UTF-8 sequence starting at `p`, 0 when it is malformed.
int utf8Length(const unsigned char* p) {
    int length = p[0] < 0x80 ? 1 : p[0] < 0xC2 ? 0 : p[0] < 0xE0 ? 2 : p[0] < 0xF0 ? 3 : p[0] < 0xF5 ? 4 : 0;
    for (int i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80) return 0;
    }
    return length;
}

// `text` escaped for element text and attribute values alike; false when it
// holds bytes that XML cannot carry (control characters, broken UTF-8).
bool escapeXml(const NqbString& text, NqbString* escaped) {
    std::string out;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(text.asCstr());
    while (*p) {
        int length = utf8Length(p);
        if (length == 0 || (*p < 0x20 && *p != '\t' && *p != '\n' && *p != '\r')) return false;
        switch (*p) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&apos;";
                break;
            default:
                out.append(reinterpret_cast<const char*>(p), static_cast<std::size_t>(length));
        }
        p += length;
    }
    escaped->assign(out.data(), static_cast<int>(out.size()));
    return true;
}

struct TemplateNames {
    NameSet all;
    NameSet optional;
};

TemplateNames namesOf(NqDomTemplate& compiled) {
    TemplateNames names;
    NqbString error;
    for (int i = 0; i < compiled.getVariableCount(); ++i) {
        bool optional = false;
        NqbString name = compiled.getVariableName(i, &optional, &error);
        names.all.insert(name);
        if (optional) names.optional.insert(name);
    }
    return names;
}

// Values of the entries file that name a variable of the template; the
// first entry of a name wins.
bool valuesFromFile(const std::string& file, const TemplateNames& names, ValueMap* values,
                    std::string* problem) {
    std::vector<ConfEntry> entries;
    if (!readEntries(file, &entries, problem)) return false;
    for (const ConfEntry& entry : entries) {
        if (names.all.count(entry.name) == 0) continue;
        values->emplace(entry.name, entry.value.isNull() ? NqbString("", true) : entry.value);
    }
    return true;
}

// NAME=VALUE arguments, which override the file; a name the template does
// not have is a mistake worth reporting.
bool valuesFromArguments(const std::vector<std::string>& assignments, const TemplateNames& names,
                         ValueMap* values, std::string* problem) {
    for (const std::string& assignment : assignments) {
        std::size_t equals = assignment.find('=');
        NqbString name = toNqb(assignment.substr(0, equals));
        if (names.all.count(name) == 0) {
            *problem = "the template has no variable \"" + std::string(name.asCstr()) + "\"";
            return false;
        }
        (*values)[name] = toNqb(assignment.substr(equals + 1));
    }
    return true;
}

bool escapeValues(ValueMap* values, std::string* problem) {
    for (auto& entry : *values) {
        if (escapeXml(entry.second, &entry.second)) continue;
        *problem =
            "the value of \"" + std::string(entry.first.asCstr()) + "\" holds characters XML cannot carry";
        return false;
    }
    return true;
}

std::string missingRequired(const TemplateNames& names, const ValueMap& values) {
    std::string missing;
    for (const NqbString& name : names.all) {
        if (names.optional.count(name) || values.count(name)) continue;
        missing += (missing.empty() ? "\"" : ", \"") + std::string(name.asCstr()) + "\"";
    }
    return missing;
}

bool render(const NqbString& skeleton, const ValueMap& values, const NameSet& optional, NqbString* result,
            std::string* problem) {
    ValueSource source(values, optional);
    NqbString error;
    BasicTemplatePtr basic(nqbCreateBasicTemplate(&source, &error));
    if (basic && basic->init(skeleton, &error)) *result = basic->render(&error);
    if (!result->isNull()) return true;
    *problem = messageText(error);
    return false;
}

}  // namespace

int runFill(const Words& argv) {
    Args args;
    int status = parseArgs(kInfo, argv, &args);
    if (status >= 0) return status;
    std::vector<std::string> assignments(args.positional.begin() + 1, args.positional.end());
    for (const std::string& assignment : assignments) {
        if (assignment.find('=') == std::string::npos || assignment[0] == '=') {
            return usageError(kInfo, "expected NAME=VALUE, got \"" + assignment + "\"");
        }
    }

    std::string problem;
    std::vector<std::string> dropped;
    TemplatePtr compiled = compileTemplateFile(args.positional[0], &problem, &dropped);
    if (!compiled) return failure(kInfo, problem);
    warnNotInSkeleton(kInfo, dropped);
    TemplateNames names = namesOf(*compiled);

    ValueMap values;
    const std::string* valuesFile = args.value("--values");
    if (valuesFile && !valuesFromFile(*valuesFile, names, &values, &problem)) return failure(kInfo, problem);
    if (!valuesFromArguments(assignments, names, &values, &problem)) return failure(kInfo, problem);
    std::string missing = missingRequired(names, values);
    if (!missing.empty()) {
        bool several = missing.find(',') != std::string::npos;
        return failure(kInfo, std::string(several ? "no values for required variables "
                                                  : "no value for required variable ") +
                                  missing);
    }
    if (!escapeValues(&values, &problem)) return failure(kInfo, problem);

    NqbString result;
    if (!render(compiled->getSkeleton(), values, names.optional, &result, &problem)) {
        return failure(kInfo, problem);
    }
    writeOut(result);
    if (result.length() == 0 || result.asCstr()[result.length() - 1] != '\n') writeOut(std::string("\n"));
    return finishOutput(kInfo);
}

}  // namespace nqtool
