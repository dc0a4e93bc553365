// Start-up and shut-down; the build identity is checked where the library is loaded by name.
#include <gtest/gtest.h>

#include <string>

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLString.hpp>

#include "nqdom.h"
#include "nqdomxhelper/nqdomstartup_internal.h"

XERCES_CPP_NAMESPACE_USE

namespace {

TEST(Startup, NestedPairsLeaveTheErrorPointerAndTheEngineAlone) {
    char sentinel[] = "untouched";
    for (int i = 0; i < 3; ++i) {
        char* errorText = sentinel;
        ASSERT_EQ(nqDomStartup(nullptr, &errorText), 0);
        nqDomShutdown();
        EXPECT_EQ(errorText, sentinel);
    }
    EXPECT_STREQ(sentinel, "untouched");
    // The test main's start-up still holds the engine up.
    NqXMLTranscoder transcoder;
    EXPECT_STREQ(transcoder.toNqb(transcoder.fromC("still up")).asCstr(), "still up");
}

// Short, long (cut to 255 bytes), then short again: one static buffer serves
// every failure and a later text replaces the whole earlier one.
TEST(StartupFailure, MessageIsCopiedUpTo255Bytes) {
    const std::string details[] = {"settings.xml", std::string(400, 'x'), "b.xml"};
    char* previous = nullptr;
    for (const std::string& detail : details) {
        SCOPED_TRACE(detail.size());
        const XMLPlatformUtilsException failure(__FILE__, __LINE__, XMLExcepts::File_CouldNotOpenFile,
                                                detail.c_str(), nullptr, nullptr, nullptr,
                                                XMLPlatformUtils::fgMemoryManager);
        char* full = XMLString::transcode(failure.getMessage(), XMLPlatformUtils::fgMemoryManager);
        const std::string whole(full);
        XMLString::release(&full, XMLPlatformUtils::fgMemoryManager);
        ASSERT_EQ(whole.size() > 255, detail.size() > 255);
        ASSERT_NE(whole.find(detail), std::string::npos);

        char* errorText = nullptr;
        EXPECT_EQ(nqDomStartupFailed(failure, &errorText), 1);
        ASSERT_NE(errorText, nullptr);
        EXPECT_EQ(std::string(errorText), whole.substr(0, 255));
        EXPECT_TRUE(previous == nullptr || errorText == previous) << "one buffer serves every failure";
        previous = errorText;
    }
}

}  // namespace
