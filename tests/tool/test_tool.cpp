// nqdom driven through its command line: exit status, standard output,
// standard error and the files it writes, on the shipped examples and on bad
// input.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "test_files.h"
#include "tool_runner.h"

namespace {

ToolResult nqdom(const std::vector<std::string>& args, const ToolInput& input = ToolInput()) {
    return runTool(args, input);
}

std::size_t countOf(const std::string& text, const std::string& what) {
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size()))
        ++count;
    return count;
}

bool contains(const std::string& text, const std::string& what) {
    return text.find(what) != std::string::npos;
}

// Success: status 0 and nothing on stderr.
void expectSuccess(const ToolResult& r) {
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "");
}

// A failure: status 1, nothing on stdout, one line on stderr naming the
// command and saying `what`.
void expectFailure(const ToolResult& r, const std::string& command, const std::string& what) {
    EXPECT_EQ(r.exitCode, 1) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err.rfind("nqdom " + command + ": ", 0), 0u) << r.err;
    EXPECT_TRUE(contains(r.err, what)) << r.err;
    EXPECT_EQ(countOf(r.err, "\n"), 1u) << r.err;
}

void expectUsageError(const ToolResult& r, const std::string& command, const std::string& what) {
    EXPECT_EQ(r.exitCode, 2) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_TRUE(contains(r.err, "nqdom " + command + ": " + what)) << r.err;
    EXPECT_TRUE(contains(r.err, "\nusage: nqdom " + command)) << r.err;
}

class ToolTest : public testing::Test {
protected:
    // A copy of an example in the test's own directory.
    std::string copyExample(const std::string& name) {
        std::string path = dir.file(name);
        EXPECT_TRUE(writeBytes(path, readBytes(examplePath(name))));
        return path;
    }
    std::vector<std::string> directoryEntries() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    TempDir dir;
};

// --- the command line as a whole ---------------------------------------------

TEST(ToolCommandLine, WithoutCommandShowsUsage) {
    ToolResult r = nqdom({});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_EQ(r.err.rfind("usage: nqdom COMMAND", 0), 0u) << r.err;
}

TEST(ToolCommandLine, UnknownCommandIsUsageError) {
    ToolResult r = nqdom({"frobnicate"});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_TRUE(contains(r.err, "unknown command \"frobnicate\"")) << r.err;
}

TEST(ToolCommandLine, EveryCommandHasHelp) {
    const std::vector<std::vector<std::string>> commands = {
        {"version"},     {"format"},      {"tree"},          {"conf"},     {"conf", "list"},
        {"conf", "get"}, {"conf", "set"}, {"conf", "unset"}, {"template"}, {"fill"}};
    for (std::vector<std::string> words : commands) {
        std::string name = words.size() == 1 ? words[0] : words[0] + " " + words[1];
        words.push_back("--help");
        ToolResult r = nqdom(words);
        expectSuccess(r);
        EXPECT_EQ(r.out.rfind("usage: nqdom " + name, 0), 0u) << r.out;
    }
    ToolResult top = nqdom({"--help"});
    expectSuccess(top);
    for (const char* name : {"version", "format", "tree", "conf", "template", "fill"}) {
        EXPECT_TRUE(contains(top.out, std::string("\n  ") + name)) << name;
    }
}

TEST(ToolCommandLine, BadArgumentsAreUsageErrors) {
    expectUsageError(nqdom({"format", "--bogus", "x.xml"}), "format", "unknown option --bogus");
    expectUsageError(nqdom({"format", "x.xml", "-o"}), "format", "option -o needs a value");
    expectUsageError(nqdom({"format", "--pretty=yes", "x.xml"}), "format", "option --pretty takes no value");
    expectUsageError(nqdom({"tree"}), "tree", "missing arguments");
    expectUsageError(nqdom({"tree", "a.xml", "b.xml"}), "tree", "unexpected argument b.xml");
    expectUsageError(nqdom({"conf"}), "conf", "missing subcommand");
    expectUsageError(nqdom({"conf", "show", "f.xml"}), "conf", "unknown subcommand \"show\"");
    expectUsageError(nqdom({"conf", "set", "f.xml", "name"}), "conf set", "missing arguments");
    expectUsageError(nqdom({"version", "extra"}), "version", "unexpected argument extra");
}

TEST(ToolCommandLine, DoubleDashEndsOptions) {
    // "-5" is a value here, not an option.
    TempDir dir;
    std::string file = dir.file("c.xml");
    expectSuccess(nqdom({"conf", "set", file, "offset", "--", "-5"}));
    EXPECT_EQ(nqdom({"conf", "get", file, "offset"}).out, "-5\n");
}

