// nqdom run as a user runs it: exit status, standard output and error, and
// the files it writes, on the shipped examples and on bad input.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "test_files.h"

namespace {

struct ToolResult {
    int exitCode = -1;  // -1 when the process did not exit normally
    std::string out, err;
    long maxRssKb = 0;  // peak resident memory
};

// stdoutPath: instead of ToolResult::out;
// sizeLimit: bytes a file written by the tool may reach, 0 for no limit.
ToolResult runTool(std::vector<std::string> args, const std::string& stdinText = "",
                   const std::string& stdoutPath = "", long sizeLimit = 0) {
    TempDir capture;
    std::string inPath = capture.file("in"), errPath = capture.file("err");
    std::string outPath = stdoutPath.empty() ? capture.file("out") : stdoutPath;
    if (!writeBytes(inPath, stdinText)) throw std::runtime_error("stdin file");
    args.insert(args.begin(), NQDOM_TOOL_PATH);
    std::vector<char*> argv;
    for (std::string& word : args) argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        // With SIGXFSZ ignored, a write past the limit fails with EFBIG
        // rather than killing the tool.
        struct rlimit limit = {rlim_t(sizeLimit), rlim_t(sizeLimit)};
        if (sizeLimit > 0 && (signal(SIGXFSZ, SIG_IGN) == SIG_ERR || setrlimit(RLIMIT_FSIZE, &limit) != 0))
            _exit(126);
        const int flags = O_WRONLY | O_CREAT | O_TRUNC;
        int fds[] = {open(inPath.c_str(), O_RDONLY), open(outPath.c_str(), flags, 0600),
                     open(errPath.c_str(), flags, 0600)};
        for (int fd = 0; fd < 3; ++fd) dup2(fds[fd], fd);
        execv(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    struct rusage usage {};
    if (pid < 0 || wait4(pid, &status, 0, &usage) != pid) throw std::runtime_error("spawn");
    ToolResult result;
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    result.maxRssKb = usage.ru_maxrss;
    if (stdoutPath.empty()) result.out = readBytes(outPath);
    result.err = readBytes(errPath);
    return result;
}

using Strings = std::vector<std::string>;
using Files = std::vector<std::pair<std::string, std::string>>;

// One run of the tool; "$EX" is the examples directory, "$T" a fresh one.
// Of commands joined by "&&" the earlier must succeed; the last is checked.
struct Case {
    Strings args;
    int status;
    // Each holds for stdout: "=text" all of it ("=@PATH": the bytes of PATH),
    // "^text" its start, "~text" its end, "!text" absent, "#N:text" N times,
    // else present.
    Strings out = {};
    std::string err = "";  // in the one line naming the command (1), before the usage (2)
    Files setup = {};      // written into $T first; "@PATH": the bytes of PATH
    Files after = {};      // file in $T -> a check as for `out`; "*": the sorted names in $T
    std::string in = "";   // standard input, as `setup`
    std::string outPath = "";
    long sizeLimit = 0;
};

std::size_t countOf(const std::string& text, const std::string& what) {
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size()))
        ++count;
    return count;
}

std::string nest(int depth, const std::string& inner) {
    std::string open, close;
    for (int i = 0; i < depth; ++i) open += "<e>", close += "</e>";
    return open + inner + close;
}

struct Runner {
    TempDir dir;

