#include "nqxbase.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace {

template <typename... Args>
std::string message(const char* catalogue, int id, Args... args) {
    return nqb_get_message(__FILE__, __LINE__, catalogue, id, args...).asCstr();
}
#define MSG(...) [] { return message(__VA_ARGS__); }

TEST(NqbMessage, EveryIdHasItsOwnTextWithItsArguments) {
    const struct {
        const char* prefix;                  // catalogue and id as they open the text
        std::function<std::string()> call;   // one call with the message's arguments
        std::vector<std::string> arguments;  // texts that must appear in the result
    } cases[] = {
        {"LibXML 97: ", MSG("LibXML", 97, "in.xml"), {"\"in.xml\""}},
        {"LibXML 282: ", MSG("LibXML", 282), {"Core"}},
        {"LibXML 336: ", MSG("LibXML", 336), {}},
        {"LibXML 341: ", MSG("LibXML", 341, 17), {"17"}},
        {"LibXML 342: ", MSG("LibXML", 342, 5), {"5"}},
        {"LibXML 343: ", MSG("LibXML", 343, 12), {"12"}},
        {"LibXML 344: ", MSG("LibXML", 344), {}},
        {"LibXML 444: ", MSG("LibXML", 444), {}},
        {"LibXML 463: ", MSG("LibXML", 463, "out.xml"), {"\"out.xml\""}},
        {"LibXML 471: ", MSG("LibXML", 471, "wrong document"), {"wrong document"}},
        {"LibXML 1041: ", MSG("LibXML", 1041, "/no/such"), {"\"/no/such\"", "reading"}},
        {"LibXML 1042: ", MSG("LibXML", 1042, "/no/such"), {"\"/no/such\"", "writing"}},
        {"LibXML 1420: ", MSG("LibXML", 1420), {}},
        {"LibXML 1666: ", MSG("LibXML", 1666, "price"), {"\"price\""}},
        {"LibXML 1762: ", MSG("LibXML", 1762, "amount"), {"\"amount\""}},
        {"LibXML 1764: ", MSG("LibXML", 1764, "/a/b[2]", "Attribute"), {"/a/b[2]", "Attribute"}},
        {"LibXML 1765: ", MSG("LibXML", 1765), {}},
        {"LibXML 1766: ", MSG("LibXML", 1766), {}},
        {"Data flow 288: ", MSG("Data flow", 288), {"norquilldocument"}},
        {"Data flow 289: ", MSG("Data flow", 289), {"class"}},
        {"Data flow 290: ", MSG("Data flow", 290), {"version"}},
        {"Base 2001: ", MSG(NQB_CATALOGUE_BASE, NQB_MSG_UNTERMINATED_VARIABLE, 31), {"31"}},
        {"Base 2002: ", MSG(NQB_CATALOGUE_BASE, NQB_MSG_BAD_VARIABLE_NAME, "a b", 4), {"\"a b\"", "4"}},
        {"Base 2003: ", MSG(NQB_CATALOGUE_BASE, NQB_MSG_VARIABLE_INDEX, 9), {"9"}},
        {"Base 2004: ", MSG(NQB_CATALOGUE_BASE, NQB_MSG_VARIABLE_WITHOUT_VALUE, "host"), {"\"host\""}},
        {"Base 2005: ", MSG(NQB_CATALOGUE_BASE, NQB_MSG_NO_TEXT), {}},
    };
    std::set<std::string> seen;
    for (const auto& c : cases) {
        const std::string text = c.call();
        EXPECT_EQ(text.rfind(c.prefix, 0), 0u) << text;
        EXPECT_GT(text.size(), std::string(c.prefix).size() + 5) << text;
        EXPECT_EQ(text.find("unknown message"), std::string::npos) << text;
        EXPECT_EQ(text.find('%'), std::string::npos) << "unfilled placeholder in " << text;
        for (const std::string& argument : c.arguments) {
            EXPECT_NE(text.find(argument), std::string::npos) << argument << " missing from " << text;
        }
        seen.insert(text.substr(text.find(": ")));
    }
    EXPECT_EQ(seen.size(), sizeof cases / sizeof cases[0]) << "two ids share a text";
}

TEST(NqbMessage, UnknownIdsAndCataloguesAreNamed) {
    EXPECT_EQ(message("Data flow", 999, "ignored"), "Data flow 999: unknown message");
    EXPECT_EQ(message("LibXML", 288, "ignored"), "LibXML 288: unknown message")
        << "an id of another catalogue";
    EXPECT_EQ(message("NoSuchCatalogue", 97), "NoSuchCatalogue 97: unknown message");
    EXPECT_EQ(message("libxml", 97), "libxml 97: unknown message") << "catalogue names are case-sensitive";
    EXPECT_EQ(message("LibXML", -1), "LibXML -1: unknown message");
    EXPECT_EQ(message(nullptr, 5), "(null) 5: unknown message");
}

TEST(NqbMessage, Arguments) {
    EXPECT_EQ(message("LibXML", 1041, static_cast<const char*>(nullptr)),
              "LibXML 1041: cannot open file \"(null)\" for reading");
    const std::string path = "/" + std::string(5000, 'd') + "/file.xml";
    const std::string text = message("LibXML", 463, path.c_str());
    EXPECT_NE(text.find("\"" + path + "\""), std::string::npos) << "long arguments are kept whole";

    const NqbString first = nqb_get_message("a.cpp", 10, "LibXML", 1041, "f.xml");
    const NqbString second = nqb_get_message("b.cpp", 999, "LibXML", 1041, "f.xml");
    EXPECT_EQ(first.compare(second, true), 0) << "the call site is not part of the text";
    EXPECT_EQ(std::string(first.asCstr()).find("a.cpp"), std::string::npos);
}

}  // namespace
