#include "stream_output.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace nqtool {

StreamOutput::~StreamOutput() {
    if (m_temporary.empty()) return;
    std::fclose(m_file);
    ::unlink(m_temporary.c_str());
}

bool StreamOutput::open(const std::string* path, std::string* problem) {
    if (!path || *path == "-") return true;
    m_path = *path;
    std::vector<char> name(m_path.begin(), m_path.end());
    const char kSuffix[] = ".nqdom-XXXXXX";
    name.insert(name.end(), kSuffix, kSuffix + sizeof kSuffix);
    const int fd = ::mkstemp(name.data());
    if (fd < 0) {
        *problem = "cannot write " + m_path + ": " + std::strerror(errno);
        return false;
    }
    // As a file made afresh would be: mkstemp makes it private.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd, 0666 & ~mask);
    m_temporary = name.data();
    m_file = ::fdopen(fd, "wb");
    return true;
}

bool StreamOutput::commit(std::string* problem) {
    const bool written = std::fflush(m_file) == 0 && !std::ferror(m_file);
    if (m_temporary.empty()) {
        if (!written) *problem = std::string("cannot write to standard output: ") + std::strerror(errno);
        return written;
    }
    const bool closed = std::fclose(m_file) == 0;
    if (written && closed && std::rename(m_temporary.c_str(), m_path.c_str()) == 0) {
        m_temporary.clear();
        return true;
    }
    *problem = "cannot write " + m_path + ": " + std::strerror(errno);
    ::unlink(m_temporary.c_str());
    m_temporary.clear();
    return false;
}

}  // namespace nqtool