    std::string expand(std::string s) const {
        for (auto [from, to] : Files{{"$EX", NQDOM_EXAMPLES_DIR}, {"$T", dir.path()}})
            for (std::size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size()))
                s.replace(at, from.size(), to);
        return s;
    }
    std::string value(const std::string& s) const {
        return s.rfind('@', 0) == 0 ? readBytes(expand(s.substr(1))) : s;
    }
    bool holds(const std::string& text, const std::string& want) const {
        std::string rest = want.substr(1);
        if (want[0] == '=') return text == value(rest);
        if (want[0] == '^') return text.rfind(rest, 0) == 0;
        if (want[0] == '~')
            return text.size() >= rest.size() && text.substr(text.size() - rest.size()) == rest;
        if (want[0] == '!') return text.find(rest) == std::string::npos;
        if (want[0] == '#') return countOf(text, want.substr(want.find(':') + 1)) == std::stoul(rest);
        return text.find(want) != std::string::npos;
    }
    void expectHolds(const std::string& text, const std::string& want) const {
        EXPECT_TRUE(holds(text, want)) << "want " << want.substr(0, 400) << "\ngot " << text.substr(0, 2000);
    }
    void run(const Case& c) {
        for (const auto& [name, text] : c.setup) ASSERT_TRUE(writeBytes(dir.file(name), value(text)));
        std::string in = value(c.in);
        Strings words;
        ToolResult r;
        for (std::size_t i = 0; i <= c.args.size(); ++i) {
            if (i < c.args.size() && c.args[i] != "&&") {
                words.push_back(expand(c.args[i]));
                continue;
            }
            r = runTool(words, in, expand(c.outPath), c.sizeLimit);
            if (i == c.args.size()) break;
            ASSERT_EQ(r.exitCode, 0) << r.err;
            in.clear();
            words.clear();
        }
        std::string cmd = words.size() > 2 && words[0] == "conf" ? "conf " + words[1] : words[0];
        EXPECT_EQ(r.exitCode, c.status) << r.err;
        EXPECT_NE(r.err.find(expand(c.err)), std::string::npos) << r.err;
        // A command that succeeds writes to stderr only the warnings expected.
        EXPECT_TRUE(c.status != 0 || r.err.empty() == c.err.empty()) << r.err;
        if (c.status != 0) {
            EXPECT_EQ(r.out, "");
            EXPECT_EQ(r.err.rfind("nqdom " + cmd + ": " + (c.status == 2 ? expand(c.err) : ""), 0), 0u)
                << r.err;
            EXPECT_EQ(r.err.find("\nusage: nqdom " + cmd) != std::string::npos, c.status == 2) << r.err;
            EXPECT_TRUE(c.status != 1 || countOf(r.err, "\n") == 1) << r.err;
        }
        for (const std::string& want : c.out) expectHolds(r.out, want);
        for (const auto& [name, want] : c.after)
            expectHolds(name == "*" ? namesIn(dir.path()) : readBytes(dir.file(name)), want);
    }
};

void runAll(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        Runner().run(c);
    }
}
const char kSettingsList[] =
    "# Name or address the server binds to\nserver.host=localhost\n"
    "# TCP port for incoming connections\nserver.port=8080\n"
    "# One of error, warn, info, debug\nlog.level=info\n"
    "greeting=Gr\xC3\xBC\xC3\x9F Gott & welcome\n";

const std::string kMenu = "$EX/menu.xml", kTmpl = "$EX/order-template.xml", kValues = "$EX/order-values.xml";
const std::string kDecl = "^<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>";

TEST(Tool, UsageAndHelp) {
    for (std::string name : {"version", "format", "tree", "conf", "conf list", "conf get", "conf set",
                             "conf unset", "template", "fill"}) {
        Strings args{name.substr(0, name.find(' ')), "--help"};
        if (name.find(' ') != std::string::npos) args.insert(args.begin() + 1, name.substr(5));
        Runner().run({args, 0, {"^usage: nqdom " + name}});
    }
    for (std::string alias : {"--help", "-h", "help"})
        Runner().run({{alias}, 0, {"\n  version", "\n  fill"}});
    for (std::string name : {"template", "fill"})
        Runner().run({{name, "--help"}, 0, {"holds at most one\nvariable", "must differ\nin more than"}});
    ToolResult none = runTool({}), unknown = runTool({"frobnicate"});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_EQ(none.err.rfind("usage: nqdom COMMAND", 0), 0u) << none.err;
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_EQ(unknown.err.rfind("nqdom: unknown command \"frobnicate\"\nusage: nqdom COMMAND", 0), 0u);
}

