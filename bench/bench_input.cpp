#include "bench_input.h"

#include <array>
#include <string_view>
#include <vector>

namespace bench {
namespace {

// splitmix64: fixed seed, so every run and every library sees the same text.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}
    std::uint64_t next() {
        std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    std::size_t below(std::size_t n) { return static_cast<std::size_t>(next() % n); }

private:
    std::uint64_t m_state;
};

// '&' and '<' appear so that every parser has to decode references.
constexpr std::array<std::string_view, 16> kAsciiWords = {
    "alpha", "bravo", "R&D",  "delta", "echo", "foxtrot", "golf",  "a<b",
    "india", "kilo",  "lima", "oscar", "papa", "quebec",  "romeo", "tango"};

// Two-, three- and four-byte UTF-8 sequences (the last ones need surrogate
// pairs in UTF-16).
constexpr std::array<std::string_view, 16> kNonAsciiWords = {
    "αλφα",   "βήτα",  "данные", "узел",     "日本語", "文書",   "наименование", "größe",
    "façade", "ñandú", "κόμβος", "значение", "𝄞𝄢",     "데이터", "élément",      "Ωμέγα"};

class Emitter {
public:
    Emitter(const InputKind& kind, Input& out)
        : m_kind(kind), m_out(out), m_random(0x5EED0000u + kind.megabytes) {}

    bool full() const { return m_out.xml.size() >= m_kind.megabytes * 1024 * 1024; }

    // An element start with `attributeCount` generated attributes and an
    // optional first text.
    void open(std::string_view name, int attributeCount, bool withText) {
        m_out.xml += '<';
        m_out.xml += name;
        countElement(name);
        for (int i = 0; i < attributeCount; ++i) attribute(kAttributeNames[i % kAttributeNames.size()]);
        m_out.xml += '>';
        if (withText) text(word(phraseWords()));
    }
    void close(std::string_view name) {
        m_out.xml += "</";
        m_out.xml += name;
        m_out.xml += '>';
    }
    void leaf(std::string_view name, int attributeCount) {
        open(name, attributeCount, true);
        close(name);
    }
    void comment() {
        const std::string value = " " + std::to_string(m_random.below(100000)) + " ";
        m_out.xml += "<!--";
        m_out.xml += value;
        m_out.xml += "-->";
        ++m_out.expected.comments;
        m_out.expected.bytes += value.size();
    }
    // A second direct text after the children: the walk joins it to the
    // element's first text with one space.
    void tail() {
        text(word(phraseWords()));
        ++m_out.expected.bytes;
    }

private:
    static constexpr std::array<std::string_view, 4> kAttributeNames = {"id", "kind", "lang", "note"};

    void countElement(std::string_view name) {
        ++m_out.expected.elements;
        m_out.expected.bytes += name.size();
    }

    void attribute(std::string_view name) {
        std::string value = name == "id" ? std::to_string(m_out.expected.elements) : word(1);
        m_out.xml += ' ';
        m_out.xml += name;
        m_out.xml += "=\"";
        escape(value);
        m_out.xml += '"';
        ++m_out.expected.attributes;
        m_out.expected.bytes += name.size() + value.size();
    }

    void text(const std::string& value) {
        escape(value);
        m_out.expected.bytes += value.size();
    }

    // Short inputs keep every text within 15 bytes; the others mix short
    // words with phrases longer than a small-string buffer.
    int phraseWords() {
        if (m_kind.script == Script::Short) return 1;
        return 1 + static_cast<int>(m_random.below(6));
    }

    std::string word(int count) {
        std::string result;
        for (int i = 0; i < count; ++i) {
            if (i) result += ' ';
            result += pickWord();
        }
        return result;
    }

    std::string_view pickWord() {
        switch (m_kind.script) {
            case Script::Ascii:
                return kAsciiWords[m_random.below(kAsciiWords.size())];
            case Script::NonAscii:
                // Mostly non-ASCII: one word in eight is ASCII.
                if (m_random.below(8) == 0) return kAsciiWords[m_random.below(kAsciiWords.size())];
                return kNonAsciiWords[m_random.below(kNonAsciiWords.size())];
            case Script::Short:
                break;
        }
        for (;;) {
            std::string_view w = m_random.below(2) ? kAsciiWords[m_random.below(kAsciiWords.size())]
                                                   : kNonAsciiWords[m_random.below(kNonAsciiWords.size())];
            if (w.size() <= 15) return w;
        }
    }

    void escape(const std::string& value) {
        for (char c : value) {
            if (c == '&') {
                m_out.xml += "&amp;";
            } else if (c == '<') {
                m_out.xml += "&lt;";
            } else if (c == '"') {
                m_out.xml += "&quot;";
            } else {
                m_out.xml += c;
            }
        }
    }

    const InputKind& m_kind;
    Input& m_out;
    Random m_random;
};

// Records of seven elements, two levels below the root.
void emitFlat(Emitter& e) {
    e.open("records", 1, false);
    while (!e.full()) {
        e.open("record", 3, false);
        e.leaf("name", 0);
        e.comment();
        e.leaf("text", 1);
        e.leaf("qty", 2);
        e.open("tags", 0, false);
        e.leaf("tag", 1);
        e.leaf("tag", 0);
        e.close("tags");
        e.close("record");
    }
    e.close("records");
}

// Chains kDeepChainDepth sections deep; every section has its own text, a
// leaf and, every tenth level, a comment and a second text after its children.
void emitDeep(Emitter& e) {
    e.open("document", 1, false);
    while (!e.full()) {
        for (int level = 0; level < kDeepChainDepth; ++level) {
            e.open("section", 2, true);
            e.leaf("title", 1);
            if (level % 10 == 0) e.comment();
        }
        for (int level = kDeepChainDepth - 1; level >= 0; --level) {
            if (level % 10 == 0) e.tail();
            e.close("section");
        }
    }
    e.close("document");
}

}  // namespace

std::string InputKind::name() const {
    const char* shapeName = shape == Shape::Flat ? "flat" : "deep";
    const char* scriptName = script == Script::Ascii      ? "ascii"
                             : script == Script::NonAscii ? "utf8"
                                                          : "short";
    return std::to_string(megabytes) + "MB/" + shapeName + "/" + scriptName;
}

Input generateInput(const InputKind& kind) {
    Input input;
    input.kind = kind;
    input.xml.reserve(kind.megabytes * 1024 * 1024 + 64 * 1024);
    input.xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    Emitter emitter(kind, input);
    if (kind.shape == Shape::Flat) {
        emitFlat(emitter);
    } else {
        emitDeep(emitter);
    }
    return input;
}

}  // namespace bench
