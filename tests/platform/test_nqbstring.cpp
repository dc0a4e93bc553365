#include "nqxbase.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <map>
#include <new>
#include <string>

// Counting allocator for the whole test program: the library's allocations
// resolve to these too, so a test can see whether an operation touched the
// heap, and can make the next allocation fail.
namespace {
std::atomic<long> g_allocations{0};
std::atomic<bool> g_failAllocations{false};

void* allocate(std::size_t size) {
    if (g_failAllocations.load()) return nullptr;
    ++g_allocations;
    return std::malloc(size ? size : 1);
}

void* allocateOrThrow(std::size_t size) {
    void* p = allocate(size);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}
}  // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}

namespace {

// Fails every allocation while alive.
struct AllocationFailure {
    AllocationFailure() { g_failAllocations = true; }
    ~AllocationFailure() { g_failAllocations = false; }
};

NqbString text(const char* value) {
    return NqbString(value, true);
}

NqbString makeShort() {
    return text("xmlns:prefix");
}

// ---------------------------------------------------------------- null state

TEST(NqbStringNull, DefaultIsNullAndEmptyIsNot) {
    NqbString null;
    EXPECT_TRUE(null.isNull());
    EXPECT_EQ(null.length(), 0);
    EXPECT_EQ(null.cStrSize(), 1);
    EXPECT_STREQ(null.asCstr(), "");

    NqbString empty;
    empty.assign("");
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(empty.length(), 0);
    EXPECT_EQ(empty.cStrSize(), 1);
    EXPECT_STREQ(empty.asCstr(), "");
}

TEST(NqbStringNull, NullPointersGiveNullStrings) {
    EXPECT_TRUE(NqbString(nullptr, true).isNull());
    NqbString s = text("abc");
    s.assign(nullptr);
    EXPECT_TRUE(s.isNull());
    EXPECT_STREQ(s.asCstr(), "");
}

TEST(NqbStringNull, SetNullAndCopiesKeepTheState) {
    NqbString s = text("value");
    s.setNull();
    EXPECT_TRUE(s.isNull());
    EXPECT_EQ(s.length(), 0);

    NqbString copy(s);
    EXPECT_TRUE(copy.isNull());
    NqbString empty = text("");
    NqbString target = text("x");
    target = empty;
    EXPECT_FALSE(target.isNull());
    target = s;
    EXPECT_TRUE(target.isNull());
}

TEST(NqbStringNull, MoveCarriesStateAndText) {
    for (const char* value : {"short", "a text long enough to need heap storage of its own"}) {
        NqbString source = text(value);
        NqbString moved(std::move(source));
        EXPECT_STREQ(moved.asCstr(), value);
        NqbString assigned = text("old");
        assigned = std::move(moved);
        EXPECT_STREQ(assigned.asCstr(), value);
        EXPECT_FALSE(assigned.isNull());
    }
    NqbString null;
    NqbString target = text("x");
    target = std::move(null);
    EXPECT_TRUE(target.isNull());
}

// ---------------------------------------------------------------- assign

TEST(NqbStringAssign, CountedBytes) {
    NqbString s;
    s.assign("abcdef", 3);
    EXPECT_STREQ(s.asCstr(), "abc");
    s.assign("abc", -1);
    EXPECT_FALSE(s.isNull());
    EXPECT_EQ(s.length(), 0);
    s.assign("a\0b", 3);
    EXPECT_EQ(s.length(), 3);
    EXPECT_EQ(s.cStrSize(), 4);
}

TEST(NqbStringAssign, Integers) {
    const struct {
        int value;
        const char* expected;
    } cases[] = {{0, "0"}, {-5, "-5"}, {42, "42"}, {INT_MAX, "2147483647"}, {INT_MIN, "-2147483648"}};
    for (const auto& c : cases) {
        NqbString s;
        s.assign(c.value);
        EXPECT_STREQ(s.asCstr(), c.expected);
    }
}

TEST(NqbStringAssign, FromOwnText) {
    NqbString s = text("prefix:local");
    s.assign(s.asCstr() + 7);
    EXPECT_STREQ(s.asCstr(), "local");
    NqbString self = text("same");
    self = *&self;
    EXPECT_STREQ(self.asCstr(), "same");
}

// ---------------------------------------------------------------- compare

TEST(NqbStringCompare, Table) {
    const struct {
        const char* a;
        const char* b;
        bool caseSensitive;
        int sign;
    } cases[] = {
        {"Entry", "entry", false, 0},
        {"Entry", "entry", true, -1},
        {"entry", "Entry", true, 1},
        {"a", "b", true, -1},
        {"b", "a", false, 1},
        {"ab", "a", true, 1},
        {"a", "ab", false, -1},
        {"", "", true, 0},
        {"Z", "a", true, -1},
        {"Z", "a", false, 1},
        {"ENTRIES", "entry", false, -1},
        // Only ASCII letters fold: these two UTF-8 letters differ.
        {"\xc3\xa9", "\xc3\x89", false, 1},
        // Bytes above 0x7f order after ASCII.
        {"\xc3\xa9", "z", true, 1},
    };
    for (const auto& c : cases) {
        const NqbString a = text(c.a);
        auto sign = [](int v) { return (v > 0) - (v < 0); };
        EXPECT_EQ(sign(a.compare(text(c.b), c.caseSensitive)), c.sign) << c.a << " vs " << c.b;
        EXPECT_EQ(sign(a.compare(c.b, c.caseSensitive)), c.sign) << c.a << " vs " << c.b;
    }
}

TEST(NqbStringCompare, NullOrdersLikeEmpty) {
    NqbString null;
    EXPECT_EQ(null.compare(text(""), true), 0);
    EXPECT_EQ(text("").compare(null, false), 0);
    EXPECT_LT(null.compare("a", true), 0);
    EXPECT_EQ(text("").compare(static_cast<const char*>(nullptr), true), 0);
}

TEST(NqbStringCompare, OrderingsAsMapKeys) {
    std::map<NqbString, int, NqbStringLessInsensitive> insensitive;
    insensitive[text("Entry")] = 1;
    insensitive[text("entry")] = 2;
    EXPECT_EQ(insensitive.size(), 1u);
    EXPECT_EQ(insensitive[text("ENTRY")], 2);

    std::map<NqbString, int, NqbStringLess> sensitive;
    sensitive[text("Entry")] = 1;
    sensitive[text("entry")] = 2;
    EXPECT_EQ(sensitive.size(), 2u);
}

// ---------------------------------------------------------------- find, mid, truncate, trim

TEST(NqbStringFind, Table) {
    const struct {
        const char* haystack;
        const char* needle;
        int start;
        int expected;
    } cases[] = {
        {"a:b", ":", 0, 1},          {"ab", ":", 0, -1},     {"a:b:c", ":", 2, 3}, {"a:b:c", ":", 4, -1},
        {"abc", "abc", 0, 0},        {"abc", "abcd", 0, -1}, {"abc", "c", 2, 2},   {"abc", "c", 3, -1},
        {"abc", "", 1, 1},           {"abc", "b", 99, -1},   {"a:b", ":", -5, 1},  {"", ":", 0, -1},
        {"xmlns:p", "xmlns:", 0, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(text(c.haystack).find(text(c.needle), c.start), c.expected)
            << c.haystack << " / " << c.needle << " from " << c.start;
    }
    EXPECT_LT(NqbString().find(text(":"), 0), 0);
}

TEST(NqbStringMid, Table) {
    const struct {
        const char* source;
        unsigned start;
        int count;
        const char* expected;
    } cases[] = {
        {"xmlns:p", 6, -1, "p"}, {"xmlns:p", 0, 6, "xmlns:"}, {"xmlns:p", 7, -1, ""}, {"xmlns:p", 8, 2, ""},
        {"abc", 1, 99, "bc"},    {"abc", 1, 0, ""},           {"abc", 0, -1, "abc"},  {"", 0, -1, ""},
    };
    for (const auto& c : cases) {
        const NqbString part = text(c.source).mid(c.start, c.count);
        EXPECT_STREQ(part.asCstr(), c.expected) << c.source << " mid(" << c.start << "," << c.count << ")";
        EXPECT_FALSE(part.isNull());
    }
}

TEST(NqbStringTruncate, Table) {
    const struct {
        unsigned n;
        const char* expected;
    } cases[] = {{0, ""}, {1, "a"}, {3, "abc"}, {10, "abc"}};
    for (const auto& c : cases) {
        NqbString s = text("abc");
        s.truncate(c.n);
        EXPECT_STREQ(s.asCstr(), c.expected);
        EXPECT_EQ(s.length(), static_cast<int>(std::string(c.expected).size()));
        EXPECT_FALSE(s.isNull());
    }
}

TEST(NqbStringTrim, Table) {
    const struct {
        const char* source;
        bool leading;
        bool trailing;
        const char* expected;
    } cases[] = {
        {" \t\r\n a b \v\f", true, true, "a b"},
        {"  a  ", true, false, "a  "},
        {"  a  ", false, true, "  a"},
        {"  a  ", false, false, "  a  "},
        {" \t\n ", true, true, ""},
        {"", true, true, ""},
        {"abc", true, true, "abc"},
    };
    for (const auto& c : cases) {
        NqbString s = text(c.source);
        s.trim(c.leading, c.trailing);
        EXPECT_STREQ(s.asCstr(), c.expected) << '"' << c.source << '"';
        EXPECT_EQ(s.length(), static_cast<int>(std::string(c.expected).size()));
        EXPECT_FALSE(s.isNull());
    }
    NqbString null;
    null.trim(true, true);
    EXPECT_TRUE(null.isNull());
}

// ---------------------------------------------------------------- asDouble

TEST(NqbStringAsDouble, Table) {
    const struct {
        const char* source;  // nullptr: a null string
        double value;        // NaN expected when isNaN
        bool isNaN;
        bool ok;
    } cases[] = {
        {"1", 1.0, false, true},     {"1.0", 1.0, false, true},   {"1.999", 1.999, false, true},
        {"2", 2.0, false, true},     {" 1.5 ", 1.5, false, true}, {"-2e3", -2000.0, false, true},
        {".5", 0.5, false, true},    {"+7.", 7.0, false, true},   {"1.5abc", 1.5, false, false},
        {"0x10", 0.0, false, false}, {"1e", 1.0, false, false},   {"1e999", HUGE_VAL, false, false},
        {"abc", 0, true, false},     {"", 0, true, false},        {nullptr, 0, true, false},
        {".", 0, true, false},       {"inf", 0, true, false},     {"nan", 0, true, false},
        {"-", 0, true, false},       {"   ", 0, true, false},
    };
    for (const auto& c : cases) {
        const NqbString s(c.source);
        bool ok = !c.ok;
        const double value = s.asDouble(&ok);
        const char* label = c.source ? c.source : "(null)";
        EXPECT_EQ(ok, c.ok) << label;
        if (c.isNaN) {
            EXPECT_TRUE(std::isnan(value)) << label;
        } else {
            EXPECT_DOUBLE_EQ(value, c.value) << label;
        }
        EXPECT_EQ(std::isnan(s.asDouble(nullptr)), c.isNaN) << label;
    }
}

TEST(NqbStringAsDouble, IgnoresTheProcessLocale) {
    const char* previous = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = previous ? previous : "C";
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no de_DE locale installed";
    bool ok = false;
    const double value = text("1.25").asDouble(&ok);
    std::setlocale(LC_NUMERIC, saved.c_str());
    EXPECT_TRUE(ok);
    EXPECT_DOUBLE_EQ(value, 1.25);
}

// ---------------------------------------------------------------- append

TEST(NqbStringAppend, FlagIsWrittenOnSuccess) {
    NqbString s = text("ab");
    bool failed = true;
    s.append(text("cd"), &failed);
    EXPECT_FALSE(failed);
    failed = true;
    s.append("ef", &failed);
    EXPECT_FALSE(failed);
    s.append("gh");
    EXPECT_STREQ(s.asCstr(), "abcdefgh");
}

TEST(NqbStringAppend, ToNullGivesText) {
    NqbString s;
    s.append(NqbString());
    EXPECT_FALSE(s.isNull());
    EXPECT_EQ(s.length(), 0);
    NqbString t;
    t.append("x");
    EXPECT_STREQ(t.asCstr(), "x");
}

TEST(NqbStringAppend, OwnTextWhileGrowing) {
    // Both appends grow past the local buffer while reading from it.
    NqbString s = text("0123456789abcdef");
    s.append(s);
    EXPECT_STREQ(s.asCstr(), "0123456789abcdef0123456789abcdef");
    NqbString t = text("0123456789abcdef");
    t.append(t.asCstr() + 4);
    EXPECT_STREQ(t.asCstr(), "0123456789abcdef456789abcdef");

    // Heap storage filled to capacity: growing frees the text being read.
    const std::string forty(40, 'f');
    NqbString h(forty.c_str());
    h.append(h.asCstr() + 30);
    EXPECT_EQ(std::string(h.asCstr()), forty + std::string(10, 'f'));
    NqbString g(forty.c_str());
    g.append(g);
    EXPECT_EQ(std::string(g.asCstr()), forty + forty);
}

TEST(NqbStringAppend, AllocationFailureIsReportedAndLeavesTextUnchanged) {
    NqbString s = text("start");
    const std::string tail(200, 'x');
    bool failed = false;
    {
        AllocationFailure failing;
        s.append(tail.c_str(), &failed);
    }
    EXPECT_TRUE(failed);
    EXPECT_STREQ(s.asCstr(), "start");

    const NqbString longTail(tail.c_str());
    failed = false;
    {
        AllocationFailure failing;
        s.append(longTail, &failed);
    }
    EXPECT_TRUE(failed);
    EXPECT_STREQ(s.asCstr(), "start");

    s.append(longTail, &failed);
    EXPECT_FALSE(failed);
    EXPECT_EQ(s.length(), 205);
}

// ---------------------------------------------------------------- storage

TEST(NqbStringStorage, ShortStringsDoNotAllocate) {
    const std::string longest(NqbString::kLocalCapacity, 'n');
    const long before = g_allocations.load();
    {
        NqbString a(longest.c_str());
        NqbString b(a);
        NqbString c(std::move(b));
        NqbString d = makeShort();
        d = a;
        d = std::move(c);
        d.assign("other");
        d.append("+tail");
        NqbString e = d.mid(1, 3);
        e.assign(12345);
        NqbString f;
        f = e;
    }
    EXPECT_EQ(g_allocations.load() - before, 0);
}

TEST(NqbStringStorage, AssignWithinCapacityDoesNotAllocate) {
    const std::string big(100, 'b');
    const std::string smaller(60, 's');
    NqbString s(big.c_str());
    NqbString other(smaller.c_str());
    s.setNull();
    const long before = g_allocations.load();
    s.assign(smaller.c_str());
    s = other;
    s.assign(big.c_str());
    const long after = g_allocations.load();
    EXPECT_EQ(after - before, 0);
    EXPECT_STREQ(s.asCstr(), big.c_str());
}

TEST(NqbStringStorage, LongerTextsAllocate) {
    const std::string justOver(NqbString::kLocalCapacity + 1, 'o');
    const long before = g_allocations.load();
    NqbString s(justOver.c_str());
    EXPECT_GT(g_allocations.load() - before, 0);
    EXPECT_EQ(s.length(), static_cast<int>(justOver.size()));
}

TEST(NqbStringStorage, LongTextsRoundTrip) {
    std::string expected;
    NqbString built;
    for (int i = 0; i < 5000; ++i) {
        const std::string piece = std::to_string(i) + ",";
        expected += piece;
        built.append(piece.c_str());
    }
    ASSERT_EQ(built.length(), static_cast<int>(expected.size()));
    EXPECT_EQ(std::string(built.asCstr()), expected);
    EXPECT_EQ(built.cStrSize(), built.length() + 1);

    NqbString copy(built);
    NqbString moved(std::move(copy));
    EXPECT_EQ(moved.compare(built, true), 0);
    EXPECT_EQ(moved.find(text("4999,"), 0), static_cast<int>(expected.find("4999,")));
    EXPECT_EQ(std::string(moved.mid(10000, 20).asCstr()), expected.substr(10000, 20));
    moved.truncate(30);
    EXPECT_EQ(std::string(moved.asCstr()), expected.substr(0, 30));
}

// ---------------------------------------------------------------- nqbStringFormat

TEST(NqbStringFormat, Patterns) {
    EXPECT_STREQ(nqbStringFormat("nq%dns", 3).asCstr(), "nq3ns");
    EXPECT_STREQ(nqbStringFormat("nq%dns", -12).asCstr(), "nq-12ns");
    EXPECT_STREQ(nqbStringFormat("xmlns:%s", "p").asCstr(), "xmlns:p");
    const NqbString empty = nqbStringFormat("%s", "");
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(empty.length(), 0);
}

TEST(NqbStringFormat, LengthsAroundAndAboveOneKilobyte) {
    for (size_t size : {size_t{254}, size_t{255}, size_t{256}, size_t{257}, size_t{1500}, size_t{70000}}) {
        const std::string body(size, 'k');
        const NqbString s = nqbStringFormat("<%s|%d>", body.c_str(), 7);
        EXPECT_EQ(std::string(s.asCstr()), "<" + body + "|7>") << size;
        EXPECT_EQ(s.length(), static_cast<int>(size + 4));
    }
}

}  // namespace
