// A failed start-up; starting, stopping and the build identity are checked where the library is
// loaded by name.
#include <gtest/gtest.h>

#include <string>

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLString.hpp>

#include "nqdomxhelper/nqdomstartup_internal.h"

XERCES_CPP_NAMESPACE_USE

namespace {

// Long (cut to 255 bytes), then short: one static buffer serves every
// failure and a later text replaces the whole earlier one.
TEST(StartupFailure, MessageIsCopiedUpTo255Bytes) {
    char* previous = nullptr;
    for (const std::string& detail : {std::string(400, 'x'), std::string("b.xml")}) {
        const XMLPlatformUtilsException failure(__FILE__, __LINE__, XMLExcepts::File_CouldNotOpenFile,
                                                detail.c_str(), nullptr, nullptr, nullptr,
                                                XMLPlatformUtils::fgMemoryManager);
        char* full = XMLString::transcode(failure.getMessage(), XMLPlatformUtils::fgMemoryManager);
        const std::string whole(full);
        XMLString::release(&full, XMLPlatformUtils::fgMemoryManager);
        char* errorText = nullptr;
        EXPECT_EQ(nqDomStartupFailed(failure, &errorText), 1);
        ASSERT_NE(errorText, nullptr);
        EXPECT_EQ(std::string(errorText), whole.substr(0, 255)) << detail.size();
        EXPECT_TRUE(previous == nullptr || errorText == previous) << "one buffer serves every failure";
        previous = errorText;
    }
}

}  // namespace