// clang-format off
TEST(Tool, CommandLine) {
    runAll({
        {{"format", "--bogus", "x.xml"}, 2, {}, "unknown option --bogus"},
        {{"format", "x.xml", "-o"}, 2, {}, "option -o needs a value"},
        {{"format", "--pretty=yes", "x.xml"}, 2, {}, "option --pretty takes no value"},
        {{"tree"}, 2, {}, "missing arguments"},
        {{"tree", "a.xml", "b.xml"}, 2, {}, "unexpected argument b.xml"},
        {{"conf"}, 2, {}, "missing subcommand"},
        {{"conf", "show"}, 2, {}, "unknown subcommand \"show\""},
        {{"--version"}, 0, {"=DOM Library version 2.8 (build 32)\n"}},
        // "-5" is a value after "--", not an option.
        {{"conf", "set", "$T/c.xml", "k", "--", "-5", "&&", "conf", "get", "$T/c.xml", "k"}, 0, {"=-5\n"}},
    });
}

// Markup the node handles do not reach, mixed content, preserved white space.
const Files kRichFile = {{"rich.xml",
    "<?xml version=\"1.0\"?>\n<!DOCTYPE r [<!ENTITY e \"ent &#38;amp; text\"><!ENTITY m \"<b>in</b>\">]>\n"
    "<?pi one?>\n<r q='say \"hi\"' s=\"a\\b\">\n  <p>H<sub>2</sub>O\n <![CDATA[<raw>]]> &e; &m;</p>\n"
    "  <q xml:space=\"preserve\"> <x/> </q>\n<e/>\n</r>\n<!-- c3 -->\n"}};
const Files kExternal = {{"x.xml", "<!DOCTYPE r SYSTEM \"d.dtd\"><r><a>1</a>&ext;<b>2</b></r>"},
                         {"d.dtd", "<!ENTITY ext SYSTEM \"e.txt\">"}, {"e.txt", "t&amp;"}};

TEST(Tool, Format) {
    runAll({
        // Indented afresh with LF only; the text of mixed and preserved content untouched.
        {{"format", "--pretty", "$T/rich.xml"}, 0, {
            "=<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>\n"
            "<!DOCTYPE r [<!ENTITY e \"ent &amp; text\"><!ENTITY m \"<b>in</b>\">]>\n<?pi one?>\n"
            "<r q=\"say &quot;hi&quot;\" s=\"a\\b\">\n  <p>H<sub>2</sub>O\n <![CDATA[<raw>]]> &e; &m;</p>\n"
            "  <q xml:space=\"preserve\"> <x/> </q>\n  <e/>\n</r>\n<!-- c3 -->\n"}, "", kRichFile},
        // The declaration as loaded; a default the document type gives stays out.
        {{"format", "--pretty", "$T/v.xml", "-o", "$T/o.xml"}, 0, {"="}, "",
         {{"v.xml", "<?xml version=\"1.1\" standalone=\"yes\"?><!DOCTYPE r [<!ATTLIST r d CDATA \"x\">]>"
                    "<r> <a/> </r>"}},
         {{"o.xml", "=<?xml version=\"1.1\" encoding=\"UTF-8\" standalone=\"yes\" ?>\n"
                    "<!DOCTYPE r [<!ATTLIST r d CDATA \"x\">]>\n<r>\n  <a/>\n</r>\n"}}},
        // Compact text has no final line end of its own: only stdout adds one.
        {{"format", kMenu, "-o", "$T/o.xml"}, 0, {"="}, "", {},
         {{"o.xml", kDecl}, {"o.xml", "~</dish>\n</menu>"}, {"o.xml", "!\r"},
          {"o.xml", "<note>Cheese &amp; raisins</note>"}}},
        {{"format", "$T/d.xml"}, 0, {"=" + kDecl.substr(1) + nest(29999, "<e/>") + "\n"}, "",
         {{"d.xml", nest(30000, "")}}},
        {{"format", "$T/d.xml"}, 1, {}, "column 150964: the document takes more than 28 MB of memory to load",
         {{"d.xml", nest(60000, "")}}},
        {{"format", "--untrusted", "$T/d.xml"}, 1, {}, "line 1, column 772: elements nested deeper than 256 levels",
         {{"d.xml", nest(300, "")}}},
        {{"format", "--untrusted", "--external", kMenu}, 2, {}, "options --external and --untrusted exclude each other"},
        // Relative to the document's folder, read only when asked.
        {{"format", "--external", "$T/x.xml"}, 0,
         {"=" + kDecl.substr(1) + kExternal[0].second + "\n"}, "", kExternal},
        {{"tree", "--external", "$T/x.xml"}, 0,
         {"=<!DOCTYPE r SYSTEM \"d.dtd\">\nr\n  a\n    \"1\"\n  \"t&\"\n  b\n    \"2\"\n"}, "", kExternal},
        // A missing external entity is an error, not a shorter document.
        {{"format", "--external", "$T/x.xml"}, 1, {}, "line 1, column 44: unable to open external entity '$T/e.txt'",
         {kExternal[0], kExternal[1]}},
        // Bytes with a byte-order mark; a 0 byte is an error at its place.
        {{"format", "-"}, 0, {"<r>\xC3\xA9t\xC3\xA9</r>"}, "", {}, {},
         std::string("\xFF\xFE<\0r\0>\0\xE9\0t\0\xE9\0<\0/\0r\0>\0", 22)},
        {{"format", "-"}, 1, {}, "LibXML 345: line 2, column 5: invalid character 0x0", {}, {},
         std::string("<r>\n  a\0b</r>", 14)},
        {{"format", "$T"}, 1, {}, "cannot read $T: it is a folder"},
        {{"format", "-"}, 1, {}, "standard input is empty"},
        {{"format", "$T/bad.xml"}, 1, {}, "LibXML 346: file \"$T/bad.xml\", line 3, column 3: expected end of tag "
         "'b'", {{"bad.xml", "<a>\n  <b>\n</a>\n"}}},
        {{"format", "-o", "$T/no/such/dir/out.xml", kMenu}, 1, {}, "LibXML 1042", {}, {{"*", "="}}},
        {{"format", "-o", "$T/a.xml", "-o", "$T/b.xml", kMenu}, 2, {}, "option -o given twice", {}, {{"*", "="}}},
        {{"format", kMenu}, 1, {}, "cannot write to standard output", {}, {}, "", "/dev/full"},
    });
}

