// A host that loads the shared library at run time, by file name, and finds
// its entry points by their plain names. This program does not link the
// library: only the base library, for NqbString.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "nqdom.h"

namespace {

using StartupFn = int (*)(void*, char**);
using ShutdownFn = void (*)();
using GetInterfaceFn = NqbConfSerializer* (*)(const char*);

struct Closer {
    void operator()(void* handle) const { dlclose(handle); }
};
using LibraryPtr = std::unique_ptr<void, Closer>;

struct Releaser {
    void operator()(NqbConfSerializer* serializer) const { serializer->release(); }
};
using SerializerPtr = std::unique_ptr<NqbConfSerializer, Releaser>;

class LoadedLibrary : public testing::Test {
protected:
    void SetUp() override {
        m_library.reset(dlopen(NQDOM_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL));
        ASSERT_TRUE(m_library) << dlerror();
        startup = symbol<StartupFn>("nqDomStartup");
        shutdown = symbol<ShutdownFn>("nqDomShutdown");
        getInterface = symbol<GetInterfaceFn>("nqDomGetInterface");
        ASSERT_TRUE(startup && shutdown && getInterface);
    }

    template <class T>
    T symbol(const char* name) {
        void* address = dlsym(m_library.get(), name);
        EXPECT_NE(address, nullptr) << name << ": " << dlerror();
        return reinterpret_cast<T>(address);
    }

    std::string temporaryFile() {
        char path[] = "/tmp/nqdom-dlopen-XXXXXX";
        int fd = mkstemp(path);
        EXPECT_GE(fd, 0);
        close(fd);
        m_files.push_back(path);
        return path;
    }

    void TearDown() override {
        for (const std::string& file : m_files) std::remove(file.c_str());
    }

    StartupFn startup = nullptr;
    ShutdownFn shutdown = nullptr;
    GetInterfaceFn getInterface = nullptr;

private:
    LibraryPtr m_library;
    std::vector<std::string> m_files;
};

TEST_F(LoadedLibrary, ExportsTheBuildIdentity) {
    const int* number = symbol<const int*>("nqx_build_number");
    const char* const* info = symbol<const char* const*>("nqx_build_info");
    const char* const* version = symbol<const char* const*>("nqx_build_version");
    ASSERT_TRUE(number && info && version);
    EXPECT_EQ(*number, 32);
    EXPECT_STREQ(*info, "DOM Library version 2.8 (build 32)");
    EXPECT_STREQ(*version, "2.8");
}

TEST_F(LoadedLibrary, StartsAndStopsTheEngineTwice) {
    for (int round = 0; round < 2; ++round) {
        char* error = reinterpret_cast<char*>(this);  // a success leaves it alone
        ASSERT_EQ(startup(nullptr, &error), 0) << error;
        EXPECT_EQ(error, reinterpret_cast<char*>(this));
        shutdown();
    }
}

TEST_F(LoadedLibrary, SerializerWrittenAndReadThroughTheFactory) {
    char* error = nullptr;
    ASSERT_EQ(startup(nullptr, &error), 0) << error;
    std::string file = temporaryFile();
    {
        EXPECT_EQ(getInterface("NqbConfSerializerX"), nullptr);
        EXPECT_EQ(getInterface("nqbconfserializer"), nullptr);

        SerializerPtr writer(getInterface("NqbConfSerializer"));
        ASSERT_TRUE(writer);
        writer->addEntry(NqbString("colour"), NqbString("blau \xC3\xBC"), NqbString("Background"));
        writer->addEntry(NqbString("size"), NqbString("12"), NqbString(""));
        ASSERT_TRUE(writer->write(NqbString(file.c_str()))) << writer->getErrorMessage().asCstr();

        SerializerPtr reader(getInterface("NqbConfSerializer"));
        ASSERT_TRUE(reader);
        ASSERT_NE(reader.get(), writer.get());
        ASSERT_TRUE(reader->read(NqbString(file.c_str()))) << reader->getErrorMessage().asCstr();
        NqbString name, value, description;
        ASSERT_TRUE(reader->getNextEntry(&name, &value, &description));
        EXPECT_STREQ(name.asCstr(), "colour");
        EXPECT_STREQ(value.asCstr(), "blau \xC3\xBC");
        EXPECT_STREQ(description.asCstr(), "Background");
        ASSERT_TRUE(reader->getNextEntry(&name, &value, &description));
        EXPECT_STREQ(name.asCstr(), "size");
        EXPECT_STREQ(value.asCstr(), "12");
        EXPECT_FALSE(reader->getNextEntry(&name, &value, &description));

        EXPECT_FALSE(reader->read(NqbString("/nonexistent/dir/c.xml")));
        EXPECT_NE(std::string(reader->getErrorMessage().asCstr()).find("1041"), std::string::npos)
            << reader->getErrorMessage().asCstr();
    }
    shutdown();
}

}  // namespace
