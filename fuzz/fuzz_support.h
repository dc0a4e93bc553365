// Shared by the fuzz targets: engine start, hard checks and a document walk.
#ifndef FUZZ_SUPPORT_H
#define FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "nqdom.h"

namespace fuzz {

// Starts the XML engine for the whole process; aborts when it can't.
void startEngine();

// Prints `what` and aborts: libFuzzer keeps the input as a crash.
[[noreturn]] void fail(const std::string& what);

inline void check(bool condition, const char* what) {
    if (!condition) fail(what);
}

NqbString bytesToString(const std::uint8_t* data, std::size_t size);

// Everything a walk reads, in document order: element names, attribute
// names and values, texts and comments.
struct Fingerprint {
    std::string names;  // element names and attributes
    std::string texts;  // first direct text of each element
    std::string comments;
    std::size_t elements = 0;
};

// Walks every element and comment below and including `root` through every
// read operation of the node handle, checking that they agree.
Fingerprint walkDocument(const NqDomNode& root);

}  // namespace fuzz

#endif
