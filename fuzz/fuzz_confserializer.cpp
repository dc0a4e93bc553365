// The configuration serializer reading arbitrary files, then writing what it
// read and reading that back: the entries must survive unchanged.
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

struct Entry {
    std::string name, value, description;
};

std::string g_directory;
std::string g_inputFile;
std::string g_outputFile;

void removeFiles() {
    std::remove(g_inputFile.c_str());
    std::remove(g_outputFile.c_str());
    rmdir(g_directory.c_str());
}

std::string text(const NqbString& s) {
    return std::string(s.asCstr(), static_cast<std::size_t>(s.length()));
}

void writeFile(const std::string& path, const std::uint8_t* data, std::size_t size) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) fuzz::fail("cannot create " + path);
    if (size > 0 && std::fwrite(data, 1, size, file) != size) fuzz::fail("cannot write " + path);
    std::fclose(file);
}

// A null string and an empty one are the same entry text: the file format
// cannot tell them apart.
bool readEntries(const std::string& path, std::vector<Entry>& entries, NqbString* error,
                 NqDomLoadPolicy policy = NqDomLoadLenient) {
    nqDomSetDefaultLoadPolicy(policy);
    NqbConfSerializer* serializer = nqDomGetInterface("NqbConfSerializer");
    nqDomSetDefaultLoadPolicy(NqDomLoadLenient);
    fuzz::check(serializer != nullptr, "no serializer");
    bool ok = serializer->read(NqbString(path.c_str()));
    entries.clear();
    NqbString name, value, description;
    while (serializer->getNextEntry(&name, &value, &description)) {
        entries.push_back({text(name), text(value), text(description)});
    }
    *error = serializer->getErrorMessage();
    serializer->release();
    return ok;
}

void writeEntries(const std::string& path, const std::vector<Entry>& entries) {
    NqbConfSerializer* serializer = nqDomGetInterface("NqbConfSerializer");
    fuzz::check(serializer != nullptr, "no serializer");
    for (const Entry& e : entries) {
        serializer->addEntry(NqbString(e.name.c_str()), NqbString(e.value.c_str()),
                             NqbString(e.description.c_str()));
    }
    bool ok = serializer->write(NqbString(path.c_str()));
    NqbString name, value, description;
    fuzz::check(!serializer->getNextEntry(&name, &value, &description), "entry handed out after write");
    std::string error = text(serializer->getErrorMessage());
    serializer->release();
    if (!ok) fuzz::fail("write of entries just read failed: " + error);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::startEngine();
    const char* base = getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/nqdom-fuzz-XXXXXX";
    if (!mkdtemp(pattern.data())) fuzz::fail("mkdtemp failed");
    g_directory = pattern;
    g_inputFile = pattern + "/input.xml";
    g_outputFile = pattern + "/output.xml";
    std::atexit(removeFiles);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    writeFile(g_inputFile, data, size);
    std::vector<Entry> first;
    std::vector<Entry> untrusted;
    NqbString error;
    const bool untrustedRead = readEntries(g_inputFile, untrusted, &error, NqDomLoadUntrusted);
    fuzz::check(untrustedRead || error.length() > 0, "failed untrusted read without a message");
    const bool lenientRead = readEntries(g_inputFile, first, &error);
    // Lenient reads the file as a string, which ends at its first 0 byte; the
    // bounded policies read every byte, so UTF-16 and UTF-32 files differ.
    const bool sameBytes = std::memchr(data, 0, size) == nullptr;
    fuzz::check(!sameBytes || !untrustedRead || (lenientRead && untrusted.size() == first.size()),
                "untrusted read gave what the lenient one did not");
    if (!lenientRead) {
        fuzz::check(first.empty(), "failed read handed out entries");
        fuzz::check(error.length() > 0, "failed read without a message");
        return 0;
    }
    for (const Entry& e : first) fuzz::check(!e.name.empty(), "entry without a name was read");

    writeEntries(g_outputFile, first);
    std::vector<Entry> second;
    if (!readEntries(g_outputFile, second, &error)) fuzz::fail("own file does not read back: " + text(error));
    fuzz::check(second.size() == first.size(), "entry count changed on the way back");
    for (std::size_t i = 0; i < first.size(); ++i) {
        const Entry& a = first[i];
        const Entry& b = second[i];
        if (a.name != b.name) fuzz::fail("name changed: [" + a.name + "] -> [" + b.name + "]");
        if (a.value != b.value) fuzz::fail("value changed: [" + a.value + "] -> [" + b.value + "]");
        if (a.description != b.description) {
            fuzz::fail("description changed: [" + a.description + "] -> [" + b.description + "]");
        }
    }
    return 0;
}
