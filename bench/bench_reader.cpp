// The pull reader against loading whole: reading every node, expanding every
// record, and the tool's streamed format against xmllint --format, on the
// generated 100 MB inputs, then a generated 5 GB document. Every measured
// run is a process of its own, so that its CPU time and peak resident
// memory are its own; runs of one input take turns in every round.
//
// Usage: nqdom_bench_reader [--rounds=N] [--size-mb=N] [--big-gb=N] [--keep-going]
// --big-gb=0 leaves the large document out. Exits 1 when a target is missed.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench_engine.h"
#include "bench_input.h"
#include "nqdom.h"

namespace {

struct Usage {
    double cpu = -1;  // seconds; negative when the run failed
    long peakMb = 0;
};

Usage usageOf(pid_t pid) {
    int status = 0;
    struct rusage usage {};
    Usage out;
    if (pid < 0 || wait4(pid, &status, 0, &usage) != pid) return out;
    out.peakMb = usage.ru_maxrss / 1024;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return out;
    out.cpu = usage.ru_utime.tv_sec + usage.ru_utime.tv_usec * 1e-6 + usage.ru_stime.tv_sec +
              usage.ru_stime.tv_usec * 1e-6;
    return out;
}

// `work` in a child process; it succeeds when `work` returns true.
Usage inChild(const std::function<bool()>& work) {
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) _exit(work() ? 0 : 1);
    return usageOf(pid);
}

// A program with its standard output thrown away.
Usage program(std::vector<std::string> args) {
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, 1);
        std::vector<char*> argv;
        for (std::string& word : args) argv.push_back(word.data());
        argv.push_back(nullptr);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    return usageOf(pid);
}

bool loadWhole(const std::string& path) {
    NqDom dom;
    return dom.loadFile(path.c_str()) && !dom.getRoot().null();
}

// Every node, with its name, attributes and value as UTF-8.
bool readEvery(const std::string& path) {
    NqDomReader reader;
    if (!reader.openFile(path.c_str())) return false;
    std::size_t bytes = 0;
    NqDomReadKind kind;
    while ((kind = reader.next()) != NqDomReadEnd && kind != NqDomReadError) {
        bytes += std::strlen(reader.getName()) + reader.getValueLength();
        for (int i = 0; i < reader.getAttributeCount(); ++i)
            bytes += std::strlen(reader.getAttributeName(i)) + std::strlen(reader.getAttributeValue(i));
    }
    return kind == NqDomReadEnd && bytes > 0;
}

// Every child of the root as a document of its own, walked to its first child.
bool expandEvery(const std::string& path) {
    NqDomReader reader;
    if (!reader.openFile(path.c_str())) return false;
    NqDom record;
    std::size_t records = 0;
    NqDomReadKind kind;
    while ((kind = reader.next()) != NqDomReadEnd && kind != NqDomReadError) {
        if (kind != NqDomReadElementStart || reader.getDepth() != 1) continue;
        if (!reader.expand(record) || record.getRoot().getFirstChild(false).null()) return false;
        ++records;
    }
    return kind == NqDomReadEnd && records > 0;
}

// Writes the generated input of `kind` to `path`, in a child so that this
// process stays small for the children measured after it. With `copies`
// above 1 the records are repeated that many times.
bool writeInput(const bench::InputKind& kind, const std::string& path, int copies) {
    return inChild([&] {
               const bench::Input input = bench::generateInput(kind);
               const std::string& xml = input.xml;
               // The records lie between the root's start tag and its end tag.
               std::size_t root = xml.find('<');
               while (root != std::string::npos && (xml[root + 1] == '?' || xml[root + 1] == '!'))
                   root = xml.find('<', root + 1);
               const std::size_t bodyStart = xml.find('>', root) + 1, bodyEnd = xml.rfind("</");
               std::FILE* out = std::fopen(path.c_str(), "wb");
               if (!out) return false;
               bool ok = std::fwrite(xml.data(), 1, bodyStart, out) == bodyStart;
               for (int i = 0; ok && i < copies; ++i)
                   ok = std::fwrite(xml.data() + bodyStart, 1, bodyEnd - bodyStart, out) ==
                        bodyEnd - bodyStart;
               ok = ok &&
                    std::fwrite(xml.data() + bodyEnd, 1, xml.size() - bodyEnd, out) == xml.size() - bodyEnd;
               return std::fclose(out) == 0 && ok;
           }).cpu >= 0;
}

struct Row {
    std::string name;
    std::vector<Usage> runs;

    Usage median() const {
        std::vector<Usage> sorted = runs;
        std::sort(sorted.begin(), sorted.end(), [](const Usage& a, const Usage& b) { return a.cpu < b.cpu; });
        Usage out = sorted[sorted.size() / 2];
        for (const Usage& run : runs) out.peakMb = std::max(out.peakMb, run.peakMb);
        return out;
    }
};

struct Options {
    int rounds = 3;
    std::size_t sizeMb = 100;
    int bigGb = 5;
};

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg.rfind("--rounds=", 0) == 0) options.rounds = std::max(1, std::atoi(arg.c_str() + 9));
        if (arg.rfind("--size-mb=", 0) == 0) options.sizeMb = std::strtoul(arg.c_str() + 10, nullptr, 10);
        if (arg.rfind("--big-gb=", 0) == 0) options.bigGb = std::atoi(arg.c_str() + 9);
    }
    return options;
}

int failures = 0;

void check(const char* what, bool met) {
    std::printf("  %-66s %s\n", what, met ? "met" : "MISSED");
    if (!met) ++failures;
}

std::string temporaryFolder() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/nqdom-bench-reader-XXXXXX";
    return mkdtemp(pattern.data()) ? pattern : std::string();
}

