// Where a streamed command writes: standard output, or a file that replaces
// OUT only once everything is written.
#ifndef NQDOM_TOOL_STREAM_OUTPUT_H
#define NQDOM_TOOL_STREAM_OUTPUT_H

#include <cstdio>
#include <string>

namespace nqtool {

class StreamOutput {
public:
    StreamOutput() = default;
    // Removes the unfinished file.
    ~StreamOutput();
    StreamOutput(const StreamOutput&) = delete;
    StreamOutput& operator=(const StreamOutput&) = delete;

    // Null or "-": standard output. False with the problem when the file's
    // folder takes no new file.
    bool open(const std::string* path, std::string* problem);
    std::FILE* file() const { return m_file; }
    // Flushes, and puts the file in place of OUT; false with the problem.
    bool commit(std::string* problem);

private:
    std::FILE* m_file = stdout;
    std::string m_path;
    std::string m_temporary;
};

}  // namespace nqtool

#endif
