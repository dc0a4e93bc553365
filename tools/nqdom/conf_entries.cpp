#include "conf_entries.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "input.h"

namespace nqtool {
namespace {

std::string systemError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// The file that is really replaced: the target of a symbolic link, so that
// the link stays a link.
std::string resolveTarget(const std::string& file) {
    char resolved[PATH_MAX];
    struct stat info;
    if (lstat(file.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return file;
    if (!realpath(file.c_str(), resolved)) return file;
    return resolved;
}

std::string directoryOf(const std::string& file) {
    std::size_t slash = file.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : file.substr(0, slash);
}

// The permissions the replacement gets: those of the file it replaces, or
// what a newly created file would get.
mode_t targetMode(const std::string& file) {
    struct stat info;
    if (stat(file.c_str(), &info) == 0) return info.st_mode & 07777;
    mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// Creates an empty, unique file beside `target`; false with *problem set.
bool makeTemporary(const std::string& target, std::string* path, std::string* problem) {
    std::string name = target.substr(target.rfind('/') == std::string::npos ? 0 : target.rfind('/') + 1);
    std::string pattern = directoryOf(target) + "/." + name + ".XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    int fd = mkstemp(buffer.data());
    if (fd < 0) {
        *problem = systemError("cannot create a temporary file in " + directoryOf(target));
        return false;
    }
    bool modeSet = fchmod(fd, targetMode(target)) == 0;
    close(fd);
    *path = buffer.data();
    if (modeSet) return true;
    *problem = systemError("cannot set the permissions of " + *path);
    unlink(path->c_str());
    return false;
}

bool writeEntries(const std::string& file, const std::vector<ConfEntry>& entries, std::string* problem) {
    SerializerPtr serializer = makeSerializer(problem);
    if (!serializer) return false;
    for (const ConfEntry& entry : entries) serializer->addEntry(entry.name, entry.value, entry.description);
    if (serializer->write(toNqb(file))) return true;
    *problem = messageText(serializer->getErrorMessage());
    return false;
}

}  // namespace

SerializerPtr makeSerializer(std::string* problem) {
    SerializerPtr serializer(nqDomGetInterface("NqbConfSerializer"));
    if (!serializer) *problem = "the library offers no NqbConfSerializer";
    return serializer;
}

bool readEntries(const std::string& file, std::vector<ConfEntry>* entries, std::string* problem) {
    // The serializer loads under the process's policy, which the tool sets
    // strict: a malformed file fails instead of giving part of its entries.
    if (!checkReadable(file, problem)) return false;
    SerializerPtr serializer = makeSerializer(problem);
    if (!serializer) return false;
    if (!serializer->read(toNqb(file))) {
        *problem = messageText(serializer->getErrorMessage());
        return false;
    }
    ConfEntry entry;
    while (serializer->getNextEntry(&entry.name, &entry.value, &entry.description)) entries->push_back(entry);
    return true;
}

bool replaceEntries(const std::string& file, const std::vector<ConfEntry>& entries, std::string* problem) {
    std::string target = resolveTarget(file);
    std::string temporary;
    if (!makeTemporary(target, &temporary, problem)) return false;
    if (!writeEntries(temporary, entries, problem)) {
        unlink(temporary.c_str());
        return false;
    }
    if (rename(temporary.c_str(), target.c_str()) != 0) {
        *problem = systemError("cannot replace " + target);
        unlink(temporary.c_str());
        return false;
    }
    return true;
}

}  // namespace nqtool