void compare(const bench::InputKind& kind, const std::string& path, const std::string& tool, int rounds) {
    std::vector<Row> rows = {{"loadFile (Lenient)", {}},
                             {"reader, every node", {}},
                             {"reader, every record expanded", {}},
                             {"xmllint --format", {}},
                             {"nqdom format --stream --pretty", {}}};
    for (int round = 0; round < rounds; ++round) {
        // Each run goes first in turn.
        for (std::size_t turn = 0; turn < rows.size(); ++turn) {
            const std::size_t i = (turn + static_cast<std::size_t>(round)) % rows.size();
            Usage usage;
            if (i == 0) usage = inChild([&] { return loadWhole(path); });
            if (i == 1) usage = inChild([&] { return readEvery(path); });
            if (i == 2) usage = inChild([&] { return expandEvery(path); });
            if (i == 3) usage = program({"xmllint", "--format", path});
            if (i == 4) usage = program({tool, "format", "--stream", "--pretty", path});
            rows[i].runs.push_back(usage);
        }
    }
    std::printf("\n%s (%d rounds; CPU seconds, median; peak resident memory, largest)\n\n",
                kind.name().c_str(), rounds);
    std::printf("| run | CPU s | peak MB |\n|---|---|---|\n");
    for (const Row& row : rows)
        std::printf("| %s | %.2f | %ld |\n", row.name.c_str(), row.median().cpu, row.median().peakMb);
    const Usage load = rows[0].median(), read = rows[1].median(), expand = rows[2].median(),
                xmllint = rows[3].median(), format = rows[4].median();
    const bool ran = load.cpu > 0 && read.cpu >= 0 && expand.cpu >= 0 && xmllint.cpu > 0 && format.cpu >= 0;
    std::printf("\n");
    check("every run succeeded", ran);
    if (!ran) return;
    char line[128];
    std::snprintf(line, sizeof line, "reader CPU %.2fx loadFile (at most 0.4x)", read.cpu / load.cpu);
    check(line, read.cpu <= 0.4 * load.cpu);
    std::snprintf(line, sizeof line, "reader peak %ld MB (under 32 MB)", read.peakMb);
    check(line, read.peakMb < 32);
    std::snprintf(line, sizeof line, "records expanded CPU %.2fx loadFile (at most 1.0x)",
                  expand.cpu / load.cpu);
    check(line, expand.cpu <= load.cpu);
    std::snprintf(line, sizeof line, "streamed format CPU %.2fx xmllint --format (at most 0.75x)",
                  format.cpu / xmllint.cpu);
    check(line, format.cpu <= 0.75 * xmllint.cpu);
    std::snprintf(line, sizeof line, "streamed format peak %ld MB (under 64 MB)", format.peakMb);
    check(line, format.peakMb < 64);
}

void large(const std::string& folder, const std::string& tool, const Options& options) {
    const bench::InputKind kind{100, bench::Shape::Flat, bench::Script::NonAscii};
    const int copies = options.bigGb * 1024 / 100;
    struct statvfs space {};
    const double needGb = options.bigGb + 0.5;
    if (statvfs(folder.c_str(), &space) != 0 ||
        double(space.f_bavail) * double(space.f_frsize) < needGb * (1 << 30)) {
        std::printf("\n%d GB document: left out, %s holds less than %.1f GB free\n", options.bigGb,
                    folder.c_str(), needGb);
        return;
    }
    const std::string path = folder + "/large.xml";
    if (!writeInput(kind, path, copies)) {
        std::printf("\n%d GB document: could not be written\n", options.bigGb);
        ++failures;
        unlink(path.c_str());
        return;
    }
    const Usage read = inChild([&] { return readEvery(path); });
    const Usage format = program({tool, "format", "--stream", "--pretty", path});
    unlink(path.c_str());
    std::printf("\n%d copies of the records of %s, about %d GB (one run each)\n\n", copies,
                kind.name().c_str(), options.bigGb);
    std::printf("| run | CPU s | peak MB |\n|---|---|---|\n");
    std::printf("| reader, every node | %.2f | %ld |\n", read.cpu, read.peakMb);
    std::printf("| nqdom format --stream --pretty | %.2f | %ld |\n\n", format.cpu, format.peakMb);
    check("both runs succeeded", read.cpu >= 0 && format.cpu >= 0);
    check("reader peak under 32 MB", read.peakMb < 32);
    check("streamed format peak under 64 MB", format.peakMb < 64);
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parse(argc, argv);
    if (!benchEngineStarted()) return 1;
    const std::string folder = temporaryFolder();
    if (folder.empty()) {
        std::perror("nqdom_bench_reader: temporary folder");
        return 1;
    }
    const std::string tool = NQDOM_TOOL_PATH;
    std::printf("Reader benchmark: %zu MB inputs, load average %s", options.sizeMb, [] {
        static char load[64] = "?\n";
        if (std::FILE* f = std::fopen("/proc/loadavg", "r")) {
            if (!std::fgets(load, sizeof load, f)) std::strcpy(load, "?\n");
            std::fclose(f);
        }
        return load;
    }());
    for (bench::Script script : {bench::Script::Ascii, bench::Script::NonAscii}) {
        const bench::InputKind kind{options.sizeMb, bench::Shape::Flat, script};
        const std::string path = folder + "/input.xml";
        if (!writeInput(kind, path, 1)) {
            std::printf("%s: could not be written\n", kind.name().c_str());
            ++failures;
            continue;
        }
        compare(kind, path, tool, options.rounds);
        unlink(path.c_str());
    }
    if (options.bigGb > 0) large(folder, tool, options);
    rmdir(folder.c_str());
    return failures == 0 ? 0 : 1;
}
