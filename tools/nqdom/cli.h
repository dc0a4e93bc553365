// Shared plumbing of the nqdom commands: argument parsing, reporting, output
// and the owners of the library's objects.
#ifndef NQDOM_TOOL_CLI_H
#define NQDOM_TOOL_CLI_H

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "nqdom.h"

namespace nqtool {

enum ExitStatus { kExitOk = 0, kExitFailure = 1, kExitUsage = 2 };

struct Option {
    const char* name;  // "--pretty", "-o"
    bool takesValue;
};

// What one command accepts and how it describes itself.
struct CommandInfo {
    const char* name;   // as typed after "nqdom", e.g. "conf set"
    const char* usage;  // the synopsis after "nqdom "
    const char* help;   // further lines for --help; may be empty
    std::vector<Option> options;
    std::size_t minPositional;
    std::size_t maxPositional;  // kUnlimited for no limit
};

constexpr std::size_t kUnlimited = static_cast<std::size_t>(-1);

struct Args {
    std::vector<std::string> positional;
    std::map<std::string, std::string> values;  // options given, with their value ("" for flags)

    bool has(const char* option) const { return values.count(option) != 0; }
    // The option's value, or null when it was not given.
    const std::string* value(const char* option) const;
};

// Parses `argv` (the words after the command's name). Returns -1 when the
// command should run; otherwise the exit status, with help or the usage
// error already printed.
int parseArgs(const CommandInfo& info, const std::vector<std::string>& argv, Args* args);

// Prints "nqdom CMD: problem" and the synopsis to stderr; returns 2.
int usageError(const CommandInfo& info, const std::string& problem);
// Prints "nqdom CMD: message" to stderr; returns 1.
int failure(const CommandInfo& info, const std::string& message);
int failure(const CommandInfo& info, const NqbString& message);
// Prints "nqdom CMD: warning: the skeleton leaves out WHAT" for each of `dropped`.
void warnNotInSkeleton(const CommandInfo& info, const std::vector<std::string>& dropped);
// The library's failure text, never empty.
std::string messageText(const NqbString& message);

// Output to stdout; flushed and checked by finishOutput.
void writeOut(const char* bytes, std::size_t count);
void writeOut(const std::string& text);
void writeOut(const NqbString& text);
// 0, or 1 with a message when stdout could not take everything written.
int finishOutput(const CommandInfo& info);

// Text with runs of white space turned into one space and trimmed.
std::string collapseSpace(const char* text);
// `text` as a JSON string literal; a null string gives null.
std::string jsonString(const NqbString& text);
std::string jsonString(const std::string& text);

inline NqbString toNqb(const std::string& text) {
    return NqbString(text.c_str(), true);
}

// Frees the library's host-owned objects through their release().
struct Releaser {
    template <class T>
    void operator()(T* object) const {
        object->release();
    }
};
using SerializerPtr = std::unique_ptr<NqbConfSerializer, Releaser>;
using TemplatePtr = std::unique_ptr<NqDomTemplate, Releaser>;
using BasicTemplatePtr = std::unique_ptr<NqbBasicTemplate, Releaser>;

// Starts the XML engine for the lifetime of the object. Every document,
// template and serializer must be gone before it is destroyed.
class EngineSession {
public:
    EngineSession();
    ~EngineSession();
    EngineSession(const EngineSession&) = delete;
    EngineSession& operator=(const EngineSession&) = delete;

    bool started() const { return m_started; }
    const char* error() const { return m_error; }

private:
    bool m_started;
    char* m_error;
};

}  // namespace nqtool

#endif
