// UTF-8 <-> UTF-16 conversion: growth, empty texts, buffer reuse, characters
// outside the BMP, and text that is not valid UTF-8.
#include <gtest/gtest.h>

#include <unistd.h>

#include <string>

#include <xercesc/util/XMLException.hpp>

#include "alloc_hook.h"
#include "dom_test_util.h"

XERCES_CPP_NAMESPACE_USE

namespace {

// Ends the process if a conversion loops instead of returning.
class Watchdog {
public:
    Watchdog() { alarm(10); }
    ~Watchdog() { alarm(0); }
};

std::u16string utf16(const XMLCh* text) {
    return text == nullptr ? u"<null>" : std::u16string(text);
}

// The terminator counts: 255 characters fit 256 units, 256 do not.
TEST(TranscoderGrowth, Utf16CapacityFollowsTheTextLength) {
    const struct {
        int length;
        std::uint32_t capacity;
    } rows[] = {{255, 256}, {256, 512}, {511, 512}, {512, 1024}};
    for (const auto& row : rows) {
        for (bool viaC : {false, true}) {
            SCOPED_TRACE(std::to_string(row.length) + (viaC ? " fromC" : " fromNqb"));
            NqXMLTranscoder transcoder;
            const std::string text(row.length, 'q');
            const XMLCh* result = viaC ? transcoder.fromC(text.c_str()) : transcoder.fromNqb(text.c_str());
            EXPECT_EQ(utf16(result), std::u16string(row.length, u'q'));
            EXPECT_EQ(transcoder.utf16Capacity(), row.capacity);

            EXPECT_EQ(utf16(transcoder.fromNqb(NqbString("short"))), u"short");
            EXPECT_EQ(transcoder.utf16Capacity(), row.capacity);
            EXPECT_EQ(transcoder.utf8Size(), 256u);
        }
    }
}

// The same towards UTF-8: 255 bytes and the terminator fit 256, 256 do not.
TEST(TranscoderGrowth, Utf8SizeFollowsTheTextLength) {
    const struct {
        int length;
        std::uint32_t size;
    } rows[] = {{255, 256}, {256, 512}, {511, 512}, {512, 1024}};
    for (const auto& row : rows) {
        NqXMLTranscoder transcoder;
        EXPECT_EQ(str(transcoder.toNqb(std::u16string(row.length, u'q').c_str())),
                  std::string(row.length, 'q'));
        EXPECT_EQ(transcoder.utf8Size(), row.size) << row.length;
    }
}

TEST(Transcoder, EmptyTextsConvertToEmptyTexts) {
    NqXMLTranscoder transcoder;
    for (const XMLCh* empty : {u"", static_cast<const char16_t*>(nullptr)}) {
        const NqbString result = transcoder.toNqb(empty);
        EXPECT_FALSE(result.isNull());
        EXPECT_EQ(result.length(), 0);
    }
    EXPECT_EQ(utf16(transcoder.fromNqb(NqbString(""))), u"");
    EXPECT_EQ(utf16(transcoder.fromNqb(NqbString())), u"");
    EXPECT_EQ(utf16(transcoder.fromC("")), u"");
}

TEST(Transcoder, RoundTripInBothDirections) {
    const struct {
        const char* utf8;
        const char16_t* utf16;
    } rows[] = {
        {"plain ASCII", u"plain ASCII"},
        {"caf\xC3\xA9", u"caf\u00E9"},
        {"\xE2\x82\xAC 5", u"\u20AC 5"},
        {"a\xF0\x9F\x98\x80z\xF4\x8F\xBF\xBF", u"a\U0001F600z\U0010FFFF"},
    };
    NqXMLTranscoder transcoder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.utf8);
        EXPECT_EQ(utf16(transcoder.fromNqb(NqbString(row.utf8))), row.utf16);
        EXPECT_EQ(utf16(transcoder.fromC(row.utf8)), row.utf16);
        EXPECT_EQ(std::string(transcoder.toNqb(row.utf16).asCstr()), row.utf8);
    }
}

// A UTF-16 result stays valid until the next conversion into UTF-16.
TEST(TranscoderBuffer, ToNqbLeavesTheLastUtf16Result) {
    NqXMLTranscoder transcoder;
    const XMLCh* result = transcoder.fromC("third");
    EXPECT_STREQ(transcoder.toNqb(u"other").asCstr(), "other");
    EXPECT_EQ(utf16(result), u"third");
}

