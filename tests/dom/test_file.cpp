// Whole-file read and write: content kept byte for byte, and each failure reported
// with its message, the file closed and the caller's error text left alone on success.
#include <gtest/gtest.h>

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include "alloc_hook.h"
#include "dom_test_util.h"
#include "fake_nqsfio.h"
#include "test_files.h"

namespace {

const char kBefore[] = "left from before";

const char kFifo[] = "(a FIFO)";

class FileHelpers : public ::testing::Test {
protected:
    void TearDown() override {
        g_fileFaults = FileFaults();
        failAllocationsOfSize(0);
        EXPECT_EQ(g_openHandles, m_openBefore) << "a file was left open";
    }

    void expectReadFails(const std::string& path, const std::string& expected) {
        NqbString error(kBefore);
        EXPECT_TRUE(nqDomReadFileToString(NqbString(path.c_str()), &error).isNull());
        EXPECT_EQ(str(error), expected);
    }

    TempDir m_dir;
    const int m_openBefore = g_openHandles;
};

// A write replaces the whole file with the bytes as they are; a read gives
// them back up to the first zero.
TEST_F(FileHelpers, WriteAndReadKeepTheBytes) {
    const std::string large(300000, 'L');
    const struct {
        const char* name;
        std::string before;  // raw bytes; empty: no file
        const char* text;    // written over them; null: nothing written
        const char* read;    // null: not read
    } rows[] = {
        {"bytes as they are", "", "\xEF\xBB\xBF<a>\r\nb\rcaf\xE9</a>\n",
         "\xEF\xBB\xBF<a>\r\nb\rcaf\xE9</a>\n"},
        {"shorter over longer leaves no old bytes", std::string(500, 'o'), "<b/>", "<b/>"},
        {"empty over existing", "old content", "", nullptr},
        {"large", "", large.c_str(), large.c_str()},
        {"embedded zero ends a read", std::string("ab\0cd", 5), nullptr, "ab"},
    };
    const std::string path = m_dir.file("out.xml");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        unlink(path.c_str());
        ASSERT_TRUE(row.before.empty() || writeBytes(path, row.before));
        NqbString error(kBefore);
        if (row.text) {
            EXPECT_TRUE(nqDomWriteStringToFile(NqbString(path.c_str()), NqbString(row.text), &error));
            ASSERT_TRUE(fileExists(path));
            EXPECT_EQ(readBytes(path), row.text);
        }
        if (row.read) {
            EXPECT_EQ(str(nqDomReadFileToString(NqbString(path.c_str()), &error)), row.read);
        }
        EXPECT_STREQ(error.asCstr(), kBefore);
    }
}

TEST_F(FileHelpers, ReadFailuresNameTheirCause) {
    const std::string path = m_dir.file("in.xml");
    const std::string big(12345, 'b');
    const std::string cannotOpen = "LibXML 1041: cannot open file \"" + path + "\" for reading";
    const std::string notAll = "LibXML 97: not all of file \"" + path + "\" could be read";
    const struct {
        const char* name;
        const char* bytes;     // null: no file
        std::int64_t endSeek;  // -2: the real length
        long shrinkTo;         // 0: not shrunk
        std::size_t failingSize;
        std::string message;
    } rows[] = {
        {"missing", nullptr, -2, 0, 0, cannotOpen},
        {"empty", "", -2, 0, 0, "LibXML 336: the file to read is empty"},
        {"shrank to half before the read", "0123456789", -2, 5, 0, notAll},
        {"length not found", "<a/>", -1, 0, 0, notAll},
        {"allocator refuses length + 1", big.c_str(), -2, 0, 12346, "LibXML 444: out of memory"},
        {"length past 32 bits", "<a/>", std::int64_t{1} << 31, 0, 0, "LibXML 444: out of memory"},
        {"FIFO without a writer", kFifo, -2, 0, 0, cannotOpen},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        unlink(path.c_str());
        ASSERT_TRUE(!row.bytes ||
                    (row.bytes == kFifo ? mkfifo(path.c_str(), 0600) == 0 : writeBytes(path, row.bytes)));
        g_fileFaults = {row.endSeek, row.shrinkTo ? path : "", row.shrinkTo};
        failAllocationsOfSize(row.failingSize);
        expectReadFails(path, row.message);
    }
}

