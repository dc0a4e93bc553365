#include "nqxbase.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

template <typename... Args>
std::string message(const char* catalogue, int id, Args... args) {
    return nqb_get_message(__FILE__, __LINE__, catalogue, id, args...).asCstr();
}

// Texts as a host sees them; the call site is not part of them. The texts the
// library reports are checked where it reports them.
TEST(NqbMessage, TextsWithTheirArguments) {
    const std::string longPath = "/" + std::string(5000, 'd');
    const std::pair<std::string, std::string> cases[] = {
        {message("LibXML", 282), "LibXML 282: no DOM implementation for the feature \"Core\""},
        {message("LibXML", 1041, static_cast<const char*>(nullptr)),
         "LibXML 1041: cannot open file \"(null)\" for reading"},
        {message("LibXML", 1042, longPath.c_str()),
         "LibXML 1042: cannot open file \"" + longPath + "\" for writing"},
        // Unknown ids, ids of another catalogue, catalogue names in another case.
        {message("Data flow", 999, "ignored"), "Data flow 999: unknown message"},
        {message("LibXML", 288), "LibXML 288: unknown message"},
        {message("libxml", 97), "libxml 97: unknown message"},
        {message(nullptr, -5), "(null) -5: unknown message"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(text, expected);
}

}  // namespace
