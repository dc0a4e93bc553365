// The template object's queries, its variable order and the growth of its tables.
#include <gtest/gtest.h>

#include <string>

#include "dom_test_util.h"

namespace {

// Every index query at `index` fails with message 1420 and leaves the bool.
void expectIndexFails(NqDomTemplate& tpl, int index) {
    SCOPED_TRACE(index);
    NqbString error;
    bool optional = true;
    EXPECT_EQ(str(tpl.getVariableName(index, &optional, &error)), "<null>");
    EXPECT_TRUE(optional);
    EXPECT_EQ(str(error), libxml(NQ_MSG_VARIABLE_INDEX));
    error.setNull();
    EXPECT_EQ(str(tpl.getVariableXPath(index, &error)), "<null>");
    EXPECT_EQ(str(error), libxml(NQ_MSG_VARIABLE_INDEX));
}

// Variables b, A, c come back as A, b, c, and by name in any letter case.
TEST(TemplateModelTest, VariablesInCaseInsensitiveNameOrder) {
    NqDom dom;
    NqDomTemplate* empty = dom.getTemplate("<r/>");
    ASSERT_NE(empty, nullptr);
    expectIndexFails(*empty, 0);
    EXPECT_TRUE(empty->getVariableXPath("a").isNull());
    empty->release();

    NqDomTemplate* tpl = dom.getTemplate("<r A=\"${A?}\"><b>${b}</b><c/><c>${c}</c></r>");
    ASSERT_NE(tpl, nullptr) << str(dom.getErrorMessage());
    EXPECT_EQ(describeVariables(*tpl), "A=/r/@A? b=/r/b c=/r/c[2]");
    NqbString error("untouched");
    bool optional = true;
    EXPECT_EQ(str(tpl->getVariableName(2, &optional, &error)), "c");
    EXPECT_FALSE(optional);
    EXPECT_EQ(str(tpl->getVariableXPath(0, &error)), "/r/@A");
    EXPECT_EQ(str(error), "untouched");
    for (int index : {-1, 3, -100}) expectIndexFails(*tpl, index);

    EXPECT_EQ(str(tpl->getVariableXPath("B")), "/r/b");
    EXPECT_EQ(str(tpl->getVariableXPath("a")), "/r/@A");
    // Names ordering between and around the stored ones.
    for (const char* unknown : {"", "0", "aa", "bb", "d"}) {
        EXPECT_TRUE(tpl->getVariableXPath(NqbString(unknown)).isNull()) << unknown;
    }
    tpl->release();
}

// Two digits, so that the DOM's attribute order is the numeric order.
std::string number(int i) {
    return (i < 10 ? "0" : "") + std::to_string(i);
}

// The tables grow by ten slots; every entry survives the copies made while
// growing, and an index past the end gives null strings.
TEST(TemplateModelTest, NamespacesByIndexAcrossGrowth) {
    for (int declarations : {0, 9, 10, 45}) {
        SCOPED_TRACE(declarations);
        std::string text = "<r";
        for (int i = 0; i < declarations; ++i) text += " xmlns:p" + number(i) + "=\"urn:" + number(i) + "\"";
        NqDom dom;
        NqDomTemplate* tpl = dom.getTemplate(NqbString((text + "/>").c_str()));
        ASSERT_NE(tpl, nullptr) << str(dom.getErrorMessage());
        EXPECT_EQ(tpl->getNamespaceCount(), declarations);
        for (int i = -1; i <= declarations; ++i) {
            NqbString prefix("x"), uri("y");
            tpl->getNamespace(i, &prefix, &uri);
            const bool in = i >= 0 && i < declarations;
            EXPECT_EQ(str(prefix) + "=" + str(uri),
                      in ? "p" + number(i) + "=urn:" + number(i) : "<null>=<null>");
        }
        tpl->release();
    }
    // Eleven nested declarations of one prefix: two table entries, but the
    // scope stack holds all eleven at the innermost element.
    std::string text, close, path;
    for (int i = 0; i < 11; ++i) {
        text += "<p:e xmlns:p=\"urn:" + std::to_string(i % 2) + "\">";
        close += "</p:e>";
        path += i % 2 ? "/nq1ns:e" : "/p:e";
    }
    NqDom dom;
    NqDomTemplate* tpl = dom.getTemplate(NqbString((text + "${x}" + close).c_str()));
    ASSERT_NE(tpl, nullptr) << str(dom.getErrorMessage());
    EXPECT_EQ(tpl->getNamespaceCount(), 2);
    EXPECT_EQ(str(tpl->getVariableXPath("x")), path);
    tpl->release();
}

}  // namespace