// --- version -------------------------------------------------------------

TEST(ToolVersion, PrintsTheBuildIdentity) {
    ToolResult r = nqdom({"version"});
    expectSuccess(r);
    EXPECT_EQ(r.out, "DOM Library version 2.8 (build 32)\n");
    EXPECT_EQ(nqdom({"--version"}).out, r.out);
}

// --- format --------------------------------------------------------------

class ToolFormat : public ToolTest {};

TEST_F(ToolFormat, WritesTheExampleBackAsUtf8) {
    ToolResult r = nqdom({"format", examplePath("menu.xml")});
    expectSuccess(r);
    EXPECT_EQ(r.out.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>", 0), 0u) << r.out;
    EXPECT_TRUE(contains(r.out,
                         "<name>Cr\xC3\xA8me br\xC3\xBBl\xC3\xA9"
                         "e</name>"))
        << r.out;
    EXPECT_TRUE(
        contains(r.out, "<name>\xD0\x92\xD0\xB0\xD1\x82\xD1\x80\xD1\x83\xD1\x88\xD0\xBA\xD0\xB0</name>"));
    EXPECT_TRUE(contains(r.out, "<note>Cheese &amp; raisins</note>"));
    EXPECT_TRUE(contains(r.out, "<!-- Desserts first, as always -->"));
    EXPECT_EQ(r.out.substr(r.out.size() - 8), "</menu>\n");
    EXPECT_FALSE(contains(r.out, "\r"));
}

TEST_F(ToolFormat, PrettyOutputIndentsAfreshWithCrLf) {
    ToolResult r = nqdom({"format", "--pretty", examplePath("menu.xml")});
    expectSuccess(r);
    EXPECT_GT(countOf(r.out, "\n"), 15u);
    EXPECT_EQ(countOf(r.out, "\n"), countOf(r.out, "\r\n")) << "the document's own line ends were kept";
    EXPECT_TRUE(contains(r.out, "\r\n  <dish id=\"d1\" price=\"7.50\">\r\n    <name>Cr")) << r.out;

    // Mixed content keeps its text, white space included.
    std::string mixed = dir.file("mixed.xml");
    writeBytes(mixed, "<r>\n <a>one <b/>  two</a>\n <c>  </c>\n</r>");
    ToolResult m = nqdom({"format", "--pretty", mixed});
    expectSuccess(m);
    EXPECT_TRUE(contains(m.out, "<a>one ")) << m.out;
    EXPECT_TRUE(contains(m.out, "  two")) << m.out;
    EXPECT_TRUE(contains(m.out, "<c>  </c>")) << m.out;
    EXPECT_FALSE(contains(m.out, "\n <a>")) << m.out;
}

TEST_F(ToolFormat, PrettyWritesEntriesFilesAsTheLibraryDoes) {
    EXPECT_EQ(nqdom({"format", "--pretty", examplePath("settings.xml")}).out,
              readBytes(examplePath("settings.xml")));
}

TEST_F(ToolFormat, OutputFileHoldsWhatStdoutShows) {
    std::string out = dir.file("out.xml");
    ToolResult written = nqdom({"format", "--pretty", "-o", out, examplePath("menu.xml")});
    expectSuccess(written);
    EXPECT_EQ(written.out, "");
    EXPECT_EQ(readBytes(out), nqdom({"format", "--pretty", examplePath("menu.xml")}).out);

    // Compact text has no final line end of its own: only stdout adds one.
    ToolResult compact = nqdom({"format", examplePath("menu.xml"), "-o", out});
    expectSuccess(compact);
    EXPECT_EQ(readBytes(out) + "\n", nqdom({"format", examplePath("menu.xml")}).out);
}

TEST_F(ToolFormat, ReadsStandardInput) {
    ToolInput input;
    input.stdinText = readBytes(examplePath("menu.xml"));
    ToolResult r = nqdom({"format", "-"}, input);
    expectSuccess(r);
    EXPECT_EQ(r.out, nqdom({"format", examplePath("menu.xml")}).out);
}

TEST_F(ToolFormat, IsStableOnItsOwnOutput) {
    std::string once = dir.file("once.xml");
    std::string twice = dir.file("twice.xml");
    expectSuccess(nqdom({"format", "--pretty", "-o", once, examplePath("menu.xml")}));
    expectSuccess(nqdom({"format", "--pretty", "-o", twice, once}));
    EXPECT_EQ(readBytes(once), readBytes(twice));
}

TEST_F(ToolFormat, ReportsTheLibraryMessageForMissingAndEmptyFiles) {
    ToolResult missing = nqdom({"format", dir.file("missing.xml")});
    expectFailure(missing, "format",
                  "LibXML 1041: cannot open file \"" + dir.file("missing.xml") + "\" for reading");

    std::string empty = dir.file("empty.xml");
    writeBytes(empty, "");
    expectFailure(nqdom({"format", empty}), "format", "LibXML 336");
    expectFailure(nqdom({"format", "-"}), "format", "standard input is empty");
    expectFailure(nqdom({"format", dir.path()}), "format", dir.path() + " is a directory");
}

TEST_F(ToolFormat, RefusesMalformedInputWithItsPlace) {
    std::string bad = dir.file("bad.xml");
    writeBytes(bad, "<a>\n  <b>\n</a>\n");
    expectFailure(nqdom({"format", bad}), "format",
                  bad + " is not well-formed XML: line 3, column 1: end tag </a> does not match <b>");

    ToolInput input;
    input.stdinText = "<a>&nbsp;</a>";
    expectFailure(nqdom({"format", "-"}, input), "format",
                  "standard input is not well-formed XML: line 1, column 4: undeclared entity &nbsp;");
}

TEST_F(ToolFormat, ReportsAnUnwritableOutput) {
    std::string out = dir.file("no/such/dir/out.xml");
    expectFailure(nqdom({"format", "-o", out, examplePath("menu.xml")}), "format", "LibXML 1042");
    EXPECT_FALSE(fileExists(out));
}

TEST_F(ToolFormat, ReportsAFullStandardOutput) {
    ToolInput input;
    input.stdoutPath = "/dev/full";
    ToolResult r = nqdom({"format", examplePath("menu.xml")}, input);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(contains(r.err, "nqdom format: cannot write to standard output")) << r.err;
}

TEST_F(ToolFormat, HandlesTheDeepestNestingItAccepts) {
    // The engine writes recursively; the default stack gives out long before
    // this depth.
    const int depth = 100000;
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<e>";
    for (int i = 0; i < depth; ++i) text += "</e>";
    std::string file = dir.file("deep.xml");
    writeBytes(file, text);
    ToolResult r = nqdom({"format", file});
    expectSuccess(r);
    EXPECT_EQ(r.signal, 0);
    EXPECT_EQ(countOf(r.out, "<e>"), static_cast<std::size_t>(depth - 1));

    writeBytes(file, "<top>" + text + "</top>");
    expectFailure(nqdom({"format", file}), "format", "elements nested deeper than 100000 levels");
}

// --- tree ----------------------------------------------------------------

class ToolTree : public ToolTest {};

TEST_F(ToolTree, OutlinesTheExample) {
    ToolResult r = nqdom({"tree", examplePath("menu.xml")});
    expectSuccess(r);
    EXPECT_EQ(r.out,
              "menu\n"
              "  @lang=\"fr\"\n"
              "  @week=\"48\"\n"
              "  <!-- Desserts first, as always -->\n"
              "  dish\n"
              "    @id=\"d1\"\n"
              "    @price=\"7.50\"\n"
              "    name\n"
              "      \"Cr\xC3\xA8me br\xC3\xBBl\xC3\xA9"
              "e\"\n"
              "    origin\n"
              "      \"\xC3\x8Ele-de-France\"\n"
              "  dish\n"
              "    @id=\"d2\"\n"
              "    @price=\"9.00\"\n"
              "    name\n"
              "      \"Sm\xC3\xB8rrebr\xC3\xB8"
              "d\"\n"
              "    note\n"
              "      \"Serves 2 \xE2\x80\x94 \xC2\xBD portion on request\"\n"
              "  dish\n"
              "    @id=\"d3\"\n"
              "    name\n"
              "      \"\xD0\x92\xD0\xB0\xD1\x82\xD1\x80\xD1\x83\xD1\x88\xD0\xBA\xD0\xB0\"\n"
              "    note\n"
              "      \"Cheese & raisins\"\n");
}

TEST_F(ToolTree, ShowsMixedContentCommentsAndSpaceAsOneLineEach) {
    std::string file = dir.file("mixed.xml");
    writeBytes(file,
               "<!-- outside: not shown --><r>\n  lead <b/> tail\n  <!--  two\n  lines  -->\n"
               "  <c>  x\ty  </c><d>   </d></r>");
    ToolResult r = nqdom({"tree", file});
    expectSuccess(r);
    EXPECT_EQ(r.out,
              "r\n"
              "  \"lead tail\"\n"
              "  b\n"
              "  <!-- two lines -->\n"
              "  c\n"
              "    \"x y\"\n"
              "  d\n");
}

TEST_F(ToolTree, WritesNestedJson) {
    std::string file = dir.file("small.xml");
    writeBytes(file, "<r a=\"1\" q='say \"hi\"'><!-- note --><c>t\\x</c><e/></r>");
    ToolResult r = nqdom({"tree", "--json", file});
    expectSuccess(r);
    EXPECT_EQ(
        r.out,
        "{\"type\": \"element\", \"name\": \"r\", \"attributes\": {\"a\": \"1\", \"q\": \"say \\\"hi\\\"\"}, "
        "\"text\": null, \"children\": [\n"
        "  {\"type\": \"comment\", \"text\": \"note\"},\n"
        "  {\"type\": \"element\", \"name\": \"c\", \"attributes\": {}, \"text\": \"t\\\\x\", \"children\": "
        "[]},\n"
        "  {\"type\": \"element\", \"name\": \"e\", \"attributes\": {}, \"text\": null, \"children\": []}\n"
        "]}\n");
}

TEST_F(ToolTree, JsonOfTheExampleClosesEveryElement) {
    ToolResult r = nqdom({"tree", "--json", examplePath("menu.xml")});
    expectSuccess(r);
    EXPECT_EQ(countOf(r.out, "{\"type\": \"element\""), 10u);
    EXPECT_EQ(countOf(r.out, "{\"type\": \"comment\""), 1u);
    EXPECT_EQ(countOf(r.out, "\"children\": ["), countOf(r.out, "]}"));
    EXPECT_EQ(r.out.substr(r.out.size() - 4), "\n]}\n");
}

TEST_F(ToolTree, OutlinesDeepDocuments) {
    // Indentation grows with depth, and so the outline with its square.
    const int depth = 5000;
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<e>";
    for (int i = 0; i < depth; ++i) text += "</e>";
    std::string file = dir.file("deep.xml");
    writeBytes(file, text);
    ToolResult r = nqdom({"tree", file});
    expectSuccess(r);
    EXPECT_EQ(countOf(r.out, "\n"), static_cast<std::size_t>(depth));
    EXPECT_EQ(r.out.substr(r.out.size() - 2 * depth), std::string(2 * (depth - 1), ' ') + "e\n");
}

TEST_F(ToolTree, FailsCleanlyOnBadInput) {
    expectFailure(nqdom({"tree", dir.file("missing.xml")}), "tree", "LibXML 1041");
    std::string bad = dir.file("bad.xml");
    writeBytes(bad, "<a><b x='1'></a>");
    expectFailure(nqdom({"tree", bad}), "tree", "line 1, column 13: end tag </a> does not match <b>");
    expectFailure(nqdom({"tree", "--json", bad}), "tree", "not well-formed");
}

// --- large documents -----------------------------------------------------

// Megabytes of the large document: 100, less where the tool or this test
// runs slowed down by instrumentation.
std::size_t largeMegabytes() {
    if (const char* size = std::getenv("NQDOM_TOOL_LARGE_MB")) return std::strtoul(size, nullptr, 10);
#if defined(__SANITIZE_ADDRESS__)
    return 8;
#else
    return std::getenv("NQDOM_UNDER_VALGRIND") ? 8 : 100;
#endif
}

// A document written exactly as the library writes it, so that formatting it
// gives the same bytes back. Returns the number of items.
std::size_t writeLargeDocument(const std::string& path, std::size_t bytes) {
    std::ofstream out(path, std::ios::binary);
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><catalog>";
    std::size_t items = 0;
    for (std::size_t written = 0; written < bytes; ++items) {
        std::string item = "<item id=\"i" + std::to_string(items) + "\" kind=\"book\"><!-- n" +
                           std::to_string(items) + " --><title>T\xC3\xAFtle " + std::to_string(items) +
                           " &amp; more</title><price>" + std::to_string(items % 100) + ".50</price></item>";
        out << item;
        written += item.size();
    }
    out << "</catalog>";
    return items;
}

TEST_F(ToolTest, LargeDocumentGoesThroughFormatAndTree) {
    std::string input = dir.file("large.xml");
    std::size_t items = writeLargeDocument(input, largeMegabytes() << 20);

    std::string output = dir.file("large-out.xml");
    expectSuccess(nqdom({"format", input, "-o", output}));
    EXPECT_TRUE(readBytes(output) == readBytes(input)) << "formatting changed the document";
    std::filesystem::remove(output);

    ToolInput toFile;
    toFile.stdoutPath = dir.file("outline.txt");
    expectSuccess(nqdom({"tree", input}, toFile));
    std::string outline = readBytes(toFile.stdoutPath);
    // Per item: the element, two attributes, the comment, two elements with a text each.
    EXPECT_EQ(countOf(outline, "\n"), 1 + 8 * items);
    EXPECT_EQ(countOf(outline, "    <!-- n"), items);
}

TEST_F(ToolTest, TreeStreamsItsOutline) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "peak memory under the sanitizer's allocator says nothing";
#endif
    // Indentation makes the outline many times larger than the document;
    // held in memory, it would show in the peak.
    std::string input = dir.file("nested.xml");
    {
        std::ofstream out(input, std::ios::binary);
        std::string open, close;
        for (int level = 0; level < 60; ++level) open += "<e>", close += "</e>";
        out << "<root>";
        for (std::size_t written = 0; written < (largeMegabytes() << 20) / 5; written += open.size() * 2) {
            out << open << close;
        }
        out << "</root>";
    }
    ToolInput toFile;
    toFile.stdoutPath = dir.file("outline.txt");
    ToolResult tree = nqdom({"tree", input}, toFile);
    expectSuccess(tree);
    long outlineKb = static_cast<long>(std::filesystem::file_size(toFile.stdoutPath) / 1024);
    std::filesystem::remove(toFile.stdoutPath);
    ToolResult format = nqdom({"format", input, "-o", dir.file("copy.xml")});
    expectSuccess(format);
    ASSERT_GT(outlineKb, 5 * static_cast<long>(std::filesystem::file_size(input) / 1024));
    EXPECT_LT(tree.maxRssKb, format.maxRssKb + outlineKb / 4)
        << "tree peaked at " << tree.maxRssKb << " KB, format at " << format.maxRssKb << " KB, outline "
        << outlineKb << " KB";
}

