#include "nqxlog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace {

// Logger, level, file, line and text of one record.
using Record = std::tuple<std::string, int, std::string, int, std::string>;

// Receives all records while alive; the default sink is back afterwards.
struct Recorder {
    Recorder() { nqlogSetSink(&Recorder::sink, this); }
    ~Recorder() { nqlogSetSink(nullptr, nullptr); }
    static void sink(void* context, const char* logger, int level, const char* file, int line,
                     const char* message) {
        static_cast<Recorder*>(context)->records.emplace_back(logger, level, file, line, message);
    }
    std::vector<Record> records;
};

// Eight threads ask for five names at once; names are case-sensitive.
TEST(NqLog, ConcurrentRequestsShareOneLoggerPerName) {
    std::vector<NqLogger_*> seen(8 * 50);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t, &seen] {
            for (int i = 0; i < 50; ++i)
                seen[t * 50 + i] = nqlogGetLogger(("NQ.T." + std::to_string(i % 5)).c_str());
        });
    }
    for (std::thread& thread : threads) thread.join();
    const std::set<NqLogger_*> distinct(seen.begin(), seen.end());
    EXPECT_EQ(distinct.size(), 5u);
    EXPECT_EQ(distinct.count(nqlogGetLogger("NQ.T.0")) + distinct.count(nqlogGetLogger("nq.t.0")), 1u);
    EXPECT_STREQ(nqlogGetLogger(nullptr)->name(), "");
}

// Hosts override logEventV; logEvent must reach the override.
struct CountingLogger : NqLogger_ {
    CountingLogger() : NqLogger_("NQ.Counting") {}
    void logEventV(NqLoggingLevel, const char*, int, const char*, va_list) override { ++calls; }
    int calls = 0;
};

TEST(NqLog, CustomSinkGetsEveryRecordFormattedWhateverTheLevel) {
    unsetenv("NQLOG_LEVEL");
    Recorder recorder;
    NqLogger_* logger = nqlogGetLogger("NQ.DOMXML");
    const std::string longText(3000, 'q');
    logger->logEvent(1, "nqdom.cpp", 12, "enter loadXML with %d chars", 10);
    logger->logEvent(9, "nqdom.cpp", 50, "[%s]", longText.c_str());
    CountingLogger counting;
    counting.logEvent(2, "x.cpp", 7, "%s=%d", "count", 4);
    const std::vector<Record> expected = {
        {"NQ.DOMXML", 1, "nqdom.cpp", 12, "enter loadXML with 10 chars"},
        {"NQ.DOMXML", 9, "nqdom.cpp", 50, "[" + longText + "]"},
    };
    EXPECT_EQ(recorder.records, expected);
    EXPECT_EQ(counting.calls, 1);
}

// Logs one record at each of the levels 1, 3 and 5 to the default sink.
std::string stderrOf(const char* level) {
    level ? setenv("NQLOG_LEVEL", level, 1) : unsetenv("NQLOG_LEVEL");
    NqLogger_* logger = nqlogGetLogger("NQ.DOMXML");
    testing::internal::CaptureStderr();
    logger->logEvent(1, "/src/nqdomxml/file.cpp", 12, "enter loadXML with %d chars", 10);
    logger->logEvent(3, "file.cpp", 20, "middle");
    logger->logEvent(5, "file.cpp", 30, "failure %s", "text");
    return testing::internal::GetCapturedStderr();
}

TEST(NqLog, DefaultSinkFiltersByEnvironmentLevel) {
    const std::string lines[] = {"NQ.DOMXML [1] file.cpp:12: enter loadXML with 10 chars\n",
                                 "NQ.DOMXML [3] file.cpp:20: middle\n",
                                 "NQ.DOMXML [5] file.cpp:30: failure text\n"};
    const std::pair<const char*, int> cases[] = {
        // NQLOG_LEVEL, records written
        {nullptr, 0}, {"abc", 0}, {"3x", 0}, {"1", 1}, {"3", 2}, {"5", 3},
    };
    for (const auto& [level, written] : cases) {
        std::string expected;
        for (int i = 0; i < written; ++i) expected += lines[i];
        EXPECT_EQ(stderrOf(level), expected) << "NQLOG_LEVEL=" << (level ? level : "(unset)");
    }
    {
        const Recorder recorder;
        EXPECT_EQ(stderrOf("5"), "") << "a sink replaces the default";
    }
    EXPECT_EQ(stderrOf("5"), lines[0] + lines[1] + lines[2]) << "a null sink restores the default";
}

}  // namespace
