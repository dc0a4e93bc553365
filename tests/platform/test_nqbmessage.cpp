#include "nqxbase.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

template <typename... Args>
std::string message(const char* catalogue, int id, Args... args) {
    return nqb_get_message(__FILE__, __LINE__, catalogue, id, args...).asCstr();
}

// Every text as a host sees it; the call site is not part of it.
TEST(NqbMessage, TextsWithTheirArguments) {
    const std::string longPath = "/" + std::string(5000, 'd');
    const std::pair<std::string, std::string> cases[] = {
        {message("LibXML", 97, "in.xml"), "LibXML 97: not all of file \"in.xml\" could be read"},
        {message("LibXML", 282), "LibXML 282: no DOM implementation for the feature \"Core\""},
        {message("LibXML", 336), "LibXML 336: the file to read is empty"},
        {message("LibXML", 341, 17), "LibXML 341: parsing failed: DOM exception 17"},
        {message("LibXML", 342, 5), "LibXML 342: creating a new document failed: DOM exception 5"},
        {message("LibXML", 343, 12), "LibXML 343: serializing failed: DOM exception 12"},
        {message("LibXML", 344), "LibXML 344: nothing to serialize: there is no current document"},
        {message("LibXML", 444), "LibXML 444: out of memory"},
        {message("LibXML", 463, "o.xml"),
         "LibXML 463: not all of the text could be written to file \"o.xml\""},
        {message("LibXML", 471, "wrong"), "LibXML 471: importing a node failed: wrong"},
        {message("LibXML", 1041, static_cast<const char*>(nullptr)),
         "LibXML 1041: cannot open file \"(null)\" for reading"},
        {message("LibXML", 1042, "/no"), "LibXML 1042: cannot open file \"/no\" for writing"},
        {message("LibXML", 1420), "LibXML 1420: variable index out of range"},
        {message("LibXML", 1666, "p"), "LibXML 1666: variable name \"p\" is used twice"},
        {message("LibXML", 1762, "a"),
         "LibXML 1762: variable \"a\" of the skeleton text is not in the skeleton document"},
        {message("LibXML", 1764, "/a/b[2]", "Attribute"),
         "LibXML 1764: more than one variable in /a/b[2] (Attribute)"},
        {message("LibXML", 1765),
         "LibXML 1765: the skeleton text and the skeleton document hold different numbers of variables"},
        {message("LibXML", 1766), "LibXML 1766: the template has no root element"},
        {message("Data flow", 288),
         "Data flow 288: not a configuration document: the root element is not \"norquilldocument\""},
        {message("Data flow", 289),
         "Data flow 289: configuration document: attribute \"class\" is not \"config\""},
        {message("Data flow", 290),
         "Data flow 290: configuration document: \"version\" is outside 1.0 to 1.999"},
        {message("Base", 2001, 31), "Base 2001: unterminated variable reference at offset 31"},
        {message("Base", 2002, "a b", 4), "Base 2002: invalid variable name \"a b\" at offset 4"},
        {message("Base", 2003, 9), "Base 2003: variable index 9 out of range"},
        {message("Base", 2004, "host"), "Base 2004: required variable \"host\" has no value"},
        {message("Base", 2005), "Base 2005: nothing to render: no text was initialised"},
        // Unknown ids, ids of another catalogue, catalogue names in another case.
        {message("Data flow", 999, "ignored"), "Data flow 999: unknown message"},
        {message("LibXML", 288), "LibXML 288: unknown message"},
        {message("libxml", 97), "libxml 97: unknown message"},
        {message(static_cast<const char*>(nullptr), -5), "(null) -5: unknown message"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(text, expected);
    EXPECT_EQ(message("LibXML", 463, longPath.c_str()),
              "LibXML 463: not all of the text could be written to file \"" + longPath + "\"");
}

}  // namespace
