// Configuration serializer: writing and reading back a list of 10,000 entries.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench_engine.h"
#include "nqdom.h"

namespace {

constexpr int kEntryCount = 10000;

std::string benchFile(const char* tag) {
    const char* base = std::getenv("TMPDIR");
    return std::string(base && *base ? base : "/tmp") + "/nqdom-bench-conf-" + tag + "-" +
           std::to_string(getpid()) + ".xml";
}

// A serializer holding kEntryCount entries with mixed texts; every third has
// no description.
NqbConfSerializer* filledSerializer() {
    NqbConfSerializer* serializer = nqDomGetInterface("NqbConfSerializer");
    for (int i = 0; i < kEntryCount; ++i) {
        const std::string index = std::to_string(i);
        const std::string name = "section.option_" + index;
        const std::string value = "value <" + index + "> & \xc3\xa9t\xc3\xa9";
        const std::string description = i % 3 == 0 ? "" : "Description of option " + index;
        serializer->addEntry(NqbString(name.c_str()), NqbString(value.c_str()),
                             NqbString(description.c_str()));
    }
    return serializer;
}

void BM_ConfSerializerWrite(benchmark::State& state) {
    if (!benchEngineStarted()) {
        state.SkipWithError("engine did not start");
        return;
    }
    NqbConfSerializer* serializer = filledSerializer();
    const std::string path = benchFile("write");
    const NqbString fileName(path.c_str());
    for (auto _ : state) {
        if (!serializer->write(fileName)) {
            state.SkipWithError(serializer->getErrorMessage().asCstr());
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * kEntryCount);
    serializer->release();
    std::remove(path.c_str());
}
BENCHMARK(BM_ConfSerializerWrite)->Unit(benchmark::kMillisecond);

void BM_ConfSerializerRead(benchmark::State& state) {
    if (!benchEngineStarted()) {
        state.SkipWithError("engine did not start");
        return;
    }
    const std::string path = benchFile("read");
    const NqbString fileName(path.c_str());
    NqbConfSerializer* serializer = filledSerializer();
    const bool written = serializer->write(fileName);
    serializer->release();
    if (!written) {
        state.SkipWithError("could not write the input file");
        return;
    }

    NqbConfSerializer* reader = nqDomGetInterface("NqbConfSerializer");
    for (auto _ : state) {
        if (!reader->read(fileName)) {
            state.SkipWithError(reader->getErrorMessage().asCstr());
            break;
        }
        NqbString name, value, description;
        int count = 0;
        while (reader->getNextEntry(&name, &value, &description)) ++count;
        if (count != kEntryCount) {
            state.SkipWithError("entry count differs after reading back");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * kEntryCount);
    reader->release();
    std::remove(path.c_str());
}
BENCHMARK(BM_ConfSerializerRead)->Unit(benchmark::kMillisecond);

}  // namespace
