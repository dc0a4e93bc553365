// The configuration-entries serializer: factory, file shape, round trips and
// the documents that read rejects or tolerates.
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "nqdom.h"
#include "test_files.h"

namespace {

struct Release {
    void operator()(NqbConfSerializer* serializer) const {
        if (serializer != nullptr) serializer->release();
    }
};
using SerializerPtr = std::unique_ptr<NqbConfSerializer, Release>;

SerializerPtr makeSerializer() {
    return SerializerPtr(nqDomGetInterface("NqbConfSerializer"));
}

// A string's content, or nullopt for a null string.
using Text = std::optional<std::string>;
using Item = std::tuple<Text, Text, Text>;  // name, value, description

Text text(const NqbString& s) {
    if (s.isNull()) return std::nullopt;
    return std::string(s.asCstr(), static_cast<size_t>(s.length()));
}

NqbString nqb(const std::string& s) {
    return NqbString(s.c_str());
}

std::vector<Item> drain(NqbConfSerializer& serializer) {
    std::vector<Item> items;
    NqbString name, value, description;
    while (serializer.getNextEntry(&name, &value, &description)) {
        items.emplace_back(text(name), text(value), text(description));
    }
    return items;
}

Text dataFlowMessage(int id) {
    return text(nqb_get_message("test", 0, "Data flow", id));
}

// A document of the accepted shape around `body` (the root's content).
std::string configDocument(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<norquilldocument class=\"config\" version=\"1\">" +
           body + "</norquilldocument>\n";
}

class ConfSerializerTest : public ::testing::Test {
protected:
    void SetUp() override {
        serializer = makeSerializer();
        ASSERT_NE(serializer, nullptr);
    }

    // Writes `content` to a fresh file and reads it with the serializer.
    bool readText(const std::string& content) {
        const std::string path = dir.file("input.xml");
        EXPECT_TRUE(writeBytes(path, content));
        return serializer->read(nqb(path));
    }

    TempDir dir;
    SerializerPtr serializer;
};

TEST(ConfSerializerFactory, OnlyTheExactNameIsKnown) {
    const char* const unknown[] = {
        "nqbConfSerializer",
        "NqbConfserializer",
        "NQBCONFSERIALIZER",
        "NqbConfSerializerX",
        "NqbConfSerialize",
        " NqbConfSerializer",
        "",
        nullptr,
    };
    for (const char* name : unknown) {
        SerializerPtr serializer(nqDomGetInterface(name));
        EXPECT_EQ(serializer, nullptr) << (name ? name : "(null name)");
    }
    EXPECT_NE(makeSerializer(), nullptr);
}

TEST(ConfSerializerFactory, EachCallGivesAnIndependentObject) {
    TempDir dir;
    SerializerPtr first = makeSerializer();
    SerializerPtr second = makeSerializer();
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first.get(), second.get());

    first->addEntry("from-first", "1", NqbString());
    second->addEntry("from-second", "2", NqbString());
    first.reset();

    const NqbString path = nqb(dir.file("second.xml"));
    ASSERT_TRUE(second->write(path));
    ASSERT_TRUE(second->read(path));
    EXPECT_EQ(drain(*second), (std::vector<Item>{{"from-second", "2", std::nullopt}}));
}

TEST_F(ConfSerializerTest, NewSerializerHasNoEntryAndNoMessage) {
    NqbString name("keep"), value("keep"), description("keep");
    EXPECT_FALSE(serializer->getNextEntry(&name, &value, &description));
    EXPECT_EQ(text(name), "keep");
    EXPECT_EQ(text(value), "keep");
    EXPECT_EQ(text(description), "keep");
    EXPECT_TRUE(serializer->getErrorMessage().isNull());
}

TEST_F(ConfSerializerTest, WritesTheDocumentShapeExactly) {
    serializer->addEntry("a", "1", "first");
    serializer->addEntry("b", "", "");
    serializer->addEntry("c", "3", "third");
    const std::string path = dir.file("shape.xml");
    ASSERT_TRUE(serializer->write(nqb(path))) << serializer->getErrorMessage().asCstr();

    const std::string expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>\r\n"
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
        "</norquilldocument>\r\n";
    EXPECT_EQ(readBytes(path), expected);
}