// --- conf ----------------------------------------------------------------

class ToolConf : public ToolTest {};

const char kSettingsList[] =
    "# Name or address the server binds to\n"
    "server.host=localhost\n"
    "# TCP port for incoming connections\n"
    "server.port=8080\n"
    "# One of error, warn, info, debug\n"
    "log.level=info\n"
    "greeting=Gr\xC3\xBC\xC3\x9F Gott & welcome\n";

TEST_F(ToolConf, ListsTheExample) {
    ToolResult r = nqdom({"conf", "list", examplePath("settings.xml")});
    expectSuccess(r);
    EXPECT_EQ(r.out, kSettingsList);
}

TEST_F(ToolConf, ListsAsJsonWithNullForMissingParts) {
    std::string file = dir.file("c.xml");
    writeBytes(file,
               "<norquilldocument class=\"config\" version=\"1\"><entries>"
               "<entry name=\"a\"><value>1</value></entry>"
               "<entry name=\"b\"><description>say \"x\"</description></entry>"
               "</entries></norquilldocument>");
    ToolResult r = nqdom({"conf", "list", "--json", file});
    expectSuccess(r);
    EXPECT_EQ(r.out,
              "[\n"
              "  {\"name\": \"a\", \"value\": \"1\", \"description\": null},\n"
              "  {\"name\": \"b\", \"value\": null, \"description\": \"say \\\"x\\\"\"}\n"
              "]\n");

    writeBytes(file, "<norquilldocument class=\"config\" version=\"1\"/>");
    EXPECT_EQ(nqdom({"conf", "list", "--json", file}).out, "[]\n");
}

