// Start-up, shut-down and the build identity.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLString.hpp>

#include "nqdom.h"
#include "nqdomxhelper/nqdomstartup_internal.h"

XERCES_CPP_NAMESPACE_USE

namespace {

// The message the engine builds for a failure carrying `detail`.
XMLPlatformUtilsException engineFailure(const std::string& detail) {
    return XMLPlatformUtilsException(__FILE__, __LINE__, XMLExcepts::File_CouldNotOpenFile, detail.c_str(),
                                     nullptr, nullptr, nullptr, XMLPlatformUtils::fgMemoryManager);
}

std::string messageOf(const XMLException& failure) {
    char* text = XMLString::transcode(failure.getMessage(), XMLPlatformUtils::fgMemoryManager);
    std::string result(text);
    XMLString::release(&text, XMLPlatformUtils::fgMemoryManager);
    return result;
}

TEST(BuildIdentity, GlobalsHoldTheBuild) {
    EXPECT_EQ(nqx_build_number, 32);
    EXPECT_STREQ(nqx_build_info, "DOM Library version 2.8 (build 32)");
    EXPECT_STREQ(nqx_build_version, "2.8");
}

TEST(Startup, SuccessLeavesTheErrorPointerAlone) {
    char sentinel[] = "untouched";
    char* errorText = sentinel;
    ASSERT_EQ(nqDomStartup(nullptr, &errorText), 0);
    nqDomShutdown();
    EXPECT_EQ(errorText, sentinel);
    EXPECT_STREQ(sentinel, "untouched");
}

TEST(Startup, PairsNestWithTheRunningEngine) {
    char* errorText = nullptr;
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(nqDomStartup(nullptr, &errorText), 0);
        nqDomShutdown();
    }
    // The test main's start-up still holds the engine up.
    NqXMLTranscoder transcoder;
    EXPECT_STREQ(transcoder.toNqb(transcoder.fromC("still up")).asCstr(), "still up");
}

TEST(StartupFailure, ShortMessageIsCopiedWhole) {
    const XMLPlatformUtilsException failure = engineFailure("settings.xml");
    const std::string expected = messageOf(failure);
    ASSERT_LT(expected.size(), 255u);
    ASSERT_NE(expected.find("settings.xml"), std::string::npos);

    char* errorText = nullptr;
    EXPECT_EQ(nqDomStartupFailed(failure, &errorText), 1);
    ASSERT_NE(errorText, nullptr);
    EXPECT_EQ(std::string(errorText), expected);
}

TEST(StartupFailure, LongMessageIsCutTo255Bytes) {
    const XMLPlatformUtilsException failure = engineFailure(std::string(400, 'x'));
    const std::string full = messageOf(failure);
    ASSERT_GT(full.size(), 255u);

    char* errorText = nullptr;
    EXPECT_EQ(nqDomStartupFailed(failure, &errorText), 1);
    ASSERT_NE(errorText, nullptr);
    EXPECT_EQ(std::strlen(errorText), 255u);
    EXPECT_EQ(std::string(errorText), full.substr(0, 255));
}

TEST(StartupFailure, LaterFailureReplacesTheWholeText) {
    char* first = nullptr;
    nqDomStartupFailed(engineFailure(std::string(400, 'y')), &first);
    const XMLPlatformUtilsException shorter = engineFailure("b.xml");

    char* second = nullptr;
    nqDomStartupFailed(shorter, &second);
    // One static buffer serves every failure.
    EXPECT_EQ(first, second);
    EXPECT_EQ(std::string(second), messageOf(shorter));
}

}  // namespace