TEST_F(ConfSerializerTest, EmptyListWritesEmptyEntriesElement) {
    const std::string path = dir.file("empty.xml");
    ASSERT_TRUE(serializer->write(nqb(path)));
    EXPECT_NE(readBytes(path).find("<entries/>"), std::string::npos) << readBytes(path);
    ASSERT_TRUE(serializer->read(nqb(path)));
    EXPECT_TRUE(drain(*serializer).empty());
}

TEST_F(ConfSerializerTest, WriteKeepsTheListAndHandsOutNothing) {
    serializer->addEntry("a", "1", NqbString());
    ASSERT_TRUE(serializer->write(nqb(dir.file("one.xml"))));
    NqbString name, value, description;
    EXPECT_FALSE(serializer->getNextEntry(&name, &value, &description));

    serializer->addEntry("b", "2", NqbString());
    const NqbString two = nqb(dir.file("two.xml"));
    ASSERT_TRUE(serializer->write(two));
    ASSERT_TRUE(serializer->read(two));
    EXPECT_EQ(drain(*serializer), (std::vector<Item>{{"a", "1", std::nullopt}, {"b", "2", std::nullopt}}));
}

TEST_F(ConfSerializerTest, RoundTripKeepsEntriesInOrder) {
    const std::string special = "<tag attr=\"x\"> & 'quoted' </tag>";
    const std::string unicode =
        "Gr\xc3\xb6\xc3\x9f"
        "e \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x98\x80";
    struct Input {
        const char* name;
        std::string value;
        std::string description;
    };
    const std::vector<Input> inputs = {
        {"plain", "value", "a description"},
        {"special<&>\"'", special, special},
        {"\xc3\xa9t\xc3\xa9", unicode, unicode},
        {"no-description", "v", ""},
        {"no-value", "", "only a description"},
        {"", "dropped", "an entry without a name"},  // not read back
        {"plain", "second with the same name", ""},
        {"spaces", "  padded  ", " x "},
    };
    for (const Input& in : inputs) serializer->addEntry(in.name, nqb(in.value), nqb(in.description));
    serializer->addEntry("null-strings", NqbString(), NqbString());

    const NqbString path = nqb(dir.file("roundtrip.xml"));
    ASSERT_TRUE(serializer->write(path)) << serializer->getErrorMessage().asCstr();
    SerializerPtr reader = makeSerializer();
    ASSERT_TRUE(reader->read(path)) << reader->getErrorMessage().asCstr();

    const std::vector<Item> expected = {
        {"plain", "value", "a description"},
        {"special<&>\"'", special, special},
        {"\xc3\xa9t\xc3\xa9", unicode, unicode},
        {"no-description", "v", std::nullopt},
        {"no-value", std::nullopt, "only a description"},
        {"plain", "second with the same name", std::nullopt},
        {"spaces", "  padded  ", " x "},
        {"null-strings", std::nullopt, std::nullopt},
    };
    EXPECT_EQ(drain(*reader), expected);
}

TEST_F(ConfSerializerTest, WriteToMissingDirectoryFails) {
    const std::string path = dir.file("no-such-dir/out.xml");
    serializer->addEntry("a", "1", NqbString());
    EXPECT_FALSE(serializer->write(nqb(path)));
    EXPECT_EQ(text(serializer->getErrorMessage()),
              text(nqb_get_message("test", 0, "LibXML", 1042, path.c_str())));
    EXPECT_FALSE(fileExists(path));
}

TEST_F(ConfSerializerTest, ReadOfMissingFileFailsAndEmptiesTheList) {
    serializer->addEntry("added", "1", NqbString());
    const std::string path = dir.file("missing.xml");
    EXPECT_FALSE(serializer->read(nqb(path)));
    EXPECT_EQ(text(serializer->getErrorMessage()),
              text(nqb_get_message("test", 0, "LibXML", 1041, path.c_str())));
    EXPECT_TRUE(drain(*serializer).empty());
}