// Document types whose DTDs Debian packages and registers in the system
// catalog (`make test` installs docbook-xml and w3c-sgml-lib): read from
// there, never from their addresses.
TEST(Tool, ExternalReadsCatalogedDtds) {
    if (!fileExists("/usr/share/xml/docbook/schema/dtd/4.4/docbookx.dtd") ||
        !fileExists("/usr/share/xml/w3c-sgml-lib/schema/dtd/REC-SVG11-20110816/svg11.dtd"))
        GTEST_SKIP() << "docbook-xml or w3c-sgml-lib is not installed";
    ::unsetenv("XML_CATALOG_FILES");
    const auto docbook = [](const std::string& root, const std::string& body) {
        return "<?xml version='1.0'?>\n<!DOCTYPE " + root +
               " PUBLIC \"-//OASIS//DTD DocBook XML V4.4//EN\" "
               "\"http://www.oasis-open.org/docbook/xml/4.4/docbookx.dtd\">\n<" +
               root + ">" + body + "</" + root + ">";
    };
    const Files files = {
        {"article.xml", docbook("article", "<title>Caf&eacute; &mdash; notes</title><para>&copy; 2026</para>")},
        {"book.xml", docbook("book", "<title>Guide</title><chapter id='c1'><title>One</title><para>See "
                                     "&hellip;<xref linkend='c1'/></para></chapter>")},
        {"plain.xml", docbook("article", "<title>Plain</title><para>text</para>")},
        {"pic.svg", "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\" "
                    "\"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">\n"
                    "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'><rect width='2' height='2'/></svg>"},
    };
    runAll({
        {{"format", "--external", "$T/article.xml"}, 0, {"<title>Caf&eacute; &mdash; notes</title>"}, "", files},
        {{"format", "--external", "$T/book.xml"}, 0, {"See &hellip;<xref linkend=\"c1\"/>"}, "", files},
        {{"format", "--external", "$T/pic.svg"}, 0, {"<rect height=\"2\" width=\"2\"/></svg>"}, "", files},
        // Without the DTD its entities are unknown, and the load says which.
        {{"format", "--skip-dtd", "$T/article.xml"}, 1, {}, "line 3, column 28: entity 'eacute' not found", files},
        {{"format", "--skip-dtd", "$T/plain.xml"}, 0, {"<title>Plain</title>"}, "", files},
    });
}

