// Writing the 20 MB benchmark document to a file: createFile as hosts call
// it, and the write of the serialized text alone, the library's against
// local copies that replace the file or write it in place, each with and
// without fsync. Wall time: fsync waits without using the CPU.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "bench_engine.h"
#include "bench_input.h"
#include "nqdom.h"

namespace {

struct Document {
    NqDom dom;
    NqbString text;
};

// The 20 MB flat ASCII input of the comparison, loaded once.
Document* document() {
    static const std::unique_ptr<Document> loaded = []() -> std::unique_ptr<Document> {
        if (!benchEngineStarted()) return nullptr;
        auto doc = std::make_unique<Document>();
        const bench::Input input = bench::generateInput({20, bench::Shape::Flat, bench::Script::Ascii});
        if (!doc->dom.loadXML(NqbString(input.xml.c_str()))) return nullptr;
        doc->text = doc->dom.createXML(false);
        return doc->text.isNull() ? nullptr : std::move(doc);
    }();
    return loaded.get();
}

std::string benchFile() {
    const char* base = std::getenv("TMPDIR");
    return std::string(base && *base ? base : "/tmp") + "/nqdom-bench-file-" + std::to_string(getpid()) +
           ".xml";
}

bool writeAll(int fd, const NqbString& text) {
    const std::size_t size = static_cast<std::size_t>(text.cStrSize() - 1);
    return fd >= 0 && write(fd, text.asCstr(), size) == static_cast<ssize_t>(size);
}

bool writeInPlace(const std::string& path, const NqbString& text, bool sync) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool written = writeAll(fd, text) && (!sync || fsync(fd) == 0);
    return close(fd) == 0 && written;
}

// The library's way: an unnamed file beside the target, linked in and
// renamed over it once complete.
bool writeReplacing(const std::string& path, const NqbString& text, bool sync) {
    const std::string folder = path.substr(0, path.rfind('/') + 1), temporary = path + ".nqtmp";
    const int fd = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    char self[64];
    std::snprintf(self, sizeof self, "/proc/self/fd/%d", fd);
    bool done = writeAll(fd, text) && (!sync || fsync(fd) == 0);
    done = done && linkat(AT_FDCWD, self, AT_FDCWD, temporary.c_str(), AT_SYMLINK_FOLLOW) == 0;
    done = done && rename(temporary.c_str(), path.c_str()) == 0;
    return close(fd) == 0 && done;
}

enum class Way { CreateFile, Library, InPlace, InPlaceSync, Replace, ReplaceSync };

void BM_WriteDocument(benchmark::State& state, Way way) {
    Document* doc = document();
    if (doc == nullptr) {
        state.SkipWithError("the benchmark document could not be made");
        return;
    }
    const std::string path = benchFile();
    const NqbString fileName(path.c_str());
    for (auto _ : state) {
        NqbString error;
        bool done = false;
        switch (way) {
            case Way::CreateFile:
                done = doc->dom.createFile(fileName, false, NqDomNode());
                break;
            case Way::Library:
                done = nqDomWriteStringToFile(fileName, doc->text, &error);
                break;
            case Way::InPlace:
            case Way::InPlaceSync:
                done = writeInPlace(path, doc->text, way == Way::InPlaceSync);
                break;
            case Way::Replace:
            case Way::ReplaceSync:
                done = writeReplacing(path, doc->text, way == Way::ReplaceSync);
                break;
        }
        if (!done) {
            state.SkipWithError("the write failed");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * (doc->text.cStrSize() - 1));
    std::remove(path.c_str());
}
BENCHMARK_CAPTURE(BM_WriteDocument, createFile, Way::CreateFile)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(3);
BENCHMARK_CAPTURE(BM_WriteDocument, text_library, Way::Library)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_WriteDocument, text_replace_fsync, Way::ReplaceSync)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_WriteDocument, text_replace, Way::Replace)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_WriteDocument, text_in_place_fsync, Way::InPlaceSync)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_WriteDocument, text_in_place, Way::InPlace)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