TEST_F(ConfSerializerTest, ReadRejectsDocumentsOfAnotherKind) {
    struct Case {
        const char* label;
        std::string content;
        Text message;
    };
    const Text rootMessage = dataFlowMessage(288);
    const Text classMessage = dataFlowMessage(289);
    const Text versionMessage = dataFlowMessage(290);
    const std::string entry = "<entries><entry name=\"k\"><value>v</value></entry></entries>";
    const std::vector<Case> cases = {
        {"empty file", "", text(nqb_get_message("test", 0, "LibXML", 336))},
        {"not XML", "this is not XML\n", rootMessage},
        {"white space only", "  \n\t\n", rootMessage},
        {"declaration without root", "<?xml version=\"1.0\"?>\n", rootMessage},
        {"other root", "<config class=\"config\" version=\"1\">" + entry + "</config>", rootMessage},
        {"root in other case",
         "<NorquillDocument class=\"config\" version=\"1\">" + entry + "</NorquillDocument>", rootMessage},
        {"root checked before class", "<other class=\"x\" version=\"9\"/>", rootMessage},
        {"class in other case",
         "<norquilldocument class=\"Config\" version=\"1\">" + entry + "</norquilldocument>", classMessage},
        {"class missing", "<norquilldocument version=\"1\">" + entry + "</norquilldocument>", classMessage},
        {"class empty", "<norquilldocument class=\"\" version=\"1\"/>", classMessage},
        {"class padded", "<norquilldocument class=\" config\" version=\"1\"/>", classMessage},
        {"class checked before version", "<norquilldocument class=\"other\" version=\"9\"/>", classMessage},
        {"version 0.9", "<norquilldocument class=\"config\" version=\"0.9\">" + entry + "</norquilldocument>",
         versionMessage},
        {"version 2", "<norquilldocument class=\"config\" version=\"2\">" + entry + "</norquilldocument>",
         versionMessage},
        {"version 1.9991",
         "<norquilldocument class=\"config\" version=\"1.9991\">" + entry + "</norquilldocument>",
         versionMessage},
        {"version -1", "<norquilldocument class=\"config\" version=\"-1\"/>", versionMessage},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        serializer->addEntry("added before", "x", NqbString());
        EXPECT_FALSE(readText(c.content));
        EXPECT_EQ(text(serializer->getErrorMessage()), c.message);
        EXPECT_TRUE(drain(*serializer).empty());
    }
}

// asDouble yields NaN for a version that is missing or not a number, and NaN
// lies neither below nor above the accepted range: such files are read.
TEST_F(ConfSerializerTest, ReadAcceptsVersionsInRangeAndNonNumbers) {
    const char* const versions[] = {
        "version=\"1\"",
        "version=\"1.0\"",
        "version=\"1.5\"",
        "version=\"1.999\"",
        "version=\" 1.25\"",
        "version=\"abc\"",
        "version=\"x1.5\"",
        "version=\"\"",
        "",  // no version attribute
    };
    for (const char* version : versions) {
        SCOPED_TRACE(version);
        const std::string content = std::string("<norquilldocument class=\"config\" ") + version +
                                    "><entries><entry name=\"k\"><value>v</value></entry></entries>"
                                    "</norquilldocument>";
        EXPECT_TRUE(readText(content)) << serializer->getErrorMessage().asCstr();
        EXPECT_EQ(drain(*serializer), (std::vector<Item>{{"k", "v", std::nullopt}}));
    }
}

