#include "test_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/nqdom-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    m_path = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    // Tests may leave read-only directories behind; make them removable.
    for (auto& entry : std::filesystem::recursive_directory_iterator(m_path, ignored)) {
        if (entry.is_directory(ignored)) chmod(entry.path().c_str(), 0700);
    }
    chmod(m_path.c_str(), 0700);
    std::filesystem::remove_all(m_path, ignored);
}

std::string TempDir::file(const std::string& name) const {
    return m_path + "/" + name;
}

bool writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

std::string readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

bool fileExists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}
