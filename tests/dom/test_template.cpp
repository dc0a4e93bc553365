// Templates: namespaces and the skeleton, variables with their XPaths and
// optional marks, the queries, and the failures of compilation.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "dom_test_util.h"

namespace {

struct Release {
    void operator()(NqDomTemplate* tpl) const { tpl->release(); }
};
using TemplatePtr = std::unique_ptr<NqDomTemplate, Release>;

// name{sorted attributes}"trimmed text"[children], comments as <!--text-->.
std::string describeTree(const NqDomNode& node) {
    if (node.isComment()) return "<!--" + str(node.getValue(true)) + "-->";
    std::string out = str(node.getName());
    const std::string attributes = describeAttributes(node, ",");
    if (!attributes.empty()) out += "{" + attributes + "}";
    NqbString text = node.getValue(true);
    text.trim(true, true);
    if (text.length() > 0) out += "\"" + str(text) + "\"";
    std::string children;
    for (NqDomNode child = node.getFirstChild(true); !child.null(); child = child.getNextSibling(true)) {
        children += (children.empty() ? "" : ",") + describeTree(child);
    }
    return children.empty() ? out : out + "[" + children + "]";
}

// "prefix=uri ... | skeleton parsed back", or "variables", or "failed: " and the document's message.
std::string compiled(const char* text, bool variables = false) {
    NqDom dom;
    TemplatePtr tpl(dom.getTemplate(text));
    if (!tpl) return "failed: " + str(dom.getErrorMessage());
    if (variables) return describeVariables(*tpl);
    std::string out;
    for (int i = 0; i < tpl->getNamespaceCount(); ++i) {
        NqbString prefix, uri;
        tpl->getNamespace(i, &prefix, &uri);
        out += str(prefix) + "=" + str(uri) + " ";
    }
    NqDom reparsed;
    EXPECT_TRUE(reparsed.loadXML(tpl->getSkeleton()));
    return out + "| " + describeTree(reparsed.getRoot());
}

TEST(Template, NamespacesAndSkeleton) {
    const char* const rows[][2] = {
        {R"(<r id="${id}" q:a="1"><q:c q:d="2"> ${v} </q:c></r>)", "| r{id=${id},q:a=1}[q:c{q:d=2}\"${v}\"]"},
        {R"(<r><p:s xmlns:p="u1"/><p:s xmlns:p="u2" p:a="1"><p:t/></p:s></r>)",
         "p=u1 nq1ns=u2 | r[p:s{xmlns:p=u1},nq1ns:s{nq1ns:a=1,xmlns:nq1ns=u2}[nq1ns:t]]"},
        {R"(<r xmlns:p="u"><p:a/><q:b xmlns:q="u"><q:c/><P:d/></q:b></r>)",
         "p=u | r{xmlns:p=u}[p:a,p:b[p:c,P:d]]"},
        {R"(<r xmlns="u1"><c xmlns="u2"><d/></c></r>)",
         "=u1 nq1ns=u2 | r{xmlns=u1}[nq1ns:c{xmlns:nq1ns=u2}[nq1ns:d]]"},
        {R"(<p:r xmlns:p="u1" xmlns="u2" p:a="1" b="2"/>)", "=u2 p=u1 | p:r{b=2,p:a=1,xmlns:p=u1,xmlns=u2}"},
        {R"(<r xmlns:p="u1" xmlns:q="u2"><q:b xmlns:q="u4"/></r>)",
         "p=u1 q=u2 nq2ns=u4 | r{xmlns:p=u1,xmlns:q=u2}[nq2ns:b{xmlns:nq2ns=u4}]"},
        {"<!--c--><?pi x?><r><?pi d?><a><![CDATA[d]]>t</a><!--k--></r><!--z-->", "| r[a\"t\",<!--k-->]"},
    };
    for (const auto& row : rows) EXPECT_EQ(compiled(row[0]), row[1]) << row[0];
}

// A comment whose first eight characters, trimmed, read "optional" in any
// case makes the next element and its subtree optional.
TEST(Template, VariablesWithTheirPaths) {
    const char* const rows[][2] = {
        {R"(<a>${t}<b>${x}</b><b c="${y}">${z}</b></a>)", "t=/a x=/a/b y=/a/b[2]/@c z=/a/b[2]"},
        {"<a><b>${v1}</b><B>${v2}</B><b/><p:b><c/><c/><c>${d}</c></p:b><b>${v3}</b></a>",
         "d=/a/p:b/c[3] v1=/a/b v2=/a/B v3=/a/b[3]"},
        {R"(<a xmlnsx="${w}" XMLNS:q="${x}"/>)", "w=/a/@xmlnsx x=/a/@XMLNS:q"},
        {R"(<a>  ${t}  <b c="  ${u}  " d="   "/></a>)", "t=/a u=/a/b/@c"},
        {"<a>$${x} costs $$5</a>", ""},
        {"<a><b>${x} and ${x?}</b><c>${y?}</c></a>", "x=/a/b y=/a/c?"},
        {"<a><!--optional--><!--Option--><b>${x}</b><c>${y}</c><!--Optional--></a>", "x=/a/b? y=/a/c"},
        {R"(<a><!--Optional--><b c="${x}"><!--not a marker--><d>${y}<e f="${z}"/></d></b><g>${w}</g></a>)",
         "w=/a/g x=/a/b/@c? y=/a/b/d? z=/a/b/d/e/@f?"},
        {"<a><!--\n\t oPtIoNaLly\n--><b>${p}</b><!-- - optional--><c>${q}</c><!----><d>${r}</d></a>",
         "p=/a/b? q=/a/c r=/a/d"},
    };
    for (const auto& row : rows) EXPECT_EQ(compiled(row[0], true), row[1]) << row[0];
}

TEST(Template, FailuresGiveTheirMessage) {
    const std::string refused = "failed: LibXML 342: creating a new document failed: DOM exception 14";
    const std::pair<const char*, std::string> rows[] = {
        {"<a><b>${x}${y}</b></a>", "failed: LibXML 1764: more than one variable in /a/b (Element)"},
        {R"(<r xmlns:p="u1"><b/><p:a xmlns:p="u2" b="${x} ${y}"/></r>)",
         "failed: LibXML 1764: more than one variable in /r/nq1ns:a (Attribute)"},
        {R"(<a x="${n}">${N}</a>)", "failed: LibXML 1666: variable name \"n\" is used twice"},
        {"<!-- no element -->", "failed: LibXML 1766: the template has no root element"},
        // XML 1.1 reads the character; the skeleton, written as XML 1.0, cannot hold it.
        {"<?xml version=\"1.1\"?><r>&#1;${x}</r>",
         "failed: LibXML 348: cannot write text in element \"r\": it holds U+0001, a character XML 1.0 "
         "cannot carry"},
        {R"(<r xmlns:p="${u}"/>)",
         "failed: LibXML 1765: the skeleton text and the skeleton document hold different numbers of "
         "variables"},
        // The offset is the one in the skeleton text, which opens with CR LF.
        {R"(<r a="${a b}"/>)", "failed: Base 2002: invalid variable name \"a b\" at offset 8"},
        {R"(<r xmlns:p="u"><p:a:b/></r>)", refused},
        {R"(<r xmlns:p="u" p:a:b="1"/>)", refused},
        {"<q:r/>", refused},
        {R"(<r xmlns:p=""/>)", refused},
    };
    for (const auto& [text, expected] : rows) EXPECT_EQ(compiled(text), expected) << text;
}

// Text is trimmed and goes ahead of the children; variables take the names of
// the skeleton and are written in their plain form.
TEST(Template, SkeletonTextAndQueriesOutliveTheDocument) {
    TemplatePtr tpl;
    {
        NqDom dom;
        EXPECT_EQ(dom.getTemplate("<r>${x}${y}</r>"), nullptr);
        tpl.reset(dom.getTemplate(
            R"(<r xmlns:p="u1"> lead <p:a xmlns:p="u2" p:k=" ${k} "> ${v?} </p:a><b>  </b><!-- optional -->tail<c>${C}</c></r>)"));
        ASSERT_NE(tpl, nullptr);
        EXPECT_TRUE(dom.getErrorMessage().isNull());
    }
    EXPECT_EQ(str(tpl->getSkeleton()),
              "\r\n<r xmlns:p=\"u1\">lead  tail\r\n\r\n  <nq1ns:a xmlns:nq1ns=\"u2\" nq1ns:k=\" ${k} "
              "\">${v}</nq1ns:a>\r\n"
              "\r\n  <b/>\r\n\r\n  <!-- optional -->\r\n\r\n  <c>${C}</c>\r\n\r\n</r>");
    EXPECT_EQ(describeVariables(*tpl), "C=/r/c? k=/r/nq1ns:a/@nq1ns:k v=/r/nq1ns:a?");
    EXPECT_EQ(str(tpl->getVariableXPath("K")) + " " + str(tpl->getVariableXPath("c")),
              "/r/nq1ns:a/@nq1ns:k /r/c");
    for (const char* unknown : {"", "B", "cc", "w"})
        EXPECT_TRUE(tpl->getVariableXPath(unknown).isNull()) << unknown;
    bool optional = false;
    NqbString error("untouched");
    EXPECT_EQ(str(tpl->getVariableName(2, &optional, &error)), "v");
    EXPECT_EQ(str(error), "untouched");
    EXPECT_TRUE(optional);
    for (int index : {-1, 3}) {
        optional = false;
        EXPECT_TRUE(tpl->getVariableName(index, &optional, &error).isNull());
        EXPECT_EQ(str(error), "LibXML 1420: variable index out of range");
        error.setNull();
        EXPECT_TRUE(tpl->getVariableXPath(index, &error).isNull());
        EXPECT_EQ(str(error), "LibXML 1420: variable index out of range");
        EXPECT_FALSE(optional);
    }
}

// The tables grow by ten slots and keep every entry. Eleven nested
// declarations of one prefix make two table entries but eleven in scope.
TEST(Template, TablesGrowAndDeepNestingCompiles) {
    for (int declarations : {10, 21}) {
        std::string text = "<r";
        for (int i = 0; i < declarations; ++i)
            text += " xmlns:p" + std::to_string(i + 10) + "=\"u" + std::to_string(i) + "\"";
        NqDom dom;
        TemplatePtr tpl(dom.getTemplate(NqbString((text + "/>").c_str())));
        ASSERT_NE(tpl, nullptr);
        EXPECT_EQ(tpl->getNamespaceCount(), declarations);
        for (int i = -1; i <= declarations; ++i) {
            NqbString prefix("x"), uri("y");
            tpl->getNamespace(i, &prefix, &uri);
            const bool in = i >= 0 && i < declarations;
            EXPECT_EQ(str(prefix) + "=" + str(uri),
                      in ? "p" + std::to_string(i + 10) + "=u" + std::to_string(i) : "<null>=<null>");
        }
    }
    std::string text, close, path;
    for (int i = 0; i < 500; ++i) {
        text += i < 11 ? "<p:e xmlns:p=\"urn:" + std::to_string(i % 2) + "\">" : "<e>";
        close += i < 11 ? "</p:e>" : "</e>";
        path += i < 11 ? (i % 2 ? "/nq1ns:e" : "/p:e") : "/e";
    }
    NqDom dom;
    TemplatePtr tpl(dom.getTemplate(NqbString((text + "${x}" + close).c_str())));
    ASSERT_NE(tpl, nullptr) << str(dom.getErrorMessage());
    EXPECT_EQ(tpl->getNamespaceCount(), 2);
    EXPECT_EQ(str(tpl->getVariableXPath("x")), path);
}

}  // namespace
