// NqXMLTranscoder on arbitrary bytes, both ways: UTF-8 that is valid comes
// back unchanged, anything else becomes the invalid-text marker; UTF-16 with
// paired surrogates comes back unchanged.
#include <xercesc/util/XMLException.hpp>

#include <cstring>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

const char kMarker[] = "!INVALIDUTF8STR!";

// RFC 3629: no overlong forms, no surrogates, nothing above U+10FFFF.
bool validUtf8(const std::uint8_t* s, std::size_t n) {
    std::size_t i = 0;
    while (i < n) {
        std::uint8_t c = s[i];
        std::size_t extra;
        std::uint32_t min, cp;
        if (c < 0x80) {
            ++i;
            continue;
        } else if ((c & 0xE0) == 0xC0) {
            extra = 1, min = 0x80, cp = c & 0x1F;
        } else if ((c & 0xF0) == 0xE0) {
            extra = 2, min = 0x800, cp = c & 0x0F;
        } else if ((c & 0xF8) == 0xF0) {
            extra = 3, min = 0x10000, cp = c & 0x07;
        } else {
            return false;
        }
        if (i + extra >= n) return false;
        for (std::size_t k = 1; k <= extra; ++k) {
            if ((s[i + k] & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (s[i + k] & 0x3F);
        }
        if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        i += extra + 1;
    }
    return true;
}

std::u16string units(const XMLCh* text) {
    return text ? std::u16string(text) : std::u16string();
}

bool pairedSurrogates(const std::u16string& s) {
    for (std::size_t i = 0; i < s.size(); ++i) {
        char16_t c = s[i];
        if (c >= 0xD800 && c <= 0xDBFF) {
            if (i + 1 >= s.size() || s[i + 1] < 0xDC00 || s[i + 1] > 0xDFFF) return false;
            ++i;
        } else if (c >= 0xDC00 && c <= 0xDFFF) {
            return false;
        }
    }
    return true;
}

// Bytes -> UTF-16 -> UTF-8. An embedded NUL ends the text on the way back.
void utf8RoundTrip(const std::uint8_t* data, std::size_t size) {
    NqXMLTranscoder transcoder;
    NqbString input = fuzz::bytesToString(data, size);
    bool valid = validUtf8(data, size);
    for (int pass = 0; pass < 2; ++pass) {  // the second pass reuses grown buffers
        std::u16string wide = units(transcoder.fromNqb(input));
        NqbString back = transcoder.toNqb(wide.c_str());
        fuzz::check(!back.isNull(), "toNqb gave null");
        if (valid) {
            std::size_t prefix = strnlen(reinterpret_cast<const char*>(data), size);
            if (static_cast<std::size_t>(back.length()) != prefix ||
                std::memcmp(back.asCstr(), data, prefix) != 0) {
                fuzz::fail("valid UTF-8 did not round-trip");
            }
        } else if (std::strcmp(back.asCstr(), kMarker) != 0) {
            fuzz::fail(std::string("invalid UTF-8 gave [") + back.asCstr() + "] instead of the marker");
        }
    }
    if (std::memchr(data, 0, size)) return;
    std::string text(reinterpret_cast<const char*>(data), size);
    try {
        std::u16string wide = units(transcoder.fromC(text.c_str()));
        fuzz::check(valid, "fromC accepted invalid UTF-8");
        fuzz::check(units(transcoder.fromNqb(input)) == wide, "fromC and fromNqb disagree");
    } catch (const XERCES_CPP_NAMESPACE::XMLException&) {
        fuzz::check(!valid, "fromC raised on valid UTF-8");
    }
}

// Bytes as UTF-16 units -> UTF-8 -> UTF-16.
void utf16RoundTrip(const std::uint8_t* data, std::size_t size) {
    std::u16string wide;
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        char16_t unit = static_cast<char16_t>(data[i] | (data[i + 1] << 8));
        if (unit == 0) break;
        wide.push_back(unit);
    }
    NqXMLTranscoder transcoder;
    NqbString utf8 = transcoder.toNqb(wide.c_str());
    fuzz::check(!utf8.isNull(), "toNqb gave null");
    if (!pairedSurrogates(wide)) return;
    fuzz::check(validUtf8(reinterpret_cast<const std::uint8_t*>(utf8.asCstr()),
                          static_cast<std::size_t>(utf8.length())),
                "toNqb made invalid UTF-8");
    fuzz::check(units(transcoder.fromNqb(utf8)) == wide, "UTF-16 did not round-trip");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::startEngine();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    utf8RoundTrip(data, size);
    utf16RoundTrip(data, size);
    return 0;
}
