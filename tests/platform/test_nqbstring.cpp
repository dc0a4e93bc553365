#include "nqxbase.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <tuple>

#include "alloc_hook.h"

namespace {

std::string str(const NqbString& s) {
    return s.isNull() ? "<null>" : std::string(s.asCstr(), static_cast<size_t>(s.length()));
}

// Rows: the start (nullptr: a null string), one edit, the text after it (std::nullopt: null).
TEST(NqbString, EditsAndTheNullState) {
    const NqbString null;
    const std::string forty(40, 'f');  // heap storage filled to capacity
    const std::tuple<const char*, std::function<void(NqbString&)>, std::optional<std::string>> cases[] = {
        {"abc", [](NqbString& s) { s.setNull(); }, std::nullopt},
        {"abc", [](NqbString& s) { s.assign(nullptr); }, std::nullopt},
        {"abc", [&](NqbString& s) { s = null; }, std::nullopt},
        {nullptr, [](NqbString& s) { s.trim(true, true); }, std::nullopt},
        {nullptr, [&](NqbString& s) { s.append(null); }, ""},
        {nullptr, [](NqbString& s) { s.assign("a\0b", 3); }, std::string("a\0b", 3)},
        {nullptr, [](NqbString& s) { s.assign(INT_MIN); }, "-2147483648"},
        {"prefix:local", [](NqbString& s) { s.assign(s.asCstr() + 7); }, "local"},
        // Appends from the string's own heap text while growing out of it.
        {forty.c_str(), [](NqbString& s) { s.append(s.asCstr() + 4); }, forty + std::string(36, 'f')},
        {forty.c_str(), [](NqbString& s) { s.append(s); }, forty + forty},
        {"xmlns:p", [](NqbString& s) { s = s.mid(7, -1); }, ""},
        {"abc", [](NqbString& s) { s = s.mid(1, 99); }, "bc"},
        {"abc", [](NqbString& s) { s.truncate(0); }, ""},
        {"abc", [](NqbString& s) { s.truncate(10); }, "abc"},
        {" \t\r\n a b \v\f", [](NqbString& s) { s.trim(true, true); }, "a b"},
        {"  a  ", [](NqbString& s) { s.trim(true, false); }, "a  "},
        {"  a  ", [](NqbString& s) { s.trim(false, true); }, "  a"},
        {" \t\n ", [](NqbString& s) { s.trim(true, true); }, ""},
    };
    for (size_t row = 0; row < std::size(cases); ++row) {
        const auto& [start, edit, expected] = cases[row];
        NqbString s(start);
        edit(s);
        EXPECT_EQ(str(s), expected.value_or("<null>")) << "row " << row;
        EXPECT_EQ(s.cStrSize(), s.length() + 1) << "row " << row;
    }
}

// nullptr is a null string. Only ASCII letters fold (é and É differ); bytes above 0x7f order after ASCII.
TEST(NqbString, CompareAndFind) {
    const std::tuple<const char*, const char*, bool, int> order[] = {
        {"Entry", "entry", false, 0}, {"Entry", "entry", true, -1}, {"b", "a", false, 1},
        {"ab", "a", true, 1},         {"a", "ab", false, -1},       {"Z", "a", true, -1},
        {"Z", "a", false, 1},         {nullptr, "", true, 0},       {"é", "É", false, 1},
    };
    auto sign = [](int v) { return (v > 0) - (v < 0); };
    for (const auto& [a, b, caseSensitive, expected] : order) {
        const std::string label = std::string(a ? a : "(null)") + " vs " + b;
        EXPECT_EQ(sign(NqbString(a).compare(NqbString(b), caseSensitive)), expected) << label;
        EXPECT_EQ(sign(NqbString(a).compare(b, caseSensitive)), expected) << label;
    }
    EXPECT_FALSE(NqbStringLessInsensitive()(NqbString("Entry"), NqbString("entry")));
    EXPECT_TRUE(NqbStringLess()(NqbString("Entry"), NqbString("entry")));

    const std::tuple<const char*, const char*, int, int> finds[] = {
        {"a:b:c", ":", 2, 3}, {"a:b:c", ":", 4, -1}, {"abc", "abcd", 0, -1}, {"abc", "c", 2, 2},
        {"abc", "c", 3, -1},  {"abc", "", 1, 1},     {"abc", "b", 99, -1},   {"a:b", ":", -5, 1},
    };
    for (const auto& [haystack, needle, start, expected] : finds)
        EXPECT_EQ(NqbString(haystack).find(NqbString(needle), start), expected)
            << haystack << " / " << needle << " " << start;
}

TEST(NqbString, AsDouble) {
    // Rows: source (nullptr: null string), value, ok.
    const std::tuple<const char*, double, bool> cases[] = {
        {" 1.5 ", 1.5, true}, {"-2e3", -2000.0, true}, {"1E+3", 1000.0, true},     {".5e-1", 0.05, true},
        {"+7.", 7.0, true},   {"1.5abc", 1.5, false},  {"0x10", 0.0, false},       {"1e", 1.0, false},
        {"abc", NAN, false},  {".", NAN, false},       {"1e999", HUGE_VAL, false}, {nullptr, NAN, false}};
    for (const auto& [source, expected, expectedOk] : cases) {
        SCOPED_TRACE(source ? source : "(null)");
        bool ok = !expectedOk;
        const double value = NqbString(source).asDouble(&ok);
        EXPECT_EQ(ok, expectedOk);
        EXPECT_TRUE(value == expected || (std::isnan(value) && std::isnan(expected))) << value;
    }
    // Longer than the parsing buffer on the stack.
    EXPECT_EQ(NqbString(("1" + std::string(80, '0') + "e-80").c_str()).asDouble(nullptr), 1.0);
}

// Short texts never touch the heap. A failed allocation leaves the text alone and says so through the flag,
// which a success clears.
TEST(NqbString, AllocatesOnlyBeyondItsCapacityAndReportsAFailure) {
    const std::string longest(NqbString::kLocalCapacity, 'n');
    const long before = allocationCount();
    NqbString a(longest.c_str()), b(a), c(std::move(b)), d("x");
    d = a;
    d = std::move(c);
    EXPECT_EQ(allocationCount() - before, 0);
    EXPECT_STREQ(d.asCstr(), longest.c_str());
    const std::string tail(200, 'x');
    NqbString s("start");
    bool failedText = false, failedString = false;
    failAllocationsOfSize(206);  // "start", the tail and the terminator
    s.append(tail.c_str(), &failedText);
    s.append(NqbString(tail.c_str()), &failedString);
    failAllocationsOfSize(0);
    EXPECT_TRUE(failedText && failedString);
    EXPECT_STREQ(s.asCstr(), "start");
    s.append(tail.c_str(), &failedText);
    s.append(NqbString(tail.c_str()), &failedString);
    EXPECT_FALSE(failedText || failedString);
    EXPECT_EQ(s.length(), 405);
}

// The results are 255, 256 and 257 bytes long around the size of the first formatting buffer.
TEST(NqbString, FormatAroundTheFirstBufferAndAbove) {
    for (size_t size : {size_t{0}, size_t{250}, size_t{251}, size_t{252}, size_t{70000}}) {
        const std::string body(size, 'k');
        EXPECT_EQ(str(nqbStringFormat("<%s|%d>", body.c_str(), -7)), "<" + body + "|-7>") << size;
    }
}

}  // namespace
