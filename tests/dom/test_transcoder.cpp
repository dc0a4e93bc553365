// UTF-8 <-> UTF-16 conversion: growth, empty texts, buffer reuse, characters
// outside the BMP, and text that is not valid UTF-8.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include <xercesc/util/XMLException.hpp>

#include "alloc_hook.h"
#include "dom_test_util.h"

XERCES_CPP_NAMESPACE_USE

namespace {

std::u16string utf16(const XMLCh* text) {
    return text == nullptr ? u"<null>" : std::u16string(text);
}

// Rows: UTF-8, its UTF-16 form (the marker when not UTF-8), the size of the UTF-16 buffer after it and of
// the UTF-8 one after converting back; the terminator counts (255 characters fit 256 units, 256 do not).
// fromNqb gives the marker for bad text, fromC raises the engine's exception; the transcoder still serves.
TEST(Transcoder, ConvertsGrowsAndSurvivesBadText) {
    const std::u16string bad = u"!INVALIDUTF8STR!";
    const std::tuple<std::string, std::u16string, std::uint32_t> rows[] = {
        {"", u"", 256},
        {"caf\xC3\xA9 \xE2\x82\xAC a\xF0\x9F\x98\x80z\xF4\x8F\xBF\xBF",
         u"caf\u00E9 \u20AC a\U0001F600z\U0010FFFF", 256},
        {std::string(255, 'q'), std::u16string(255, u'q'), 256},
        {std::string(256, 'q'), std::u16string(256, u'q'), 512},
        {"a\x80z", bad, 256},
        {std::string(300, 'a') + "\xFF", bad, 512},
        {std::string(600, 'a') + "\xE2\x82", bad, 1024},
    };
    for (const auto& [utf8, converted, capacity] : rows) {
        SCOPED_TRACE(utf8.substr(0, 20));
        NqXMLTranscoder transcoder;
        XMLCh* result = transcoder.fromNqb(NqbString(utf8.c_str()));
        EXPECT_EQ(utf16(result), converted);
        EXPECT_EQ(transcoder.utf16Capacity(), capacity);
        EXPECT_EQ(transcoder.fromNqb(NqbString("ok")), result);
        EXPECT_EQ(utf16(result), u"ok");
        NqXMLTranscoder other;
        if (converted == bad) {
            EXPECT_THROW(other.fromC(utf8.c_str()), XMLException);
            EXPECT_EQ(utf16(other.fromC("ok")), u"ok");
        } else {
            EXPECT_EQ(utf16(other.fromC(utf8.c_str())), converted);
            EXPECT_EQ(str(other.toNqb(converted.c_str())), utf8);
            EXPECT_EQ(other.utf8Size(), capacity);
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
    transcoder.fromNqb(longText);
    transcoder.fromC("\xF0\x9F\x98\x80");
    transcoder.toNqb(u"\U0001F600");  // lives inside the string: any allocation is the transcoder's
    transcoder.toNqb(longUtf16.c_str(), out);
    EXPECT_EQ(allocationCount() - start, 0);
    EXPECT_EQ(transcoder.utf8Size(), 1024u);
    EXPECT_EQ(transcoder.utf16Capacity(), 512u);
    EXPECT_EQ(str(out).substr(598), "\xC3\xA9");
}

}  // namespace
