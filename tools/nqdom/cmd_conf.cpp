// nqdom conf: list, read and edit configuration entries files.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "cli.h"
#include "commands.h"
#include "conf_entries.h"

namespace nqtool {
namespace {

const Option kExternal = {"--external", false}, kUntrusted = {"--untrusted", false},
             kSkipDtd = {"--skip-dtd", false};

const CommandInfo kConfInfo = {"conf",
                               "conf list|get|set|unset FILE ...",
                               "Subcommands:\n"
                               "  conf list [--json] FILE\n"
                               "  conf get FILE NAME\n"
                               "  conf set FILE NAME VALUE [--description TEXT]\n"
                               "  conf unset FILE NAME\n",
                               {},
                               1,
                               kUnlimited};

const CommandInfo kListInfo = {"conf list",
                               "conf list [--json] FILE",
                               "Prints every entry of FILE in file order: its description as a\n"
                               "\"# \" line when it has one, then NAME=VALUE.\n"
                               "\n"
                               "  --json   an array of {\"name\", \"value\", \"description\"}, all strings\n",
                               {{"--json", false}, kExternal, kUntrusted, kSkipDtd},
                               1,
                               1};

const CommandInfo kGetInfo = {"conf get",
                              "conf get FILE NAME",
                              "Prints the value of the first entry named NAME.\n",
                              {kExternal, kUntrusted, kSkipDtd},
                              2,
                              2};

const CommandInfo kSetInfo = {"conf set",
                              "conf set FILE NAME VALUE [--description TEXT]",
                              "Sets entry NAME to VALUE. An entry of that name is replaced where it\n"
                              "stands and keeps its description unless --description is given; a new\n"
                              "entry goes last. FILE is created when missing, and replaced only once\n"
                              "the new content is written in full.\n",
                              {{"--description", true}, kExternal, kUntrusted, kSkipDtd},
                              3,
                              3};

const CommandInfo kUnsetInfo = {"conf unset",
                                "conf unset FILE NAME",
                                "Removes every entry named NAME from FILE.\n",
                                {kExternal, kUntrusted, kSkipDtd},
                                2,
                                2};

bool sameName(const ConfEntry& entry, const std::string& name) {
    return entry.name.compare(toNqb(name), true) == 0;
}

bool fileMissing(const std::string& file) {
    struct stat info;
    return stat(file.c_str(), &info) != 0 && errno == ENOENT;
}

int runList(const Words& argv) {
    Args args;
    int status = parseArgs(kListInfo, argv, &args);
    if (status >= 0) return status;
    std::vector<ConfEntry> entries;
    std::string problem;
    if (!readEntries(args.positional[0], &entries, &problem)) return failure(kListInfo, problem);

    bool json = args.has("--json");
    if (json) writeOut(std::string(entries.empty() ? "[" : "[\n"));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const ConfEntry& entry = entries[i];
        if (json) {
            // An empty value or description reads back as a null string.
            writeOut("  {\"name\": " + jsonString(entry.name) +
                     ", \"value\": " + jsonString(std::string(entry.value.asCstr())) +
                     ", \"description\": " + jsonString(std::string(entry.description.asCstr())) + "}" +
                     (i + 1 < entries.size() ? ",\n" : "\n"));
            continue;
        }
        if (entry.description.length() > 0) writeOut(std::string("# ") + entry.description.asCstr() + "\n");
        writeOut(std::string(entry.name.asCstr()) + "=" + entry.value.asCstr() + "\n");
    }
    if (json) writeOut(std::string("]\n"));
    return finishOutput(kListInfo);
}

int runGet(const Words& argv) {
    Args args;
    int status = parseArgs(kGetInfo, argv, &args);
    if (status >= 0) return status;
    const std::string& file = args.positional[0];
    const std::string& name = args.positional[1];
    std::vector<ConfEntry> entries;
    std::string problem;
    if (!readEntries(file, &entries, &problem)) return failure(kGetInfo, problem);

    auto found =
        std::find_if(entries.begin(), entries.end(), [&](const ConfEntry& e) { return sameName(e, name); });
    if (found == entries.end()) return failure(kGetInfo, "no entry named \"" + name + "\" in " + file);
    writeOut(std::string(found->value.asCstr()) + "\n");
    return finishOutput(kGetInfo);
}

// Replaces the first entry named like `entry` and drops later ones of that
// name, or appends it.
void putEntry(std::vector<ConfEntry>* entries, const ConfEntry& entry, bool keepDescription) {
    std::string name = entry.name.asCstr();
    auto first =
        std::find_if(entries->begin(), entries->end(), [&](const ConfEntry& e) { return sameName(e, name); });
    if (first == entries->end()) {
        entries->push_back(entry);
        return;
    }
    first->value = entry.value;
    if (!keepDescription) first->description = entry.description;
    entries->erase(
        std::remove_if(first + 1, entries->end(), [&](const ConfEntry& e) { return sameName(e, name); }),
        entries->end());
}

int runSet(const Words& argv) {
    Args args;
    int status = parseArgs(kSetInfo, argv, &args);
    if (status >= 0) return status;
    const std::string& file = args.positional[0];
    if (args.positional[1].empty()) return usageError(kSetInfo, "NAME must not be empty");

    std::vector<ConfEntry> entries;
    std::string problem;
    if (!fileMissing(file) && !readEntries(file, &entries, &problem)) return failure(kSetInfo, problem);

    const std::string* description = args.value("--description");
    ConfEntry entry{toNqb(args.positional[1]), toNqb(args.positional[2]),
                    description ? toNqb(*description) : NqbString("", true)};
    putEntry(&entries, entry, description == nullptr);
    if (!replaceEntries(file, entries, &problem)) return failure(kSetInfo, problem);
    return kExitOk;
}

int runUnset(const Words& argv) {
    Args args;
    int status = parseArgs(kUnsetInfo, argv, &args);
    if (status >= 0) return status;
    const std::string& file = args.positional[0];
    const std::string& name = args.positional[1];
    std::vector<ConfEntry> entries;
    std::string problem;
    if (!readEntries(file, &entries, &problem)) return failure(kUnsetInfo, problem);

    auto kept =
        std::remove_if(entries.begin(), entries.end(), [&](const ConfEntry& e) { return sameName(e, name); });
    if (kept == entries.end()) return failure(kUnsetInfo, "no entry named \"" + name + "\" in " + file);
    entries.erase(kept, entries.end());
    if (!replaceEntries(file, entries, &problem)) return failure(kUnsetInfo, problem);
    return kExitOk;
}

}  // namespace

int runConf(const Words& argv) {
    struct Sub {
        const char* name;
        int (*run)(const Words&);
    };
    static const Sub kSubs[] = {{"list", runList}, {"get", runGet}, {"set", runSet}, {"unset", runUnset}};
    if (argv.empty()) return usageError(kConfInfo, "missing subcommand");
    for (const Sub& sub : kSubs) {
        if (argv[0] == sub.name) return sub.run(Words(argv.begin() + 1, argv.end()));
    }
    Args args;
    int status = parseArgs(kConfInfo, argv, &args);  // --help lands here
    if (status >= 0) return status;
    return usageError(kConfInfo, "unknown subcommand \"" + argv[0] + "\"");
}

}  // namespace nqtool
