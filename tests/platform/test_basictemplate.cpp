#include "nqxbase.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <tuple>

namespace {

const auto release = [](NqbBasicTemplate* t) { t->release(); };
using TemplatePtr = std::unique_ptr<NqbBasicTemplate, void (*)(NqbBasicTemplate*)>;

struct MapValues : NqbTemplateValueCB {
    bool getValue(const NqbString& name, NqbString* value) override {
        ++calls;
        const auto it = values.find(name.asCstr());
        if (it != values.end()) value->assign(it->second.c_str());
        return it != values.end();
    }
    std::map<std::string, std::string> values{{"a", "1"}, {"b", "x$y"}, {"empty", ""}, {"brace", "${a}"}};
    int calls = 0;
};

std::string str(const NqbString& s) {
    return s.isNull() ? "<null>" : s.asCstr();
}

// The variables in order, space-separated, an optional one marked with '?'.
std::string variablesOf(NqbBasicTemplate& t) {
    std::string found;
    for (int i = 0; i < t.getVariableCount(); ++i) {
        bool optional = false;
        const NqbString name = t.getVariableName(i, &optional, nullptr);
        found += (i ? " " : "") + str(name) + (optional ? "?" : "");
    }
    return found;
}

// Rows: text, its variables, its skeleton, then what render gives (or its error) and the values it asked for.
TEST(BasicTemplate, InitSkeletonAndRender) {
    const std::tuple<const char*, const char*, const char*, const char*, int> cases[] = {
        {"${a}-$$-${b}", "a b", "${a}-$$-${b}", "1-$-x$y", 2},
        {"${a}${b?}${a?}${b}", "a b?", "${a}${b}${a}${b}", "1x$y1x$y", 2},
        {"[${missing?}|${empty}]", "missing? empty", "[${missing}|${empty}]", "[|]", 2},
        {"${a?} ${host}", "a? host", "${a} ${host}", "Base 2004: required variable \"host\" has no value", 2},
        {"${A?}${_a-b.9Z?}", "A? _a-b.9Z?", "${A}${_a-b.9Z}", "", 2},
        {"${brace}", "brace", "${brace}", "${a}", 1},
        {"5$ ${a?}$ $$${a}", "a?", "5$ ${a}$ $$${a}", "5$ 1$ $1", 1},
        {"$ {a} $a {b}", "", "$ {a} $a {b}", "$ {a} $a {b}", 0},
    };
    MapValues values;
    TemplatePtr t(nqbCreateBasicTemplate(&values, nullptr), release);
    for (const auto& [text, variables, skeleton, rendered, asks] : cases) {
        SCOPED_TRACE(text);
        NqbString error;
        ASSERT_TRUE(t->init(NqbString(text), &error)) << str(error);
        EXPECT_EQ(variablesOf(*t), variables);
        EXPECT_EQ(str(t->getSkeleton(&error)), skeleton);
        values.calls = 0;
        const NqbString out = t->render(&error);
        EXPECT_EQ(out.isNull() ? str(error) : str(out), rendered);
        EXPECT_EQ(error.isNull(), !out.isNull());
        EXPECT_EQ(values.calls, asks);
    }
}

// A failed init leaves nothing of the earlier text: no variables, and no skeleton or rendering.
TEST(BasicTemplate, FailuresGiveTheirMessage) {
    const std::pair<const char*, const char*> cases[] = {
        {"abc ${name", "Base 2001: unterminated variable reference at offset 4"},
        {"${}", "Base 2002: invalid variable name \"\" at offset 0"},
        {"x${1a}", "Base 2002: invalid variable name \"1a\" at offset 1"},
        {"${ok} ${?}", "Base 2002: invalid variable name \"?\" at offset 6"},
        {"${a${b}", "Base 2002: invalid variable name \"a${b\" at offset 0"},
    };
    TemplatePtr t(nqbCreateBasicTemplate(nullptr, nullptr), release);
    NqbString error;
    EXPECT_EQ(str(t->render(&error)), "<null>");
    EXPECT_EQ(str(error), "Base 2005: nothing to render: no text was initialised");
    for (const auto& [text, message] : cases) {
        ASSERT_TRUE(t->init(NqbString("${before?}"), nullptr));
        EXPECT_FALSE(t->init(NqbString(text), &error)) << text;
        EXPECT_EQ(str(error), message);
        EXPECT_EQ(t->getVariableCount(), 0) << text;
        EXPECT_TRUE(t->getSkeleton(&error).isNull());
        EXPECT_EQ(str(error), "Base 2005: nothing to render: no text was initialised");
        EXPECT_EQ(str(t->render(nullptr)), "<null>") << text;
    }
    // Without a callback only optional variables can be rendered.
    ASSERT_TRUE(t->init(NqbString("<${a?}>"), nullptr));
    EXPECT_EQ(str(t->render(nullptr)), "<>");
    for (int index : {-1, 1}) {
        EXPECT_EQ(str(t->getVariableName(index, nullptr, &error)), "<null>");
        EXPECT_EQ(str(error), "Base 2003: variable index " + std::to_string(index) + " out of range");
    }
    ASSERT_TRUE(t->init(NqbString("${y}"), nullptr));
    EXPECT_EQ(str(t->render(nullptr)), "<null>");
}

}  // namespace
