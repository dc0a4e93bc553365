// Start-up and shut-down of the XML engine for the whole process.
#include <cstring>

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "nqdom.h"
#include "nqdomstartup_internal.h"

XERCES_CPP_NAMESPACE_USE

namespace {

// Handed to the caller by address, so it must outlive the call.
char errmsg[256];

}  // namespace

int nqDomStartupFailed(const XMLException& failure, char** errorText) {
    char* text = XMLString::transcode(failure.getMessage(), XMLPlatformUtils::fgMemoryManager);
    std::strncpy(errmsg, text != nullptr ? text : "", sizeof errmsg - 1);
    errmsg[sizeof errmsg - 1] = '\0';
    XMLString::release(&text, XMLPlatformUtils::fgMemoryManager);
    *errorText = errmsg;
    return 1;
}

extern "C" int nqDomStartup(void* /*reserved*/, char** errorText) {
    try {
        XMLPlatformUtils::Initialize(XMLUni::fgXercescDefaultLocale, nullptr, nullptr, nullptr);
    } catch (const XMLException& failure) {
        return nqDomStartupFailed(failure, errorText);
    }
    return 0;
}

extern "C" void nqDomShutdown() {
    XMLPlatformUtils::Terminate();
}
