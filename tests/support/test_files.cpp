#include "test_files.h"

#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
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
    return std::string(std::istreambuf_iterator<char>(in), {});
}

bool fileExists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

std::string namesIn(const std::string& path) {
    std::set<std::string> names;
    for (auto& entry : std::filesystem::directory_iterator(path)) names.insert(entry.path().filename());
    std::string joined;
    for (const std::string& name : names) joined += (joined.empty() ? "" : " ") + name;
    return joined;
}

namespace {

// Clears then sets bits of the calling thread's effective capabilities;
// returns them as they were.
unsigned changeEffectiveCapabilities(unsigned clear, unsigned set) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2] = {};
    if (syscall(SYS_capget, &header, data) != 0) throw std::runtime_error("capget failed");
    const unsigned before = data[0].effective;
    data[0].effective = (before & ~clear) | set;
    if (syscall(SYS_capset, &header, data) != 0) throw std::runtime_error("capset failed");
    return before;
}

constexpr unsigned kOverrides = 1u << CAP_DAC_OVERRIDE | 1u << CAP_DAC_READ_SEARCH | 1u << CAP_FOWNER;

}  // namespace

PermissionsApply::PermissionsApply() : m_effective(changeEffectiveCapabilities(kOverrides, 0)) {}

PermissionsApply::~PermissionsApply() {
    changeEffectiveCapabilities(0, m_effective & kOverrides);
}
