// Compilation of template text: namespaces, the skeleton, and failures.
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "nqdommessages.h"
#include "nqdomtemplate/nqdomtemplateimpl.h"

class NqDomTemplateTestPeer {
public:
    static bool check(NqDomTemplateImpl& tpl, NqbBasicTemplate* basic, const NqDomNode& root,
                      NqbString* error) {
        return tpl.storeSkeletonAndCheck(basic, root, error);
    }
};

namespace {

NqbString libxmlMessage(int id) {
    return nqb_get_message("", 0, NQ_CATALOGUE_LIBXML, id);
}

// "prefix=uri" per namespace of the template, in table order.
std::string describeNamespaces(NqDomTemplate& tpl) {
    std::string out;
    for (int i = 0; i < tpl.getNamespaceCount(); ++i) {
        NqbString prefix;
        NqbString uri;
        tpl.getNamespace(i, &prefix, &uri);
        if (!out.empty()) out += ' ';
        out += std::string(prefix.asCstr()) + "=" + uri.asCstr();
    }
    return out;
}

// name{sorted attributes}"trimmed text"[children], comments as <!--text-->.
std::string describeTree(const NqDomNode& node) {
    if (node.isComment()) return "<!--" + std::string(node.getValue(true).asCstr()) + "-->";
    std::string out = node.getName().asCstr();
    std::vector<std::string> attributes;
    for (int i = 0; i < node.getAttributeCount(); ++i) {
        NqbString name;
        NqbString value;
        node.getAttributeNameValue(i, &name, &value);
        attributes.push_back(std::string(name.asCstr()) + "=" + value.asCstr());
    }
    std::sort(attributes.begin(), attributes.end());
    for (size_t i = 0; i < attributes.size(); ++i) out += (i == 0 ? "{" : ",") + attributes[i];
    if (!attributes.empty()) out += "}";
    NqbString text = node.getValue(true);
    text.trim(true, true);
    if (text.length() > 0) out += "\"" + std::string(text.asCstr()) + "\"";
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
    NqDomNode root = reparsed.getRoot();
    return root.null() ? "no root" : describeTree(root);
}

std::string describeVariables(NqDomTemplate& tpl) {
    std::string out;
    for (int i = 0; i < tpl.getVariableCount(); ++i) {
        NqbString error;
        bool optional = false;
        NqbString name = tpl.getVariableName(i, &optional, &error);
        if (!out.empty()) out += ' ';
        out += std::string(name.asCstr()) + "=" + tpl.getVariableXPath(i, &error).asCstr();
        if (optional) out += '?';
    }
    return out;
}

// Releases a template at the end of a test.
struct TemplateHolder {
    NqDomTemplate* tpl;
    ~TemplateHolder() {
        if (tpl) tpl->release();
    }
};

TEST(TemplateCompileTest, WorkedExample) {
    NqDom dom;
    TemplateHolder held{dom.getTemplate(NqbString(
        R"(<a:root xmlns:a="u1"><a:child xmlns:a="u2"><b:leaf xmlns:b="u1"> x </b:leaf></a:child></a:root>)"))};
    ASSERT_NE(held.tpl, nullptr) << dom.getErrorMessage().asCstr();
    EXPECT_TRUE(dom.getErrorMessage().isNull());
    EXPECT_EQ(describeNamespaces(*held.tpl), "a=u1 nq1ns=u2");
    EXPECT_EQ(held.tpl->getVariableCount(), 0);
    EXPECT_STREQ(held.tpl->getSkeleton().asCstr(),
                 "\r\n<a:root xmlns:a=\"u1\">\r\n\r\n  <nq1ns:child xmlns:nq1ns=\"u2\">\r\n"
                 "    <a:leaf>x</a:leaf>\r\n  </nq1ns:child>\r\n\r\n</a:root>");
    EXPECT_EQ(describeSkeleton(*held.tpl), "a:root{xmlns:a=u1}[nq1ns:child{xmlns:nq1ns=u2}[a:leaf\"x\"]]");
}

TEST(TemplateCompileTest, VariablesUseSkeletonNamesAndOptionalSkeletonForm) {
    NqDom dom;
    TemplateHolder held{dom.getTemplate(NqbString(
        R"(<r xmlns:p="u1"><p:a xmlns:p="u2" p:k=" ${k} "> ${v?} </p:a><!-- optional --><p:b>${o}</p:b></r>)"))};
    ASSERT_NE(held.tpl, nullptr) << dom.getErrorMessage().asCstr();
    EXPECT_EQ(describeVariables(*held.tpl), "k=/r/nq1ns:a/@nq1ns:k o=/r/p:b? v=/r/nq1ns:a?");
    EXPECT_STREQ(held.tpl->getVariableXPath(NqbString("K")).asCstr(), "/r/nq1ns:a/@nq1ns:k");
    // The skeleton writes every variable in its plain form, values untrimmed.
    EXPECT_STREQ(
        held.tpl->getSkeleton().asCstr(),
        "\r\n<r xmlns:p=\"u1\">\r\n\r\n  <nq1ns:a xmlns:nq1ns=\"u2\" nq1ns:k=\" ${k} \">${v}</nq1ns:a>\r\n"
        "\r\n  <!-- optional -->\r\n\r\n  <p:b>${o}</p:b>\r\n\r\n</r>");
}

struct ShapeCase {
    const char* label;
    const char* text;
    const char* namespaces;
    const char* skeleton;
};

const ShapeCase kShapes[] = {
    {"no declarations keep every name", R"(<r id="${id}"><p:x> ${v} </p:x></r>)", "",
     "r{id=${id}}[p:x\"${v}\"]"},
    {"a prefix declared again for another URI on a sibling",
     R"(<r><p:s xmlns:p="u1"/><p:s xmlns:p="u2"><p:t/></p:s></r>)", "p=u1 nq1ns=u2",
     "r[p:s{xmlns:p=u1},nq1ns:s{xmlns:nq1ns=u2}[nq1ns:t]]"},
    {"one URI under two prefixes keeps the first",
     R"(<r xmlns:p="u"><p:a/><q:b xmlns:q="u"><q:c/></q:b></r>)", "p=u", "r{xmlns:p=u}[p:a,p:b[p:c]]"},
    {"default namespace on the root", R"(<r xmlns="u"><c/></r>)", "=u", "r{xmlns=u}[c]"},
    {"a second default namespace gets a generated prefix", R"(<r xmlns="u1"><c xmlns="u2"><d/></c></r>)",
     "=u1 nq1ns=u2", "r{xmlns=u1}[nq1ns:c{xmlns:nq1ns=u2}[nq1ns:d]]"},
    {"declared on an element outside the namespace", R"(<r xmlns:p="u"><p:c/></r>)", "p=u",
     "r{xmlns:p=u}[p:c]"},
    {"default declared on an element outside it", R"(<p:r xmlns:p="u1" xmlns="u2"/>)", "=u2 p=u1",
     "p:r{xmlns:p=u1,xmlns=u2}"},
    {"prefixed attribute namespaced, plain one not, declared once", R"(<r xmlns:p="u" p:a="1" b="2"/>)",
     "p=u", "r{b=2,p:a=1,xmlns:p=u}"},
    {"attribute in a namespace that got a generated prefix",
     R"(<r xmlns:p="u1"><c xmlns:p="u2" p:a="1"/></r>)", "p=u1 nq1ns=u2",
     "r{xmlns:p=u1}[c{nq1ns:a=1,xmlns:nq1ns=u2}]"},
    {"generated prefixes number by table index",
     R"(<r xmlns:p="u1" xmlns:q="u2"><p:a xmlns:p="u3"/><q:b xmlns:q="u4"/></r>)",
     "p=u1 q=u2 nq2ns=u3 nq3ns=u4",
     "r{xmlns:p=u1,xmlns:q=u2}[nq2ns:a{xmlns:nq2ns=u3},nq3ns:b{xmlns:nq3ns=u4}]"},
    {"text trimmed and joined ahead of children, comments in place",
     "<r>lead<a/><!-- c1 --><b>  </b>tail</r>", "", "r\"lead tail\"[a,<!-- c1 -->,b]"},
    {"processing instructions and CDATA are dropped", "<r><?pi data?><a><![CDATA[cdata]]>t</a></r>", "",
     "r[a\"t\"]"},
    {"undeclared prefixes stay without namespace", R"(<r q:a="1"><q:c q:d="2"/></r>)", "",
     "r{q:a=1}[q:c{q:d=2}]"},
    {"nothing outside the document element", "<!-- before --><?pi x?><r/><!-- after -->", "", "r"},
};

void PrintTo(const ShapeCase& c, std::ostream* os) {
    *os << c.label;
}

class TemplateShapeTest : public ::testing::TestWithParam<ShapeCase> {};

TEST_P(TemplateShapeTest, NamespacesAndSkeleton) {
    const ShapeCase& c = GetParam();
    NqDom dom;
    TemplateHolder held{dom.getTemplate(NqbString(c.text))};
    ASSERT_NE(held.tpl, nullptr) << c.label << ": " << dom.getErrorMessage().asCstr();
    EXPECT_EQ(describeNamespaces(*held.tpl), c.namespaces) << c.label;
    EXPECT_EQ(describeSkeleton(*held.tpl), c.skeleton) << c.label;
}

INSTANTIATE_TEST_SUITE_P(Cases, TemplateShapeTest, ::testing::ValuesIn(kShapes));

struct FailureCase {
    const char* label;
    const char* text;
    NqbString expected;
};

void PrintTo(const FailureCase& c, std::ostream* os) {
    *os << c.label;
}

class TemplateFailureTest : public ::testing::TestWithParam<FailureCase> {};

TEST_P(TemplateFailureTest, NullWithMessage) {
    const FailureCase& c = GetParam();
    NqDom dom;
    NqDomTemplate* tpl = dom.getTemplate(NqbString(c.text));
    EXPECT_EQ(tpl, nullptr) << c.label;
    if (tpl) tpl->release();
    EXPECT_STREQ(dom.getErrorMessage().asCstr(), c.expected.asCstr()) << c.label;
}

NqbString domRefused() {
    return nqb_get_message("", 0, NQ_CATALOGUE_LIBXML, NQ_MSG_CREATE_EXCEPTION, 14 /* NAMESPACE_ERR */);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TemplateFailureTest,
    ::testing::Values(
        FailureCase{"empty text", "", libxmlMessage(NQ_MSG_NO_ROOT)},
        FailureCase{"only a comment", "<!-- no element -->", libxmlMessage(NQ_MSG_NO_ROOT)},
        FailureCase{"two variables in a text", "<r>${x}${y}</r>",
                    nqb_get_message("", 0, NQ_CATALOGUE_LIBXML, NQ_MSG_MANY_VARIABLES, "/r", "Element")},
        FailureCase{
            "two variables in an attribute, path in skeleton names",
            R"(<r xmlns:p="u1"><p:a xmlns:p="u2" b="${x} ${y}"/></r>)",
            nqb_get_message("", 0, NQ_CATALOGUE_LIBXML, NQ_MSG_MANY_VARIABLES, "/r/nq1ns:a", "Attribute")},
        FailureCase{"names differing only in case", R"(<r a="${x}"><c>${X}</c></r>)",
                    nqb_get_message("", 0, NQ_CATALOGUE_LIBXML, NQ_MSG_VARIABLE_TWICE, "X")},
        FailureCase{"a variable in a comment", "<r><!-- ${c} --><a>${x}</a></r>",
                    libxmlMessage(NQ_MSG_VARIABLE_COUNT)},
        FailureCase{"a variable in a namespace declaration", R"(<r xmlns:p="${u}"/>)",
                    libxmlMessage(NQ_MSG_VARIABLE_COUNT)},
        FailureCase{"a child name the DOM refuses", R"(<r xmlns:p="u"><p:a:b/></r>)", domRefused()},
        FailureCase{"a root name the DOM refuses", R"(<p:a:b xmlns:p="u"/>)", domRefused()},
        FailureCase{"an attribute name the DOM refuses", R"(<r xmlns:p="u" p:a:b="1"/>)", domRefused()},
        // The document element is made through a namespace-aware DOM call,
        // which refuses a prefix without a namespace.
        FailureCase{"an undeclared prefix on the document element", "<q:r/>", domRefused()},
        FailureCase{"a prefix bound to the empty URI", R"(<r xmlns:p=""/>)", domRefused()}));

// The base library's own failure text for `skeletonText`.
NqbString basicFailure(const NqbString& skeletonText) {
    NqbString error;
    NqbBasicTemplate* basic = nqbCreateBasicTemplate(nullptr, &error);
    EXPECT_FALSE(basic->init(skeletonText, &error));
    basic->release();
    return error;
}

TEST(TemplateCompileTest, MalformedReferencePassesTheBaseLibraryMessage) {
    // The skeleton the engine would have made: the same document serialised.
    NqDom expectedSkeleton;
    ASSERT_TRUE(expectedSkeleton.startNewDocument(NqbString("r")));
    NqDomNode root = expectedSkeleton.getRoot();
    ASSERT_TRUE(root.setAttributeValue(NqbString("a"), NqbString("${a b}")));
    NqbString skeletonText = expectedSkeleton.createXML(true, root);

    NqDom dom;
    EXPECT_EQ(dom.getTemplate(NqbString(R"(<r a="${a b}"/>)")), nullptr);
    NqbString expected = basicFailure(skeletonText);
    EXPECT_GT(expected.length(), 0);
    EXPECT_STREQ(dom.getErrorMessage().asCstr(), expected.asCstr());

    root.setAttributeValue(NqbString("a"), NqbString("${"));
    EXPECT_EQ(dom.getTemplate(NqbString(R"(<r a="${"/>)")), nullptr);
    EXPECT_STREQ(dom.getErrorMessage().asCstr(),
                 basicFailure(expectedSkeleton.createXML(true, root)).asCstr());
}

TEST(TemplateCompileTest, ErrorMessageIsNullAfterSuccessAndTemplateOutlivesDocument) {
    NqDomTemplate* tpl = nullptr;
    {
        NqDom dom;
        EXPECT_EQ(dom.getTemplate(NqbString("<r>${x}${y}</r>")), nullptr);
        EXPECT_FALSE(dom.getErrorMessage().isNull());
        tpl = dom.getTemplate(NqbString("<r><c>${x}</c></r>"));
        ASSERT_NE(tpl, nullptr);
        EXPECT_TRUE(dom.getErrorMessage().isNull());
    }
    EXPECT_STREQ(tpl->getVariableXPath(NqbString("x")).asCstr(), "/r/c");
    EXPECT_STREQ(tpl->getSkeleton().asCstr(), "\r\n<r>\r\n\r\n  <c>${x}</c>\r\n\r\n</r>");
    tpl->release();
}

TEST(TemplateCompileTest, TextGoesAheadOfChildrenAndBlankTextIsDropped) {
    NqDom dom;
    TemplateHolder held{dom.getTemplate(NqbString("<r> lead <a/><!-- c1 --><b>  </b>tail</r>"))};
    ASSERT_NE(held.tpl, nullptr) << dom.getErrorMessage().asCstr();
    EXPECT_STREQ(held.tpl->getSkeleton().asCstr(),
                 "\r\n<r>lead  tail\r\n\r\n  <a/>\r\n\r\n  <!-- c1 -->\r\n\r\n  <b/>\r\n\r\n</r>");
}

TEST(TemplateCompileTest, DeepNestingCompiles) {
    const int depth = 500;
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<e>";
    text += "${deep}";
    for (int i = 0; i < depth; ++i) text += "</e>";
    NqDom dom;
    TemplateHolder held{dom.getTemplate(NqbString(text.c_str()))};
    ASSERT_NE(held.tpl, nullptr) << dom.getErrorMessage().asCstr();
    std::string path;
    for (int i = 0; i < depth; ++i) path += "/e";
    EXPECT_EQ(held.tpl->getVariableXPath(NqbString("deep")).asCstr(), path);
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
    NqbString getSkeleton(NqbString*) override { return NqbString("fixed skeleton"); }
    bool init(const NqbString&, NqbString*) override { return true; }
    NqbString render(NqbString*) override { return NqbString(); }

private:
    std::vector<std::string> m_names;
};

struct CrossCheckCase {
    const char* label;
    std::vector<std::string> basicNames;
    NqbString expected;  // null when the check passes
};

void PrintTo(const CrossCheckCase& c, std::ostream* os) {
    *os << c.label;
}

class TemplateCrossCheckTest : public ::testing::TestWithParam<CrossCheckCase> {};

TEST_P(TemplateCrossCheckTest, ComparesBothSetsOfNames) {
    const CrossCheckCase& c = GetParam();
    NqDom skeleton;
    ASSERT_TRUE(skeleton.loadXML(NqbString("<r><a>${name}</a><b>${Other}</b></r>")));
    NqDomTemplateImpl tpl;
    FixedBasicTemplate basic(c.basicNames);
    NqbString error;
    const bool passed = NqDomTemplateTestPeer::check(tpl, &basic, skeleton.getRoot(), &error);
    EXPECT_EQ(passed, c.expected.isNull()) << c.label;
    EXPECT_STREQ(error.asCstr(), c.expected.asCstr()) << c.label;
    EXPECT_STREQ(tpl.getSkeleton().asCstr(), "fixed skeleton") << c.label;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TemplateCrossCheckTest,
    ::testing::Values(
        CrossCheckCase{"same names in another order", {"Other", "name"}, NqbString()},
        CrossCheckCase{"a name in other letter case",
                       {"name", "other"},
                       nqb_get_message("", 0, NQ_CATALOGUE_LIBXML, NQ_MSG_VARIABLE_NOT_FOUND, "other")},
        CrossCheckCase{"an unknown name",
                       {"name", "third"},
                       nqb_get_message("", 0, NQ_CATALOGUE_LIBXML, NQ_MSG_VARIABLE_NOT_FOUND, "third")},
        CrossCheckCase{"fewer names", {"name"}, libxmlMessage(NQ_MSG_VARIABLE_COUNT)},
        CrossCheckCase{"more names", {"name", "Other", "third"}, libxmlMessage(NQ_MSG_VARIABLE_COUNT)}));

}  // namespace
