// Resident memory stays flat while documents, configuration files and
// templates are read and written over and over.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "nqdom.h"
#include "test_files.h"

namespace {

// A round leaks well over 4 KB if any of its documents or templates leaks.
constexpr long kAllowedGrowthBytes = 4L * 1024 * 1024;

long residentBytes() {
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

// About 9 KB, read both as a document and as a template: nested elements, attributes, comments,
// non-ASCII text and 50 variables over three namespaces.
std::string inputText() {
    std::string text = "<?xml version=\"1.0\"?><t:order xmlns:t=\"urn:o\" xmlns=\"urn:d\" id=\"${orderId}\">";
    for (int i = 0; i < 48; ++i)
        text += "<line xmlns:q=\"urn:q" + std::to_string(i % 3) +
                "\" kind=\"gr\xc3\xb6\xc3\x9f\"><q:article>${article" + std::to_string(i) +
                "}</q:article><!-- line --><text>\xce\xb1 &amp; \xe6\x97\xa5, a text longer than a short "
                "string</text></line>";
    return text + "<t:note>${note?}</t:note></t:order>";
}

// Reads every name, attribute and first text below `node`; returns the number of elements.
int walk(const NqDomNode& node) {
    int elements = 1;
    NqbString name = node.getName(), value = node.getValue(false);
    for (int i = 0; i < node.getAttributeCount(); ++i) node.getAttributeNameValue(i, &name, &value);
    for (NqDomNode child = node.getFirstChild(false); !child.null(); child = child.getNextSibling(false))
        elements += walk(child);
    return elements;
}

// One round of everything; false when a step did not do its work.
bool round(const NqbString& text, const TempDir& dir) {
    NqDom dom;
    if (!dom.loadXML(text) || walk(dom.getRoot()) != 146) return false;
    NqDomNode root = dom.getRoot();
    root.setAttributeValue("touched", "\xc3\xa9t\xc3\xa9");
    root.addChild("added").setValue("a text longer than a short string buffer");
    root.getFirstChild(false).remove();
    NqDom copy;
    copy.startNewDocument("copy");
    copy.getRoot().addChild(copy.importNode(root.getFirstChild(false)));
    NqDom shared = copy;
    const NqbString file(dir.file("document.xml").c_str());
    NqDom reread;
    if (shared.createXML(true).isNull() || !dom.createFile(file, false) || !reread.loadFile(file) ||
        walk(reread.getRoot()) != 144)
        return false;

    NqbConfSerializer* serializer = nqDomGetInterface("NqbConfSerializer");
    for (int i = 0; i < 20; ++i)
        serializer->addEntry(std::to_string(i).c_str(), "a value longer than a short string", "");
    const NqbString configuration(dir.file("configuration.xml").c_str());
    int entries = 0;
    NqbString name, value, description;
    if (serializer->write(configuration) && serializer->read(configuration))
        while (serializer->getNextEntry(&name, &value, &description)) ++entries;
    serializer->release();

    NqDomTemplate* compiled = dom.getTemplate(text);
    int found = 0;
    for (int i = 0; compiled && i < compiled->getVariableCount(); ++i)
        found += !compiled->getVariableXPath(compiled->getVariableName(i, nullptr, &name)).isNull();
    if (compiled) compiled->release();
    // And the failure path: variables that do not parse.
    NqDomTemplate* failed = dom.getTemplate("<t><a>${unterminated</a><b>${fine}</b></t>");
    if (failed) failed->release();
    return entries == 20 && found == 50 && !failed;
}

TEST(ResidentMemory, StaysFlatOverAThousandRounds) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "AddressSanitizer quarantines freed memory";
#endif
    if (std::getenv("NQDOM_UNDER_VALGRIND")) GTEST_SKIP() << "valgrind replaces the allocator";
    ASSERT_GT(residentBytes(), 0);
    const NqbString text(inputText().c_str());
    TempDir dir;
    for (int i = 0; i < 50; ++i) round(text, dir);
    long before = residentBytes();
    int done = 0;
    for (int i = 0; i < 1000; ++i) done += round(text, dir);
    long growth = residentBytes() - before;
    EXPECT_EQ(done, 1000);
    EXPECT_LT(growth, kAllowedGrowthBytes) << "resident memory grew by " << growth << " bytes";
    RecordProperty("rss_growth_bytes", std::to_string(growth));
}

}  // namespace

// Writing a document again and again: what a write makes for itself (the
// namespace-free copy, split sections) must not stay with the document.
TEST(ResidentMemory, WritingOneDocumentOverAndOverStaysFlat) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "AddressSanitizer quarantines freed memory";
#endif
    if (std::getenv("NQDOM_UNDER_VALGRIND")) GTEST_SKIP() << "valgrind replaces the allocator";
    NqDom dom;
    ASSERT_TRUE(dom.loadXML("<!--before--><r xmlns:p=\"urn:a\"><c k=\"1\">text</c></r><!--after-->"));
    NqDomNode c = dom.getRoot().getFirstChild(false);
    c.addChildNS("urn:b", "q:x").setAttributeValueNS("urn:c", "s:k", "a value longer than a short string");
    c.addCData("a]]>b");
    for (int i = 0; i < 1000; ++i) dom.createXML(i % 2 == 0);
    const long before = residentBytes();
    int written = 0;
    for (int i = 0; i < 20000; ++i) written += !dom.createXML(i % 2 == 0).isNull();
    const long growth = residentBytes() - before;
    EXPECT_EQ(written, 20000);
    EXPECT_LT(growth, kAllowedGrowthBytes) << "resident memory grew by " << growth << " bytes";
}