// A trailing lone high surrogate makes the engine write no terminator; the
// result must not pick up bytes of an earlier, longer conversion.
TEST(TranscoderBuffer, LoneSurrogateDoesNotReadStaleBytes) {
    NqXMLTranscoder transcoder;
    transcoder.toNqb(std::u16string(200, u'z').c_str());
    const XMLCh lone[] = {0xD800, 0};
    const NqbString result = transcoder.toNqb(lone);
    EXPECT_FALSE(result.isNull());
    EXPECT_LE(result.length(), 3);
    EXPECT_EQ(std::string(result.asCstr()).find('z'), std::string::npos);
}

// fromNqb gives the marker at once, fromC raises the engine's exception;
// either way the transcoder still serves.
TEST(TranscoderMalformed, MarkerOrExceptionWithoutHanging) {
    const struct {
        const char* name;
        std::string bytes;
        std::uint32_t capacityAfter;
    } rows[] = {
        {"4-byte sequence cut short", "ab\xF0\x9F", 256},
        {"byte 0xFF", "ab\xFF-cd", 256},
        {"lone continuation byte", "a\x80z", 256},
        {"overlong NUL", "\xC0\x80", 256},
        {"encoded surrogate", "\xED\xA0\x80", 256},
        {"above U+10FFFF", "\xF4\x90\x80\x80", 256},
        {"0xFF past 256 bytes", std::string(300, 'a') + "\xFF", 512},
        {"cut sequence past 600 bytes", std::string(600, 'a') + "\xE2\x82", 1024},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Watchdog watchdog;
        NqXMLTranscoder transcoder;
        XMLCh* result = transcoder.fromNqb(NqbString(row.bytes.c_str()));
        EXPECT_EQ(utf16(result), u"!INVALIDUTF8STR!");
        EXPECT_EQ(transcoder.utf16Capacity(), row.capacityAfter);
        EXPECT_EQ(transcoder.fromNqb(NqbString("ok")), result);
        EXPECT_EQ(utf16(result), u"ok");

        NqXMLTranscoder other;
        EXPECT_THROW(other.fromC(row.bytes.c_str()), XMLException);
        EXPECT_EQ(utf16(other.fromC("ok")), u"ok");
    }
}

// 600 bytes of UTF-8 double the 256-byte buffer twice; the sizes stay and
// the steady state allocates nothing.
TEST(TranscoderAllocation, ToNqbGrowsThenNothingIsAllocated) {
    long start = allocationCount();
    NqXMLTranscoder transcoder;
    EXPECT_EQ(allocationCount() - start, 0);

    const NqbString longText(std::string(400, 'w').c_str());
    const NqbString shortText("caf\xC3\xA9");
    const std::u16string longUtf16(300, u'\u00E9');
    std::string expected;
    for (int i = 0; i < 300; ++i) expected += "\xC3\xA9";
    EXPECT_EQ(str(transcoder.toNqb(longUtf16.c_str())), expected);
    EXPECT_EQ(transcoder.utf8Size(), 1024u);
    EXPECT_EQ(transcoder.utf16Capacity(), 256u);
    transcoder.fromNqb(longText);
    start = allocationCount();
    for (int i = 0; i < 10; ++i) {
        transcoder.fromNqb(longText);
        transcoder.fromNqb(shortText);
        transcoder.fromC("format-pretty-print");
        transcoder.fromC("\xF0\x9F\x98\x80");
        // Results this short live inside the string, so any allocation would
        // be the transcoder's own.
        transcoder.toNqb(u"UTF-8");
        transcoder.toNqb(u"\U0001F600");
    }
    EXPECT_EQ(allocationCount() - start, 0);
    EXPECT_EQ(transcoder.utf8Size(), 1024u);
    EXPECT_EQ(transcoder.utf16Capacity(), 512u);
}

// The walk converts names and texts into the caller's strings: a string
// that already has room takes any later text without allocating.
TEST(TranscoderAllocation, ToNqbIntoAStringReusesItsStorage) {
    NqXMLTranscoder transcoder;
    NqbString out(std::string(100, 'x').c_str());
    const std::u16string longUtf16(40, u'\u00E9');
    transcoder.toNqb(longUtf16.c_str(), out);
    const long start = allocationCount();
    transcoder.toNqb(u"short", out);
    EXPECT_STREQ(out.asCstr(), "short");
    transcoder.toNqb(longUtf16.c_str(), out);
    EXPECT_EQ(out.length(), 80);
    EXPECT_EQ(std::string(out.asCstr(), 2), "\xC3\xA9");
    transcoder.toNqb(nullptr, out);
    EXPECT_FALSE(out.isNull());
    EXPECT_EQ(out.length(), 0);
    EXPECT_EQ(allocationCount() - start, 0);
}

}  // namespace
