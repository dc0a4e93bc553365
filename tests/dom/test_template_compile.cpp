// Compilation of template text: namespaces, the skeleton, and failures.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "dom_test_util.h"
#include "nqdomtemplate/nqdomtemplateimpl.h"

class NqDomTemplateTestPeer {
public:
    static bool check(NqDomTemplateImpl& tpl, NqbBasicTemplate* basic, const NqDomNode& root,
                      NqbString* error) {
        return tpl.storeSkeletonAndCheck(basic, root, error);
    }
};

namespace {

struct Release {
    void operator()(NqDomTemplate* tpl) const { tpl->release(); }
};
using TemplatePtr = std::unique_ptr<NqDomTemplate, Release>;

// "prefix=uri" per namespace of the template, in table order.
std::string describeNamespaces(NqDomTemplate& tpl) {
    std::string out;
    for (int i = 0; i < tpl.getNamespaceCount(); ++i) {
        NqbString prefix;
        NqbString uri;
        tpl.getNamespace(i, &prefix, &uri);
        out += (out.empty() ? "" : " ") + str(prefix) + "=" + str(uri);
    }
    return out;
}

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
    if (!children.empty()) out += "[" + children + "]";
    return out;
}

// The skeleton text parsed back and described; also proves it is well-formed.
std::string describeSkeleton(NqDomTemplate& tpl) {
    NqDom reparsed;
    if (!reparsed.loadXML(tpl.getSkeleton())) return "unparsable";
    return reparsed.getRoot().null() ? "no root" : describeTree(reparsed.getRoot());
}

TEST(TemplateCompileTest, WorkedExample) {
    NqDom dom;
    TemplatePtr tpl(dom.getTemplate(
        R"(<a:root xmlns:a="u1"><a:child xmlns:a="u2"><b:leaf xmlns:b="u1"> x </b:leaf></a:child></a:root>)"));
    ASSERT_NE(tpl, nullptr) << str(dom.getErrorMessage());
    EXPECT_TRUE(dom.getErrorMessage().isNull());
    EXPECT_EQ(describeNamespaces(*tpl), "a=u1 nq1ns=u2");
    EXPECT_EQ(tpl->getVariableCount(), 0);
    EXPECT_EQ(str(tpl->getSkeleton()),
              "\r\n<a:root xmlns:a=\"u1\">\r\n\r\n  <nq1ns:child xmlns:nq1ns=\"u2\">\r\n"
              "    <a:leaf>x</a:leaf>\r\n  </nq1ns:child>\r\n\r\n</a:root>");
    EXPECT_EQ(describeSkeleton(*tpl), "a:root{xmlns:a=u1}[nq1ns:child{xmlns:nq1ns=u2}[a:leaf\"x\"]]");
}

TEST(TemplateCompileTest, VariablesUseSkeletonNamesAndOptionalSkeletonForm) {
    NqDom dom;
    TemplatePtr tpl(dom.getTemplate(
        R"(<r xmlns:p="u1"><p:a xmlns:p="u2" p:k=" ${k} "> ${v?} </p:a><!-- optional --><p:b>${o}</p:b></r>)"));
    ASSERT_NE(tpl, nullptr) << str(dom.getErrorMessage());
    EXPECT_EQ(describeVariables(*tpl), "k=/r/nq1ns:a/@nq1ns:k o=/r/p:b? v=/r/nq1ns:a?");
    EXPECT_EQ(str(tpl->getVariableXPath("K")), "/r/nq1ns:a/@nq1ns:k");
    // The skeleton writes every variable in its plain form, values untrimmed.
    EXPECT_EQ(
        str(tpl->getSkeleton()),
        "\r\n<r xmlns:p=\"u1\">\r\n\r\n  <nq1ns:a xmlns:nq1ns=\"u2\" nq1ns:k=\" ${k} \">${v}</nq1ns:a>\r\n"
        "\r\n  <!-- optional -->\r\n\r\n  <p:b>${o}</p:b>\r\n\r\n</r>");
}

// "namespaces | skeleton", or "failed: " and the document's message.
std::string compiled(const char* text) {
    NqDom dom;
    TemplatePtr tpl(dom.getTemplate(text));
    if (!tpl) return "failed: " + str(dom.getErrorMessage());
    if (!dom.getErrorMessage().isNull()) return "succeeded with message " + str(dom.getErrorMessage());
    return describeNamespaces(*tpl) + " | " + describeSkeleton(*tpl);
}