TEST(Tool, StreamedFormatAndRecords) {
    const Files records = {{"r.xml", "<d xmlns:p='u'><b><p:rec id='1'>a\nb&lt;<x/></p:rec><p:rec id='2' xmlns:p='v'>\n  <y/>\n</p:rec>"
                                     "</b><p:rec><!--c--><p:rec>in</p:rec></p:rec></d>"}};
    runAll({
        // Entities expanded, the internal subset left out; indented until the first text.
        {{"format", "--stream", "--pretty", "$T/rich.xml"}, 0, {
            "=<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE r>\n<?pi one?>\n"
            "<r q=\"say &quot;hi&quot;\" s=\"a\\b\">\n  <p>H<sub>2</sub>O\n <![CDATA[<raw>]]> ent &amp; text <b>in</b></p>\n"
            "  <q xml:space=\"preserve\"> <x/> </q>\n  <e/>\n</r>\n<!-- c3 -->\n"}, "", kRichFile},
        // What the streamed form keeps loads as the document itself.
        {{"format", "--stream", kMenu, "-o", "$T/s.xml", "&&", "format", "$T/s.xml", "-o", "$T/a.xml", "&&",
          "format", kMenu, "-o", "$T/b.xml"}, 0, {"="}, "", {}, {{"a.xml", "=@$T/b.xml"}, {"s.xml", "!standalone"}}},
        {{"records", "p:rec", "$T/r.xml"}, 0, {
            "=<p:rec id=\"1\" xmlns:p=\"u\">a&#10;b&lt;<x/></p:rec>\n<p:rec id=\"2\" xmlns:p=\"v\"><y/></p:rec>\n"
            "<p:rec xmlns:p=\"u\"><!--c--><p:rec>in</p:rec></p:rec>\n"}, "", records},
        {{"records", "--json", "x", "$T/r.xml"}, 0, {
            "={\"type\": \"element\", \"name\": \"x\", \"attributes\": {\"xmlns:p\": \"u\"}, \"children\": []}\n"},
            "", records},
        {{"records", "--json", "p:rec", "-"}, 0, {
            "={\"type\": \"element\", \"name\": \"p:rec\", \"attributes\": {}, \"children\": [{\"type\": "
            "\"text\", \"text\": \"1\\n\"}, {\"type\": \"comment\", \"text\": \"c\"}, {\"type\": \"pi\", "
            "\"target\": \"t\", \"data\": \"d\"}]}\n"}, "", {}, {}, "<r><p:rec>1\n<!--c--><?t d?></p:rec></r>"},
        // A document cut short fails; a file asked for keeps what it held.
        {{"records", "b", "-"}, 1, {}, "line 1, column 7: input ended before all started tags were ended", {}, {},
         "<a><b>"},
        {{"format", "--stream", "-o", "$T/o.xml", "$T/cut.xml"}, 1, {}, "LibXML 346: file \"$T/cut.xml\", line 1",
         {{"o.xml", "old"}, {"cut.xml", "<a><b></a>"}}, {{"o.xml", "=old"}, {"*", "=cut.xml o.xml"}}},
    });
}

TEST(Tool, Tree) {
    runAll({
        // CDATA and entity text in place, quotes and backslashes escaped.
        {{"tree", "$T/rich.xml"}, 0, {"=@" NQDOM_EXPECTED_DIR "/tree-rich.txt"}, "", kRichFile},
        {{"tree", "--json", "$T/rich.xml"}, 0, {"=@" NQDOM_EXPECTED_DIR "/tree-rich.json"}, "", kRichFile},
        // Control characters come back from character references.
        {{"tree", "--json", "$T/c.xml"}, 0, {"{\"k\": \"a\\tb\"}", "\"text\": \"x\\ry\""}, "",
         {{"c.xml", "<r k='a&#9;b'>x&#13;y</r>"}}},
        // White space around entity text that is markup only is layout.
        {{"tree", "--json", "$T/m.xml"}, 0, {"\"name\": \"p\", \"attributes\": {}, \"children\": [\n"
         "      {\"type\": \"element\", \"name\": \"b\""}, "",
         {{"m.xml", "<!DOCTYPE r [<!ENTITY m \"<b>in</b>\">]><r><p> &m; </p></r>"}}},
        {{"tree", "$T/d.xml"}, 0, {"#5000:\n", "~\n" + std::string(2 * 4999, ' ') + "e\n"}, "",
         {{"d.xml", nest(5000, "")}}},
    });
}

