// Load policies: hostile input under each policy, documents the bounded
// policies must load as the lenient one does, and where the policy comes from.
#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "dom_test_util.h"
#include "test_files.h"

namespace {

std::string repeat(const std::string& text, int count) {
    std::string out;
    for (int i = 0; i < count; ++i) out += text;
    return out;
}

std::string nested(int depth, const std::string& inner) {
    return repeat("<e>", depth) + inner + repeat("</e>", depth);
}

// Ten times more text per level: 7 levels are 40 million characters.
std::string expandingEntities() {
    std::string dtd = "<!ENTITY e0 \"lol\">";
    for (int level = 1; level <= 7; ++level)
        dtd += "<!ENTITY e" + std::to_string(level) + " \"" +
               repeat("&e" + std::to_string(level - 1) + ";", 10) + "\">";
    return "<!DOCTYPE a [" + dtd + "]><a>&e7;</a>";
}

// Files the hostile documents point at, beside them in a folder that is not
// the working directory.
class HostileFiles {
public:
    HostileFiles() {
        writeBytes(m_dir.file("secret.txt"), "s3cret");
        writeBytes(m_dir.file("ext.dtd"),
                   "<!ENTITY % f SYSTEM 'secret.txt'>\n<!ENTITY % d \"<!ATTLIST a k CDATA '%f;'>\">\n%d;\n");
        ::mkfifo(m_dir.file("fifo").c_str(), 0600);
    }
    // `xml` written to a file of the folder; its name.
    std::string file(const std::string& name, const std::string& xml) const {
        writeBytes(m_dir.file(name), xml);
        return m_dir.file(name);
    }

private:
    TempDir m_dir;
};

const char* const kDoctype =
    "a document type declaration with an identifier or internal subset, which this load policy does not "
    "accept";
const char* const kOutside = "is outside the text, and this load policy reads nothing outside it";

struct HostileCase {
    const char* name;
    const char* file;  // a file of the folder the text is loaded from; null: loaded as text
    std::string text;
    // Per policy: "" loads, otherwise a part of the message.
    std::string strict, selfContained, untrusted;
};

const HostileCase kHostile[] = {
    {"EntitiesExpandingTenTimesPerLevel", nullptr, expandingEntities(),
     "LibXML 345: line 1, column 426: parser has encountered more than '10107' entity expansions in the "
     "document; this is the limit imposed by the application",
     "entity expansions", kDoctype},
    {"OneLargeEntityTenThousandTimes", nullptr,
     "<!DOCTYPE a [<!ENTITY big '" + std::string(100000, 'x') + "'>]><a>" + repeat("&big;", 10000) + "</a>",
     "takes more than 20 MB of memory to load", "takes more than 20 MB", kDoctype},
    {"ExternalDtdDefaultingAnAttributeToAFile", "d.xml", "<!DOCTYPE a SYSTEM 'ext.dtd'><a/>", "",
     "line 1, column 30: \"ext.dtd\" " + std::string(kOutside), kDoctype},
    // Refused by name, before any connection.
    {"ExternalDtdOnTheNetwork", "n.xml", "<!DOCTYPE a SYSTEM 'http://127.0.0.1:9/x.dtd'><a/>",
     "\"http://127.0.0.1:9/x.dtd\" (no public identifier) is on the network",
     "\"http://127.0.0.1:9/x.dtd\" " + std::string(kOutside), kDoctype},
    {"ExternalEntityThatIsAFifo", "f.xml", "<!DOCTYPE a [<!ENTITY e SYSTEM 'fifo'>]><a>&e;</a>",
     "line 1, column 47: \"fifo\" is not a regular file", "\"fifo\" " + std::string(kOutside), kDoctype},
    {"DocumentCutInHalf", nullptr, "<r><a>1</a><b>2</b><c",
     "LibXML 345: line 1, column 22: unexpected end of input", "unexpected end of input",
     "unexpected end of input"},
    {"ZeroByteInAFile", "z.xml", std::string("<a>x\0y</a>", 10),
     "z.xml\", line 1, column 6: invalid character 0x0", "invalid character 0x0", "invalid character 0x0"},
    {"NestedOneLevelTooDeep", nullptr, nested(nqDomUntrustedDepthLimit + 1, ""), "", "",
     "LibXML 345: line 1, column 772: elements nested deeper than 256 levels"},
    {"EmptyElementOneLevelTooDeep", nullptr,
     "<r>" + repeat("<e/>", 3) + nested(nqDomUntrustedDepthLimit - 1, "<e/>") + "</r>", "", "",
     "elements nested deeper than 256 levels"},
};

// gtest would otherwise print the row's bytes, padding included.
void PrintTo(const HostileCase& row, std::ostream* out) {
    *out << row.name;
}

class Hostile : public ::testing::TestWithParam<HostileCase> {};

// Each bounded policy with the message a row expects of it ("": it loads).
std::vector<std::pair<NqDomLoadPolicy, std::string>> boundedRuns(const HostileCase& row) {
    return {{NqDomLoadStrict, row.strict},
            {NqDomLoadSelfContained, row.selfContained},
            {NqDomLoadUntrusted, row.untrusted}};
}

TEST_P(Hostile, FailsWithAMessageUnderEachBoundedPolicy) {
    const HostileCase& row = GetParam();
    HostileFiles files;
    const std::string path = row.file ? files.file(row.file, row.text) : "";
    for (const auto& [policy, expected] : boundedRuns(row)) {
        SCOPED_TRACE(policy);
        NqDom dom;
        dom.setLoadPolicy(policy);
        ::alarm(60);  // a load that expands or blocks ends the process instead of passing
        const bool loaded = row.file ? dom.loadFile(path.c_str()) : dom.loadXML(NqbString(row.text.c_str()));
        ::alarm(0);
        EXPECT_EQ(loaded, expected.empty()) << str(dom.getErrorMessage());
        EXPECT_EQ(dom.getRoot().null(), !loaded);
        EXPECT_NE(str(dom.getErrorMessage()).find(expected), std::string::npos) << str(dom.getErrorMessage());
    }
}

// The reader refuses what loadFile refuses, under every bounded policy, and
// reads to the end what it loads.
TEST_P(Hostile, StopsTheReaderWhereTheLoadFails) {
    const HostileCase& row = GetParam();
    HostileFiles files;
    const std::string path = row.file ? files.file(row.file, row.text) : "";
    for (const auto& [policy, expected] : boundedRuns(row)) {
        SCOPED_TRACE(policy);
        NqDomReader reader;
        reader.setLoadPolicy(policy);
        NqbString text;
        text.assign(row.text.data(), static_cast<int>(row.text.size()));
        ASSERT_TRUE(row.file ? reader.openFile(path.c_str()) : reader.openText(text));
        ::alarm(60);
        NqDomReadKind kind = reader.next();
        while (kind != NqDomReadEnd && kind != NqDomReadError) kind = reader.next();
        ::alarm(0);
        EXPECT_EQ(kind, expected.empty() ? NqDomReadEnd : NqDomReadError) << str(reader.getErrorMessage());
        if (expected.empty()) continue;
        const std::string message = str(reader.getErrorMessage());
        EXPECT_EQ(message.find("LibXML 34"), 0u) << message;
        EXPECT_NE(message.find("line "), std::string::npos) << message;
        // The same reason, but for memory: the reader holds no document.
        const std::string reason =
            expected.substr(expected.rfind(": ") == std::string::npos ? 0 : expected.rfind(": ") + 2);
        if (reason.find(" MB") == std::string::npos)
            EXPECT_NE(message.find(reason), std::string::npos) << message;
        else
            EXPECT_NE(message.find("a text takes more than 64 MB"), std::string::npos) << message;
    }
}

INSTANTIATE_TEST_SUITE_P(LoadPolicy, Hostile, ::testing::ValuesIn(kHostile),
                         [](const auto& info) { return std::string(info.param.name); });

// Under Strict an error in an external entity names the entity's file.
TEST(LoadPolicy, StrictReadsExternalDtdsBesideTheFileAndNamesThemInErrors) {
    HostileFiles files;
    NqDom dom;
    dom.setLoadPolicy(NqDomLoadStrict);
    ASSERT_TRUE(dom.loadFile(files.file("d.xml", "<!DOCTYPE a SYSTEM 'ext.dtd'><a/>").c_str()))
        << str(dom.getErrorMessage());
    EXPECT_EQ(str(dom.getRoot().getAttributeValue("k")), "s3cret");
    const std::string bad = files.file("bad.dtd", "<!ELEMENT a ANY>\n<!bad>");
    EXPECT_FALSE(dom.loadFile(files.file("b.xml", "<!DOCTYPE a SYSTEM 'bad.dtd'><a/>").c_str()));
    EXPECT_EQ(str(dom.getErrorMessage()),
              "LibXML 346: file \"" + bad + "\", line 2, column 3: markup declaration expected");
}

// Internal subsets, defaults, internal entities, comments, instructions and
// CDATA: the bounded policies build the very document Lenient builds.
TEST(LoadPolicy, SelfContainedDocumentsLoadAsUnderLenient) {
    const char* const documents[] = {
        "<!DOCTYPE a [<!ENTITY e 'h&#233;'><!ATTLIST a d CDATA 'dflt'>]><a>x&e;y<b d='set'/></a>",
        "<?xml version='1.0' encoding='ISO-8859-1'?><!-- c --><a x:k='1' xmlns:x='u'><?pi "
        "d?><![CDATA[<&>]]>\xe9</a>",
        "\xef\xbb\xbf<a>\r\n  <b>t</b>\r\n</a>",
    };
    for (const char* text : documents) {
        NqDom lenient;
        ASSERT_TRUE(lenient.loadXML(text));
        for (NqDomLoadPolicy policy : {NqDomLoadStrict, NqDomLoadSelfContained}) {
            NqDom bounded;
            bounded.setLoadPolicy(policy);
            ASSERT_TRUE(bounded.loadXML(text)) << str(bounded.getErrorMessage());
            EXPECT_EQ(str(bounded.createXML(true)), str(lenient.createXML(true))) << text;
        }
    }
}

TEST(LoadPolicy, UntrustedAcceptsADeclarationThatOnlyNamesTheRoot) {
    NqDom dom;
    dom.setLoadPolicy(NqDomLoadUntrusted);
    ASSERT_TRUE(dom.loadXML("<!DOCTYPE html>\n<html><body/></html>")) << str(dom.getErrorMessage());
    EXPECT_EQ(str(dom.getRoot().getName()), "html");
    EXPECT_FALSE(dom.loadXML("<!DOCTYPE html SYSTEM 'about:legacy-compat'><html/>"));
    EXPECT_NE(str(dom.getErrorMessage()).find(kDoctype), std::string::npos) << str(dom.getErrorMessage());
}

// Bytes that are not in the encoding the text declares or implies: the
// message is about the encoding, whatever the bounded policy.
TEST(LoadPolicy, TextsNotInTheirEncodingGetAMessageAboutIt) {
    TempDir dir;
    const struct {
        const char* file;  // null: the text is loaded as a string
        std::string bytes;
        const char* message;
    } cases[] = {
        {nullptr, std::string("\xff\xfe<\0a\0/\0>\0", 10),
         "starts with a UTF-16 byte order mark but holds no 0"},
        {"le.xml", std::string("<\0a\0/\0>\0", 8),
         "starts with a 0 byte, as UTF-16 without a byte order mark"},
        {"latin.xml", "<a>caf\xe9</a>", "the bytes are not UTF-8, the encoding declared or implied"},
        {nullptr, "<?xml version='1.0' encoding='UTF-8'?><a>\xe9t\xe9</a>", "the bytes are not UTF-8"},
    };
    for (const auto& row : cases) {
        if (row.file) writeBytes(dir.file(row.file), row.bytes);
        for (NqDomLoadPolicy policy : {NqDomLoadStrict, NqDomLoadSelfContained, NqDomLoadUntrusted}) {
            NqDom dom;
            dom.setLoadPolicy(policy);
            EXPECT_FALSE(row.file ? dom.loadFile(dir.file(row.file).c_str())
                                  : dom.loadXML(row.bytes.c_str()));
            EXPECT_NE(str(dom.getErrorMessage()).find(row.message), std::string::npos)
                << policy << ": " << str(dom.getErrorMessage());
        }
    }
}

TEST(LoadPolicy, NewHandlesAndSerializersTakeTheDefaultWhenMade) {
    EXPECT_EQ(nqDomGetDefaultLoadPolicy(), NqDomLoadLenient);
    TempDir dir;
    const std::string cut = dir.file("cut.xml");
    writeBytes(cut, "<norquilldocument class='config'><entries><entry name='a'><val");

    nqDomSetDefaultLoadPolicy(NqDomLoadStrict);
    NqDom strict;
    NqbConfSerializer* serializer = nqDomGetInterface("NqbConfSerializer");
    nqDomSetDefaultLoadPolicy(static_cast<NqDomLoadPolicy>(7));
    EXPECT_EQ(nqDomGetDefaultLoadPolicy(), NqDomLoadStrict) << "an unknown policy is ignored";
    nqDomSetDefaultLoadPolicy(NqDomLoadLenient);

    EXPECT_EQ(strict.getLoadPolicy(), NqDomLoadStrict);
    EXPECT_FALSE(serializer->read(cut.c_str()));
    EXPECT_EQ(str(serializer->getErrorMessage()),
              "LibXML 346: file \"" + cut + "\", line 1, column 63: unexpected end of input");
    serializer->release();

    NqbConfSerializer* lenient = nqDomGetInterface("NqbConfSerializer");
    EXPECT_TRUE(lenient->read(cut.c_str())) << "a cut file still reads under Lenient";
    lenient->release();

    // Copies share the document and so its policy.
    NqDom copy(strict);
    copy.setLoadPolicy(NqDomLoadUntrusted);
    EXPECT_EQ(strict.getLoadPolicy(), NqDomLoadUntrusted);
    EXPECT_EQ(strict.getTemplate("<!DOCTYPE a [<!ENTITY e 'x'>]><a>${v}</a>"), nullptr);
    EXPECT_EQ(str(strict.getErrorMessage()), std::string("LibXML 345: line 1, column 13: ") + kDoctype);
}

// What Untrusted accepts is written and compiled on a 1 MB stack.
void* writeAndCompileDeepest(void* result) {
    const std::string text = nested(nqDomUntrustedDepthLimit - 1, "<v k='${key}'>${value}</v>");
    NqDom dom;
    dom.setLoadPolicy(NqDomLoadUntrusted);
    bool done = dom.loadXML(text.c_str()) && !dom.createXML(false).isNull() && !dom.createXML(true).isNull();
    NqDomTemplate* compiled = dom.getTemplate(text.c_str());
    done = done && compiled && compiled->getVariableCount() == 2;
    if (compiled) compiled->release();
    *static_cast<bool*>(result) = done;
    return nullptr;
}

TEST(LoadPolicy, UntrustedDocumentsAreWrittenAndCompiledOnAOneMegabyteStack) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 1 << 20), 0);
    bool done = false;
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, writeAndCompileDeepest, &done), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_TRUE(done);
}

}  // namespace
