// Whole-file read and write: content kept byte for byte, and each failure
// reported with its message, the file closed and the caller's error text
// left alone on success.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "alloc_hook.h"
#include "dom_test_util.h"
#include "fake_nqsfio.h"
#include "test_files.h"

namespace {

const char kBefore[] = "left from before";

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
    void expectWriteFails(const std::string& path, const std::string& expected) {
        NqbString error(kBefore);
        EXPECT_FALSE(nqDomWriteStringToFile(NqbString(path.c_str()), NqbString("some text"), &error));
        EXPECT_EQ(str(error), expected);
    }

    TempDir m_dir;
    const int m_openBefore = g_openHandles;
};

TEST_F(FileHelpers, ReadReturnsTheBytesUpToTheFirstZero) {
    const struct {
        const char* name;
        std::string bytes;
        std::string expected;
    } rows[] = {
        {"bytes as they are", "\xEF\xBB\xBF<a>\r\nb\rcaf\xE9</a>\n", "\xEF\xBB\xBF<a>\r\nb\rcaf\xE9</a>\n"},
        {"embedded zero ends it", std::string("ab\0cd", 5), "ab"},
        {"zero first", std::string("\0abc", 4), ""},
        {"one byte", "x", "x"},
        {"large", std::string(300000, 'L'), std::string(300000, 'L')},
    };
    const std::string path = m_dir.file("in.txt");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(writeBytes(path, row.bytes));
        NqbString error(kBefore);
        const NqbString content = nqDomReadFileToString(NqbString(path.c_str()), &error);
        EXPECT_EQ(str(content), row.expected);
        EXPECT_STREQ(error.asCstr(), kBefore);
    }
}

TEST_F(FileHelpers, ReadFailuresNameTheirCause) {
    const std::string path = m_dir.file("in.xml");
    const std::string big(12345, 'b');
    const struct {
        const char* name;
        const char* bytes;  // null: no file
        FileFaults faults;
        std::size_t failingSize;
        int message;
        bool namesFile;
    } rows[] = {
        {"missing", nullptr, {}, 0, NQ_MSG_OPEN_READ, true},
        {"empty", "", {}, 0, NQ_MSG_FILE_EMPTY, false},
        {"shrank to half before the read", "0123456789", {-2, path, 5, -1}, 0, NQ_MSG_READ_SHORT, true},
        {"length not found", "<a/>", {-1, "", 0, -1}, 0, NQ_MSG_READ_SHORT, true},
        {"allocator refuses length + 1", big.c_str(), {}, 12346, NQ_MSG_NO_MEMORY, false},
        {"length past 32 bits", "<a/>", {std::int64_t{1} << 31, "", 0, -1}, 0, NQ_MSG_NO_MEMORY, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        unlink(path.c_str());
        ASSERT_TRUE(!row.bytes || writeBytes(path, row.bytes));
        g_fileFaults = row.faults;
        failAllocationsOfSize(row.failingSize);
        expectReadFails(path, row.namesFile ? libxml(row.message, path.c_str()) : libxml(row.message));
        failAllocationsOfSize(0);
        g_fileFaults = FileFaults();
    }
    expectReadFails(m_dir.path(), libxml(NQ_MSG_OPEN_READ, m_dir.path().c_str()));
}

TEST_F(FileHelpers, WriteCreatesOrReplacesTheWholeFile) {
    const struct {
        const char* name;
        std::string previous;  // empty: no file before
        std::string text;
    } rows[] = {
        {"empty text leaves an empty file", "", ""},
        {"shorter over longer leaves no old bytes", std::string(500, 'o'), "<b/>"},
        {"empty over existing", "old content", ""},
        {"bytes as they are", "", "\xEF\xBB\xBF<a>\r\ncaf\xE9</a>"},
        {"large", "", std::string(300000, 'W')},
    };
    const std::string path = m_dir.file("out.xml");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        unlink(path.c_str());
        ASSERT_TRUE(row.previous.empty() || writeBytes(path, row.previous));
        NqbString error(kBefore);
        EXPECT_TRUE(nqDomWriteStringToFile(NqbString(path.c_str()), NqbString(row.text.c_str()), &error));
        EXPECT_STREQ(error.asCstr(), kBefore);
        ASSERT_TRUE(fileExists(path));
        EXPECT_EQ(readBytes(path), row.text);
    }
}

TEST_F(FileHelpers, WriteFailuresNameTheFile) {
    const std::string missingDir = m_dir.file("no-such-dir/out.xml");
    expectWriteFails(missingDir, libxml(NQ_MSG_OPEN_WRITE, missingDir.c_str()));
    expectWriteFails("/dev/full", libxml(NQ_MSG_WRITE_SHORT, "/dev/full"));

    // A partial write is short and leaves what was written.
    const std::string partial = m_dir.file("partial.xml");
    g_fileFaults.writeLimit = 4;
    expectWriteFails(partial, libxml(NQ_MSG_WRITE_SHORT, partial.c_str()));
    EXPECT_EQ(readBytes(partial), "some");
}

TEST_F(FileHelpers, PermissionFailuresNameTheFile) {
    if (geteuid() == 0) GTEST_SKIP() << "running as root: permissions don't apply";
    const std::string locked = m_dir.file("locked.xml");
    ASSERT_TRUE(writeBytes(locked, "<a/>"));
    ASSERT_EQ(chmod(locked.c_str(), 0), 0);
    expectReadFails(locked, libxml(NQ_MSG_OPEN_READ, locked.c_str()));

    const std::string sealed = m_dir.file("sealed");
    ASSERT_EQ(mkdir(sealed.c_str(), 0500), 0);
    const std::string path = sealed + "/out.xml";
    expectWriteFails(path, libxml(NQ_MSG_OPEN_WRITE, path.c_str()));
    EXPECT_FALSE(fileExists(path));
}

}  // namespace