TEST(Tool, Conf) {
    const std::string list = kSettingsList, end = "</entries></norquilldocument>";
    const std::string head = "<norquilldocument class=\"config\" version=\"1\"><entries>";
    const std::string v2 = "<norquilldocument class=\"config\" version=\"2\"/>";
    const Files twoK = {{"c.xml", head + "<entry name=\"k\"><value>1</value></entry><entry name=\"m\">"
        "<value>2</value></entry><entry name=\"k\"><value>3</value></entry>" + end}};
    const Files copy = {{"s.xml", "@$EX/settings.xml"}};
    const Files unchanged = {{"s.xml", "=@$EX/settings.xml"}, {"*", "=s.xml"}};
    runAll({
        {{"conf", "list", "$EX/settings.xml"}, 0, {"=" + list}},
        {{"conf", "list", "--json", "$T/c.xml"}, 0, {
            "=[\n  {\"name\": \"a\", \"value\": \"1\", \"description\": \"\"},\n"
            "  {\"name\": \"b\", \"value\": \"\", \"description\": \"say \\\"x\\\"\"}\n]\n"}, "",
         {{"c.xml", head + "<entry name=\"a\"><value>1</value></entry>"
                           "<entry name=\"b\"><description>say \"x\"</description><value></value></entry>" + end}}},
        {{"conf", "list", "--json", "$T/c.xml"}, 0, {"=[]\n"}, "", {{"c.xml", head + end}}},
        {{"conf", "get", "$T/c.xml", "k"}, 0, {"=1\n"}, "", twoK},
        {{"conf", "get", "$T/c.xml", "K"}, 1, {}, "no entry named \"K\" in $T/c.xml", twoK},
        {{"conf", "set", "$T/n.xml", "colour", "blue", "--description", "Background", "&&",
          "conf", "list", "$T/n.xml"}, 0, {"=# Background\ncolour=blue\n"}, "", {},
         {{"n.xml", kDecl + "\r\n<norquilldocument class=\"config\" version=\"1\">"}, {"*", "=n.xml"},
          {"n.xml", "<entry name=\"colour\">\r\n      <description>Background</description>\r\n"
                    "      <value>blue</value>"}}},
        // Replaced where it stands, its description kept unless given.
        {{"conf", "set", "$T/s.xml", "server.port", "9090", "&&",
          "conf", "set", "$T/s.xml", "log.level", "debug", "--description", "Chatty", "&&",
          "conf", "set", "$T/s.xml", "new.one", "x & <y>", "&&", "conf", "list", "$T/s.xml"}, 0,
         {"=" + list.substr(0, list.find("8080")) + "9090\n# Chatty\nlog.level=debug\n" +
          list.substr(list.find("greeting")) + "new.one=x & <y>\n"}, "", copy, {{"*", "=s.xml"}}},
        {{"conf", "set", "$T/c.xml", "k", "4", "&&", "conf", "list", "$T/c.xml"}, 0, {"=k=4\nm=2\n"}, "",
         twoK},
        // Failures leave the file as it was and no temporary file behind.
        {{"conf", "set", "$T/s.xml", "server.port", "1"}, 1, {}, "LibXML 463", copy, unchanged, "", "", 256},
        // Control characters as \u00XX escapes, both digits.
        {{"conf", "list", "--json", "$T/c.xml"}, 0, {"\"value\": \"a\\u001fb\\u0001\""}, "", {{"c.xml",
         "<?xml version=\"1.1\"?>" + head + "<entry name=\"a\"><value>a&#x1f;b&#1;</value></entry>" + end}}},
        {{"conf", "set", "$T/no/dir/c.xml", "a", "b"}, 1, {}, "cannot create a temporary file in $T/no/dir"},
        {{"conf", "set", "$T/s.xml", "", "v"}, 2, {}, "NAME must not be empty", copy, unchanged},
        {{"conf", "unset", "$T/s.xml", "server.host", "&&", "conf", "list", "$T/s.xml"}, 0,
         {"=" + list.substr(list.find("# TCP"))}, "", copy},
        {{"conf", "unset", "$T/s.xml", "nothere"}, 1, {}, "no entry named \"nothere\"", copy, unchanged},
        {{"conf", "unset", "$T/missing.xml", "x"}, 1, {}, "cannot read $T/missing.xml: no such file", {}, {{"*", "="}}},
        {{"conf", "list", "$T/v2.xml"}, 1, {}, "Data flow 290", {{"v2.xml", v2}}},
    });
}
// clang-format on

