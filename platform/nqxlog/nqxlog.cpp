#include "nqxlog.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace {

struct SinkSlot {
    NqLogSink sink = nullptr;
    void* context = nullptr;
};

std::mutex& sinkMutex() {
    static std::mutex mutex;
    return mutex;
}

SinkSlot& sinkSlot() {
    static SinkSlot slot;
    return slot;
}

SinkSlot currentSink() {
    std::lock_guard<std::mutex> lock(sinkMutex());
    return sinkSlot();
}

// The level in NQLOG_LEVEL, or -1 when it is unset or not a number. Read on
// every record so that a change made while running takes effect.
long thresholdFromEnvironment() {
    const char* value = std::getenv("NQLOG_LEVEL");
    if (value == nullptr || *value == '\0') return -1;
    char* end = nullptr;
    errno = 0;
    const long level = std::strtol(value, &end, 10);
    if (errno != 0 || *end != '\0') return -1;
    return level;
}

const char* baseName(const char* path) {
    if (path == nullptr) return "?";
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

void defaultSink(void* /*context*/, const char* loggerName, int level, const char* file, int line,
                 const char* message) {
    // One fprintf per record keeps lines from several threads whole.
    std::fprintf(stderr, "%s [%d] %s:%d: %s\n", loggerName, level, baseName(file), line, message);
}

std::string formatRecord(const char* format, va_list args) {
    if (format == nullptr) return std::string();
    char small[512];
    va_list again;
    va_copy(again, args);
    const int needed = std::vsnprintf(small, sizeof small, format, args);
    if (needed < 0) {
        va_end(again);
        return std::string();
    }
    if (static_cast<size_t>(needed) < sizeof small) {
        va_end(again);
        return std::string(small, static_cast<size_t>(needed));
    }
    std::string text(static_cast<size_t>(needed) + 1, '\0');
    std::vsnprintf(&text[0], text.size(), format, again);
    va_end(again);
    text.resize(static_cast<size_t>(needed));
    return text;
}

}  // namespace

NqLogger_::NqLogger_(const char* name) : m_name(nullptr) {
    if (name == nullptr) name = "";
    const size_t size = std::strlen(name) + 1;
    m_name = new char[size];
    std::memcpy(m_name, name, size);
}

NqLogger_::~NqLogger_() {
    delete[] m_name;
}

const char* NqLogger_::name() const {
    return m_name;
}

void NqLogger_::logEvent(NqLoggingLevel level, const char* file, int line, const char* format, ...) {
    va_list args;
    va_start(args, format);
    logEventV(level, file, line, format, args);
    va_end(args);
}

void NqLogger_::logEventV(NqLoggingLevel level, const char* file, int line, const char* format,
                          va_list args) {
    SinkSlot slot = currentSink();
    if (slot.sink == nullptr) {
        // Skip the formatting when the default sink would drop the record.
        const long threshold = thresholdFromEnvironment();
        if (threshold < 0 || level > threshold) return;
        slot.sink = defaultSink;
    }
    const std::string message = formatRecord(format, args);
    slot.sink(slot.context, m_name, level, file, line, message.c_str());
}

NqLogger_* nqlogGetLogger(const char* name) {
    if (name == nullptr) name = "";
    // Never destroyed: loggers must outlive every static object that logs.
    static std::mutex* mutex = new std::mutex;
    static auto* loggers = new std::map<std::string, std::unique_ptr<NqLogger_>>;
    std::lock_guard<std::mutex> lock(*mutex);
    std::unique_ptr<NqLogger_>& slot = (*loggers)[name];
    if (!slot) slot = std::make_unique<NqLogger_>(name);
    return slot.get();
}

void nqlogSetSink(NqLogSink sink, void* context) {
    std::lock_guard<std::mutex> lock(sinkMutex());
    sinkSlot().sink = sink;
    sinkSlot().context = sink ? context : nullptr;
}
