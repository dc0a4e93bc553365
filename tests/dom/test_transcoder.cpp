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

// Rows: UTF-8, its UTF-16 form (the marker when it is not UTF-8) and the
// size of the UTF-16 buffer after it, and of the UTF-8 one after converting
// back. The terminator counts: 255 characters fit 256 units, 256 do not. fromNqb gives the marker for bad
// text at once, fromC raises the engine's exception; either way the transcoder still serves.
TEST(Transcoder, ConvertsGrowsAndSurvivesBadText) {
    const std::u16string bad = u"!INVALIDUTF8STR!";
    const struct {
        std::string utf8;
        std::u16string utf16;
        std::uint32_t capacity;
    } rows[] = {
        {"", u"", 256},
        {"caf\xC3\xA9 \xE2\x82\xAC a\xF0\x9F\x98\x80z\xF4\x8F\xBF\xBF",
         u"caf\u00E9 \u20AC a\U0001F600z\U0010FFFF", 256},
        {std::string(255, 'q'), std::u16string(255, u'q'), 256},
        {std::string(256, 'q'), std::u16string(256, u'q'), 512},
        {std::string(512, 'q'), std::u16string(512, u'q'), 1024},
        {"ab\xF0\x9F", bad, 256},
        {"a\x80z", bad, 256},
        {std::string(300, 'a') + "\xFF", bad, 512},
        {std::string(600, 'a') + "\xE2\x82", bad, 1024},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.utf8.substr(0, 20));
        Watchdog watchdog;
        NqXMLTranscoder transcoder;
        XMLCh* result = transcoder.fromNqb(NqbString(row.utf8.c_str()));
        EXPECT_EQ(utf16(result), row.utf16);
        EXPECT_EQ(transcoder.utf16Capacity(), row.capacity);
        EXPECT_EQ(transcoder.fromNqb(NqbString("ok")), result);
        EXPECT_EQ(utf16(result), u"ok");
        NqXMLTranscoder other;
        if (row.utf16 == bad) {
            EXPECT_THROW(other.fromC(row.utf8.c_str()), XMLException);
            EXPECT_EQ(utf16(other.fromC("ok")), u"ok");
        } else {
            EXPECT_EQ(utf16(other.fromC(row.utf8.c_str())), row.utf16);
            EXPECT_EQ(str(other.toNqb(row.utf16.c_str())), row.utf8);
            EXPECT_EQ(other.utf8Size(), row.capacity);
        }
    }
    NqXMLTranscoder transcoder;
    EXPECT_EQ(utf16(transcoder.fromNqb(NqbString())), u"");
    EXPECT_EQ(str(transcoder.toNqb(nullptr)), "");
}

// A UTF-16 result stays valid until the next conversion into UTF-16. A
// trailing lone high surrogate makes the engine write no terminator; the
// result must not pick up bytes of an earlier, longer conversion.
TEST(Transcoder, ToNqbLeavesTheLastUtf16ResultAndNoStaleBytes) {
    NqXMLTranscoder transcoder;
    const XMLCh* result = transcoder.fromC("third");
    transcoder.toNqb(std::u16string(200, u'z').c_str());
    EXPECT_EQ(utf16(result), u"third");
    const XMLCh lone[] = {0xD800, 0};
    const NqbString converted = transcoder.toNqb(lone);
    EXPECT_LE(converted.length(), 3);
    EXPECT_EQ(str(converted).find('z'), std::string::npos);
}

// 600 bytes of UTF-8 double the 256-byte buffer twice; the sizes stay and
// the steady state allocates nothing, also when converting into a string
// that already has room.
TEST(Transcoder, GrowsThenAllocatesNothing) {
    long start = allocationCount();
    NqXMLTranscoder transcoder;
    EXPECT_EQ(allocationCount() - start, 0);
    const NqbString longText(std::string(400, 'w').c_str());
    const std::u16string longUtf16(300, u'\u00E9');
    NqbString out(std::string(700, 'x').c_str());
    transcoder.toNqb(longUtf16.c_str(), out);
    transcoder.fromNqb(longText);
    start = allocationCount();
    for (int i = 0; i < 10; ++i) {
        transcoder.fromNqb(longText);
        transcoder.fromC("\xF0\x9F\x98\x80");
        // Results this short live inside the string, so any allocation would
        // be the transcoder's own.
        transcoder.toNqb(u"\U0001F600");
        transcoder.toNqb(longUtf16.c_str(), out);
    }
    EXPECT_EQ(allocationCount() - start, 0);
    EXPECT_EQ(transcoder.utf8Size(), 1024u);
    EXPECT_EQ(transcoder.utf16Capacity(), 512u);
    EXPECT_EQ(str(out).substr(598), "\xC3\xA9");
}

}  // namespace
