#include "nqxbase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace {

struct Release {
    void operator()(NqbBasicTemplate* t) const { t->release(); }
};
using TemplatePtr = std::unique_ptr<NqbBasicTemplate, Release>;

class MapValues : public NqbTemplateValueCB {
public:
    MapValues(std::initializer_list<std::pair<const std::string, std::string>> values) : values(values) {}
    bool getValue(const NqbString& name, NqbString* value) override {
        ++calls;
        const auto it = values.find(name.asCstr());
        if (it != values.end()) value->assign(it->second.c_str());
        return it != values.end();
    }
    std::map<std::string, std::string> values;
    int calls = 0;
};

TemplatePtr create(NqbTemplateValueCB* callback = nullptr) {
    TemplatePtr t(nqbCreateBasicTemplate(callback, nullptr));
    EXPECT_NE(t, nullptr);
    return t;
}

// The variables in order, space-separated, an optional one marked with '?'.
std::string variablesOf(NqbBasicTemplate& t) {
    std::string found;
    for (int i = 0; i < t.getVariableCount(); ++i) {
        bool optional = false;
        const NqbString name = t.getVariableName(i, &optional, nullptr);
        EXPECT_FALSE(name.isNull()) << i;
        found += (i ? " " : "") + std::string(name.asCstr()) + (optional ? "?" : "");
    }
    return found;
}

// A message opens with its catalogue and id, e.g. "Base 2004: ".
bool hasMessage(const NqbString& error, const char* prefix, const std::string& mentions) {
    const std::string text = error.asCstr();
    return text.rfind(prefix, 0) == 0 && text.find(mentions) != std::string::npos;
}

// Rows: text, its variables, its skeleton. The skeleton writes every variable `${name}` and keeps the rest.
TEST(BasicTemplate, VariablesInOrderOfFirstAppearanceAndSkeleton) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"${a}", "a", "${a}"},
        {"${a?}", "a?", "${a}"},
        {"${a}${b?}${a?}", "a b?", "${a}${b}${a}"},
        {"${a?}${a}", "a?", "${a}${a}"},
        {"${A}${a}", "A a", "${A}${a}"},
        {"${_a-b.9Z}", "_a-b.9Z", "${_a-b.9Z}"},
        {"$${a}", "", "$${a}"},
        {"$$${a?}", "a?", "$$${a}"},
        {"5$ ${a?}$", "a?", "5$ ${a}$"},
        {"$ {a} $a {b}", "", "$ {a} $a {b}"},
        {"<e at=\"${v?}\"/>\r\n", "v?", "<e at=\"${v}\"/>\r\n"},
    };
    auto t = create();
    auto again = create();
    for (const auto& [text, variables, skeleton] : cases) {
        NqbString error;
        ASSERT_TRUE(t->init(NqbString(text), &error)) << text << ": " << error.asCstr();
        EXPECT_EQ(variablesOf(*t), variables) << text;
        EXPECT_STREQ(t->getSkeleton(&error).asCstr(), skeleton);
        EXPECT_TRUE(error.isNull()) << text;

        // Fed back, the skeleton names the same variables, now all required.
        ASSERT_TRUE(again->init(t->getSkeleton(nullptr), nullptr)) << skeleton;
        std::string required = variables;
        required.erase(std::remove(required.begin(), required.end(), '?'), required.end());
        EXPECT_EQ(variablesOf(*again), required) << skeleton;
        EXPECT_STREQ(again->getSkeleton(nullptr).asCstr(), skeleton);
    }
}

TEST(BasicTemplate, MalformedReferencesFailAndLeaveNoVariables) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"abc ${name", "Base 2001: ", "offset 4"},
        {"${}", "Base 2002: ", "\"\""},
        {"x${a b}", "Base 2002: ", "\"a b\""},
        {"${1a}", "Base 2002: ", "\"1a\""},
        {"${?}", "Base 2002: ", "\"?\""},
        {"${a${b}", "Base 2002: ", "\"a${b\""},
        {"${ok} ${bad name?}", "Base 2002: ", "offset 6"},
    };
    auto t = create();
    for (const auto& [text, prefix, mentions] : cases) {
        ASSERT_TRUE(t->init(NqbString("${before}"), nullptr));
        NqbString error, skeletonError;
        EXPECT_FALSE(t->init(NqbString(text), &error)) << text;
        EXPECT_TRUE(hasMessage(error, prefix, mentions)) << text << " gave " << error.asCstr();
        EXPECT_EQ(t->getVariableCount(), 0) << text;
        EXPECT_TRUE(t->getSkeleton(&skeletonError).isNull()) << text;
        EXPECT_FALSE(skeletonError.isNull());
    }
    EXPECT_FALSE(t->init(NqbString("${"), nullptr)) << "a null error pointer is accepted";
}