TEST(Tool, ConfSetKeepsPermissionsAndSymbolicLinks) {
    Runner r;
    std::string file = r.dir.file("s.xml"), link = r.dir.file("link.xml");
    ASSERT_TRUE(writeBytes(file, readBytes(r.expand("$EX/settings.xml"))));
    chmod(file.c_str(), 0640);
    ASSERT_EQ(symlink(file.c_str(), link.c_str()), 0);
    r.run({{"conf", "set", link, "server.port", "1", "&&", "conf", "get", file, "server.port"}, 0, {"=1\n"}});
    EXPECT_TRUE(std::filesystem::is_symlink(link)) << "the link was replaced by a file";
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0640));
}

// clang-format off
TEST(Tool, Template) {
    const Files plain = {{"t.xml", "<r xmlns=\"urn:d\"><v>fixed</v></r>"}};
    runAll({
        {{"template", kTmpl}, 0, {"=@" NQDOM_EXPECTED_DIR "/template-order.txt"}},
        // JSON carries the skeleton as the library wrote it, CR LF included.
        {{"template", "--json", kTmpl}, 0, {"=@" NQDOM_EXPECTED_DIR "/template-order.json"}},
        {{"template", "$T/t.xml"}, 0, {"=variables: 0\nnamespaces: 1\n  (default)  urn:d\nskeleton:\n\n"
          "<r xmlns=\"urn:d\">\n\n  <v>fixed</v>\n\n</r>\n"}, "", plain},
        {{"template", "--json", "$T/t.xml"}, 0, {"={\"variables\": [],\n\"namespaces\": [],\n\"skeleton\": "
          "\"\\r\\n<r>\\r\\n\\r\\n  <v>fixed</v>\\r\\n\\r\\n</r>\"}\n"}, "", {{"t.xml", "<r><v>fixed</v></r>"}}},
        {{"template", "$T/t.xml"}, 0, {"^variables: 1\n"}, "nqdom template: warning: the skeleton leaves out the CDATA "
         "section <![CDATA[${b}]]> with the variables in it\nnqdom template: warning: the skeleton leaves out the "
         "processing instruction <?p x?>\n", {{"t.xml", "<r><a>${a}</a><b><![CDATA[${b}]]></b><?p x?></r>"}}},
        {{"fill", "$T/t.xml", "a=1"}, 0, {"<a>1</a>"}, "nqdom fill: warning: the skeleton leaves out the "
         "processing instruction <?p x?>\n", {{"t.xml", "<r><a>${a}</a><?p x?></r>"}}},
        {{"template", "$T/t.xml"}, 1, {}, "LibXML 1764", {{"t.xml", "<r><v>${a} ${b}</v></r>"}}},
    });
}

