// Load policies: what each bounded policy costs over Lenient on the
// benchmark documents loaded from files, and how fast and in how much memory
// the bounded policies refuse hostile input. Each hostile load runs in a child process that measures its own
// peak resident memory.
#include <benchmark/benchmark.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "bench_engine.h"
#include "bench_input.h"
#include "nqdom.h"

namespace {

double cpuSeconds() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return now.tv_sec + now.tv_nsec * 1e-9;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// CPU seconds of one load of the file under `policy`; negative when it fails.
double timedLoad(const std::string& path, NqDomLoadPolicy policy) {
    NqDom dom;
    dom.setLoadPolicy(policy);
    const double start = cpuSeconds();
    const bool loaded = dom.loadFile(path.c_str());
    const double seconds = cpuSeconds() - start;
    return loaded ? seconds : -1;
}

std::string benchDir(const char* what) {
    const char* base = std::getenv("TMPDIR");
    return std::string(base && *base ? base : "/tmp") + "/nqdom-bench-" + what + "-" +
           std::to_string(getpid());
}

const char* const kPolicyNames[] = {"lenient", "strict", "self_contained", "untrusted"};

// Every policy loads the same file in each round, the first of a round
// moving on by one each time; each bounded policy's median against
// Lenient's is its cost. The file is generated in a temporary folder.
void BM_BoundedOverLenient(benchmark::State& state, bench::InputKind kind, int policies) {
    if (!benchEngineStarted()) {
        state.SkipWithError("engine did not start");
        return;
    }
    const std::string dir = benchDir("load");
    mkdir(dir.c_str(), 0700);
    const std::string path = dir + "/input.xml";
    std::ofstream(path, std::ios::binary) << bench::generateInput(kind).xml;
    std::vector<std::vector<double>> seconds(static_cast<std::size_t>(policies));
    int first = 0;
    for (auto _ : state) {
        double round = 0;
        for (int i = 0; i < policies; ++i) {
            const int policy = (first + i) % policies;
            const double taken = timedLoad(path, static_cast<NqDomLoadPolicy>(policy));
            if (taken < 0) {
                state.SkipWithError("a load failed");
                break;
            }
            seconds[static_cast<std::size_t>(policy)].push_back(taken);
            round += taken;
        }
        state.SetIterationTime(round);
        first = (first + 1) % policies;
    }
    std::remove(path.c_str());
    rmdir(dir.c_str());
    if (seconds[0].empty() || seconds.back().size() != seconds[0].size()) return;
    const double lenient = median(seconds[0]);
    state.counters["lenient_ms"] = lenient * 1e3;
    for (int policy = 1; policy < policies; ++policy)
        state.counters[std::string(kPolicyNames[policy]) + "/lenient"] =
            median(seconds[static_cast<std::size_t>(policy)]) / lenient;
}

// Deep documents nest past Untrusted's limit.
const struct {
    bench::InputKind kind;
    int policies;
    int rounds;
} kLoads[] = {{{20, bench::Shape::Flat, bench::Script::Ascii}, 4, 10},
              {{20, bench::Shape::Flat, bench::Script::NonAscii}, 4, 10},
              {{20, bench::Shape::Deep, bench::Script::Ascii}, 3, 10},
              {{100, bench::Shape::Flat, bench::Script::Ascii}, 4, 5},
              {{100, bench::Shape::Flat, bench::Script::NonAscii}, 4, 5}};

std::string repeat(const std::string& text, int count) {
    std::string out;
    for (int i = 0; i < count; ++i) out += text;
    return out;
}

std::string expandingEntities() {
    std::string dtd = "<!ENTITY e0 \"lol\">";
    for (int level = 1; level <= 7; ++level)
        dtd += "<!ENTITY e" + std::to_string(level) + " \"" +
               repeat("&e" + std::to_string(level - 1) + ";", 10) + "\">";
    return "<!DOCTYPE a [" + dtd + "]><a>&e7;</a>";
}

constexpr std::size_t kNestingRow = 2;

// "@" and a file name: loaded with loadFile.
using Hostile = std::string;

const char* const kHostileNames[] = {"entities_ten_per_level", "large_entity_10000_times",
                                     "nesting_1000000",        "entity_fifo",
                                     "external_dtd_network",   "config_cut_at_60_percent"};

std::vector<Hostile> hostileInputs(const std::string& dir) {
    mkdir(dir.c_str(), 0700);
    mkfifo((dir + "/fifo").c_str(), 0600);
    std::ofstream(dir + "/fifo.xml") << "<!DOCTYPE a [<!ENTITY e SYSTEM 'fifo'>]><a>&e;</a>";
    std::ofstream(dir + "/network.xml") << "<!DOCTYPE a SYSTEM 'http://127.0.0.1:9/x.dtd'><a/>";
    std::string entries;
    for (int i = 0; i < 100; ++i)
        entries +=
            "<entry name='n" + std::to_string(i) + "'><value>" + std::to_string(i) + "</value></entry>";
    const std::string conf =
        "<norquilldocument class='config' version='1'><entries>" + entries + "</entries>";
    std::ofstream(dir + "/cut.xml") << conf.substr(0, conf.size() * 6 / 10);
    return {
        expandingEntities(),
        "<!DOCTYPE a [<!ENTITY big '" + std::string(100000, 'x') + "'>]><a>" + repeat("&big;", 10000) +
            "</a>",
        repeat("<e>", 1000000) + repeat("</e>", 1000000),
        "@" + dir + "/fifo.xml",
        "@" + dir + "/network.xml",
        "@" + dir + "/cut.xml",
    };
}

// Peak resident memory of this process since the last reset, in bytes.
long peakBytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6)) * 1024;
    return -1;
}

