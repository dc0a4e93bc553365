// Deterministic XML inputs for the comparison benchmarks.
#ifndef BENCH_INPUT_H
#define BENCH_INPUT_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace bench {

enum class Shape { Flat, Deep };
enum class Script { Ascii, NonAscii, Short };

struct InputKind {
    std::size_t megabytes;
    Shape shape;
    Script script;

    // "20MB/flat/ascii": also the benchmark name suffix.
    std::string name() const;
};

// What a full walk must see: every element, every attribute name and value,
// each element's direct texts joined by one space, and every comment's text,
// counted in decoded UTF-8 bytes.
struct WalkCounts {
    std::uint64_t elements = 0;
    std::uint64_t attributes = 0;
    std::uint64_t comments = 0;
    std::uint64_t bytes = 0;

    bool operator==(const WalkCounts& o) const {
        return elements == o.elements && attributes == o.attributes && comments == o.comments &&
               bytes == o.bytes;
    }
};

struct Input {
    InputKind kind;
    std::string xml;
    WalkCounts expected;
};

// Same kind, same bytes. Elements are written without white space between
// them so every library sees the same text nodes.
Input generateInput(const InputKind& kind);

// Nesting depth of one chain in a Deep input.
constexpr int kDeepChainDepth = 500;

}  // namespace bench

#endif