TEST_F(ToolConf, GetsTheFirstEntryOfAName) {
    EXPECT_EQ(nqdom({"conf", "get", examplePath("settings.xml"), "server.port"}).out, "8080\n");
    std::string file = dir.file("c.xml");
    writeBytes(file,
               "<norquilldocument class=\"config\" version=\"1\"><entries>"
               "<entry name=\"k\"><value>first</value></entry><entry name=\"k\"><value>second</value></entry>"
               "</entries></norquilldocument>");
    EXPECT_EQ(nqdom({"conf", "get", file, "k"}).out, "first\n");
    expectFailure(nqdom({"conf", "get", file, "K"}), "conf get", "no entry named \"K\" in " + file);
}

TEST_F(ToolConf, SetCreatesAMissingFileInTheLibraryFormat) {
    std::string file = dir.file("new.xml");
    expectSuccess(nqdom({"conf", "set", file, "colour", "blue", "--description", "Background"}));
    std::string text = readBytes(file);
    EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>\r\n", 0), 0u) << text;
    EXPECT_TRUE(contains(text, "<norquilldocument class=\"config\" version=\"1\">"));
    EXPECT_TRUE(contains(text,
                         "<entry name=\"colour\">\r\n      <description>Background</description>\r\n"
                         "      <value>blue</value>"))
        << text;
    EXPECT_EQ(nqdom({"conf", "list", file}).out, "# Background\ncolour=blue\n");
    EXPECT_EQ(directoryEntries(), std::vector<std::string>{"new.xml"}) << "a temporary file was left";
}

