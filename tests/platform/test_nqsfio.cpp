#include "nqsfio.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace {

class NqsfioTest : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "nqsfio-XXXXXX";
        ASSERT_NE(mkdtemp(&pattern[0]), nullptr);
        m_dir = pattern;
    }
    void TearDown() override {
        for (const char* name : {"file", "fifo"}) unlink(path(name).c_str());
        rmdir(m_dir.c_str());
    }

    std::string path(const char* name) const { return m_dir + "/" + name; }

    static void writeFile(const std::string& file, const std::string& content) {
        std::ofstream(file, std::ios::binary) << content;
    }
    static std::string readFile(const std::string& file) {
        std::ifstream in(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    std::string m_dir;
};

TEST_F(NqsfioTest, WriteThenReadBack) {
    const std::string content = "hello, file";
    NpFioHandle out = nullptr;
    ASSERT_EQ(np_fio_open(path("file").c_str(), NP_FIO_WRITE, &out), 0);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(np_fio_putb(out, content.data(), static_cast<int>(content.size())),
              static_cast<int>(content.size()));
    EXPECT_EQ(np_fio_close(out), 0);
    EXPECT_EQ(readFile(path("file")), content);

    NpFioHandle in = nullptr;
    ASSERT_EQ(np_fio_open(path("file").c_str(), NP_FIO_READ, &in), 0);
    EXPECT_EQ(np_fio_seek(in, 0, NP_FIO_SEEK_END), static_cast<std::int64_t>(content.size()));
    EXPECT_EQ(np_fio_seek(in, 0, NP_FIO_SEEK_START), 0);
    char buffer[64] = {};
    EXPECT_EQ(np_fio_getb(in, buffer, 5), 5);
    EXPECT_EQ(np_fio_seek(in, 0, NP_FIO_SEEK_CURRENT), 5);
    EXPECT_EQ(np_fio_getb(in, buffer + 5, sizeof buffer - 5), static_cast<int>(content.size()) - 5);
    EXPECT_EQ(std::string(buffer), content);
    EXPECT_EQ(np_fio_getb(in, buffer, 10), 0) << "at end of file";
    EXPECT_EQ(np_fio_getb(in, buffer, 0), 0);
    EXPECT_EQ(np_fio_close(in), 0);
}

TEST_F(NqsfioTest, WriteModeReplacesALongerFile) {
    writeFile(path("file"), std::string(1000, 'x'));
    NpFioHandle out = nullptr;
    ASSERT_EQ(np_fio_open(path("file").c_str(), NP_FIO_WRITE, &out), 0);
    EXPECT_EQ(np_fio_putb(out, "abc", 3), 3);
    np_fio_close(out);
    EXPECT_EQ(readFile(path("file")), "abc");
}

TEST_F(NqsfioTest, WriteModeCreatesWithUmask) {
    const mode_t previous = umask(027);
    NpFioHandle out = nullptr;
    const int rc = np_fio_open(path("file").c_str(), NP_FIO_WRITE, &out);
    umask(previous);
    ASSERT_EQ(rc, 0);
    np_fio_close(out);
    struct stat info {};
    ASSERT_EQ(stat(path("file").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u);
}

TEST_F(NqsfioTest, SeekEndGivesLengthOfLargeFile) {
    const std::string content(3 * 1024 * 1024 + 7, 'L');
    writeFile(path("file"), content);
    NpFioHandle in = nullptr;
    ASSERT_EQ(np_fio_open(path("file").c_str(), NP_FIO_READ, &in), 0);
    EXPECT_EQ(np_fio_seek(in, 0, NP_FIO_SEEK_END), static_cast<std::int64_t>(content.size()));
    EXPECT_EQ(np_fio_seek(in, -7, NP_FIO_SEEK_END), static_cast<std::int64_t>(content.size() - 7));
    np_fio_seek(in, 0, NP_FIO_SEEK_START);
    std::string back(content.size(), '\0');
    EXPECT_EQ(np_fio_getb(in, &back[0], static_cast<int>(back.size())), static_cast<int>(content.size()));
    EXPECT_EQ(back, content);
    np_fio_close(in);
}

TEST_F(NqsfioTest, OpenFailuresLeaveNoHandle) {
    const struct {
        std::string file;
        int mode;
        int error;
    } cases[] = {
        {path("missing"), NP_FIO_READ, ENOENT},
        {path("no/dir/file"), NP_FIO_WRITE, ENOENT},
        {m_dir, NP_FIO_WRITE, EISDIR},
        {path("file"), 0, EINVAL},
        {path("file"), 2, EINVAL},
        {path("file"), 69, EINVAL},
        {path("file"), 71, EINVAL},
        {path("file"), -1, EINVAL},
    };
    for (const auto& c : cases) {
        NpFioHandle handle = reinterpret_cast<NpFioHandle>(0x1);
        EXPECT_EQ(np_fio_open(c.file.c_str(), c.mode, &handle), c.error) << c.file << " mode " << c.mode;
        EXPECT_EQ(handle, reinterpret_cast<NpFioHandle>(0x1)) << c.file << " mode " << c.mode;
    }
    EXPECT_NE(access(path("file").c_str(), F_OK), 0) << "an unknown mode must not create the file";
    NpFioHandle handle = nullptr;
    EXPECT_EQ(np_fio_open(nullptr, NP_FIO_READ, &handle), EINVAL);
}

TEST_F(NqsfioTest, BadArgumentsFail) {
    writeFile(path("file"), "data");
    NpFioHandle in = nullptr;
    ASSERT_EQ(np_fio_open(path("file").c_str(), NP_FIO_READ, &in), 0);
    char buffer[4];
    EXPECT_EQ(np_fio_seek(in, 0, 7), -1);
    EXPECT_EQ(np_fio_seek(in, -10, NP_FIO_SEEK_START), -1);
    EXPECT_EQ(np_fio_getb(in, buffer, -1), -1);
    EXPECT_EQ(np_fio_getb(in, nullptr, 4), -1);
    EXPECT_EQ(np_fio_putb(in, "x", 1), -1) << "a file opened for reading takes no writes";
    EXPECT_EQ(np_fio_close(in), 0);
    EXPECT_EQ(np_fio_getb(nullptr, buffer, 1), -1);
    EXPECT_EQ(np_fio_putb(nullptr, buffer, 1), -1);
    EXPECT_EQ(np_fio_seek(nullptr, 0, NP_FIO_SEEK_END), -1);
    EXPECT_NE(np_fio_close(nullptr), 0);
}

TEST_F(NqsfioTest, FullDeviceWriteReportsNothingWritten) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    NpFioHandle out = nullptr;
    ASSERT_EQ(np_fio_open("/dev/full", NP_FIO_WRITE, &out), 0);
    EXPECT_EQ(np_fio_putb(out, "abc", 3), -1);
    np_fio_close(out);
}

// A pipe hands its data over in the pieces the writer sends, so a single read
// returns less than asked: getb must keep reading until the count or the end.
TEST_F(NqsfioTest, ReadCollectsShortReads) {
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    const std::string content = "one-two-three-four-five";
    std::thread writer([&] {
        const int fd = open(path("fifo").c_str(), O_WRONLY);
        for (size_t at = 0; at < content.size(); at += 5) {
            const size_t piece = std::min<size_t>(5, content.size() - at);
            if (write(fd, content.data() + at, piece) != static_cast<ssize_t>(piece)) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        close(fd);
    });
    NpFioHandle in = nullptr;
    const int rc = np_fio_open(path("fifo").c_str(), NP_FIO_READ, &in);
    std::string back(content.size() + 10, '\0');
    const int got = rc == 0 ? np_fio_getb(in, &back[0], static_cast<int>(back.size())) : -1;
    writer.join();
    ASSERT_EQ(rc, 0);
    np_fio_close(in);
    ASSERT_EQ(got, static_cast<int>(content.size()));
    back.resize(static_cast<size_t>(got));
    EXPECT_EQ(back, content);
}

}  // namespace