TEST(Tool, Fill) {
    runAll({
        // Optional by comment and by notation, both left without a value.
        {{"fill", kTmpl, "--values", kValues}, 0, {"=@" NQDOM_EXPECTED_DIR "/fill-order.xml"}},
        // Arguments override the file, in any letter case.
        {{"fill", kTmpl, "CITY=Lund", "note=ring twice", "--values", kValues}, 0,
         {"<a:city>Lund</a:city>", "<o:note>ring twice</o:note>"}},
        // A value is escaped and not read as a template.
        {{"fill", kTmpl, "orderId=\"1\" & 'x'", "customer=<A&B>", "street=s", "city=c", "country=$${x}"}, 0,
          {"id=\"&quot;1&quot; &amp; &apos;x&apos;\"", "<o:customer>&lt;A&amp;B&gt;</o:customer>",
                       "<a:country>$${x}</a:country>"}},
        {{"fill", kTmpl, "orderId=1", "street=s", "city=c"}, 1, {},
         "no value for required variable \"customer\""},
        {{"fill", kTmpl}, 1, {},
         "no values for required variables \"city\", \"customer\", \"orderId\", \"street\""},
        {{"fill", kTmpl, "--values", kValues, "custmer=x"}, 1, {},
         "the template has no variable \"custmer\""},
        {{"fill", kTmpl, "--values", kValues, "note=a\x01"}, 1, {},
         "the value of \"note\" holds characters XML cannot carry"},
        {{"fill", kTmpl, "--values", kValues, "note=\x80"}, 1, {}, "XML cannot carry"},
        {{"fill", kTmpl, "--values", kMenu}, 1, {}, "Data flow 288"},
        {{"fill", kTmpl, "city"}, 2, {}, "expected NAME=VALUE, got \"city\""},
        {{"fill", kTmpl, "=x"}, 2, {}, "expected NAME=VALUE"},
    });
}
// clang-format on

// Bytes of the large documents: 100 MB, less under instrumentation.
std::size_t largeBytes() {
    if (const char* size = std::getenv("NQDOM_TOOL_LARGE_MB")) return std::strtoul(size, nullptr, 10) << 20;
#if defined(__SANITIZE_ADDRESS__)
    return 8 << 20;
#else
    return std::size_t(std::getenv("NQDOM_UNDER_VALGRIND") ? 8 : 100) << 20;
#endif
}

TEST(ToolSlow, LargeDocumentGoesThroughFormatAndTree) {
    // Written exactly as the library writes it, so formatting gives the same bytes back.
    Runner r;
    std::string text = kDecl.substr(1) + "<catalog>";
    std::size_t items = 0;
    for (; text.size() < largeBytes(); ++items) {
        std::string n = std::to_string(items);
        text += "<item id=\"i" + n + "\" kind=\"book\"><!-- n" + n + " --><title>T\xC3\xAFtle " + n +
                " &amp; more</title><price>" + std::to_string(items % 100) + ".50</price></item>";
    }
    ASSERT_TRUE(writeBytes(r.dir.file("large.xml"), text + "</catalog>"));
    std::string().swap(text);
    r.run({{"format", "$T/large.xml", "-o", "$T/copy.xml"}, 0, {}, "", {}, {{"copy.xml", "=@$T/large.xml"}}});
    std::filesystem::remove(r.dir.file("copy.xml"));
    // Per item: the element, two attributes, the comment, two elements with a text each.
    Files lines = {{"o.txt", "#" + std::to_string(1 + 8 * items) + ":\n"},
                   {"o.txt", "#" + std::to_string(items) + ":    <!-- n"}};
    r.run({{"tree", "$T/large.xml"}, 0, {}, "", {}, lines, "", "$T/o.txt"});
}

TEST(ToolSlow, TreeStreamsItsOutline) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "peak memory under the sanitizer's allocator says nothing";
#endif
    // Indentation makes the outline many times larger than the document;
    // held in memory, it would show in the peak.
    TempDir dir;
    std::string input = dir.file("nested.xml"), outline = dir.file("outline.txt");
    std::string text = "<root>";
    while (text.size() < largeBytes() / 5) text += nest(60, "");
    ASSERT_TRUE(writeBytes(input, text + "</root>"));
    ToolResult tree = runTool({"tree", input}, "", outline);
    ASSERT_EQ(tree.exitCode, 0) << tree.err;
    long outlineKb = static_cast<long>(std::filesystem::file_size(outline) / 1024);
    std::filesystem::remove(outline);
    ToolResult format = runTool({"format", input, "-o", dir.file("copy.xml")});
    ASSERT_EQ(format.exitCode, 0) << format.err;
    ASSERT_GT(outlineKb, 5 * static_cast<long>(std::filesystem::file_size(input) / 1024));
    EXPECT_LT(tree.maxRssKb, format.maxRssKb + outlineKb / 4)
        << "tree " << tree.maxRssKb << " KB, format " << format.maxRssKb << " KB, outline " << outlineKb;
}

}  // namespace
