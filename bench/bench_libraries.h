// One XML library behind the operations the comparison measures.
#ifndef BENCH_LIBRARIES_H
#define BENCH_LIBRARIES_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "bench_input.h"

namespace bench {

class Library {
public:
    virtual ~Library() = default;
    virtual const char* name() const = 0;

    // False when the load is another library's, measured there.
    virtual bool measuresLoad() const { return true; }
    // Untimed: turns the input into what load() takes.
    virtual void prepare(const Input& input) = 0;
    // Parses the prepared input into a document kept by the library, in
    // place of any earlier one.
    virtual bool load() = 0;
    // Frees the document and, with `all`, the prepared input too.
    virtual void unload(bool all) = 0;
    // Reads every element name, attribute name and value, direct texts
    // joined by one space, and every comment's text, as UTF-8.
    virtual WalkCounts walk() = 0;
    // Serializes the loaded document to UTF-8 text; returns its size.
    virtual std::size_t serialize() = 0;
    // False when the library has no text-content walk to measure.
    virtual bool walksTexts() const { return false; }
    // Reads the text content of every element (all text below it, in
    // document order) as UTF-8, each into a string of its own; returns the
    // bytes read.
    virtual std::uint64_t walkTexts() { return 0; }
};

std::unique_ptr<Library> makeNqDomLibrary();
// Plain Xerces-C doing the library's work: each text handed out as an owned
// string, the serialized text copied into one.
std::unique_ptr<Library> makeXercesLibrary();
// Plain Xerces-C with TranscodeToStr per text and the engine's own output buffer.
std::unique_ptr<Library> makeXercesTranscodeToStrLibrary();
std::unique_ptr<Library> makePugixmlLibrary();
std::unique_ptr<Library> makeLibxml2Library();

}  // namespace bench

#endif