TEST_F(ConfSerializerTest, ReadToleratesOtherLayouts) {
    struct Case {
        const char* label;
        std::string body;
        std::vector<Item> expected;
    };
    const std::vector<Case> cases = {
        {"no entries element", "<other/>", {}},
        {"element names in capitals",
         "<ENTRIES><Entry name=\"k\"><DESCRIPTION>d</DESCRIPTION><VaLuE>v</VaLuE></Entry></ENTRIES>",
         {{"k", "v", "d"}}},
        {"two entries elements in document order",
         "<entries><entry name=\"a\"><value>1</value></entry></entries><other/>"
         "<entries><entry name=\"b\"><value>2</value></entry></entries>",
         {{"a", "1", std::nullopt}, {"b", "2", std::nullopt}}},
        {"unknown elements and comments ignored",
         "<meta>x</meta><!-- c --><entries><!-- c --><note/><entry name=\"a\"><extra>e</extra><!-- c -->"
         "<value>1</value><entry name=\"nested\"><value>n</value></entry></entry></entries>",
         {{"a", "1", std::nullopt}}},
        {"entries without a name skipped",
         "<entries><entry><value>1</value></entry><entry name=\"\"><value>2</value></entry>"
         "<entry NAME=\"upper\"><value>3</value></entry>"
         "<entry name=\"kept\"><value>4</value></entry></entries>",
         {{"kept", "4", std::nullopt}}},
        {"later value and description override earlier ones",
         "<entries><entry name=\"a\"><value>1</value><description>d1</description><value>2</value>"
         "<description>d2</description></entry></entries>",
         {{"a", "2", "d2"}}},
        {"description after value",
         "<entries><entry name=\"a\"><value>v</value><description>d</description>"
         "</entry></entries>",
         {{"a", "v", "d"}}},
        {"entry without children",
         "<entries><entry name=\"a\"/></entries>",
         {{"a", std::nullopt, std::nullopt}}},
        {"only the first text of a value",
         "<entries><entry name=\"a\"><value>x<b/>y</value></entry></entries>",
         {{"a", "x", std::nullopt}}},
        {"entry directly under the root ignored", "<entry name=\"a\"><value>1</value></entry>", {}},
        {"escaped text",
         "<entries><entry name=\"&lt;&amp;&gt;\"><value>&lt;&amp;&gt;&quot;&apos;</value>"
         "</entry></entries>",
         {{"<&>", "<&>\"'", std::nullopt}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_TRUE(readText(configDocument(c.body))) << serializer->getErrorMessage().asCstr();
        EXPECT_EQ(drain(*serializer), c.expected);
    }
}

TEST_F(ConfSerializerTest, ReadReplacesAddedEntries) {
    serializer->addEntry("added", "1", NqbString());
    ASSERT_TRUE(readText(configDocument("<entries><entry name=\"read\"><value>2</value></entry></entries>")));
    EXPECT_EQ(drain(*serializer), (std::vector<Item>{{"read", "2", std::nullopt}}));
}

TEST_F(ConfSerializerTest, ErrorMessageSurvivesALaterSuccess) {
    EXPECT_FALSE(readText("<other/>"));
    ASSERT_TRUE(readText(configDocument("")));
    EXPECT_EQ(text(serializer->getErrorMessage()), dataFlowMessage(288));
}

TEST_F(ConfSerializerTest, TwoSerializersWorkSideBySide) {
    SerializerPtr other = makeSerializer();
    const NqbString first = nqb(dir.file("first.xml"));
    const NqbString second = nqb(dir.file("second.xml"));
    for (int i = 0; i < 3; ++i) {
        NqbString index;
        index.assign(i);
        serializer->addEntry("first", index, NqbString());
        other->addEntry("second", index, NqbString());
    }
    ASSERT_TRUE(serializer->write(first));
    ASSERT_TRUE(other->write(second));

    // Each reads the other's file, and the walks are interleaved.
    ASSERT_TRUE(serializer->read(second));
    ASSERT_TRUE(other->read(first));
    NqbString name, value, description;
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(serializer->getNextEntry(&name, &value, &description));
        EXPECT_EQ(text(name), "second");
        EXPECT_EQ(text(value), std::to_string(i));
        ASSERT_TRUE(other->getNextEntry(&name, &value, &description));
        EXPECT_EQ(text(name), "first");
        EXPECT_EQ(text(value), std::to_string(i));
    }
    EXPECT_FALSE(serializer->getNextEntry(&name, &value, &description));
    EXPECT_FALSE(other->getNextEntry(&name, &value, &description));
}

}  // namespace
