// Resident memory stays flat while documents, configuration files and
// templates are read and written over and over.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "nqdom.h"
#include "test_files.h"

#if defined(__SANITIZE_ADDRESS__)
#define NQDOM_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define NQDOM_TEST_ASAN 1
#endif
#endif

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#define NQDOM_TEST_VALGRIND_HEADER 1
#endif

namespace {

constexpr int kWarmUpRounds = 50;
constexpr int kRounds = 1000;
// One leaked document of a round (a parsed document, a template with its
// variables) costs well over 4 KB, so a leak of any of them in every round
// grows the process by more than this over kRounds.
constexpr long kAllowedGrowthBytes = 4L * 1024 * 1024;

// Under AddressSanitizer or valgrind freed memory is held back on purpose.
const char* rssMeaninglessBecause() {
#ifdef NQDOM_TEST_ASAN
    return "AddressSanitizer quarantines freed memory";
#else
#ifdef NQDOM_TEST_VALGRIND_HEADER
    if (RUNNING_ON_VALGRIND) return "valgrind replaces the allocator";
#endif
    const char* flag = std::getenv("NQDOM_UNDER_VALGRIND");
    if (flag && *flag && std::string(flag) != "0") return "valgrind replaces the allocator";
    return nullptr;
#endif
}

long residentBytes() {
    long pages = 0, resident = 0;
    FILE* statm = std::fopen("/proc/self/statm", "r");
    if (!statm) return -1;
    int read = std::fscanf(statm, "%ld %ld", &pages, &resident);
    std::fclose(statm);
    return read == 2 ? resident * sysconf(_SC_PAGESIZE) : -1;
}

// About 8 KB: nested elements, attributes, non-ASCII text and comments.
std::string documentText(int round) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><catalogue round=\"" + std::to_string(round) + "\">";
    for (int i = 0; i < 40; ++i) {
        std::string n = std::to_string(i);
        text += "<item id=\"" + n +
                "\" kind=\"gr\xc3\xb6\xc3\x9f"
                "e\"><name>item " +
                n + "</name><!-- note " + n +
                " --><text>\xce\xb1\xce\xbb\xcf\x86\xce\xb1 &amp; "
                "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e, a text longer than a short string " +
                n + "</text><qty unit=\"kg\">" + n + ".5</qty></item>";
    }
    return text + "</catalogue>";
}

// About 50 variables over three namespaces.
std::string templateText() {
    std::string text =
        "<t:order xmlns:t=\"urn:example:order\" xmlns=\"urn:example:default\" id=\"${orderId}\">";
    for (int i = 0; i < 48; ++i) {
        std::string n = std::to_string(i);
        text += "<line xmlns:q=\"urn:example:q" + std::to_string(i % 3) + "\" q:pos=\"" + n +
                "\"><q:article>${article" + n + "}</q:article><!-- line " + n + " --></line>";
    }
    return text + "<t:note>${note?}</t:note></t:order>";
}

// Reads every name, attribute and first text below `node`; returns the
// number of elements.
int walk(const NqDomNode& node) {
    int elements = 1;
    NqbString name = node.getName(), value = node.getValue(false);
    for (int i = 0; i < node.getAttributeCount(); ++i) {
        NqbString attributeName, attributeValue;
        node.getAttributeNameValue(i, &attributeName, &attributeValue);
    }
    for (NqDomNode child = node.getFirstChild(false); !child.null(); child = child.getNextSibling(false)) {
        elements += walk(child);
    }
    return elements;
}

// Counts what each round achieved, so the loop provably did its work.
struct Work {
    int documents = 0;
    int files = 0;
    int configurations = 0;
    int templates = 0;
    int failedTemplates = 0;
};

