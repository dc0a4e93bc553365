// Temporary files and directories for tests.
#ifndef TEST_FILES_H
#define TEST_FILES_H

#include <string>

// A fresh directory under $TMPDIR (or /tmp), removed with its content.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_path; }
    // path() + "/" + name
    std::string file(const std::string& name) const;

private:
    std::string m_path;
};

// Writes `bytes` to `path` exactly; returns false on failure.
bool writeBytes(const std::string& path, const std::string& bytes);
// The bytes of `path`; empty when it can't be read.
std::string readBytes(const std::string& path);
bool fileExists(const std::string& path);
// The names in folder `path`, sorted, joined by spaces.
std::string namesIn(const std::string& path);

// Root passes permission bits. While this lives, the calling thread lacks the
// capabilities that let it, so a read-only file or folder refuses it too.
class PermissionsApply {
public:
    PermissionsApply();
    ~PermissionsApply();
    PermissionsApply(const PermissionsApply&) = delete;
    PermissionsApply& operator=(const PermissionsApply&) = delete;

private:
    unsigned m_effective = 0;
};

#endif
