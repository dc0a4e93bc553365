#include "cli.h"

#include <cctype>
#include <cerrno>
#include <cstring>

namespace nqtool {
namespace {

const Option* findOption(const CommandInfo& info, const std::string& name) {
    for (const Option& option : info.options) {
        if (name == option.name) return &option;
    }
    return nullptr;
}

// Takes the option at argv[*i] (advancing *i past a separate value).
// Returns an empty text on success, otherwise the problem.
std::string takeOption(const CommandInfo& info, const std::vector<std::string>& argv, std::size_t* i,
                       Args* args) {
    const std::string& word = argv[*i];
    std::size_t equals = word.rfind("--", 0) == 0 ? word.find('=') : std::string::npos;
    std::string name = word.substr(0, equals);
    const Option* option = findOption(info, name);
    if (!option) return "unknown option " + name;
    if (!option->takesValue) {
        if (equals != std::string::npos) return "option " + name + " takes no value";
        args->values[name] = "";
        return "";
    }
    if (args->has(name.c_str())) return "option " + name + " given twice";
    if (equals != std::string::npos) {
        args->values[name] = word.substr(equals + 1);
        return "";
    }
    if (*i + 1 >= argv.size()) return "option " + name + " needs a value";
    ++*i;
    args->values[name] = argv[*i];
    return "";
}

void printHelp(const CommandInfo& info) {
    std::printf("usage: nqdom %s\n", info.usage);
    if (info.help[0] != '\0') std::printf("\n%s", info.help);
    if (!findOption(info, "--external")) return;
    std::printf(
        "\nNothing outside a document is read (no external DTD or entity, no network),\n"
        "and any error in it fails the command with its line and column.\n"
        "  --external    read the external DTDs and entities a document names:\n"
        "                those the XML catalogs map (XML_CATALOG_FILES, else\n"
        "                /etc/xml/catalog) from their local copies, others relative\n"
        "                to its folder; never from the network\n"
        "  --untrusted   refuse a document type declaration other than one naming\n"
        "                the root alone (<!DOCTYPE html>), and elements nested\n"
        "                deeper than %d levels\n"
        "  --skip-dtd    do without the external DTD: it is not read, attribute\n"
        "                defaults it declares are absent, and an entity that only\n"
        "                it would declare fails the command, naming the entity\n",
        nqDomUntrustedDepthLimit);
}

// The load policy the options ask for, for every document, template and
// entries file the command loads from now on.
std::string applyLoadPolicy(const Args& args) {
    bool external = args.has("--external"), untrusted = args.has("--untrusted");
    if (external && untrusted) return "options --external and --untrusted exclude each other";
    nqDomSetDefaultLoadPolicy(external    ? NqDomLoadStrict
                              : untrusted ? NqDomLoadUntrusted
                                          : NqDomLoadSelfContained);
    nqDomSetDefaultSkipExternalDtd(args.has("--skip-dtd"));
    return "";
}

void appendJsonEscaped(std::string* out, const char* text, std::size_t length) {
    static const char kHex[] = "0123456789abcdef";
    for (std::size_t i = 0; i < length; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        switch (c) {
            case '"':
                *out += "\\\"";
                break;
            case '\\':
                *out += "\\\\";
                break;
            case '\n':
                *out += "\\n";
                break;
            case '\r':
                *out += "\\r";
                break;
            case '\t':
                *out += "\\t";
                break;
            default:
                if (c < 0x20) {
                    *out += "\\u00";
                    *out += kHex[c >> 4];
                    *out += kHex[c & 15];
                } else {
                    *out += static_cast<char>(c);
                }
        }
    }
}

}  // namespace

const std::string* Args::value(const char* option) const {
    auto found = values.find(option);
    return found == values.end() ? nullptr : &found->second;
}

int parseArgs(const CommandInfo& info, const std::vector<std::string>& argv, Args* args) {
    bool optionsEnded = false;
    for (std::size_t i = 0; i < argv.size(); ++i) {
        const std::string& word = argv[i];
        if (optionsEnded || word == "-" || word.empty() || word[0] != '-') {
            args->positional.push_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        if (word == "--help" || word == "-h") {
            printHelp(info);
            return kExitOk;
        }
        std::string problem = takeOption(info, argv, &i, args);
        if (!problem.empty()) return usageError(info, problem);
    }
    std::string problem = applyLoadPolicy(*args);
    if (!problem.empty()) return usageError(info, problem);
    std::size_t count = args->positional.size();
    if (count < info.minPositional) return usageError(info, "missing arguments");
    if (count > info.maxPositional) return usageError(info, "unexpected argument " + args->positional.back());
    return -1;
}

int usageError(const CommandInfo& info, const std::string& problem) {
    std::fprintf(stderr, "nqdom %s: %s\nusage: nqdom %s\n", info.name, problem.c_str(), info.usage);
    return kExitUsage;
}

int failure(const CommandInfo& info, const std::string& message) {
    std::fprintf(stderr, "nqdom %s: %s\n", info.name, message.c_str());
    return kExitFailure;
}

int failure(const CommandInfo& info, const NqbString& message) {
    return failure(info, messageText(message));
}

void warnNotInSkeleton(const CommandInfo& info, const std::vector<std::string>& dropped) {
    for (const std::string& what : dropped)
        std::fprintf(stderr, "nqdom %s: warning: the skeleton leaves out %s\n", info.name, what.c_str());
}

std::string messageText(const NqbString& message) {
    // A failure without text still has to say something.
    if (message.length() == 0) return "failed without a message";
    return message.asCstr();
}

void writeOut(const char* bytes, std::size_t count) {
    std::fwrite(bytes, 1, count, stdout);
}

void writeOut(const std::string& text) {
    writeOut(text.data(), text.size());
}

void writeOut(const NqbString& text) {
    writeOut(text.asCstr(), static_cast<std::size_t>(text.length()));
}

int finishOutput(const CommandInfo& info) {
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return kExitOk;
    return failure(info, std::string("cannot write to standard output: ") + std::strerror(errno));
}

std::string collapseSpace(const char* text) {
    std::string out;
    bool pendingSpace = false;
    for (const char* p = text; *p; ++p) {
        if (std::isspace(static_cast<unsigned char>(*p))) {
            pendingSpace = !out.empty();
            continue;
        }
        if (pendingSpace) out += ' ';
        pendingSpace = false;
        out += *p;
    }
    return out;
}

std::string jsonString(const NqbString& text) {
    if (text.isNull()) return "null";
    std::string out = "\"";
    appendJsonEscaped(&out, text.asCstr(), static_cast<std::size_t>(text.length()));
    return out + "\"";
}

std::string jsonString(const std::string& text) {
    std::string out = "\"";
    appendJsonEscaped(&out, text.data(), text.size());
    return out + "\"";
}

EngineSession::EngineSession() : m_started(false), m_error(nullptr) {
    m_started = nqDomStartup(nullptr, &m_error) == 0;
}

EngineSession::~EngineSession() {
    if (m_started) nqDomShutdown();
}

}  // namespace nqtool
