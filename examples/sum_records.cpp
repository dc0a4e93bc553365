// A host that reads a document of any size record by record: every element
// named RECORD becomes a small document of its own, and the attribute FIELD
// of each is summed. Memory stays that of one record.
//
// Usage: sum_records FILE RECORD FIELD
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "nqdom.h"

namespace {

int sum(const char* file, const char* name, const char* field) {
    NqDomReader reader;
    if (!reader.openFile(file)) {
        std::fprintf(stderr, "%s\n", reader.getErrorMessage().asCstr());
        return 1;
    }
    // One handle for every record: each expansion reuses its memory.
    NqDom record;
    long count = 0;
    double total = 0;
    for (NqDomReadKind kind = reader.next(); kind != NqDomReadEnd; kind = reader.next()) {
        if (kind == NqDomReadError) {
            std::fprintf(stderr, "%s\n", reader.getErrorMessage().asCstr());
            return 1;
        }
        if (kind != NqDomReadElementStart || std::strcmp(reader.getName(), name) != 0) continue;
        if (!reader.expand(record)) continue;
        ++count;
        const NqbString value = record.getRoot().getAttributeValue(field);
        if (!value.isNull()) total += std::atof(value.asCstr());
    }
    std::printf("%ld %s records, %s total %.2f\n", count, name, field, total);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: sum_records FILE RECORD FIELD\n");
        return 2;
    }
    char* error = nullptr;
    if (nqDomStartup(nullptr, &error) != 0) {
        std::fprintf(stderr, "%s\n", error);
        return 1;
    }
    const int status = sum(argv[1], argv[2], argv[3]);
    nqDomShutdown();
    return status;
}
