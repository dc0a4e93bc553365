// A host that loads the shared library by file name at run time and finds its entry points by their plain
// names. This program links only the base library, for NqbString.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "nqdom.h"

namespace {

const auto release = [](NqbConfSerializer* serializer) { serializer->release(); };
using SerializerPtr = std::unique_ptr<NqbConfSerializer, void (*)(NqbConfSerializer*)>;

template <class T>
T symbol(void* library, const char* name) {
    void* address = dlsym(library, name);
    EXPECT_NE(address, nullptr) << name << ": " << dlerror();
    return reinterpret_cast<T>(address);
}

TEST(LoadedLibrary, ExportsTheBuildIdentityAndEntryPoints) {
    std::unique_ptr<void, int (*)(void*)> library(dlopen(NQDOM_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL), dlclose);
    ASSERT_TRUE(library) << dlerror();
    const int* number = symbol<const int*>(library.get(), "nqx_build_number");
    const char* const* info = symbol<const char* const*>(library.get(), "nqx_build_info");
    const char* const* version = symbol<const char* const*>(library.get(), "nqx_build_version");
    const auto startup = symbol<int (*)(void*, char**)>(library.get(), "nqDomStartup");
    const auto shutdown = symbol<void (*)()>(library.get(), "nqDomShutdown");
    const auto getInterface = symbol<NqbConfSerializer* (*)(const char*)>(library.get(), "nqDomGetInterface");
    ASSERT_TRUE(number && info && version && startup && shutdown && getInterface);
    EXPECT_EQ(*number, 32);
    EXPECT_STREQ(*info, "DOM Library version 2.8 (build 32)");
    EXPECT_STREQ(*version, "2.8");

    // Started twice, the engine serves until the second shut-down.
    char* error = reinterpret_cast<char*>(&library);  // a success leaves it alone
    ASSERT_EQ(startup(nullptr, &error), 0);
    ASSERT_EQ(startup(nullptr, &error), 0);
    shutdown();
    EXPECT_EQ(error, reinterpret_cast<char*>(&library));
    for (const char* name : {"nqbConfSerializer", "NqbConfSerializerX", static_cast<const char*>(nullptr)})
        EXPECT_EQ(getInterface(name), nullptr) << (name ? name : "(null name)");
    char path[] = "/tmp/nqdom-dlopen-XXXXXX";
    close(mkstemp(path));
    {
        SerializerPtr writer(getInterface("NqbConfSerializer"), release);
        ASSERT_TRUE(writer);
        writer->addEntry(NqbString("colour"), NqbString("blau \xC3\xBC"), NqbString("Background"));
        ASSERT_TRUE(writer->write(NqbString(path))) << writer->getErrorMessage().asCstr();
        SerializerPtr reader(getInterface("NqbConfSerializer"), release);
        ASSERT_TRUE(reader->read(NqbString(path))) << reader->getErrorMessage().asCstr();
        NqbString name, value, description;
        ASSERT_TRUE(reader->getNextEntry(&name, &value, &description));
        EXPECT_EQ(std::string(name.asCstr()) + "=" + value.asCstr() + " (" + description.asCstr() + ")",
                  "colour=blau \xC3\xBC (Background)");
        EXPECT_FALSE(reader->getNextEntry(&name, &value, &description));
    }
    std::remove(path);
    shutdown();
}

}  // namespace