struct Outcome {
    double seconds;
    long peakBytes;
    bool loaded;
};

// One load in a child process, whose peak memory is reset first.
Outcome loadInChild(const Hostile& input, NqDomLoadPolicy policy) {
    int fds[2];
    Outcome outcome{-1, -1, true};
    if (pipe(fds) != 0) return outcome;
    const pid_t child = fork();
    if (child == 0) {
        close(fds[0]);
        std::ofstream("/proc/self/clear_refs") << "5";
        const long before = peakBytes();
        NqDom dom;
        dom.setLoadPolicy(policy);
        const double start = cpuSeconds();
        const bool loaded =
            input[0] == '@' ? dom.loadFile(input.c_str() + 1) : dom.loadXML(NqbString(input.c_str()));
        Outcome result{cpuSeconds() - start, peakBytes() - before, loaded};
        if (write(fds[1], &result, sizeof result) != sizeof result) _exit(1);
        _exit(0);
    }
    close(fds[1]);
    if (read(fds[0], &outcome, sizeof outcome) != sizeof outcome) outcome.seconds = -1;
    close(fds[0]);
    waitpid(child, nullptr, 0);
    return outcome;
}

void BM_HostileRefused(benchmark::State& state, std::size_t row, NqDomLoadPolicy policy) {
    if (!benchEngineStarted()) {
        state.SkipWithError("engine did not start");
        return;
    }
    const std::string dir = benchDir("hostile");
    const Hostile input = hostileInputs(dir)[row];
    Outcome outcome{};
    for (auto _ : state) {
        outcome = loadInChild(input, policy);
        state.SetIterationTime(outcome.seconds > 0 ? outcome.seconds : 0);
    }
    if (outcome.seconds < 0) state.SkipWithError("the child did not report");
    if (outcome.loaded) state.SkipWithError("the hostile input was loaded");
    state.counters["peak_MB"] = outcome.peakBytes / 1048576.0;
    std::remove((dir + "/fifo").c_str());
    for (const char* name : {"fifo.xml", "network.xml", "cut.xml"}) std::remove((dir + "/" + name).c_str());
    rmdir(dir.c_str());
}

int registerAll() {
    for (const auto& load : kLoads)
        benchmark::RegisterBenchmark(("BM_BoundedOverLenient/" + load.kind.name()).c_str(),
                                     BM_BoundedOverLenient, load.kind, load.policies)
            ->Iterations(load.rounds)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    for (std::size_t row = 0; row < sizeof kHostileNames / sizeof kHostileNames[0]; ++row) {
        for (NqDomLoadPolicy policy : {NqDomLoadSelfContained, NqDomLoadUntrusted}) {
            // Only Untrusted bounds nesting.
            if (row == kNestingRow && policy != NqDomLoadUntrusted) continue;
            const std::string name = std::string("BM_HostileRefused/") + kHostileNames[row] +
                                     (policy == NqDomLoadUntrusted ? "/untrusted" : "/self_contained");
            benchmark::RegisterBenchmark(name.c_str(), BM_HostileRefused, row, policy)
                ->Iterations(1)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
    }
    return 0;
}

const int registered = registerAll();

}  // namespace