TEST(TemplateCompileTest, NamespacesSkeletonsAndFailures) {
    // NAMESPACE_ERR: the DOM refuses the name.
    const std::string refused = "failed: " + libxml(NQ_MSG_CREATE_EXCEPTION, 14);
    const std::string count = "failed: " + libxml(NQ_MSG_VARIABLE_COUNT);
    const struct {
        const char* label;
        const char* text;
        std::string expected;
    } rows[] = {
        {"no declarations keep every name", R"(<r id="${id}"><p:x> ${v} </p:x></r>)",
         " | r{id=${id}}[p:x\"${v}\"]"},
        {"a prefix declared again for another URI on a sibling",
         R"(<r><p:s xmlns:p="u1"/><p:s xmlns:p="u2"><p:t/></p:s></r>)",
         "p=u1 nq1ns=u2 | r[p:s{xmlns:p=u1},nq1ns:s{xmlns:nq1ns=u2}[nq1ns:t]]"},
        {"one URI under two prefixes keeps the first",
         R"(<r xmlns:p="u"><p:a/><q:b xmlns:q="u"><q:c/></q:b></r>)", "p=u | r{xmlns:p=u}[p:a,p:b[p:c]]"},
        {"default namespace on the root", R"(<r xmlns="u"><c/></r>)", "=u | r{xmlns=u}[c]"},
        {"a second default namespace gets a generated prefix", R"(<r xmlns="u1"><c xmlns="u2"><d/></c></r>)",
         "=u1 nq1ns=u2 | r{xmlns=u1}[nq1ns:c{xmlns:nq1ns=u2}[nq1ns:d]]"},
        {"default declared on an element outside it", R"(<p:r xmlns:p="u1" xmlns="u2"/>)",
         "=u2 p=u1 | p:r{xmlns:p=u1,xmlns=u2}"},
        {"prefixed attribute namespaced, plain one not, declared once", R"(<r xmlns:p="u" p:a="1" b="2"/>)",
         "p=u | r{b=2,p:a=1,xmlns:p=u}"},
        {"attribute in a namespace that got a generated prefix",
         R"(<r xmlns:p="u1"><c xmlns:p="u2" p:a="1"/></r>)",
         "p=u1 nq1ns=u2 | r{xmlns:p=u1}[c{nq1ns:a=1,xmlns:nq1ns=u2}]"},
        {"generated prefixes number by table index",
         R"(<r xmlns:p="u1" xmlns:q="u2"><p:a xmlns:p="u3"/><q:b xmlns:q="u4"/></r>)",
         "p=u1 q=u2 nq2ns=u3 nq3ns=u4 | "
         "r{xmlns:p=u1,xmlns:q=u2}[nq2ns:a{xmlns:nq2ns=u3},nq3ns:b{xmlns:nq3ns=u4}]"},
        {"processing instructions and CDATA are dropped", "<r><?pi data?><a><![CDATA[cdata]]>t</a></r>",
         " | r[a\"t\"]"},
        {"undeclared prefixes stay without namespace", R"(<r q:a="1"><q:c q:d="2"/></r>)",
         " | r{q:a=1}[q:c{q:d=2}]"},
        {"nothing outside the document element", "<!-- before --><?pi x?><r/><!-- after -->", " | r"},
        {"only a comment", "<!-- no element -->", "failed: " + libxml(NQ_MSG_NO_ROOT)},
        {"two variables in a text", "<r>${x}${y}</r>",
         "failed: " + libxml(NQ_MSG_MANY_VARIABLES, "/r", "Element")},
        {"two variables in an attribute, path in skeleton names",
         R"(<r xmlns:p="u1"><p:a xmlns:p="u2" b="${x} ${y}"/></r>)",
         "failed: " + libxml(NQ_MSG_MANY_VARIABLES, "/r/nq1ns:a", "Attribute")},
        {"names differing only in case", R"(<r a="${x}"><c>${X}</c></r>)",
         "failed: " + libxml(NQ_MSG_VARIABLE_TWICE, "X")},
        {"a variable in a comment", "<r><!-- ${c} --><a>${x}</a></r>", count},
        {"a variable in a namespace declaration", R"(<r xmlns:p="${u}"/>)", count},
        {"a child name the DOM refuses", R"(<r xmlns:p="u"><p:a:b/></r>)", refused},
        {"a root name the DOM refuses", R"(<p:a:b xmlns:p="u"/>)", refused},
        {"an attribute name the DOM refuses", R"(<r xmlns:p="u" p:a:b="1"/>)", refused},
        // The document element is made through a namespace-aware DOM call,
        // which refuses a prefix without a namespace.
        {"an undeclared prefix on the document element", "<q:r/>", refused},
        {"a prefix bound to the empty URI", R"(<r xmlns:p=""/>)", refused},
    };
    for (const auto& row : rows) EXPECT_EQ(compiled(row.text), row.expected) << row.label;
}

