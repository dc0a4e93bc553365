#include "nqsfio.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include "test_files.h"

namespace {

class NqsfioTest : public testing::Test {
protected:
    NpFioHandle open(const std::string& path, int mode) {
        NpFioHandle handle = nullptr;
        EXPECT_EQ(np_fio_open(path.c_str(), mode, &handle), 0) << path;
        return handle;
    }
    TempDir m_temp;
    const std::string m_dir = m_temp.path(), m_file = m_temp.file("file");
};

TEST_F(NqsfioTest, WriteReadSeekAndReplace) {
    const std::string content = "hello, file" + std::string(3 * 1024 * 1024, 'L');
    const int size = static_cast<int>(content.size());
    const mode_t previous = umask(027);
    NpFioHandle out = open(m_file, NP_FIO_WRITE);
    umask(previous);
    EXPECT_EQ(np_fio_putb(out, content.data(), size), size);
    EXPECT_EQ(np_fio_close(out), 0);
    ASSERT_EQ(readBytes(m_file), content);
    struct stat info {};
    ASSERT_EQ(stat(m_file.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u) << "created with the umask applied";

    NpFioHandle in = open(m_file, NP_FIO_READ);
    EXPECT_EQ(np_fio_seek(in, 0, NP_FIO_SEEK_END), size);
    EXPECT_EQ(np_fio_seek(in, -7, NP_FIO_SEEK_END), size - 7);
    EXPECT_EQ(np_fio_seek(in, 0, NP_FIO_SEEK_START), 0);
    std::string back(content.size() + 10, '\0');
    EXPECT_EQ(np_fio_getb(in, &back[0], 5), 5);
    EXPECT_EQ(np_fio_seek(in, 0, NP_FIO_SEEK_CURRENT), 5);
    EXPECT_EQ(np_fio_getb(in, &back[5], size + 5), size - 5);
    EXPECT_EQ(back.substr(0, content.size()), content);
    EXPECT_EQ(np_fio_getb(in, &back[0], 10), 0) << "at end of file";
    EXPECT_EQ(np_fio_getb(in, &back[0], 0), 0);
    EXPECT_EQ(np_fio_close(in), 0);

    out = open(m_file, NP_FIO_WRITE);
    EXPECT_EQ(np_fio_putb(out, "abc", 3), 3);
    np_fio_close(out);
    EXPECT_EQ(readBytes(m_file), "abc") << "write mode replaces the whole content";
}

TEST_F(NqsfioTest, OpenFailuresLeaveNoHandle) {
    const NpFioHandle untouched = reinterpret_cast<NpFioHandle>(0x1);
    auto failure = [&](const std::string& path, int mode) {
        NpFioHandle handle = untouched;
        const int rc = np_fio_open(path.c_str(), mode, &handle);
        EXPECT_EQ(handle, untouched) << path << " mode " << mode;
        return rc;
    };
    EXPECT_EQ(failure(m_dir + "/missing", NP_FIO_READ), ENOENT);
    EXPECT_EQ(failure(m_dir + "/no/dir/file", NP_FIO_WRITE), ENOENT);
    EXPECT_EQ(failure(m_dir, NP_FIO_WRITE), EISDIR);
    EXPECT_EQ(failure(m_dir, NP_FIO_READ), EISDIR);
    for (int mode : {0, 2, 69, 71, -1}) EXPECT_EQ(failure(m_file, mode), EINVAL) << mode;
    EXPECT_NE(access(m_file.c_str(), F_OK), 0) << "an unknown mode must not create the file";
    NpFioHandle handle = nullptr;
    EXPECT_EQ(np_fio_open(nullptr, NP_FIO_READ, &handle), EINVAL);
}

TEST_F(NqsfioTest, BadArgumentsAndAFullDeviceFail) {
    std::ofstream(m_file) << "data";
    NpFioHandle in = open(m_file, NP_FIO_READ);
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
    NpFioHandle full = open("/dev/full", NP_FIO_WRITE);
    EXPECT_EQ(np_fio_putb(full, "abc", 3), -1) << "a full device takes nothing";
    np_fio_close(full);
}

// A pipe hands data over in the pieces the writer sends, so one read returns
// less than asked: getb must keep reading until the count or the end.
TEST_F(NqsfioTest, ReadCollectsShortReads) {
    ASSERT_EQ(mkfifo(m_file.c_str(), 0600), 0);
    std::thread writer([this] {
        const int fd = ::open(m_file.c_str(), O_WRONLY);
        for (const std::string piece : {"one-", "two-three-", "four-five"}) {
            EXPECT_EQ(write(fd, piece.data(), piece.size()), static_cast<ssize_t>(piece.size()));
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        close(fd);
    });
    NpFioHandle in = open(m_file, NP_FIO_READ);
    char back[40] = {};
    const int got = in ? np_fio_getb(in, back, sizeof back) : -1;
    writer.join();
    np_fio_close(in);
    EXPECT_EQ(got, 23);
    EXPECT_STREQ(back, "one-two-three-four-five");
}

}  // namespace
