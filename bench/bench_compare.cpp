// Load, full walk and serialization of generated documents by this library,
// plain Xerces-C (doing the same work, and with TranscodeToStr), pugixml and
// libxml2, with a memcpy of the input as the physical limit. Prints the
// usual benchmark output, then a markdown table.
//
//   nqdom_bench_compare [--table_out=FILE] [--rounds=N] [benchmark flags]
//
// Each input is measured in N rounds (3 by default). In every round the
// library and plain Xerces-C, the pair each ratio compares, run next to each
// other and take turns to go first; the reference libraries follow. Every
// benchmark starts after the heap has given its free memory back, so none
// finds pages another one left behind. The table shows each cell's median.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench_alloc.h"
#include "bench_input.h"
#include "bench_libraries.h"
#include "bench_table.h"
#include "nqdom.h"

namespace bench {
namespace {

// Holds one generated input at a time, and at most one library's document.
// Benchmarks are registered input by input so each input is made once.
class Workbench {
public:
    Workbench() {
        m_libraries.push_back(makeNqDomLibrary());
        m_libraries.push_back(makeXercesLibrary());
        m_libraries.push_back(makeXercesTranscodeToStrLibrary());
        m_libraries.push_back(makePugixmlLibrary());
        m_libraries.push_back(makeLibxml2Library());
    }

    const std::vector<std::unique_ptr<Library>>& libraries() const { return m_libraries; }

    const Input& use(const InputKind& kind) {
        if (!m_input || m_input->kind.name() != kind.name()) {
            dropDocument();
            m_input.reset();
            m_input = std::make_unique<Input>(generateInput(kind));
        }
        return *m_input;
    }

    // `library` prepared for the current input, without a document.
    void prepare(Library& library) {
        dropDocument();
        library.prepare(*m_input);
    }

    // `library` holding the current input as its document.
    bool loaded(Library& library) {
        if (m_loaded == &library) return true;
        dropDocument();
        library.prepare(*m_input);
        if (!library.load()) return false;
        m_loaded = &library;
        return true;
    }

    void dropDocument() {
        if (m_loaded) m_loaded->unload(true);
        m_loaded = nullptr;
        malloc_trim(0);
    }

    void clear() {
        dropDocument();
        m_input.reset();
        m_libraries.clear();
    }

private:
    std::vector<std::unique_ptr<Library>> m_libraries;
    std::unique_ptr<Input> m_input;
    Library* m_loaded = nullptr;
};

Workbench* g_workbench = nullptr;

void benchMemcpy(benchmark::State& state, InputKind kind) {
    const Input& input = g_workbench->use(kind);
    std::vector<char> target(input.xml.size());
    std::memcpy(target.data(), input.xml.data(), input.xml.size());
    for (auto _ : state) {
        std::memcpy(target.data(), input.xml.data(), input.xml.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.xml.size()));
}

void benchLoad(benchmark::State& state, InputKind kind, Library* library) {
    const Input& input = g_workbench->use(kind);
    g_workbench->prepare(*library);
    for (auto _ : state) {
        if (!library->load()) {
            state.SkipWithError("load failed");
            break;
        }
        state.PauseTiming();
        library->unload(false);
        state.ResumeTiming();
    }
    library->unload(true);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.xml.size()));
}

void benchWalk(benchmark::State& state, InputKind kind, Library* library) {
    const Input& input = g_workbench->use(kind);
    if (!g_workbench->loaded(*library)) {
        state.SkipWithError("load failed");
        return;
    }
    WalkCounts counts;
    std::uint64_t allocationsBefore = allocationCount();
    for (auto _ : state) {
        counts = library->walk();
        benchmark::DoNotOptimize(counts);
    }
    std::uint64_t allocations = allocationCount() - allocationsBefore;
    if (!(counts == input.expected)) {
        state.SkipWithError("walk saw other elements, attributes or texts than were generated");
        return;
    }
    auto visits = static_cast<double>(state.iterations() * counts.elements);
    state.counters["allocs_per_element"] = static_cast<double>(allocations) / visits;
    state.counters["elements"] = static_cast<double>(counts.elements);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.xml.size()));
}

// Both libraries that walk texts must read the same bytes from an input.
std::map<std::string, std::uint64_t> g_textBytes;

void benchTexts(benchmark::State& state, InputKind kind, Library* library) {
    const Input& input = g_workbench->use(kind);
    if (!g_workbench->loaded(*library)) {
        state.SkipWithError("load failed");
        return;
    }
    std::uint64_t bytes = 0;
    for (auto _ : state) {
        bytes = library->walkTexts();
        benchmark::DoNotOptimize(bytes);
    }
    auto known = g_textBytes.emplace(kind.name(), bytes).first;
    if (bytes == 0 || known->second != bytes) {
        state.SkipWithError("the texts read differ from the other library's");
        return;
    }
    state.counters["text_bytes"] = static_cast<double>(bytes);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.xml.size()));
}

void benchSerialize(benchmark::State& state, InputKind kind, Library* library) {
    const Input& input = g_workbench->use(kind);
    if (!g_workbench->loaded(*library)) {
        state.SkipWithError("load failed");
        return;
    }
    std::size_t size = 0;
    for (auto _ : state) {
        size = library->serialize();
        benchmark::DoNotOptimize(size);
    }
    // Escaping and the declaration change the size a little, never much.
    if (size < input.xml.size() * 9 / 10 || size > input.xml.size() * 13 / 10) {
        state.SkipWithError("serialized text has an implausible size");
        return;
    }
    state.counters["output_bytes"] = static_cast<double>(size);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.xml.size()));
}

