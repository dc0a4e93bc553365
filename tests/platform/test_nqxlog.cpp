#include "nqxlog.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Record {
    std::string logger;
    int level;
    std::string file;
    int line;
    std::string message;
};

struct Recorder {
    std::mutex mutex;
    std::vector<Record> records;
};

void recordingSink(void* context, const char* loggerName, int level, const char* file, int line,
                   const char* message) {
    auto* recorder = static_cast<Recorder*>(context);
    std::lock_guard<std::mutex> lock(recorder->mutex);
    recorder->records.push_back(Record{loggerName, level, file, line, message});
}

// Installs a sink for one test and restores the default afterwards.
class SinkScope {
public:
    SinkScope() { nqlogSetSink(recordingSink, &recorder); }
    ~SinkScope() { nqlogSetSink(nullptr, nullptr); }
    Recorder recorder;
};

// Sets NQLOG_LEVEL for one test (unset when value is null).
class LevelScope {
public:
    explicit LevelScope(const char* value) {
        const char* old = std::getenv("NQLOG_LEVEL");
        m_had = old != nullptr;
        if (m_had) m_old = old;
        if (value) {
            setenv("NQLOG_LEVEL", value, 1);
        } else {
            unsetenv("NQLOG_LEVEL");
        }
    }
    ~LevelScope() {
        if (m_had) {
            setenv("NQLOG_LEVEL", m_old.c_str(), 1);
        } else {
            unsetenv("NQLOG_LEVEL");
        }
    }

private:
    bool m_had = false;
    std::string m_old;
};

TEST(NqLogGetLogger, OneLoggerPerName) {
    NqLogger_* dom = nqlogGetLogger("NQ.DOMXML");
    ASSERT_NE(dom, nullptr);
    EXPECT_EQ(nqlogGetLogger("NQ.DOMXML"), dom);
    EXPECT_STREQ(dom->name(), "NQ.DOMXML");
    NqLogger_* tpl = nqlogGetLogger("NQ.DOM.Template");
    EXPECT_NE(tpl, dom);
    EXPECT_NE(nqlogGetLogger("nq.domxml"), dom) << "names are case-sensitive";
    EXPECT_NE(nqlogGetLogger(nullptr), nullptr);
}

TEST(NqLogGetLogger, ConcurrentRequestsShareOneLogger) {
    constexpr int kThreads = 8;
    std::vector<NqLogger_*> seen(kThreads * 50);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &seen] {
            for (int i = 0; i < 50; ++i) {
                const std::string name = "NQ.Concurrent." + std::to_string(i % 5);
                seen[t * 50 + i] = nqlogGetLogger(name.c_str());
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    const std::set<NqLogger_*> distinct(seen.begin(), seen.end());
    EXPECT_EQ(distinct.size(), 5u);
    EXPECT_EQ(distinct.count(nullptr), 0u);
    for (int i = 0; i < 5; ++i) {
        const std::string name = "NQ.Concurrent." + std::to_string(i);
        EXPECT_EQ(distinct.count(nqlogGetLogger(name.c_str())), 1u);
    }
}

TEST(NqLogSink, RecordsReachACustomSinkFormatted) {
    SinkScope scope;
    NqLogger_* logger = nqlogGetLogger("NQ.DOMXML");
    logger->logEvent(1, "nqdom.cpp", 12, "enter loadXML with %d chars", 10);
    logger->logEvent(5, "nqdom.cpp", 40, "failed: %s", "DOM exception 3");
    const std::string longText(3000, 'q');
    logger->logEvent(1, "nqdom.cpp", 50, "[%s]", longText.c_str());

    ASSERT_EQ(scope.recorder.records.size(), 3u);
    const Record& first = scope.recorder.records[0];
    EXPECT_EQ(first.logger, "NQ.DOMXML");
    EXPECT_EQ(first.level, 1);
    EXPECT_EQ(first.file, "nqdom.cpp");
    EXPECT_EQ(first.line, 12);
    EXPECT_EQ(first.message, "enter loadXML with 10 chars");
    EXPECT_EQ(scope.recorder.records[1].level, 5);
    EXPECT_EQ(scope.recorder.records[1].message, "failed: DOM exception 3");
    EXPECT_EQ(scope.recorder.records[2].message, "[" + longText + "]");
}

TEST(NqLogSink, CustomSinkGetsEveryLevelWhateverTheEnvironment) {
    LevelScope level(nullptr);
    SinkScope scope;
    for (int l : {1, 3, 5, 9}) nqlogGetLogger("NQ.Levels")->logEvent(l, "f.cpp", l, "level %d", l);
    EXPECT_EQ(scope.recorder.records.size(), 4u);
}

// logEvent must hand its arguments to the virtual operation.
class CapturingLogger : public NqLogger_ {
public:
    CapturingLogger() : NqLogger_("NQ.Capture") {}
    void logEventV(NqLoggingLevel level, const char* file, int line, const char* format,
                   va_list args) override {
        char buffer[128];
        std::vsnprintf(buffer, sizeof buffer, format, args);
        captured =
            std::string(file) + ":" + std::to_string(line) + " [" + std::to_string(level) + "] " + buffer;
    }
    std::string captured;
};

TEST(NqLogSink, LogEventCallsTheVirtualOperation) {
    SinkScope scope;
    CapturingLogger logger;
    logger.logEvent(2, "x.cpp", 7, "%s=%d", "count", 4);
    EXPECT_EQ(logger.captured, "x.cpp:7 [2] count=4");
    EXPECT_TRUE(scope.recorder.records.empty());
}

std::string stderrOf(const char* levelValue) {
    LevelScope level(levelValue);
    NqLogger_* logger = nqlogGetLogger("NQ.DOMXML");
    testing::internal::CaptureStderr();
    logger->logEvent(1, "/src/nqdomxml/file.cpp", 12, "enter loadXML with %d chars", 10);
    logger->logEvent(3, "file.cpp", 20, "middle");
    logger->logEvent(5, "file.cpp", 30, "failure %s", "text");
    return testing::internal::GetCapturedStderr();
}

TEST(NqLogDefaultSink, FiltersByEnvironmentLevel) {
    const std::string line1 = "NQ.DOMXML [1] file.cpp:12: enter loadXML with 10 chars\n";
    const std::string line3 = "NQ.DOMXML [3] file.cpp:20: middle\n";
    const std::string line5 = "NQ.DOMXML [5] file.cpp:30: failure text\n";
    const struct {
        const char* level;
        std::string expected;
    } cases[] = {
        {nullptr, ""},
        {"", ""},
        {"abc", ""},
        {"3x", ""},
        {"0", ""},
        {"1", line1},
        {"3", line1 + line3},
        {"5", line1 + line3 + line5},
        {"10", line1 + line3 + line5},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(stderrOf(c.level), c.expected) << "NQLOG_LEVEL=" << (c.level ? c.level : "(unset)");
    }
}

TEST(NqLogDefaultSink, NullSinkRestoresTheDefault) {
    {
        SinkScope scope;
        EXPECT_EQ(stderrOf("5"), "");
        EXPECT_EQ(scope.recorder.records.size(), 3u);
    }
    EXPECT_NE(stderrOf("5"), "");
}

}  // namespace
