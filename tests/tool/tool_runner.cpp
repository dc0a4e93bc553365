#include "tool_runner.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <stdexcept>

#include "test_files.h"

extern char** environ;

namespace {

void check(int result, const char* what) {
    if (result != 0) throw std::runtime_error(what);
}

// Lowers the file size limit while the tool is started, which inherits it.
// A write past the limit then fails with EFBIG rather than a signal.
class FileSizeLimit {
public:
    explicit FileSizeLimit(long bytes) : m_active(bytes > 0) {
        if (!m_active) return;
        check(getrlimit(RLIMIT_FSIZE, &m_saved), "getrlimit");
        struct rlimit lowered = m_saved;
        lowered.rlim_cur = static_cast<rlim_t>(bytes);
        m_savedHandler = signal(SIGXFSZ, SIG_IGN);
        check(setrlimit(RLIMIT_FSIZE, &lowered), "setrlimit");
    }
    ~FileSizeLimit() {
        if (!m_active) return;
        setrlimit(RLIMIT_FSIZE, &m_saved);
        signal(SIGXFSZ, m_savedHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    bool m_active;
    struct rlimit m_saved {};
    sighandler_t m_savedHandler = SIG_DFL;
};

}  // namespace

ToolResult runTool(const std::vector<std::string>& args, const ToolInput& input) {
    TempDir capture;
    std::string inPath = input.stdinText.empty() ? "/dev/null" : capture.file("in");
    std::string outPath = input.stdoutPath.empty() ? capture.file("out") : input.stdoutPath;
    std::string errPath = capture.file("err");
    if (!input.stdinText.empty() && !writeBytes(inPath, input.stdinText))
        throw std::runtime_error("stdin file");

    std::vector<std::string> words{NQDOM_TOOL_PATH};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    check(posix_spawn_file_actions_init(&actions), "file actions");
    posix_spawn_file_actions_addopen(&actions, 0, inPath.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = 0;
    int spawned = 0;
    {
        FileSizeLimit limit(input.fileSizeLimit);
        spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    }
    posix_spawn_file_actions_destroy(&actions);
    check(spawned, "posix_spawn");

    int status = 0;
    struct rusage usage {};
    if (wait4(pid, &status, 0, &usage) != pid) throw std::runtime_error("wait4");
    ToolResult result;
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    result.maxRssKb = usage.ru_maxrss;
    if (input.stdoutPath.empty()) result.out = readBytes(outPath);
    result.err = readBytes(errPath);
    return result;
}

std::string examplePath(const std::string& name) {
    return std::string(NQDOM_EXAMPLES_DIR) + "/" + name;
}
