#include "nqxbase.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Release {
    void operator()(NqbBasicTemplate* t) const { t->release(); }
};
using TemplatePtr = std::unique_ptr<NqbBasicTemplate, Release>;

class MapValues : public NqbTemplateValueCB {
public:
    MapValues(std::initializer_list<std::pair<const std::string, std::string>> values) : m_values(values) {}
    bool getValue(const NqbString& name, NqbString* value) override {
        ++calls;
        const auto it = m_values.find(name.asCstr());
        if (it == m_values.end()) return false;
        value->assign(it->second.c_str());
        return true;
    }
    int calls = 0;

private:
    std::map<std::string, std::string> m_values;
};

TemplatePtr create(NqbTemplateValueCB* callback = nullptr) {
    NqbString error;
    TemplatePtr t(nqbCreateBasicTemplate(callback, &error));
    EXPECT_NE(t, nullptr) << error.asCstr();
    EXPECT_TRUE(error.isNull());
    return t;
}

using Variables = std::vector<std::pair<std::string, bool>>;

Variables variablesOf(NqbBasicTemplate& t) {
    Variables found;
    for (int i = 0; i < t.getVariableCount(); ++i) {
        bool optional = false;
        NqbString error;
        const NqbString name = t.getVariableName(i, &optional, &error);
        EXPECT_FALSE(name.isNull()) << error.asCstr();
        found.emplace_back(name.asCstr(), optional);
    }
    return found;
}

TEST(BasicTemplateInit, FindsVariablesInOrderOfFirstAppearance) {
    const struct {
        const char* text;
        Variables expected;
    } cases[] = {
        {"", {}},
        {"plain text", {}},
        {"${a}", {{"a", false}}},
        {"${a?}", {{"a", true}}},
        {"x ${a} y ${b?} z ${a?}", {{"a", false}, {"b", true}}},
        {"${a?}${a}", {{"a", true}}},
        {"${b}${a}${b}", {{"b", false}, {"a", false}}},
        {"${A}${a}", {{"A", false}, {"a", false}}},
        {"${_x}${a-b.c1}${Z9}", {{"_x", false}, {"a-b.c1", false}, {"Z9", false}}},
        {"$$", {}},
        {"$${a}", {}},
        {"$$$${a}", {}},
        {"$$$${a}$", {}},
        {"$$${a}", {{"a", false}}},
        {"cost: 5$ ${a}", {{"a", false}}},
        {"${a}$", {{"a", false}}},
        {"$ {a} $a {b}", {}},
        {"<v x=\"${attr}\">${text?}</v>", {{"attr", false}, {"text", true}}},
    };
    auto t = create();
    for (const auto& c : cases) {
        NqbString error;
        ASSERT_TRUE(t->init(NqbString(c.text), &error)) << c.text << ": " << error.asCstr();
        EXPECT_TRUE(error.isNull()) << c.text;
        EXPECT_EQ(variablesOf(*t), c.expected) << c.text;
    }
}

TEST(BasicTemplateInit, MalformedReferencesFailAndLeaveNoVariables) {
    const struct {
        const char* text;
        const char* messageStart;
        const char* mentions;
    } cases[] = {
        {"${", "Base 2001: ", "offset 0"},      {"abc ${name", "Base 2001: ", "offset 4"},
        {"${}", "Base 2002: ", "\"\""},         {"x${a b}", "Base 2002: ", "\"a b\""},
        {"${1a}", "Base 2002: ", "\"1a\""},     {"${?}", "Base 2002: ", "\"?\""},
        {"${a??}", "Base 2002: ", "\"a??\""},   {"${-a}", "Base 2002: ", "\"-a\""},
        {"${a${b}", "Base 2002: ", "\"a${b\""}, {"${ok} ${bad name?}", "Base 2002: ", "offset 6"},
    };
    auto t = create();
    for (const auto& c : cases) {
        ASSERT_TRUE(t->init(NqbString("${before}"), nullptr));
        ASSERT_EQ(t->getVariableCount(), 1);
        NqbString error;
        EXPECT_FALSE(t->init(NqbString(c.text), &error)) << c.text;
        const std::string text = error.asCstr();
        EXPECT_EQ(text.rfind(c.messageStart, 0), 0u) << c.text << " gave " << text;
        EXPECT_NE(text.find(c.mentions), std::string::npos) << c.text << " gave " << text;
        EXPECT_EQ(t->getVariableCount(), 0) << c.text;
        NqbString skeletonError;
        EXPECT_TRUE(t->getSkeleton(&skeletonError).isNull()) << c.text;
        EXPECT_FALSE(skeletonError.isNull());
    }
    EXPECT_FALSE(t->init(NqbString("${"), nullptr)) << "a null error pointer is accepted";
}

TEST(BasicTemplateInit, EachInitReplacesEverything) {
    auto t = create();
    ASSERT_TRUE(t->init(NqbString("${a}${b?}"), nullptr));
    ASSERT_TRUE(t->init(NqbString("${c} $$"), nullptr));
    EXPECT_EQ(variablesOf(*t), (Variables{{"c", false}}));
    EXPECT_STREQ(t->getSkeleton(nullptr).asCstr(), "${c} $$");
    ASSERT_TRUE(t->init(NqbString(), nullptr));
    EXPECT_EQ(t->getVariableCount(), 0);
    EXPECT_STREQ(t->getSkeleton(nullptr).asCstr(), "");
}