void documentRound(int round, const TempDir& dir, Work& work) {
    NqDom dom;
    if (!dom.loadXML(NqbString(documentText(round).c_str())) || walk(dom.getRoot()) != 161) return;
    NqDomNode root = dom.getRoot();
    root.setAttributeValue(NqbString("touched"), NqbString("\xc3\xa9t\xc3\xa9"));
    root.addChild(NqbString("added")).setValue(NqbString("a text longer than a short string buffer"));
    root.getFirstChild(false).remove();
    NqbString pretty = dom.createXML(true);

    NqDom copy;
    copy.startNewDocument(NqbString("copy"));
    copy.getRoot().addChild(copy.importNode(root.getFirstChild(false)));
    NqDom shared = copy;
    if (pretty.isNull() || shared.createXML(false).isNull()) return;
    ++work.documents;

    NqbString file(dir.file("document.xml").c_str());
    NqDom reread;
    if (dom.createFile(file, false) && reread.loadFile(file) && walk(reread.getRoot()) == 158) ++work.files;

    NqbConfSerializer* writer = nqDomGetInterface("NqbConfSerializer");
    for (int i = 0; i < 20; ++i) {
        std::string n = std::to_string(i);
        writer->addEntry(NqbString(("entry." + n).c_str()), NqbString(("value " + n).c_str()),
                         NqbString(i % 2 ? "a description longer than a short string" : ""));
    }
    NqbString configuration(dir.file("configuration.xml").c_str());
    bool written = writer->write(configuration);
    writer->release();
    NqbConfSerializer* reader = nqDomGetInterface("NqbConfSerializer");
    int entries = 0;
    NqbString name, value, description;
    if (written && reader->read(configuration)) {
        while (reader->getNextEntry(&name, &value, &description)) ++entries;
    }
    reader->release();
    if (entries == 20) ++work.configurations;
}

// A compiled template and, to cover the failure paths, a text whose
// variables do not parse.
void templateRound(const NqbString& text, const NqbString& broken, Work& work) {
    NqDom dom;
    NqDomTemplate* compiled = dom.getTemplate(text);
    if (compiled) {
        NqbString prefix, uri, error;
        for (int i = 0; i < compiled->getNamespaceCount(); ++i) compiled->getNamespace(i, &prefix, &uri);
        bool optional = false;
        int found = 0;
        for (int i = 0; i < compiled->getVariableCount(); ++i) {
            NqbString variable = compiled->getVariableName(i, &optional, &error);
            if (!compiled->getVariableXPath(variable).isNull()) ++found;
        }
        if (found == 50 && !compiled->getSkeleton().isNull()) ++work.templates;
        compiled->release();
    }
    NqDomTemplate* failed = dom.getTemplate(broken);
    if (failed) {
        failed->release();
    } else {
        ++work.failedTemplates;
    }
}

class ResidentMemory : public ::testing::Test {
protected:
    void SetUp() override {
        if (const char* reason = rssMeaninglessBecause())
            GTEST_SKIP() << "resident size not meaningful: " << reason;
        ASSERT_GT(residentBytes(), 0);
    }

    // Runs `round` for the warm-up and then kRounds times into *work; checks
    // and returns how much resident memory the measured rounds added.
    template <typename Round>
    long expectFlat(Round round, Work* work) {
        Work warmUp;
        for (int i = 0; i < kWarmUpRounds; ++i) round(i, warmUp);
        long before = residentBytes();
        for (int i = 0; i < kRounds; ++i) round(i, *work);
        long growth = residentBytes() - before;
        EXPECT_LT(growth, kAllowedGrowthBytes) << "resident memory grew by " << growth << " bytes";
        RecordProperty("rss_growth_bytes", std::to_string(growth));
        return growth;
    }
};

TEST_F(ResidentMemory, StaysFlatOverAThousandDocuments) {
    TempDir dir;
    Work work;
    expectFlat([&](int round, Work& into) { documentRound(round, dir, into); }, &work);
    EXPECT_EQ(work.documents, kRounds);
    EXPECT_EQ(work.files, kRounds);
    EXPECT_EQ(work.configurations, kRounds);
}

TEST_F(ResidentMemory, StaysFlatOverAThousandTemplates) {
    const NqbString text(templateText().c_str());
    const NqbString broken("<t><a>${unterminated</a><b>${fine}</b></t>");
    Work work;
    expectFlat([&](int, Work& into) { templateRound(text, broken, into); }, &work);
    EXPECT_EQ(work.templates, kRounds);
    EXPECT_EQ(work.failedTemplates, kRounds);
}

}  // namespace
