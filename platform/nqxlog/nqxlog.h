// Logging library: process-wide named loggers writing records to a sink.
#ifndef NQXLOG_H
#define NQXLOG_H

#include <cstdarg>

#define NQXLOG_API __attribute__((visibility("default")))

// Levels: 1 traces entry and exit, 5 records failures; lower is more verbose.
typedef int NqLoggingLevel;

class NQXLOG_API NqLogger_ {
public:
    explicit NqLogger_(const char* name);
    virtual ~NqLogger_();
    NqLogger_(const NqLogger_&) = delete;
    NqLogger_& operator=(const NqLogger_&) = delete;

    // Formats one record (printf-style) and hands it to logEventV.
    void logEvent(NqLoggingLevel level, const char* file, int line, const char* format, ...)
        __attribute__((format(printf, 5, 6)));
    // Formats the record and passes it to the current sink.
    virtual void logEventV(NqLoggingLevel level, const char* file, int line, const char* format,
                           va_list args);
    const char* name() const;

private:
    char* m_name;
};

// The one logger of this name in the process, made on first request; never
// null. Safe to call from several threads.
NQXLOG_API NqLogger_* nqlogGetLogger(const char* name);

// Receives every record; `message` is the formatted text.
typedef void (*NqLogSink)(void* context, const char* loggerName, int level, const char* file, int line,
                          const char* message);

// Sends all records to `sink`; a null sink restores the default, which writes
// nothing unless NQLOG_LEVEL holds a number, and then writes records of that
// level and below to stderr, one line each.
NQXLOG_API void nqlogSetSink(NqLogSink sink, void* context);

#endif
