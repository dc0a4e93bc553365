// Whole-file read and write: content kept byte for byte, and each failure
// reported with its message, the file closed and the caller's error text
// left alone on success.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "alloc_hook.h"
#include "fake_nqsfio.h"
#include "nqdom.h"
#include "nqdommessages.h"
#include "test_files.h"

namespace {

const char kBefore[] = "left from before";

NqbString message(int id) {
    return nqb_get_message(__FILE__, __LINE__, NQ_CATALOGUE_LIBXML, id);
}
NqbString message(int id, const std::string& fileName) {
    return nqb_get_message(__FILE__, __LINE__, NQ_CATALOGUE_LIBXML, id, fileName.c_str());
}

// Permission bits don't stop root.
bool permissionsApply() {
    return geteuid() != 0;
}

class FileHelpers : public ::testing::Test {
protected:
    void SetUp() override {
        clearFileFaults();
        m_openBefore = openHandleCount();
    }
    void TearDown() override {
        clearFileFaults();
        failAllocationsOfSize(0);
        EXPECT_EQ(openHandleCount(), m_openBefore) << "a file was left open";
    }

    // Reads `path` expecting failure with `expected`.
    void expectReadFails(const std::string& path, const NqbString& expected) {
        NqbString error(kBefore);
        const NqbString content = nqDomReadFileToString(NqbString(path.c_str()), &error);
        EXPECT_TRUE(content.isNull());
        EXPECT_STREQ(error.asCstr(), expected.asCstr());
    }

    void expectWriteFails(const std::string& path, const NqbString& expected) {
        NqbString error(kBefore);
        EXPECT_FALSE(nqDomWriteStringToFile(NqbString(path.c_str()), NqbString("some text"), &error));
        EXPECT_STREQ(error.asCstr(), expected.asCstr());
    }