std::vector<InputKind> inputKinds() {
    std::vector<InputKind> kinds;
    for (std::size_t megabytes : {1, 20, 100}) {
        for (Shape shape : {Shape::Flat, Shape::Deep}) {
            for (Script script : {Script::Ascii, Script::NonAscii})
                kinds.push_back({megabytes, shape, script});
        }
    }
    kinds.push_back({1, Shape::Flat, Script::Short});
    kinds.push_back({1, Shape::Deep, Script::Short});
    return kinds;
}

// Few iterations for the big inputs keep the whole run to a few minutes.
// Times are the benchmark thread's CPU time, which other work on the
// machine disturbs less than wall time.
void pace(benchmark::internal::Benchmark* b, const InputKind& kind) {
    b->Unit(benchmark::kMillisecond);
    if (kind.megabytes >= 100) {
        b->Iterations(1);
    } else if (kind.megabytes >= 20) {
        b->Iterations(3);
    } else {
        b->MinTime(0.2);
    }
}

void registerLibrary(Table& table, const InputKind& kind, Library* library) {
    const std::string input = kind.name();
    const std::string lib = library->name();
    std::string name;
    if (library->measuresLoad()) {
        name = "load/" + lib + "/" + input;
        pace(benchmark::RegisterBenchmark(name.c_str(), benchLoad, kind, library), kind);
        table.expect(name, {"load", lib, input, kind.megabytes});
    }
    name = "walk/" + lib + "/" + input;
    pace(benchmark::RegisterBenchmark(name.c_str(), benchWalk, kind, library), kind);
    table.expect(name, {"walk", lib, input, kind.megabytes});
    // Each element's text is read again by every ancestor, which the deep
    // inputs' long chains make quadratic.
    if (library->walksTexts() && kind.shape == Shape::Flat && kind.megabytes <= 20) {
        name = "texts/" + lib + "/" + input;
        pace(benchmark::RegisterBenchmark(name.c_str(), benchTexts, kind, library), kind);
        table.expect(name, {"texts", lib, input, kind.megabytes});
    }
    name = "serialize/" + lib + "/" + input;
    pace(benchmark::RegisterBenchmark(name.c_str(), benchSerialize, kind, library), kind);
    table.expect(name, {"serialize", lib, input, kind.megabytes});
}

void registerBenchmarks(Table& table, int rounds) {
    const auto& libraries = g_workbench->libraries();
    for (const InputKind& kind : inputKinds()) {
        std::string name = "memcpy/" + kind.name();
        pace(benchmark::RegisterBenchmark(name.c_str(), benchMemcpy, kind), kind);
        table.expect(name, {"memcpy", "memcpy", kind.name(), kind.megabytes});
        for (int round = 0; round < rounds; ++round) {
            // Odd rounds swap the neighbours: 1 0 3 2 4.
            for (std::size_t i = 0; i < libraries.size(); ++i) {
                std::size_t at = round % 2 ? i ^ 1 : i;
                if (at >= libraries.size()) at = i;
                registerLibrary(table, kind, libraries[at].get());
            }
        }
    }
}

// Takes `flag` (e.g. "--table_out=") and its value out of the arguments;
// empty when absent.
std::string takeFlag(int& argc, char** argv, const char* flag) {
    std::string value;
    int kept = 0;
    for (int i = 0; i < argc; ++i) {
        if (std::strncmp(argv[i], flag, std::strlen(flag)) == 0) {
            value = argv[i] + std::strlen(flag);
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    return value;
}

// The library's own console reporter honours --benchmark_color; this one
// is made here, so it reads the flag itself (before Initialize takes it).
bool wantColor(int argc, char** argv) {
    const char* flag = "--benchmark_color=";
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], flag, std::strlen(flag)) != 0) continue;
        std::string value = argv[i] + std::strlen(flag);
        if (value != "auto") return value == "true" || value == "yes" || value == "1";
    }
    return isatty(STDOUT_FILENO) != 0;
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    std::string tableOut = bench::takeFlag(argc, argv, "--table_out=");
    std::string roundsFlag = bench::takeFlag(argc, argv, "--rounds=");
    int rounds = roundsFlag.empty() ? 3 : std::atoi(roundsFlag.c_str());
    if (rounds < 1) {
        std::cerr << "--rounds needs a positive number\n";
        return 1;
    }
    bool color = bench::wantColor(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    char* error = nullptr;
    if (nqDomStartup(nullptr, &error) != 0) {
        std::cerr << "engine start failed: " << (error ? error : "") << "\n";
        return 1;
    }
    xmlInitParser();
    int status = 0;
    {
        bench::Workbench workbench;
        bench::g_workbench = &workbench;
        bench::Table table;
        bench::registerBenchmarks(table, rounds);
        bench::TableReporter reporter(table, color);
        benchmark::RunSpecifiedBenchmarks(&reporter);
        std::string markdown = table.markdown();
        std::cout << "\n" << markdown;
        if (!tableOut.empty()) {
            std::ofstream out(tableOut);
            out << markdown;
            if (!out) status = 1;
        }
        if (table.failures() > 0) status = 1;
        workbench.clear();
        bench::g_workbench = nullptr;
    }
    xmlCleanupParser();
    nqDomShutdown();
    benchmark::Shutdown();
    return status;
}