TEST(BasicTemplate, OutOfRangeIndexGivesNullAndMessage) {
    auto t = create();
    ASSERT_TRUE(t->init(NqbString("${a?}"), nullptr));
    for (int index : {-1, 1, 1000}) {
        bool optional = false;
        NqbString error;
        EXPECT_TRUE(t->getVariableName(index, &optional, &error).isNull());
        EXPECT_FALSE(optional) << "optional flag written for index " << index;
        EXPECT_TRUE(hasMessage(error, "Base 2003: ", std::to_string(index))) << error.asCstr();
    }
    EXPECT_STREQ(t->getVariableName(0, nullptr, nullptr).asCstr(), "a");
}

// Rows: text, rendered text, values asked for.
TEST(BasicTemplate, RenderAsksOncePerVariable) {
    MapValues values({{"a", "1"}, {"b", "x$y"}, {"empty", ""}, {"brace", "${a}"}});
    const std::tuple<const char*, const char*, int> cases[] = {
        {"${a}-$$-${b}", "1-$-x$y", 2},
        {"[${empty}]", "[]", 1},
        {"[${missing?}]", "[]", 1},
        {"${a}${a?}${a}", "111", 1},
        {"${brace}", "${a}", 1},
        {"lone $ and $$$$", "lone $ and $$", 0},
        {"", "", 0},
    };
    auto t = create(&values);
    for (const auto& [text, rendered, asks] : cases) {
        ASSERT_TRUE(t->init(NqbString(text), nullptr)) << text;
        values.calls = 0;
        NqbString error;
        const NqbString out = t->render(&error);
        EXPECT_FALSE(out.isNull()) << text << ": " << error.asCstr();
        EXPECT_STREQ(out.asCstr(), rendered) << text;
        EXPECT_TRUE(error.isNull()) << text;
        EXPECT_EQ(values.calls, asks) << text;
    }
}

TEST(BasicTemplate, RenderWithoutAValue) {
    MapValues values({{"a", "1"}});
    auto withValues = create(&values);
    auto withoutCallback = create(nullptr);
    for (NqbBasicTemplate* t : {withValues.get(), withoutCallback.get()}) {
        ASSERT_TRUE(t->init(NqbString("<${x?}|${y?}>"), nullptr));
        EXPECT_STREQ(t->render(nullptr).asCstr(), "<|>");
        ASSERT_TRUE(t->init(NqbString("${a?} ${host} ${a}"), nullptr));
        NqbString error;
        EXPECT_TRUE(t->render(&error).isNull());
        EXPECT_TRUE(hasMessage(error, "Base 2004: ", "\"host\"")) << error.asCstr();
    }
}

TEST(BasicTemplate, EachInitReplacesEverything) {
    auto t = create();
    NqbString renderError, skeletonError;
    EXPECT_TRUE(t->render(&renderError).isNull());
    EXPECT_TRUE(t->getSkeleton(&skeletonError).isNull());
    EXPECT_TRUE(hasMessage(renderError, "Base 2005: ", "")) << renderError.asCstr();
    EXPECT_TRUE(hasMessage(skeletonError, "Base 2005: ", "")) << skeletonError.asCstr();

    ASSERT_TRUE(t->init(NqbString("${a}${b?}"), nullptr));
    ASSERT_TRUE(t->init(NqbString("${c} $$"), nullptr));
    EXPECT_EQ(variablesOf(*t), "c");
    EXPECT_STREQ(t->getSkeleton(nullptr).asCstr(), "${c} $$");
    ASSERT_TRUE(t->init(NqbString(), nullptr));
    EXPECT_EQ(t->getVariableCount(), 0);
    EXPECT_STREQ(t->getSkeleton(nullptr).asCstr(), "");

    ASSERT_FALSE(t->init(NqbString("${"), nullptr));
    renderError.setNull();
    EXPECT_TRUE(t->render(&renderError).isNull())
        << "the text of an earlier init must not survive a failed one";
    EXPECT_FALSE(renderError.isNull());
}

}  // namespace
