// Compilation when no-throw allocations fail: every failure gives a null
// template and message 444, nothing leaks and nothing crashes.
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

#include "dom_test_util.h"

namespace {

// When armed, no-throw allocation number g_failAt (from 1) fails; g_calls counts them while armed.
long g_failAt = 0;
long g_calls = 0;

void* allocate(std::size_t size, bool array) noexcept {
    if (g_failAt > 0 && ++g_calls == g_failAt) return nullptr;
    // The throwing forms underneath keep new/delete pairs matched for the sanitizers and valgrind.
    try {
        return array ? ::operator new[](size) : ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, false);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, true);
}

namespace {

// Twelve namespaces on the root grow the table and scope arrays past their first ten slots; a redeclared
// prefix, a comment, an optional subtree and long texts reach the other allocations.
std::string richTemplate() {
    std::string text = "<r xmlns=\"urn:default-namespace-of-the-allocation-test\"";
    for (int i = 0; i < 11; ++i)
        text += " xmlns:n" + std::to_string(i) + "=\"urn:allocation-test:ns:" + std::to_string(i) + "\"";
    return text +
           " id=\"${id}\"><n0:head n1:lang=\"${language}\">A title long enough for the heap: ${title}"
           "</n0:head><!-- Optional: the body --><n2:body xmlns:n2=\"urn:allocation-test:other\">"
           "<n2:p>${paragraph?}</n2:p><n2:p>${second}</n2:p></n2:body><tail xmlns=\"urn:a-second\">"
           "<deep><deeper n10:attr=\"${attribute}\"/></deep></tail></r>";
}

// A tool such as valgrind may put its own operator new in place of ours.
bool injectionWorks() {
    g_calls = 0;
    g_failAt = 1;
    void* (*volatile allocateOne)(std::size_t, const std::nothrow_t&) noexcept = &::operator new;
    void* probe = allocateOne(1, std::nothrow);
    g_failAt = 0;
    ::operator delete(probe);
    return probe == nullptr;
}

TEST(TemplateAllocTest, EveryFailedNoThrowAllocationGives444) {
    if (!injectionWorks()) GTEST_SKIP() << "the no-throw operator new of this test is not in use";
    const NqbString text(richTemplate().c_str());
    NqDom reference;
    NqDomTemplate* expected = reference.getTemplate(text);
    ASSERT_NE(expected, nullptr) << str(reference.getErrorMessage());
    ASSERT_EQ(expected->getNamespaceCount(), 14);

    long n = 1;
    for (;; ++n) {
        NqDom dom;
        g_calls = 0;
        g_failAt = n;
        NqDomTemplate* tpl = dom.getTemplate(text);
        g_failAt = 0;
        if (g_calls < n) {
            // Fewer allocations than n: the compilation ran unhindered.
            ASSERT_NE(tpl, nullptr) << str(dom.getErrorMessage());
            EXPECT_EQ(describeVariables(*tpl), describeVariables(*expected));
            tpl->release();
            break;
        }
        EXPECT_EQ(tpl, nullptr) << "allocation " << n;
        if (tpl) tpl->release();
        EXPECT_EQ(str(dom.getErrorMessage()), "LibXML 444: out of memory") << "allocation " << n;
    }
    // At least the object, both array pairs grown twice, six records and nine basic templates failed once.
    EXPECT_GT(n, 1 + 8 + 6 + 9);
    expected->release();
}

}  // namespace
