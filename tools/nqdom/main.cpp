// nqdom: try the DOM Library from the command line.
#include <pthread.h>

#include <cstdio>
#include <exception>
#include <new>

#include "cli.h"
#include "commands.h"

namespace {

using nqtool::Words;

struct Entry {
    const char* name;
    int (*run)(const Words&);
    bool needsEngine;
};

const Entry kCommands[] = {
    {"version", nqtool::runVersion, false},  {"format", nqtool::runFormat, true},
    {"tree", nqtool::runTree, true},         {"conf", nqtool::runConf, true},
    {"template", nqtool::runTemplate, true}, {"fill", nqtool::runFill, true},
    {"records", nqtool::runRecords, true},
};

// Also the source of the manual page and the shell completion (help_pages.py).
const char kUsage[] =
    "usage: nqdom COMMAND [ARGUMENTS]\n"
    "\n"
    "Reads, writes and inspects XML documents, templates and configuration entries\n"
    "files with the DOM Library.\n"
    "\n"
    "Commands:\n"
    "  version                              the library's build identity\n"
    "  format [--pretty] [--stream] [-o OUT] FILE|-\n"
    "                                       write a document back as UTF-8\n"
    "  records [--json] [-o OUT] NAME FILE|-\n"
    "                                       every element NAME as one line, streamed\n"
    "  tree [--json] FILE|-                 outline of elements, comments, attributes and text\n"
    "  conf list|get|set|unset FILE ...     read and edit a configuration entries file\n"
    "  template [--json] FILE               variables, namespaces and skeleton of a template\n"
    "  fill TEMPLATE [NAME=VALUE...] [--values FILE]\n"
    "                                       render a template with values\n"
    "\n"
    "Files are read as bytes: UTF-16 with a byte-order mark works, and a 0 byte is\n"
    "an error at its place. A missing file, an unreadable one and a folder give\n"
    "different messages; an option given twice is a usage error.\n"
    "\n"
    "Exit status:\n"
    "  0   success\n"
    "  1   failure, with one line on standard error naming the command and the\n"
    "      library's message\n"
    "  2   usage error, with the problem and the command's synopsis\n"
    "\n"
    "Run \"nqdom COMMAND --help\" for the details of a command.\n";

const Entry* findCommand(const std::string& name) {
    for (const Entry& entry : kCommands) {
        if (name == entry.name) return &entry;
    }
    return nullptr;
}

// Runs the command; its documents, templates and serializers are all gone
// when this returns, also when it throws.
int runGuarded(const Entry& command, const Words& argv) {
    try {
        return command.run(argv);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "nqdom %s: out of memory\n", command.name);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "nqdom %s: %s\n", command.name, e.what());
    } catch (...) {
        std::fprintf(stderr, "nqdom %s: failed inside the library with an unexpected exception\n",
                     command.name);
    }
    return nqtool::kExitFailure;
}

int runInEngine(const Entry& command, const Words& argv) {
    nqtool::EngineSession engine;
    if (!engine.started()) {
        std::fprintf(stderr, "nqdom %s: cannot start the XML engine: %s\n", command.name,
                     engine.error() ? engine.error() : "unknown reason");
        return nqtool::kExitFailure;
    }
    return runGuarded(command, argv);
}

int dispatch(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(kUsage, stderr);
        return nqtool::kExitUsage;
    }
    std::string name = argv[1];
    Words rest(argv + 2, argv + argc);
    if (name == "--help" || name == "-h" || name == "help") {
        std::fputs(kUsage, stdout);
        return nqtool::kExitOk;
    }
    if (name == "--version") name = "version";
    const Entry* command = findCommand(name);
    if (!command) {
        std::fprintf(stderr, "nqdom: unknown command \"%s\"\n%s", name.c_str(), kUsage);
        return nqtool::kExitUsage;
    }
    return command->needsEngine ? runInEngine(*command, rest) : runGuarded(*command, rest);
}

struct Job {
    int argc;
    char** argv;
    int status;
};

void* runJob(void* data) {
    Job* job = static_cast<Job*>(data);
    job->status = dispatch(job->argc, job->argv);
    return nullptr;
}

// The XML engine writes a document recursively, one frame per level of
// element nesting: the default stack holds some tens of thousands of levels,
// this one any nesting the load's memory bound lets through, with room for
// sanitizer builds. Only the pages used are ever committed.
const std::size_t kStackBytes = std::size_t(256) << 20;

}  // namespace

int main(int argc, char** argv) {
    Job job{argc, argv, nqtool::kExitFailure};
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return dispatch(argc, argv);
    pthread_t thread;
    bool started = pthread_attr_setstacksize(&attributes, kStackBytes) == 0 &&
                   pthread_create(&thread, &attributes, runJob, &job) == 0;
    pthread_attr_destroy(&attributes);
    if (!started) return dispatch(argc, argv);
    pthread_join(thread, nullptr);
    return job.status;
}
