#include "nqxbase.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "alloc_hook.h"

namespace {

NqbString text(const char* value) {
    return NqbString(value, true);
}

// Each row starts from `start` (nullptr: a null string), applies one edit and expects the text
// (std::nullopt: a null string).
TEST(NqbString, EditsAndTheNullState) {
    const NqbString null;
    const std::string forty(40, 'f');  // heap storage filled to capacity
    const std::tuple<const char*, std::function<void(NqbString&)>, std::optional<std::string>> cases[] = {
        {nullptr, [](NqbString&) {}, std::nullopt},
        {"abc", [](NqbString& s) { s = NqbString(); }, std::nullopt},
        {"abc", [](NqbString& s) { s.setNull(); }, std::nullopt},
        {"abc", [](NqbString& s) { s.assign(nullptr); }, std::nullopt},
        {"abc", [&](NqbString& s) { s = null; }, std::nullopt},
        {"abc", [&](NqbString& s) { s = NqbString(null); }, std::nullopt},
        {nullptr, [](NqbString& s) { s.trim(true, true); }, std::nullopt},
        {"abc", [](NqbString& s) { s.assign(""); }, ""},
        {nullptr, [&](NqbString& s) { s.append(null); }, ""},
        {nullptr, [](NqbString& s) { s.append(""); }, ""},
        {nullptr, [](NqbString& s) { s.assign("abcdef", 3); }, "abc"},
        {nullptr, [](NqbString& s) { s.assign("a\0b", 3); }, std::string("a\0b", 3)},
        {nullptr, [](NqbString& s) { s.assign(INT_MAX); }, "2147483647"},
        {nullptr, [](NqbString& s) { s.assign(INT_MIN); }, "-2147483648"},
        {"prefix:local", [](NqbString& s) { s.assign(s.asCstr() + 7); }, "local"},
        {"ab", [](NqbString& s) { s.append(text("cd")); }, "abcd"},
        // Appends from the string's own heap text while growing out of it.
        {forty.c_str(), [](NqbString& s) { s.append(s.asCstr() + 4); }, forty + std::string(36, 'f')},
        {forty.c_str(), [](NqbString& s) { s.append(s); }, forty + forty},
        {"xmlns:p", [](NqbString& s) { s = s.mid(6, -1); }, "p"},
        {"xmlns:p", [](NqbString& s) { s = s.mid(7, -1); }, ""},
        {"abc", [](NqbString& s) { s = s.mid(1, 99); }, "bc"},
        {"abc", [](NqbString& s) { s = s.mid(1, 0); }, ""},
        {"abc", [](NqbString& s) { s.truncate(0); }, ""},
        {"abc", [](NqbString& s) { s.truncate(10); }, "abc"},
        {" \t\r\n a b \v\f", [](NqbString& s) { s.trim(true, true); }, "a b"},
        {"  a  ", [](NqbString& s) { s.trim(true, false); }, "a  "},
        {"  a  ", [](NqbString& s) { s.trim(false, true); }, "  a"},
        {" \t\n ", [](NqbString& s) { s.trim(true, true); }, ""},
    };
    for (size_t row = 0; row < std::size(cases); ++row) {
        const auto& [start, edit, expected] = cases[row];
        NqbString s = text(start);
        edit(s);
        const std::string got(s.asCstr(), static_cast<size_t>(s.length()));
        EXPECT_EQ(s.isNull(), !expected) << "row " << row;
        EXPECT_EQ(got, expected.value_or("")) << "row " << row;
        EXPECT_EQ(s.cStrSize(), s.length() + 1) << "row " << row;
    }
}

// nullptr is a null string. Only ASCII letters fold (é and É differ); bytes above 0x7f order after ASCII.
TEST(NqbString, Compare) {
    const std::tuple<const char*, const char*, bool, int> cases[] = {
        {"Entry", "entry", false, 0}, {"Entry", "entry", true, -1}, {"entry", "Entry", true, 1},
        {"b", "a", false, 1},         {"ab", "a", true, 1},         {"a", "ab", false, -1},
        {"Z", "a", true, -1},         {"Z", "a", false, 1},         {"ENTRIES", "entry", false, -1},
        {nullptr, "", true, 0},       {"", nullptr, false, 0},      {nullptr, "a", true, -1},
        {"é", "É", false, 1},         {"é", "z", true, 1},
    };
    auto sign = [](int v) { return (v > 0) - (v < 0); };
    for (const auto& [a, b, caseSensitive, expected] : cases) {
        const std::string label = std::string(a ? a : "(null)") + " vs " + (b ? b : "(null)");
        EXPECT_EQ(sign(text(a).compare(text(b), caseSensitive)), expected) << label;
        EXPECT_EQ(sign(text(a).compare(b, caseSensitive)), expected) << label;
    }
    const std::map<NqbString, int, NqbStringLessInsensitive> insensitive{{text("Entry"), 1},
                                                                         {text("entry"), 2}};
    const std::map<NqbString, int, NqbStringLess> sensitive{{text("Entry"), 1}, {text("entry"), 2}};
    EXPECT_EQ(insensitive.size(), 1u);
    EXPECT_EQ(insensitive.count(text("ENTRY")), 1u);
    EXPECT_EQ(sensitive.size(), 2u);
}

TEST(NqbString, Find) {
    const std::tuple<const char*, const char*, int, int> cases[] = {
        {"a:b", ":", 0, 1},    {"ab", ":", 0, -1},     {"a:b:c", ":", 2, 3}, {"a:b:c", ":", 4, -1},
        {"abc", "abc", 0, 0},  {"abc", "abcd", 0, -1}, {"abc", "c", 2, 2},   {"abc", "c", 3, -1},
        {"abc", "", 1, 1},     {"abc", "b", 99, -1},   {"a:b", ":", -5, 1},  {"", ":", 0, -1},
        {nullptr, ":", 0, -1},
    };
    for (const auto& [haystack, needle, start, expected] : cases) {
        EXPECT_EQ(text(haystack).find(text(needle), start), expected)
            << (haystack ? haystack : "(null)") << " / " << needle << " from " << start;
    }
}

TEST(NqbString, AsDouble) {
    const std::tuple<const char*, double, bool> cases[] = {
        // source (nullptr: null string), value, ok
        {"1", 1.0, true},      {"1.999", 1.999, true}, {" 1.5 ", 1.5, true},       {"-2e3", -2000.0, true},
        {".5", 0.5, true},     {"+7.", 7.0, true},     {"1.5abc", 1.5, false},     {"0x10", 0.0, false},
        {"1e", 1.0, false},    {"abc", NAN, false},    {"1e999", HUGE_VAL, false}, {"", NAN, false},
        {nullptr, NAN, false}, {".", NAN, false},      {"inf", NAN, false},        {"nan", NAN, false},
        {"-", NAN, false},     {"   ", NAN, false},
    };
    for (const auto& [source, expected, expectedOk] : cases) {
        const NqbString s(source);
        const char* label = source ? source : "(null)";
        bool ok = !expectedOk;
        const double value = s.asDouble(&ok);
        EXPECT_EQ(ok, expectedOk) << label;
        EXPECT_TRUE(value == expected || (std::isnan(value) && std::isnan(expected)))
            << label << ": " << value;
        EXPECT_EQ(std::isnan(s.asDouble(nullptr)), std::isnan(expected)) << label;
    }
}

TEST(NqbString, AsDoubleIgnoresTheProcessLocale) {
    const char* previous = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = previous ? previous : "C";
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no de_DE locale installed";
    bool ok = false;
    const double value = text("1.25").asDouble(&ok);
    std::setlocale(LC_NUMERIC, saved.c_str());
    EXPECT_TRUE(ok);
    EXPECT_EQ(value, 1.25);
}

TEST(NqbString, AppendAlwaysWritesTheFailedFlag) {
    const std::string tail(200, 'x');
    const NqbString longTail(tail.c_str());
    NqbString s = text("start");
    bool failedText = false, failedString = false;
    failAllocationsOfSize(206);  // the 205 bytes of "start" and the tail, and the terminator
    s.append(tail.c_str(), &failedText);
    s.append(longTail, &failedString);
    failAllocationsOfSize(0);
    EXPECT_TRUE(failedText && failedString);
    EXPECT_STREQ(s.asCstr(), "start");

    s.append(tail.c_str(), &failedText);
    s.append(longTail, &failedString);
    EXPECT_FALSE(failedText || failedString);
    EXPECT_EQ(s.length(), 405);
}

TEST(NqbString, AllocatesOnlyBeyondItsCapacity) {
    const std::string longest(NqbString::kLocalCapacity, 'n'), justOver = longest + "o";
    long before = allocationCount();
    NqbString a(longest.c_str()), b(a), c(std::move(b)), d = text("x"), e, f;
    d = a;
    d = std::move(c);
    e = d.mid(1, 3);
    e.assign(12345);
    f = e;
    f.append("+tail");
    EXPECT_EQ(allocationCount() - before, 0);
    EXPECT_STREQ(d.asCstr(), longest.c_str());
    EXPECT_STREQ(f.asCstr(), "12345+tail");

    before = allocationCount();
    const NqbString heap(justOver.c_str());
    EXPECT_GT(allocationCount() - before, 0);

    // A nulled string keeps its storage for the next texts that fit.
    const std::string big(100, 'b');
    NqbString s(big.c_str());
    const NqbString other(std::string(60, 's').c_str());
    s.setNull();
    before = allocationCount();
    s = other;
    s.assign(big.c_str());
    EXPECT_EQ(allocationCount() - before, 0);
    EXPECT_STREQ(s.asCstr(), big.c_str());
}

// Growth over many appends, then a move that takes over the heap storage.
TEST(NqbString, LongTextsRoundTrip) {
    std::string expected;
    NqbString built;
    for (int i = 0; i < 5000; ++i) {
        expected += std::to_string(i) + ",";
        built.append((std::to_string(i) + ",").c_str());
    }
    NqbString copy(built), moved = text("old");
    moved = std::move(copy);
    EXPECT_EQ(std::string(moved.asCstr(), static_cast<size_t>(moved.length())), expected);
    EXPECT_EQ(moved.find(text("4999,"), 0), static_cast<int>(expected.find("4999,")));
    moved.truncate(30);
    EXPECT_EQ(std::string(moved.asCstr()), expected.substr(0, 30));
}

// The results are 255, 256 and 257 bytes long around the size of the first formatting buffer.
TEST(NqbString, FormatAroundTheFirstBufferAndAbove) {
    for (size_t size : {size_t{0}, size_t{250}, size_t{251}, size_t{252}, size_t{1500}, size_t{70000}}) {
        const std::string body(size, 'k');
        const NqbString s = nqbStringFormat("<%s|%d>", body.c_str(), -7);
        EXPECT_EQ(std::string(s.asCstr()), "<" + body + "|-7>") << size;
        EXPECT_EQ(s.length(), static_cast<int>(size + 5));
    }
}

}  // namespace