// A write either replaces the whole file or leaves the old one: a failure
// keeps the old bytes and leaves no temporary file beside them.
TEST_F(FileHelpers, WriteLeavesTheOldFileOrTheNewOne) {
    // A file size limit reached part way; through a relative symbolic link, which
    // stays; mode 0600 and owner kept; a full device, written in place.
    enum Place { SizeLimit, Link, Private, FullDevice };
    const std::string text(300000, 'n');
    rlimit normal{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &normal), 0);
    const rlimit limited{100000, normal.rlim_max};
    signal(SIGXFSZ, SIG_IGN);
    for (const Place place : {SizeLimit, Link, Private, FullDevice}) {
        SCOPED_TRACE(place);
        const bool fails = place == SizeLimit || place == FullDevice;
        const TempDir dir;
        const std::string target = dir.file("out.xml"), link = dir.file("link");
        ASSERT_TRUE(writeBytes(target, kBefore));
        ASSERT_EQ(symlink("out.xml", link.c_str()), 0);
        ASSERT_EQ(chmod(target.c_str(), place == Private ? 0600 : 0644), 0);
        const uid_t owner = place == Private && geteuid() == 0 ? 1 : geteuid();
        ASSERT_EQ(chown(target.c_str(), owner, static_cast<gid_t>(-1)), 0);
        const std::string path = place == Link ? link : place == FullDevice ? "/dev/full" : target;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, place == SizeLimit ? &limited : &normal), 0);
        NqbString error(kBefore);
        const bool written = nqDomWriteStringToFile(NqbString(path.c_str()), NqbString(text.c_str()), &error);
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &normal), 0);

        EXPECT_EQ(written, !fails);
        EXPECT_EQ(
            str(error),
            fails ? "LibXML 463: not all of the text could be written to file \"" + path + "\"" : kBefore);
        EXPECT_EQ(readBytes(target), fails ? kBefore : text);
        EXPECT_EQ(namesIn(dir.path()), "link out.xml");
        struct stat info {};
        ASSERT_EQ(lstat(link.c_str(), &info), 0);
        EXPECT_TRUE(S_ISLNK(info.st_mode));
        ASSERT_EQ(stat(target.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777, place == Private ? 0600u : 0644u);
        EXPECT_EQ(info.st_uid, owner);
    }
}

// A disk that fills up part way keeps the old file and no temporary one.
TEST_F(FileHelpers, FullDiskKeepsTheOldFile) {
    const std::string disk = m_dir.file("disk"), target = disk + "/out.xml";
    ASSERT_EQ(mkdir(disk.c_str(), 0700), 0);
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=256k") != 0) {
        GTEST_SKIP() << "no small file system to fill: mounting one needs root (" << strerror(errno) << ")";
    }
    const std::string old(100000, 'o'), text(1 << 20, 'n');
    ASSERT_TRUE(writeBytes(target, old));
    NqbString error(kBefore);
    EXPECT_FALSE(nqDomWriteStringToFile(NqbString(target.c_str()), NqbString(text.c_str()), &error));
    EXPECT_EQ(str(error), "LibXML 463: not all of the text could be written to file \"" + target + "\"");
    EXPECT_EQ(readBytes(target), old);
    EXPECT_EQ(namesIn(disk), "out.xml");
    umount2(disk.c_str(), MNT_DETACH);
}

// Root passes permission bits, so the test takes away what lets it.
TEST_F(FileHelpers, PermissionFailuresKeepTheOldFile) {
    const std::string locked = m_dir.file("locked.xml"), sealed = m_dir.file("sealed");
    const std::string inSealed = sealed + "/out.xml";
    ASSERT_TRUE(writeBytes(locked, kBefore));
    ASSERT_EQ(chmod(locked.c_str(), 0), 0);
    ASSERT_EQ(mkdir(sealed.c_str(), 0700), 0);
    ASSERT_TRUE(writeBytes(inSealed, kBefore));
    ASSERT_EQ(chmod(sealed.c_str(), 0500), 0);
    {
        const PermissionsApply asAnyone;
        expectReadFails(locked, "LibXML 1041: cannot open file \"" + locked + "\" for reading");
        for (const std::string& path : {locked, inSealed}) {
            NqbString error(kBefore);
            EXPECT_FALSE(nqDomWriteStringToFile(NqbString(path.c_str()), NqbString("some text"), &error));
            EXPECT_EQ(str(error), "LibXML 1042: cannot open file \"" + path + "\" for writing");
        }
    }
    EXPECT_EQ(readBytes(locked), kBefore);
    EXPECT_EQ(readBytes(inSealed), kBefore);
    EXPECT_EQ(namesIn(sealed), "out.xml");
}

}  // namespace
