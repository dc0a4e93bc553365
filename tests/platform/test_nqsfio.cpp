#include "nqsfio.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <string>

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

TEST_F(NqsfioTest, WriteReadAndSeek) {
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
    EXPECT_EQ(np_fio_seek(in, 0, NP_FIO_SEEK_START), 0);
    std::string back(content.size() + 10, '\0');
    EXPECT_EQ(np_fio_getb(in, &back[0], 5), 5);
    EXPECT_EQ(np_fio_seek(in, 0, NP_FIO_SEEK_CURRENT), 5);
    EXPECT_EQ(np_fio_getb(in, &back[5], size + 5), size - 5);
    EXPECT_EQ(back.substr(0, content.size()), content);
    EXPECT_EQ(np_fio_getb(in, &back[0], 10), 0) << "at end of file";
    EXPECT_EQ(np_fio_close(in), 0);
}

TEST_F(NqsfioTest, OpenFailuresLeaveNoHandle) {
    const NpFioHandle untouched = reinterpret_cast<NpFioHandle>(0x1);
    auto failure = [&](const char* path, int mode) {
        NpFioHandle handle = untouched;
        const int rc = np_fio_open(path, mode, &handle);
        EXPECT_EQ(handle, untouched) << path << " mode " << mode;
        return rc;
    };
    EXPECT_EQ(failure((m_dir + "/missing").c_str(), NP_FIO_READ), ENOENT);
    EXPECT_EQ(failure((m_dir + "/no/dir/file").c_str(), NP_FIO_WRITE), ENOENT);
    EXPECT_EQ(failure(m_dir.c_str(), NP_FIO_WRITE), EISDIR);
    EXPECT_EQ(failure(m_dir.c_str(), NP_FIO_READ), EISDIR);
    EXPECT_EQ(failure("/dev/null", NP_FIO_READ), ESPIPE) << "only a regular file is read";
    for (int mode : {0, 2, 69, 71, -1}) EXPECT_EQ(failure(m_file.c_str(), mode), EINVAL) << mode;
    EXPECT_NE(access(m_file.c_str(), F_OK), 0) << "an unknown mode must not create the file";
    EXPECT_EQ(failure(nullptr, NP_FIO_READ), EINVAL);
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
    EXPECT_EQ(np_fio_close(in), EBADF) << "close reports the refused write";
    EXPECT_EQ(np_fio_getb(nullptr, buffer, 1), -1);
    EXPECT_EQ(np_fio_putb(nullptr, buffer, 1), -1);
    EXPECT_EQ(np_fio_seek(nullptr, 0, NP_FIO_SEEK_END), -1);
    EXPECT_NE(np_fio_close(nullptr), 0);
    NpFioHandle full = open("/dev/full", NP_FIO_WRITE);
    EXPECT_EQ(np_fio_putb(full, "abc", 3), -1) << "a full device takes nothing";
    EXPECT_EQ(np_fio_close(full), ENOSPC) << "close reports the failed write";

    // The folder made read-only while the file is written: nothing replaced.
    const std::string folder = m_temp.file("folder"), path = folder + "/file";
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    const PermissionsApply asAnyone;
    NpFioHandle out = open(path, NP_FIO_WRITE);
    ASSERT_EQ(chmod(folder.c_str(), 0500), 0);
    EXPECT_EQ(np_fio_putb(out, "abc", 3), 3);
    EXPECT_EQ(np_fio_close(out), EACCES);
    EXPECT_FALSE(fileExists(path));
}

// A writer killed after 100 MB leaves the old file; the next write replaces it and leaves nothing beside it.
TEST_F(NqsfioTest, KilledWriterLeavesTheOldFile) {
    const std::string old = "old bytes", chunk(1 << 20, 'k');
    ASSERT_TRUE(writeBytes(m_file, old));
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
        NpFioHandle out = nullptr;
        if (np_fio_open(m_file.c_str(), NP_FIO_WRITE, &out) != 0) _exit(1);
        for (int i = 0; i < 100; ++i)
            if (np_fio_putb(out, chunk.data(), 1 << 20) != 1 << 20) _exit(1);
        raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(writer, &status, 0), writer);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the writer failed before half way";
    EXPECT_TRUE(readBytes(m_file) == old) << "the old file is gone";

    NpFioHandle out = open(m_file, NP_FIO_WRITE);
    EXPECT_EQ(np_fio_putb(out, "new", 3), 3);
    EXPECT_EQ(np_fio_close(out), 0);
    EXPECT_EQ(readBytes(m_file), "new");
    EXPECT_EQ(namesIn(m_dir), "file");
}

}  // namespace
