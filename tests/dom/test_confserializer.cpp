// The configuration-entries serializer: factory, file shape, round trips and
// the documents that read rejects or tolerates.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "dom_test_util.h"
#include "test_files.h"

namespace {

struct Release {
    void operator()(NqbConfSerializer* serializer) const { serializer->release(); }
};
using SerializerPtr = std::unique_ptr<NqbConfSerializer, Release>;

SerializerPtr makeSerializer() {
    return SerializerPtr(nqDomGetInterface("NqbConfSerializer"));
}

// Entries as "name=value (description)"; a null value or description is left out.
std::string drain(NqbConfSerializer& serializer) {
    std::string out;
    NqbString name, value, description;
    while (serializer.getNextEntry(&name, &value, &description)) {
        out += (out.empty() ? "" : "; ") + str(name) + (value.isNull() ? "" : "=" + str(value)) +
               (description.isNull() ? "" : " (" + str(description) + ")");
    }
    return out;
}

std::string dataFlow(int id) {
    return str(nqb_get_message("", 0, NQ_CATALOGUE_DATA_FLOW, id));
}

const char* const kEntry = "<entries><entry name=\"k\"><value>v</value></entry></entries>";

// A document with the root `root` carrying `attributes` around `body`.
std::string document(const std::string& attributes, const std::string& body = kEntry,
                     const std::string& root = "norquilldocument") {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" + root + " " + attributes + ">" + body + "</" +
           root + ">\n";
}
std::string accepted(const std::string& body) {
    return document("class=\"config\" version=\"1\"", body);
}
std::string versioned(const std::string& version) {
    return document("class=\"config\" version=\"" + version + "\"");
}

// Reads `content` with a new serializer holding one added entry, which must be
// gone either way: the entries read, or "failed: " and the message.
std::string readBack(const std::string& content) {
    TempDir dir;
    const std::string path = dir.file("input.xml");
    EXPECT_TRUE(writeBytes(path, content));
    SerializerPtr serializer = makeSerializer();
    serializer->addEntry("added before", "x", NqbString());
    const bool ok = serializer->read(path.c_str());
    const std::string entries = drain(*serializer);
    const std::string error = str(serializer->getErrorMessage());
    if (ok) return error == "<null>" ? entries : entries + " with message " + error;
    return "failed: " + error + (entries.empty() ? "" : " with entries " + entries);
}

class ConfSerializerTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(serializer, nullptr); }
    NqbString path(const char* name) { return NqbString(dir.file(name).c_str()); }

    TempDir dir;
    SerializerPtr serializer = makeSerializer();
};