TEST_F(ToolConf, SetReplacesAnEntryWhereItStands) {
    std::string file = copyExample("settings.xml");
    expectSuccess(nqdom({"conf", "set", file, "server.port", "9090"}));
    std::string expected = kSettingsList;
    expected.replace(expected.find("8080"), 4, "9090");
    EXPECT_EQ(nqdom({"conf", "list", file}).out, expected) << "order or description changed";

    expectSuccess(nqdom({"conf", "set", file, "log.level", "debug", "--description", "Chatty"}));
    expected.replace(expected.find("# One of error, warn, info, debug\nlog.level=info"), 48,
                     "# Chatty\nlog.level=debug");
    EXPECT_EQ(nqdom({"conf", "list", file}).out, expected);

    expectSuccess(nqdom({"conf", "set", file, "new.one", "x & <y>"}));
    EXPECT_EQ(nqdom({"conf", "list", file}).out, expected + "new.one=x & <y>\n");
    EXPECT_EQ(directoryEntries(), std::vector<std::string>{"settings.xml"});
}

TEST_F(ToolConf, SetLeavesOneEntryOfTheName) {
    std::string file = dir.file("c.xml");
    writeBytes(file,
               "<norquilldocument class=\"config\" version=\"1\"><entries>"
               "<entry name=\"k\"><value>1</value></entry><entry name=\"m\"><value>2</value></entry>"
               "<entry name=\"k\"><value>3</value></entry></entries></norquilldocument>");
    expectSuccess(nqdom({"conf", "set", file, "k", "4"}));
    EXPECT_EQ(nqdom({"conf", "list", file}).out, "k=4\nm=2\n");
}

