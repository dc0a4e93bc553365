#include "nqxlog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(NqLog, ConcurrentRequestsShareOneLoggerPerName) {
    std::vector<NqLogger_*> seen(8 * 50);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([t, &seen] {
            for (int i = t; i < 400; i += 8) seen[i] = nqlogGetLogger(std::string(1, "abcde"[i % 5]).c_str());
        });
    for (std::thread& thread : threads) thread.join();
    const std::set<NqLogger_*> distinct(seen.begin(), seen.end());
    EXPECT_EQ(distinct.size(), 5u);
    EXPECT_EQ(distinct.count(nqlogGetLogger("a")) + distinct.count(nqlogGetLogger("A")), 1u);
}

void record(void* out, const char* logger, int level, const char* file, int line, const char* text) {
    *static_cast<std::string*>(out) += std::string(logger) + " [" + std::to_string(level) + "] " + file +
                                       ":" + std::to_string(line) + ": " + text + "\n";
}

// Hosts override logEventV; logEvent must reach the override.
struct CountingLogger : NqLogger_ {
    CountingLogger() : NqLogger_("NQ.Counting") {}
    void logEventV(NqLoggingLevel, const char*, int, const char*, va_list) override { ++calls; }
    int calls = 0;
};

const std::string longText(3000, 'q');

// Logs a record at level 1 and a longer one than any formatting buffer at level 5.
std::string stderrOf(const char* level) {
    level ? setenv("NQLOG_LEVEL", level, 1) : unsetenv("NQLOG_LEVEL");
    testing::internal::CaptureStderr();
    nqlogGetLogger("NQ.DOMXML")->logEvent(1, "/src/nqdomxml/file.cpp", 12, "enter loadXML with %d chars", 10);
    nqlogGetLogger("NQ.DOMXML")->logEvent(5, "file.cpp", 30, "failure %s", longText.c_str());
    return testing::internal::GetCapturedStderr();
}

// The default sink writes records up to NQLOG_LEVEL when it holds a number; a host's sink gets them all.
TEST(NqLog, DefaultSinkFiltersByLevelAndAHostSinkGetsEverything) {
    const std::string lines[] = {"NQ.DOMXML [1] file.cpp:12: enter loadXML with 10 chars\n",
                                 "NQ.DOMXML [5] file.cpp:30: failure " + longText + "\n"};
    const std::pair<const char*, std::string> cases[] = {
        {nullptr, ""}, {"abc", ""}, {"3x", ""}, {"1", lines[0]}, {"4", lines[0]}};
    for (const auto& [level, expected] : cases)
        EXPECT_EQ(stderrOf(level), expected) << "NQLOG_LEVEL=" << (level ? level : "(unset)");
    std::string recorded;
    nqlogSetSink(&record, &recorded);
    EXPECT_EQ(stderrOf(nullptr), "") << "a sink replaces the default";
    nqlogSetSink(nullptr, nullptr);
    EXPECT_EQ(recorded, "NQ.DOMXML [1] /src/nqdomxml/file.cpp:12: enter loadXML with 10 chars\n" + lines[1]);
    EXPECT_EQ(stderrOf("5"), lines[0] + lines[1]) << "a null sink restores the default";
    CountingLogger counting;
    counting.logEvent(2, "x.cpp", 7, "%s=%d", "count", 4);
    EXPECT_EQ(counting.calls, 1);
}

}  // namespace