TEST(ConfSerializerFactory, OnlyTheExactNameIsKnown) {
    for (const char* name : {"nqbConfSerializer", "NqbConfSerializerX", "NqbConfSerialize", "",
                             static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(nqDomGetInterface(name), nullptr) << (name ? name : "(null name)");
    }
}

// getNextEntry has nothing to hand out on a new serializer nor right after
// write, and leaves its outputs alone.
TEST_F(ConfSerializerTest, WritesTheDocumentShapeExactly) {
    NqbString name("keep"), value("keep"), description("keep");
    EXPECT_FALSE(serializer->getNextEntry(&name, &value, &description));
    EXPECT_EQ(str(serializer->getErrorMessage()), "<null>");
    serializer->addEntry("a", "1", "first");
    serializer->addEntry("b", "", "");
    serializer->addEntry("c", "3", "third");
    ASSERT_TRUE(serializer->write(path("shape.xml"))) << str(serializer->getErrorMessage());
    EXPECT_FALSE(serializer->getNextEntry(&name, &value, &description));
    EXPECT_EQ(str(name) + str(value) + str(description), "keepkeepkeep");
    EXPECT_EQ(readBytes(dir.file("shape.xml")), kDeclaration +
                                                    "\r\n"
                                                    "<norquilldocument class=\"config\" version=\"1\">\r\n"
                                                    "\r\n"
                                                    "  <entries>\r\n"
                                                    "    <entry name=\"a\">\r\n"
                                                    "      <description>first</description>\r\n"
                                                    "      <value>1</value>\r\n"
                                                    "    </entry>\r\n"
                                                    "    <entry name=\"b\">\r\n"
                                                    "      <value></value>\r\n"
                                                    "    </entry>\r\n"
                                                    "    <entry name=\"c\">\r\n"
                                                    "      <description>third</description>\r\n"
                                                    "      <value>3</value>\r\n"
                                                    "    </entry>\r\n"
                                                    "  </entries>\r\n"
                                                    "\r\n"
                                                    "</norquilldocument>\r\n");

    // write keeps the list.
    ASSERT_TRUE(serializer->write(path("shape.xml")));
    EXPECT_EQ(readBack(readBytes(dir.file("shape.xml"))), "a=1 (first); b; c=3 (third)");

    SerializerPtr empty = makeSerializer();
    ASSERT_TRUE(empty->write(path("empty.xml")));
    EXPECT_NE(readBytes(dir.file("empty.xml")).find("<entries/>"), std::string::npos);
    EXPECT_EQ(readBack(readBytes(dir.file("empty.xml"))), "");
}

// Entries with an empty name are lost; an empty value or description comes
// back as a null string.
TEST_F(ConfSerializerTest, RoundTripKeepsEntriesInOrder) {
    const std::string special = "<tag attr=\"x\"> & 'quoted' </tag>";
    const std::string unicode =
        "Gr\xc3\xb6\xc3\x9f"
        "e \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x98\x80";
    const struct {
        const char* name;
        std::string value;
        std::string description;
    } inputs[] = {
        {"plain", "value", "a description"},        {"special<&>\"'", special, special},
        {"\xc3\xa9t\xc3\xa9", unicode, unicode},    {"no-description", "v", ""},
        {"no-value", "", "only a description"},     {"", "dropped", "an entry without a name"},
        {"plain", "second with the same name", ""}, {"spaces", "  padded  ", " x "},
    };
    for (const auto& in : inputs) serializer->addEntry(in.name, in.value.c_str(), in.description.c_str());
    serializer->addEntry("null-strings", NqbString(), NqbString());
    ASSERT_TRUE(serializer->write(path("roundtrip.xml"))) << str(serializer->getErrorMessage());
    EXPECT_EQ(readBack(readBytes(dir.file("roundtrip.xml"))),
              "plain=value (a description); special<&>\"'=" + special + " (" + special +
                  "); \xc3\xa9t\xc3\xa9=" + unicode + " (" + unicode +
                  "); no-description=v; no-value (only a description); plain=second with the same name; "
                  "spaces=  padded   ( x ); null-strings");
}

TEST_F(ConfSerializerTest, MissingFileOrDirectoryFailsWithTheFileMessage) {
    const std::string out = dir.file("no-such-dir/out.xml");
    serializer->addEntry("added", "1", NqbString());
    EXPECT_FALSE(serializer->write(out.c_str()));
    EXPECT_EQ(str(serializer->getErrorMessage()), libxml(NQ_MSG_OPEN_WRITE, out.c_str()));

    const std::string in = dir.file("missing.xml");
    EXPECT_FALSE(serializer->read(in.c_str()));
    EXPECT_EQ(str(serializer->getErrorMessage()), libxml(NQ_MSG_OPEN_READ, in.c_str()));
    EXPECT_EQ(drain(*serializer), "");

    // The message survives a later success.
    ASSERT_TRUE(writeBytes(in, accepted(kEntry)));
    ASSERT_TRUE(serializer->read(in.c_str()));
    EXPECT_EQ(str(serializer->getErrorMessage()), libxml(NQ_MSG_OPEN_READ, in.c_str()));
}

TEST(ConfSerializerRead, RejectsDocumentsOfAnotherKind) {
    const std::string root = "failed: " + dataFlow(NQ_MSG_CONF_ROOT);
    const std::string klass = "failed: " + dataFlow(NQ_MSG_CONF_CLASS);
    const struct {
        const char* label;
        std::string content;
        std::string expected;
    } rows[] = {
        {"empty file", "", "failed: " + libxml(NQ_MSG_FILE_EMPTY)},
        {"not XML", "this is not XML\n", root},
        {"other root", document("class=\"config\" version=\"1\"", kEntry, "config"), root},
        {"root in other case", document("class=\"config\" version=\"1\"", kEntry, "NorquillDocument"), root},
        {"root checked before class", "<other class=\"x\" version=\"9\"/>", root},
        {"class in other case", document("class=\"Config\" version=\"1\""), klass},
        {"class missing", document("version=\"1\""), klass},
        {"class checked before version", document("class=\"other\" version=\"9\""), klass},
    };
    for (const auto& row : rows) EXPECT_EQ(readBack(row.content), row.expected) << row.label;
}

// asDouble yields NaN for a version that is missing or not a number, and NaN
// lies neither below nor above the accepted range: such files are read.
TEST(ConfSerializerRead, VersionFrom1To1999) {
    for (const char* version : {"0.9", "2", "1.9991"}) {
        EXPECT_EQ(readBack(versioned(version)), "failed: " + dataFlow(NQ_MSG_CONF_VERSION)) << version;
    }
    for (const char* version : {"1", "1.999", " 1.25", "abc", ""}) {
        EXPECT_EQ(readBack(versioned(version)), "k=v") << version;
    }
    EXPECT_EQ(readBack(document("class=\"config\"")), "k=v");
}

TEST(ConfSerializerRead, ToleratesOtherLayouts) {
    const struct {
        const char* label;
        const char* body;
        const char* expected;
    } rows[] = {
        {"no entries element", "<other/>", ""},
        {"element names in capitals",
         "<ENTRIES><Entry name=\"k\"><DESCRIPTION>d</DESCRIPTION><VaLuE>v</VaLuE></Entry></ENTRIES>",
         "k=v (d)"},
        {"two entries elements in document order",
         "<entries><entry name=\"a\"><value>1</value></entry></entries><other/>"
         "<entries><entry name=\"b\"><value>2</value></entry></entries>",
         "a=1; b=2"},
        {"unknown elements and comments ignored",
         "<meta>x</meta><!-- c --><entries><!-- c --><note/><entry name=\"a\"><extra>e</extra><!-- c -->"
         "<value>1</value><entry name=\"nested\"><value>n</value></entry></entry></entries>",
         "a=1"},
        {"entries without a name skipped",
         "<entries><entry><value>1</value></entry><entry name=\"\"><value>2</value></entry>"
         "<entry NAME=\"upper\"><value>3</value></entry><entry "
         "name=\"kept\"><value>4</value></entry></entries>",
         "kept=4"},
        {"later value and description override earlier ones",
         "<entries><entry name=\"a\"><value>1</value><description>d1</description><value>2</value>"
         "<description>d2</description></entry></entries>",
         "a=2 (d2)"},
        {"entry without children", "<entries><entry name=\"a\"/></entries>", "a"},
        {"only the first text of a value",
         "<entries><entry name=\"a\"><value>x<b/>y</value></entry></entries>", "a=x"},
        {"entry directly under the root ignored", "<entry name=\"a\"><value>1</value></entry>", ""},
        {"escaped text",
         "<entries><entry name=\"&lt;&amp;&gt;\"><value>&lt;&amp;&gt;&quot;&apos;</value></entry></entries>",
         "<&>=<&>\"'"},
    };
    for (const auto& row : rows) EXPECT_EQ(readBack(accepted(row.body)), row.expected) << row.label;
}

}  // namespace
