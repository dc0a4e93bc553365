// Resident memory stays flat while documents, configuration files and
// templates are read and written over and over.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "nqdom.h"
#include "test_files.h"

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define RUNNING_ON_VALGRIND 0
#endif

namespace {

constexpr int kWarmUpRounds = 50;
constexpr int kRounds = 1000;
// A round leaks well over 4 KB if any of its documents or templates leaks.
constexpr long kAllowedGrowthBytes = 4L * 1024 * 1024;

long residentBytes() {
    long pages = 0, resident = 0;
    FILE* statm = std::fopen("/proc/self/statm", "r");
    if (!statm) return -1;
    int read = std::fscanf(statm, "%ld %ld", &pages, &resident);
    std::fclose(statm);
    return read == 2 ? resident * sysconf(_SC_PAGESIZE) : -1;
}

// About 8 KB: nested elements, attributes, non-ASCII text and comments.
std::string documentText() {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><catalogue>";
    for (int i = 0; i < 40; ++i) {
        const std::string n = std::to_string(i);
        text += "<item id=\"" + n + "\" kind=\"gr\xc3\xb6\xc3\x9f" + "e\"><name>item " + n +
                "</name><!-- note " + n +
                " --><text>\xce\xb1 &amp; \xe6\x97\xa5, a text longer than a short string " + n +
                "</text><qty unit=\"kg\">" + n + ".5</qty></item>";
    }
    return text + "</catalogue>";
}

// About 50 variables over three namespaces.
std::string templateText() {
    std::string text = "<t:order xmlns:t=\"urn:o\" xmlns=\"urn:d\" id=\"${orderId}\">";
    for (int i = 0; i < 48; ++i) {
        const std::string n = std::to_string(i);
        text += "<line xmlns:q=\"urn:q" + std::to_string(i % 3) + "\"><q:article>${article" + n +
                "}</q:article><!-- line --></line>";
    }
    return text + "<t:note>${note?}</t:note></t:order>";
}

// Reads every name, attribute and first text below `node`; returns the
// number of elements.
int walk(const NqDomNode& node) {
    int elements = 1;
    NqbString name = node.getName(), value = node.getValue(false);
    for (int i = 0; i < node.getAttributeCount(); ++i) node.getAttributeNameValue(i, &name, &value);
    for (NqDomNode child = node.getFirstChild(false); !child.null(); child = child.getNextSibling(false))
        elements += walk(child);
    return elements;
}

// One round of everything; false when a step did not do its work.
bool round(const NqbString& document, const NqbString& tplText, const TempDir& dir) {
    NqDom dom;
    if (!dom.loadXML(document) || walk(dom.getRoot()) != 161) return false;
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
        walk(reread.getRoot()) != 158)
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

    NqDomTemplate* compiled = dom.getTemplate(tplText);
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
    const char* flag = std::getenv("NQDOM_UNDER_VALGRIND");
    if (RUNNING_ON_VALGRIND || (flag && *flag && std::string(flag) != "0"))
        GTEST_SKIP() << "valgrind replaces the allocator";
    ASSERT_GT(residentBytes(), 0);
    const NqbString document(documentText().c_str()), tplText(templateText().c_str());
    TempDir dir;
    for (int i = 0; i < kWarmUpRounds; ++i) round(document, tplText, dir);
    long before = residentBytes();
    int done = 0;
    for (int i = 0; i < kRounds; ++i) done += round(document, tplText, dir);
    long growth = residentBytes() - before;
    EXPECT_EQ(done, kRounds);
    EXPECT_LT(growth, kAllowedGrowthBytes) << "resident memory grew by " << growth << " bytes";
    RecordProperty("rss_growth_bytes", std::to_string(growth));
}

}  // namespace