TEST(BasicTemplateVariables, OutOfRangeIndexGivesNullAndMessage) {
    auto t = create();
    ASSERT_TRUE(t->init(NqbString("${a?}"), nullptr));
    for (int index : {-1, 1, 1000}) {
        bool optional = false;
        NqbString error;
        EXPECT_TRUE(t->getVariableName(index, &optional, &error).isNull());
        EXPECT_FALSE(optional) << "optional flag written for index " << index;
        const std::string text = error.asCstr();
        EXPECT_EQ(text.rfind("Base 2003: ", 0), 0u) << text;
        EXPECT_NE(text.find(std::to_string(index)), std::string::npos) << text;
    }
    EXPECT_STREQ(t->getVariableName(0, nullptr, nullptr).asCstr(), "a");
}

TEST(BasicTemplateSkeleton, DropsOptionalMarksAndKeepsTheRest) {
    const struct {
        const char* text;
        const char* skeleton;
    } cases[] = {
        {"x ${a?} $$ $ ${b}", "x ${a} $$ $ ${b}"},
        {"${a?}${a}", "${a}${a}"},
        {"<e at=\"${v?}\"/>\r\n", "<e at=\"${v}\"/>\r\n"},
        {"no variables", "no variables"},
        {"$$${a?}$", "$$${a}$"},
    };
    auto t = create();
    auto again = create();
    for (const auto& c : cases) {
        ASSERT_TRUE(t->init(NqbString(c.text), nullptr)) << c.text;
        NqbString error;
        const NqbString skeleton = t->getSkeleton(&error);
        EXPECT_STREQ(skeleton.asCstr(), c.skeleton);
        EXPECT_TRUE(error.isNull());

        // Fed back, the skeleton names the same variables, now all required.
        ASSERT_TRUE(again->init(skeleton, nullptr)) << c.skeleton;
        Variables names = variablesOf(*t);
        for (auto& v : names) v.second = false;
        EXPECT_EQ(variablesOf(*again), names) << c.skeleton;
        EXPECT_STREQ(again->getSkeleton(nullptr).asCstr(), c.skeleton);
    }
}

TEST(BasicTemplateSkeleton, BeforeInitIsNull) {
    auto t = create();
    NqbString error;
    EXPECT_TRUE(t->getSkeleton(&error).isNull());
    EXPECT_EQ(std::string(error.asCstr()).rfind("Base 2005: ", 0), 0u);
}

TEST(BasicTemplateRender, ReplacesVariablesAndDollars) {
    MapValues values({{"a", "1"}, {"b", "x$y"}, {"empty", ""}, {"brace", "${a}"}});
    const struct {
        const char* text;
        const char* rendered;
    } cases[] = {
        {"${a}-$$-${b}", "1-$-x$y"},
        {"[${empty}]", "[]"},
        {"[${missing?}]", "[]"},
        {"${a}${a?}${a}", "111"},
        {"${brace}", "${a}"},
        {"lone $ and $$$$", "lone $ and $$"},
        {"", ""},
    };
    auto t = create(&values);
    for (const auto& c : cases) {
        ASSERT_TRUE(t->init(NqbString(c.text), nullptr)) << c.text;
        NqbString error;
        const NqbString out = t->render(&error);
        EXPECT_FALSE(out.isNull()) << c.text << ": " << error.asCstr();
        EXPECT_STREQ(out.asCstr(), c.rendered) << c.text;
        EXPECT_TRUE(error.isNull()) << c.text;
    }
}

TEST(BasicTemplateRender, AsksOncePerVariable) {
    MapValues values({{"a", "1"}});
    auto t = create(&values);
    ASSERT_TRUE(t->init(NqbString("${a}${a}${a}"), nullptr));
    EXPECT_STREQ(t->render(nullptr).asCstr(), "111");
    EXPECT_EQ(values.calls, 1);
}

TEST(BasicTemplateRender, MissingRequiredValueFails) {
    MapValues values({{"a", "1"}});
    auto withValues = create(&values);
    auto withoutCallback = create(nullptr);
    for (NqbBasicTemplate* t : {withValues.get(), withoutCallback.get()}) {
        ASSERT_TRUE(t->init(NqbString("${a?} ${host} ${a}"), nullptr));
        NqbString error;
        EXPECT_TRUE(t->render(&error).isNull());
        const std::string text = error.asCstr();
        EXPECT_EQ(text.rfind("Base 2004: ", 0), 0u) << text;
        EXPECT_NE(text.find("\"host\""), std::string::npos) << text;
    }
}

TEST(BasicTemplateRender, NullCallbackRendersOptionalsEmpty) {
    auto t = create(nullptr);
    ASSERT_TRUE(t->init(NqbString("<${x?}|${y?}>"), nullptr));
    EXPECT_STREQ(t->render(nullptr).asCstr(), "<|>");
}

TEST(BasicTemplateRender, NeedsASuccessfulInit) {
    auto t = create();
    NqbString error;
    EXPECT_TRUE(t->render(&error).isNull());
    EXPECT_EQ(std::string(error.asCstr()).rfind("Base 2005: ", 0), 0u);

    ASSERT_TRUE(t->init(NqbString("ok"), nullptr));
    ASSERT_FALSE(t->init(NqbString("${"), nullptr));
    error.setNull();
    EXPECT_TRUE(t->render(&error).isNull()) << "the text of an earlier init must not survive a failed one";
    EXPECT_FALSE(error.isNull());
}

}  // namespace
