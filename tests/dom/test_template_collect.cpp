// Variables found in a document: their XPaths, optional marks and clashes.
#include <gtest/gtest.h>

#include <string>

#include "dom_test_util.h"
#include "nqdomtemplate/nqdomtemplateimpl.h"

class NqDomTemplateTestPeer {
public:
    // Collects from the root of `xml`, parsed as a skeleton would be.
    static bool collect(NqDomTemplateImpl& tpl, const std::string& xml, NqbString* error) {
        NqDom dom;
        if (!dom.loadXML(NqbString(xml.c_str())) || dom.getRoot().null()) {
            ADD_FAILURE() << "test document does not load: " << xml;
            return false;
        }
        return tpl.collectVariables(NqbString(""), 1, false, dom.getRoot(), error);
    }
};

namespace {

// The variables collected from `xml`, or "failed: " and the message.
std::string collected(const std::string& xml) {
    NqDomTemplateImpl tpl;
    NqbString error;
    if (!NqDomTemplateTestPeer::collect(tpl, xml, &error)) return "failed: " + str(error);
    return describeVariables(tpl);
}

TEST(CollectTest, FindsVariablesWithTheirPaths) {
    const struct {
        const char* label;
        const char* xml;
        const char* expected;
    } rows[] = {
        {"text of the root, repeated siblings and an attribute",
         R"(<a>${t}<b>${x}</b><b c="${y}">${z}</b></a>)", "t=/a x=/a/b y=/a/b[2]/@c z=/a/b[2]"},
        {"positions counted per name, case-sensitively", "<a><b>${v1}</b><B>${v2}</B><b>${v3}</b></a>",
         "v1=/a/b v2=/a/B v3=/a/b[2]"},
        {"qualified names and deeper positions", "<p:a><p:b/><p:b><c/><c/><c>${d}</c></p:b></p:a>",
         "d=/p:a/p:b[2]/c[3]"},
        {"position restarts under each parent", "<a><b><c/></b><b><c>${x}</c></b></a>", "x=/a/b[2]/c"},
        {"namespace declarations hold no variable",
         R"(<a xmlns="${u}" xmlns:p="${v}" xmlnsx="${w}" XMLNS:q="${x}" xmlns:="${y}"/>)",
         "w=/a/@xmlnsx x=/a/@XMLNS:q"},
        {"values and texts are trimmed; blank values skipped", R"(<a>  ${t}  <b c="  ${u}  " d="   "/></a>)",
         "t=/a u=/a/b/@c"},
        {"malformed references count as no variable", R"(<a>${<b>${ok}</b><c d="${a b}" e="${"/></a>)",
         "ok=/a/b"},
        {"a literal dollar is no variable", "<a>$${x} costs $$5</a>", ""},
        {"one name twice in one text is one variable", "<a><b>${x} and ${x}</b></a>", "x=/a/b"},
        {"comments are not read for variables", "<a><!-- ${c} --><b>${x}</b></a>", "x=/a/b"},
        {"the base library's optional flag", "<a><b>${x?}</b><c>${y}</c></a>", "x=/a/b? y=/a/c"},
        {"a marker makes the next element optional only", "<a><!-- OPTIONAL --><b>${x}</b><c>${y}</c></a>",
         "x=/a/b? y=/a/c"},
        {"a comment between marker and element is passed over",
         "<a><!--optional--><!--Option--><b>${x}</b><c>${y}</c></a>", "x=/a/b? y=/a/c"},
        {"a marker after the last element marks nothing", "<a><b>${x}</b><!--Optional--></a>", "x=/a/b"},
        {"the whole subtree of an optional element is optional",
         R"(<a><!--Optional--><b c="${x}"><!--not a marker--><d>${y}<e f="${z}"/></d></b><g>${w}</g></a>)",
         "w=/a/g x=/a/b/@c? y=/a/b/d? z=/a/b/d/e/@f?"},
        {"an optional element's position still counts", "<a><b/><!--Optional--><b>${x}</b><b>${y}</b></a>",
         "x=/a/b[2]? y=/a/b[3]"},
        {"comments below an optional element are not walked",
         "<a><!--Optional--><b><!-- ${c} --><d>${x}</d></b></a>", "x=/a/b/d?"},
        {"a marker below an optional element changes nothing",
         "<a><!--Optional--><b><!--Optional--><c>${x}</c></b></a>", "x=/a/b/c?"},
    };
    for (const auto& row : rows) EXPECT_EQ(collected(row.xml), row.expected) << row.label;
}

// The comment, trimmed, marks when its first eight characters read
// "optional" in any case.
TEST(CollectTest, OptionalMarkers) {
    const struct {
        const char* comment;
        bool marks;
    } rows[] = {
        {" OPTIONAL ", true},      {"optional, see notes", true}, {"Optional", true},
        {"\n\t oPtIoNaL\n", true}, {"Optionally", true},          {"Option", false},
        {"not optional", false},   {"Opt ional", false},          {"", false},
        {" - optional", false},    {"Optiona l", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(collected("<a><!--" + std::string(row.comment) + "--><b>${x}</b></a>"),
                  row.marks ? "x=/a/b?" : "x=/a/b")
            << "comment: [" << row.comment << "]";
    }
}

TEST(CollectTest, FailuresReportTheirMessage) {
    const struct {
        const char* label;
        const char* xml;
        std::string message;
    } rows[] = {
        {"two variables in an element text", "<a><b>${x}${y}</b></a>",
         libxml(NQ_MSG_MANY_VARIABLES, "/a/b", "Element")},
        {"text around a child is joined", "<a>${x}<b/>${y}</a>",
         libxml(NQ_MSG_MANY_VARIABLES, "/a", "Element")},
        {"two variables in an attribute value", R"(<a><b/><b c="${x} ${y}"/></a>)",
         libxml(NQ_MSG_MANY_VARIABLES, "/a/b[2]", "Attribute")},
        {"names differing in case, second one reported", "<a><b>${abc}</b><c>${ABC}</c></a>",
         libxml(NQ_MSG_VARIABLE_TWICE, "ABC")},
        {"text before attributes", R"(<a x="${n}">${N}</a>)", libxml(NQ_MSG_VARIABLE_TWICE, "n")},
        {"same name in two elements", "<a><b>${v}</b><b>${v}</b></a>", libxml(NQ_MSG_VARIABLE_TWICE, "v")},
        {"clash below an optional element", "<a><b>${v}</b><!--optional--><c><d>${V?}</d></c></a>",
         libxml(NQ_MSG_VARIABLE_TWICE, "V")},
    };
    for (const auto& row : rows) EXPECT_EQ(collected(row.xml), "failed: " + row.message) << row.label;
}

TEST(CollectTest, FailureStopsTheWalkAndKeepsEarlierRecords) {
    NqDomTemplateImpl tpl;
    NqbString error;
    EXPECT_FALSE(
        NqDomTemplateTestPeer::collect(tpl, "<a><b>${first}</b><c>${x}${y}</c><d>${later}</d></a>", &error));
    // The record made before the failure stays for the destructor; the walk
    // never reached the element after the failing one.
    EXPECT_EQ(describeVariables(tpl), "first=/a/b");
}

}  // namespace
