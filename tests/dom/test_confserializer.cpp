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

// With one entry added first, which must go: the entries read, or "failed: " and the message.
std::string readBack(const std::string& content) {
    TempDir dir;
    const std::string path = dir.file("input.xml");
    EXPECT_TRUE(writeBytes(path, content));
    SerializerPtr serializer(nqDomGetInterface("NqbConfSerializer"));
    serializer->addEntry("added before", "x", NqbString());
    const bool ok = serializer->read(path.c_str());
    const std::string entries = drain(*serializer);
    if (ok) return entries;
    return "failed: " + str(serializer->getErrorMessage()) +
           (entries.empty() ? "" : " with entries " + entries);
}

std::string document(const std::string& attributes, const std::string& body) {
    return "<?xml version=\"1.0\"?>\n<norquilldocument " + attributes + ">" + body + "</norquilldocument>";
}

// An empty value or description comes back as a null string; an entry without a name is lost.
TEST(ConfSerializer, WritesTheDocumentShapeAndReadsItBack) {
    TempDir dir;
    const std::string path = dir.file("shape.xml");
    SerializerPtr serializer(nqDomGetInterface("NqbConfSerializer"));
    serializer->addEntry("a", "1", "first");
    serializer->addEntry("b", "", "");
    ASSERT_TRUE(serializer->write(path.c_str())) << str(serializer->getErrorMessage());
    EXPECT_EQ(readBytes(path),
              kDeclaration +
                  "\r\n<norquilldocument class=\"config\" version=\"1\">\r\n\r\n  <entries>\r\n"
                  "    <entry name=\"a\">\r\n      <description>first</description>\r\n"
                  "      <value>1</value>\r\n    </entry>\r\n    <entry name=\"b\">\r\n"
                  "      <value></value>\r\n    </entry>\r\n  </entries>\r\n\r\n</norquilldocument>\r\n");

    const std::string special = "<tag attr=\"x\"> & 'q' \xc3\xa9\xf0\x9f\x98\x80</tag>";
    serializer->addEntry(special.c_str(), special.c_str(), special.c_str());
    serializer->addEntry("", "dropped", "");
    serializer->addEntry("a", NqbString(), " padded ");
    ASSERT_TRUE(serializer->write(path.c_str()));
    EXPECT_EQ(readBack(readBytes(path)),
              "a=1 (first); b; " + special + "=" + special + " (" + special + "); a ( padded )");
}

TEST(ConfSerializer, FileErrorsGiveTheFileMessage) {
    TempDir dir;
    SerializerPtr serializer(nqDomGetInterface("NqbConfSerializer"));
    const std::string out = dir.file("no-such-dir/out.xml"), in = dir.file("missing.xml");
    EXPECT_FALSE(serializer->write(out.c_str()));
    EXPECT_EQ(str(serializer->getErrorMessage()),
              "LibXML 1042: cannot open file \"" + out + "\" for writing");
    EXPECT_FALSE(serializer->read(in.c_str()));
    // The message survives a later success.
    ASSERT_TRUE(writeBytes(in, document("class=\"config\"", "")));
    ASSERT_TRUE(serializer->read(in.c_str()));
    EXPECT_EQ(str(serializer->getErrorMessage()), "LibXML 1041: cannot open file \"" + in + "\" for reading");
}

// Root and class must match exactly; a version outside 1 to 1.999 is refused, but one
// that is missing or no number passes. Element names match in any letter case.
TEST(ConfSerializer, ReadRejectsOrToleratesDocuments) {
    const std::string version =
        "failed: Data flow 290: configuration document: \"version\" is outside 1.0 to 1.999";
    const std::string entry = "<entries><entry name=\"k\"><value>v</value></entry></entries>";
    const std::pair<std::string, std::string> rows[] = {
        {"", "failed: LibXML 336: the file to read is empty"},
        {"<NorquillDocument class=\"config\" version=\"1\">" + entry + "</NorquillDocument>",
         "failed: Data flow 288: not a configuration document: the root element is not \"norquilldocument\""},
        {document("class=\"Config\" version=\"1\"", entry),
         "failed: Data flow 289: configuration document: attribute \"class\" is not \"config\""},
        {document("class=\"config\" version=\"0.9\"", entry), version},
        {document("class=\"config\" version=\"1.9991\"", entry), version},
        {document("class=\"config\" version=\"1.999\"", entry), "k=v"},
        {document("class=\"config\" version=\"abc\"", entry), "k=v"},
        {document(
             "class=\"config\"",
             "<entry name=\"top\"/><ENTRIES><Entry name=\"k\"><DESCRIPTION>d</DESCRIPTION><VaLuE>v</VaLuE>"
             "</Entry></ENTRIES><other/><entries><!-- c --><note/><entry><value>1</value></entry>"
             "<entry NAME=\"upper\"/><entry name=\"a\"><value>1</value><extra/><value>x<b/>y</value>"
             "</entry></entries>"),
         "k=v (d); a=x"},
    };
    for (const auto& [content, expected] : rows) EXPECT_EQ(readBack(content), expected) << content;
}

}  // namespace