TEST(TemplateCompileTest, MalformedReferencePassesTheBaseLibraryMessage) {
    for (const char* value : {"${a b}", "${"}) {
        SCOPED_TRACE(value);
        // The skeleton the engine would have made: the same document serialised.
        NqDom skeleton;
        ASSERT_TRUE(skeleton.startNewDocument("r"));
        ASSERT_TRUE(skeleton.getRoot().setAttributeValue("a", NqbString(value)));
        NqbString expected;
        NqbBasicTemplate* basic = nqbCreateBasicTemplate(nullptr, &expected);
        EXPECT_FALSE(basic->init(skeleton.createXML(true, skeleton.getRoot()), &expected));
        basic->release();
        EXPECT_GT(expected.length(), 0);

        NqDom dom;
        EXPECT_EQ(dom.getTemplate(("<r a=\"" + std::string(value) + "\"/>").c_str()), nullptr);
        EXPECT_EQ(str(dom.getErrorMessage()), str(expected));
    }
}

// Text is trimmed and goes ahead of the children; blank text is dropped.
TEST(TemplateCompileTest, ErrorMessageIsNullAfterSuccessAndTemplateOutlivesDocument) {
    TemplatePtr tpl;
    {
        NqDom dom;
        EXPECT_EQ(dom.getTemplate("<r>${x}${y}</r>"), nullptr);
        EXPECT_FALSE(dom.getErrorMessage().isNull());
        tpl.reset(dom.getTemplate("<r> lead <a/><!-- c1 --><b>  </b>tail<c>${x}</c></r>"));
        ASSERT_NE(tpl, nullptr);
        EXPECT_TRUE(dom.getErrorMessage().isNull());
    }
    EXPECT_EQ(str(tpl->getVariableXPath("x")), "/r/c");
    EXPECT_EQ(str(tpl->getSkeleton()),
              "\r\n<r>lead  tail\r\n\r\n  <a/>\r\n\r\n  <!-- c1 -->\r\n\r\n  <b/>\r\n\r\n  "
              "<c>${x}</c>\r\n\r\n</r>");
}

TEST(TemplateCompileTest, DeepNestingCompiles) {
    std::string open, close, path;
    for (int i = 0; i < 500; ++i) open += "<e>", close += "</e>", path += "/e";
    NqDom dom;
    TemplatePtr tpl(dom.getTemplate((open + "${deep}" + close).c_str()));
    ASSERT_NE(tpl, nullptr) << str(dom.getErrorMessage());
    EXPECT_EQ(str(tpl->getVariableXPath("deep")), path);
}

// A stand-in for the base library's object, reporting fixed names.
class FixedBasicTemplate : public NqbBasicTemplate {
public:
    explicit FixedBasicTemplate(std::vector<std::string> names) : m_names(std::move(names)) {}
    virtual ~FixedBasicTemplate() = default;
    NqbString getVariableName(int index, bool* optional, NqbString*) override {
        *optional = false;
        return NqbString(m_names[static_cast<size_t>(index)].c_str());
    }
    int getVariableCount() override { return static_cast<int>(m_names.size()); }
    void release() override {}
    NqbString getSkeleton(NqbString*) override { return "fixed skeleton"; }
    bool init(const NqbString&, NqbString*) override { return true; }
    NqbString render(NqbString*) override { return NqbString(); }

private:
    std::vector<std::string> m_names;
};

TEST(TemplateCompileTest, CrossCheckComparesBothSetsOfNames) {
    const struct {
        const char* label;
        std::vector<std::string> basicNames;
        std::string message;  // "<null>" when the check passes
    } rows[] = {
        {"same names in another order", {"Other", "name"}, "<null>"},
        {"a name in other letter case", {"name", "other"}, libxml(NQ_MSG_VARIABLE_NOT_FOUND, "other")},
        {"fewer names", {"name"}, libxml(NQ_MSG_VARIABLE_COUNT)},
        {"more names", {"name", "Other", "third"}, libxml(NQ_MSG_VARIABLE_COUNT)},
    };
    NqDom skeleton;
    ASSERT_TRUE(skeleton.loadXML("<r><a>${name}</a><b>${Other}</b></r>"));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        NqDomTemplateImpl tpl;
        FixedBasicTemplate basic(row.basicNames);
        NqbString error;
        EXPECT_EQ(NqDomTemplateTestPeer::check(tpl, &basic, skeleton.getRoot(), &error),
                  row.message == "<null>");
        EXPECT_EQ(str(error), row.message);
        EXPECT_EQ(str(tpl.getSkeleton()), "fixed skeleton");
    }
}

}  // namespace