    TempDir m_dir;
    int m_openBefore = 0;
};

TEST_F(FileHelpers, ReadReturnsTheBytesUpToTheFirstZero) {
    const struct {
        const char* name;
        std::string bytes;
        std::string expected;
    } rows[] = {
        {"plain", "hello", "hello"},
        {"byte-order mark kept", "\xEF\xBB\xBF<a/>", "\xEF\xBB\xBF<a/>"},
        {"line ends untouched", "a\r\nb\rc\n", "a\r\nb\rc\n"},
        {"not UTF-8, still moved", "caf\xE9", "caf\xE9"},
        {"embedded zero ends it", std::string("ab\0cd", 5), "ab"},
        {"zero first", std::string("\0abc", 4), ""},
        {"one byte", "x", "x"},
        {"large", std::string(300000, 'L'), std::string(300000, 'L')},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = m_dir.file("in.txt");
        ASSERT_TRUE(writeBytes(path, row.bytes));
        NqbString error(kBefore);
        const NqbString content = nqDomReadFileToString(NqbString(path.c_str()), &error);
        ASSERT_FALSE(content.isNull());
        EXPECT_EQ(std::string(content.asCstr(), content.length()), row.expected);
        EXPECT_STREQ(error.asCstr(), kBefore);
    }
}

TEST_F(FileHelpers, ReadOfMissingFileNamesIt) {
    const std::string path = m_dir.file("absent.xml");
    expectReadFails(path, message(NQ_MSG_OPEN_READ, path));
}

TEST_F(FileHelpers, ReadOfEmptyFileFails) {
    const std::string path = m_dir.file("empty.xml");
    ASSERT_TRUE(writeBytes(path, ""));
    expectReadFails(path, message(NQ_MSG_FILE_EMPTY));
}

TEST_F(FileHelpers, ReadOfUnreadableFileFails) {
    if (!permissionsApply()) {
        GTEST_SKIP() << "running as root: permissions don't block reading";
    }
    const std::string path = m_dir.file("locked.xml");
    ASSERT_TRUE(writeBytes(path, "<a/>"));
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    expectReadFails(path, message(NQ_MSG_OPEN_READ, path));
}

TEST_F(FileHelpers, ReadOfFileThatShrankIsShort) {
    const std::string path = m_dir.file("shrinking.xml");
    const struct {
        const char* name;
        long sizeAtRead;
    } rows[] = {{"cut in half", 50}, {"emptied", 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(writeBytes(path, std::string(100, 's')));
        armShrinkBeforeRead(path, row.sizeAtRead);
        expectReadFails(path, message(NQ_MSG_READ_SHORT, path));
        clearFileFaults();
    }
}

TEST_F(FileHelpers, ReadWhenTheBufferCantBeHad) {
    const std::string path = m_dir.file("big.xml");
    ASSERT_TRUE(writeBytes(path, std::string(12345, 'b')));
    const struct {
        const char* name;
        std::int64_t reportedLength;
        std::size_t failingSize;
    } rows[] = {
        {"allocator refuses length + 1", -2, 12346},
        {"length beyond any memory", std::int64_t{1} << 50, 0},
        {"length beyond a 32-bit count", std::int64_t{1} << 31, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.reportedLength != -2) armEndSeek(row.reportedLength);
        failAllocationsOfSize(row.failingSize);
        expectReadFails(path, message(NQ_MSG_NO_MEMORY));
        failAllocationsOfSize(0);
        clearFileFaults();
    }
}

TEST_F(FileHelpers, ReadWhenTheLengthCantBeFound) {
    const std::string path = m_dir.file("unseekable.xml");
    ASSERT_TRUE(writeBytes(path, "<a/>"));
    armEndSeek(-1);
    expectReadFails(path, message(NQ_MSG_READ_SHORT, path));
}

TEST_F(FileHelpers, WriteCreatesOrReplacesTheWholeFile) {
    const struct {
        const char* name;
        std::string previous;  // empty: no file before
        std::string text;
    } rows[] = {
        {"new file", "", "<a/>"},
        {"empty text leaves an empty file", "", ""},
        {"shorter over longer leaves no old bytes", std::string(500, 'o'), "<b/>"},
        {"empty over existing", "old content", ""},
        {"bytes as they are", "", "\xEF\xBB\xBF<a>\r\ncaf\xE9</a>"},
        {"large", "", std::string(300000, 'W')},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = m_dir.file("out.xml");
        unlink(path.c_str());
        if (!row.previous.empty()) {
            ASSERT_TRUE(writeBytes(path, row.previous));
        }
        NqbString error(kBefore);
        EXPECT_TRUE(nqDomWriteStringToFile(NqbString(path.c_str()), NqbString(row.text.c_str()), &error));
        EXPECT_STREQ(error.asCstr(), kBefore);
        ASSERT_TRUE(fileExists(path));
        EXPECT_EQ(readBytes(path), row.text);
    }
}

TEST_F(FileHelpers, WriteThenReadGivesTheTextBack) {
    const std::string path = m_dir.file("round.xml");
    const NqbString text("<r a=\"1\">\xF0\x9F\x98\x80</r>\r\n");
    NqbString error;
    ASSERT_TRUE(nqDomWriteStringToFile(NqbString(path.c_str()), text, &error));
    const NqbString back = nqDomReadFileToString(NqbString(path.c_str()), &error);
    EXPECT_STREQ(back.asCstr(), text.asCstr());
    EXPECT_TRUE(error.isNull());
}

TEST_F(FileHelpers, WriteIntoMissingDirectoryFails) {
    const std::string path = m_dir.file("no-such-dir/out.xml");
    expectWriteFails(path, message(NQ_MSG_OPEN_WRITE, path));
}

TEST_F(FileHelpers, WriteIntoReadOnlyDirectoryFails) {
    if (!permissionsApply()) {
        GTEST_SKIP() << "running as root: permissions don't block writing";
    }
    const std::string dir = m_dir.file("sealed");
    ASSERT_EQ(mkdir(dir.c_str(), 0500), 0);
    const std::string path = dir + "/out.xml";
    expectWriteFails(path, message(NQ_MSG_OPEN_WRITE, path));
    EXPECT_FALSE(fileExists(path));
}

TEST_F(FileHelpers, WriteToFullDeviceIsShort) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "no writable /dev/full";
    }
    expectWriteFails("/dev/full", message(NQ_MSG_WRITE_SHORT, "/dev/full"));
}

TEST_F(FileHelpers, PartialWriteIsShortAndLeavesWhatWasWritten) {
    const std::string path = m_dir.file("partial.xml");
    armWriteLimit(4);
    expectWriteFails(path, message(NQ_MSG_WRITE_SHORT, path));
    EXPECT_EQ(readBytes(path), "some");
}

}  // namespace