TEST_F(ToolConf, SetKeepsPermissionsAndSymbolicLinks) {
    std::string file = copyExample("settings.xml");
    chmod(file.c_str(), 0640);
    std::string link = dir.file("link.xml");
    ASSERT_EQ(symlink(file.c_str(), link.c_str()), 0);
    expectSuccess(nqdom({"conf", "set", link, "server.port", "1"}));
    struct stat info;
    ASSERT_EQ(lstat(link.c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode)) << "the link was replaced by a file";
    ASSERT_EQ(stat(file.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(nqdom({"conf", "get", file, "server.port"}).out, "1\n");
}

TEST_F(ToolConf, FailedSetLeavesTheFileAsItWas) {
    std::string file = copyExample("settings.xml");
    std::string before = readBytes(file);
    // The serializer refuses a character XML cannot hold; the write fails
    // after the temporary file was made.
    expectFailure(nqdom({"conf", "set", file, "bad", "a\x01z"}), "conf set", "LibXML 343");
    EXPECT_EQ(readBytes(file), before);
    EXPECT_EQ(directoryEntries(), std::vector<std::string>{"settings.xml"}) << "a temporary file was left";

    // A truncated file would otherwise come back shortened.
    std::string truncated = dir.file("truncated.xml");
    std::string cut = before.substr(0, before.find("<entry name=\"log.level\">"));
    writeBytes(truncated, cut);
    expectFailure(nqdom({"conf", "set", truncated, "a", "b"}), "conf set", "is not well-formed XML");
    EXPECT_EQ(readBytes(truncated), cut);

    std::string menu = copyExample("menu.xml");
    expectFailure(nqdom({"conf", "set", menu, "a", "b"}), "conf set", "Data flow 288");
    EXPECT_EQ(readBytes(menu), readBytes(examplePath("menu.xml")));

    // Writing runs out of room half way.
    ToolInput small;
    small.fileSizeLimit = 256;
    expectFailure(nqdom({"conf", "set", file, "server.port", "1"}, small), "conf set", "LibXML 463");
    EXPECT_EQ(readBytes(file), before);
    EXPECT_EQ(directoryEntries(), (std::vector<std::string>{"menu.xml", "settings.xml", "truncated.xml"}));

    expectFailure(nqdom({"conf", "set", dir.file("no/dir/c.xml"), "a", "b"}), "conf set",
                  "cannot create a temporary file in " + dir.file("no/dir"));
    expectUsageError(nqdom({"conf", "set", file, "", "v"}), "conf set", "NAME must not be empty");
}

TEST_F(ToolConf, UnsetRemovesEveryEntryOfTheName) {
    std::string file = copyExample("settings.xml");
    expectSuccess(nqdom({"conf", "unset", file, "server.host"}));
    std::string expected = kSettingsList;
    expected.erase(0, expected.find("# TCP"));
    EXPECT_EQ(nqdom({"conf", "list", file}).out, expected);

    std::string before = readBytes(file);
    expectFailure(nqdom({"conf", "unset", file, "server.host"}), "conf unset",
                  "no entry named \"server.host\"");
    EXPECT_EQ(readBytes(file), before);
    expectFailure(nqdom({"conf", "unset", dir.file("missing.xml"), "x"}), "conf unset", "LibXML 1041");
    EXPECT_FALSE(fileExists(dir.file("missing.xml")));
}

TEST_F(ToolConf, ReportsTheLibraryMessagesForBadFiles) {
    expectFailure(nqdom({"conf", "list", dir.file("missing.xml")}), "conf list", "LibXML 1041");
    std::string file = dir.file("v2.xml");
    writeBytes(file, "<norquilldocument class=\"config\" version=\"2\"/>");
    expectFailure(nqdom({"conf", "list", file}), "conf list", "Data flow 290");
    expectFailure(nqdom({"conf", "get", file, "x"}), "conf get", "Data flow 290");
}

// --- template ------------------------------------------------------------

class ToolTemplate : public ToolTest {};

TEST_F(ToolTemplate, ReportsVariablesAndNamespacesOfTheExample) {
    ToolResult r = nqdom({"template", examplePath("order-template.xml")});
    expectSuccess(r);
    EXPECT_EQ(r.out.substr(0, r.out.find("skeleton:\n")),
              "variables: 6\n"
              "  0  city      required  /o:order/a:shipTo/a:city\n"
              "  1  country   optional  /o:order/a:shipTo/a:country\n"
              "  2  customer  required  /o:order/o:customer\n"
              "  3  note      optional  /o:order/o:note\n"
              "  4  orderId   required  /o:order/@id\n"
              "  5  street    required  /o:order/a:shipTo/a:street\n"
              "namespaces: 2\n"
              "  a  urn:example:address\n"
              "  o  urn:example:order\n");
    std::string skeleton = r.out.substr(r.out.find("skeleton:\n") + 10);
    EXPECT_TRUE(contains(skeleton, "<o:customer>${customer}</o:customer>\n")) << skeleton;
    EXPECT_TRUE(contains(skeleton, "<o:note>${note}</o:note>\n")) << skeleton;
    EXPECT_FALSE(contains(skeleton, "\r")) << "CR LF is shown as LF";
}

TEST_F(ToolTemplate, JsonCarriesTheSkeletonAsTheLibraryWroteIt) {
    ToolResult r = nqdom({"template", "--json", examplePath("order-template.xml")});
    expectSuccess(r);
    EXPECT_EQ(r.out.rfind("{\"variables\": [\n  {\"index\": 0, \"name\": \"city\", \"optional\": false, "
                          "\"xpath\": \"/o:order/a:shipTo/a:city\"},\n",
                          0),
              0u)
        << r.out;
    EXPECT_TRUE(contains(
        r.out, "{\"index\": 3, \"name\": \"note\", \"optional\": true, \"xpath\": \"/o:order/o:note\"}"));
    EXPECT_TRUE(contains(r.out,
                         "\"namespaces\": [\n  {\"prefix\": \"a\", \"uri\": \"urn:example:address\"},\n"
                         "  {\"prefix\": \"o\", \"uri\": \"urn:example:order\"}\n],\n"));
    EXPECT_TRUE(contains(r.out, "<o:customer>${customer}</o:customer>\\r\\n")) << r.out;
}

TEST_F(ToolTemplate, ShowsTheDefaultNamespaceAndEmptyLists) {
    std::string file = dir.file("t.xml");
    writeBytes(file, "<r xmlns=\"urn:d\"><v>fixed</v></r>");
    ToolResult r = nqdom({"template", file});
    expectSuccess(r);
    EXPECT_EQ(r.out.substr(0, r.out.find("skeleton:")), "variables: 0\nnamespaces: 1\n  (default)  urn:d\n");
    ToolResult json = nqdom({"template", "--json", file});
    EXPECT_EQ(
        json.out.rfind(
            "{\"variables\": [],\n\"namespaces\": [\n  {\"prefix\": \"\", \"uri\": \"urn:d\"}\n],\n", 0),
        0u)
        << json.out;
}

TEST_F(ToolTemplate, ReportsCompileErrors) {
    std::string file = dir.file("t.xml");
    writeBytes(file, "<r><v>${a} ${b}</v></r>");
    expectFailure(nqdom({"template", file}), "template", "LibXML 1764");
    writeBytes(file, "<r><v>${a}</v><w>${A}</w></r>");
    expectFailure(nqdom({"template", file}), "template", "LibXML 1666");
    writeBytes(file, "<r><v>${a}</v>");
    expectFailure(nqdom({"template", file}), "template",
                  "not well-formed XML: line 1, column 15: missing end tag </r>");
    expectFailure(nqdom({"template", dir.file("missing.xml")}), "template", "LibXML 1041");
}

TEST_F(ToolTemplate, RefusesNestingBeyondItsLimit) {
    std::string text = "${x}";
    for (int i = 0; i < 1001; ++i) text = "<e>" + text + "</e>";
    std::string file = dir.file("deep.xml");
    writeBytes(file, text);
    expectFailure(nqdom({"template", file}), "template", "elements nested deeper than 1000 levels");
}

// --- fill ----------------------------------------------------------------

class ToolFill : public ToolTest {};

TEST_F(ToolFill, RendersTheExampleFromAValuesFile) {
    ToolResult r =
        nqdom({"fill", examplePath("order-template.xml"), "--values", examplePath("order-values.xml")});
    expectSuccess(r);
    EXPECT_TRUE(contains(r.out, "<o:order xmlns:o=\"urn:example:order\" id=\"A-1027\"")) << r.out;
    EXPECT_TRUE(contains(r.out, "<o:customer>Zo\xC3\xAB \xC3\x85str\xC3\xB6m</o:customer>\r\n"));
    EXPECT_TRUE(contains(r.out, "<a:city>Malm\xC3\xB6</a:city>"));
    // Optional by comment and optional by notation, both without a value.
    EXPECT_TRUE(contains(r.out, "<a:country></a:country>"));
    EXPECT_TRUE(contains(r.out, "<o:note></o:note>"));
    EXPECT_FALSE(contains(r.out, "${"));
}

TEST_F(ToolFill, ArgumentsOverrideTheFileInAnyLetterCase) {
    ToolResult r = nqdom({"fill", examplePath("order-template.xml"), "CITY=Lund", "note=ring twice",
                          "--values", examplePath("order-values.xml")});
    expectSuccess(r);
    EXPECT_TRUE(contains(r.out, "<a:city>Lund</a:city>")) << r.out;
    EXPECT_TRUE(contains(r.out, "<o:note>ring twice</o:note>"));
}

TEST_F(ToolFill, EscapesValuesForTextAndAttributes) {
    ToolResult r = nqdom({"fill", examplePath("order-template.xml"), "orderId=\"1\" & 'x'", "customer=<A&B>",
                          "street=s", "city=c", "country=$${x}"});
    expectSuccess(r);
    EXPECT_TRUE(contains(r.out, "id=\"&quot;1&quot; &amp; &apos;x&apos;\"")) << r.out;
    EXPECT_TRUE(contains(r.out, "<o:customer>&lt;A&amp;B&gt;</o:customer>"));
    EXPECT_TRUE(contains(r.out, "<a:country>$${x}</a:country>")) << "a value is not read as a template";

    // What comes out parses back with the values intact.
    ToolInput input;
    input.stdinText = r.out;
    ToolResult tree = nqdom({"tree", "-"}, input);
    expectSuccess(tree);
    EXPECT_TRUE(contains(tree.out, "@id=\"\"1\" & 'x'\"")) << tree.out;
    EXPECT_TRUE(contains(tree.out, "\"<A&B>\""));
}

TEST_F(ToolFill, NamesEveryMissingRequiredVariable) {
    expectFailure(nqdom({"fill", examplePath("order-template.xml"), "orderId=1", "street=s", "city=c"}),
                  "fill", "no value for required variable \"customer\"");
    expectFailure(nqdom({"fill", examplePath("order-template.xml")}), "fill",
                  "no values for required variables \"city\", \"customer\", \"orderId\", \"street\"");
}

TEST_F(ToolFill, RefusesWhatItCannotUse) {
    std::string tmpl = examplePath("order-template.xml");
    std::string values = examplePath("order-values.xml");
    expectFailure(nqdom({"fill", tmpl, "--values", values, "custmer=x"}), "fill",
                  "the template has no variable \"custmer\"");
    expectFailure(nqdom({"fill", tmpl, "--values", values, "note=a\x01"}), "fill",
                  "the value of \"note\" holds characters XML cannot carry");
    expectFailure(nqdom({"fill", tmpl, "--values", values, "note=\xff"}), "fill", "XML cannot carry");
    expectFailure(nqdom({"fill", tmpl, "--values", dir.file("none.xml")}), "fill", "LibXML 1041");
    expectFailure(nqdom({"fill", tmpl, "--values", examplePath("menu.xml")}), "fill", "Data flow 288");
    expectUsageError(nqdom({"fill", tmpl, "city"}), "fill", "expected NAME=VALUE, got \"city\"");
    expectUsageError(nqdom({"fill", tmpl, "=x"}), "fill", "expected NAME=VALUE");
}

}  // namespace
