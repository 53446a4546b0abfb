#include "engine/outputs/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A name beside the target that no other process or earlier writer of this
// process uses: the process id and a counter, created exclusively.
int CreateTemporary(const std::string& path, std::string& tempPath) {
    static unsigned counter = 0;
    for (int attempt = 0; attempt < 100; ++attempt) {
        tempPath = path + "." + std::to_string(getpid()) + "." + std::to_string(counter++) + ".tmp";
        // 0666 lets the umask decide the permissions, as for a plain fopen.
        int fd = open(tempPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    return -1;
}

}  // namespace

AtomicFile::AtomicFile(const std::string& path, const char* mode) : path_(path) {
    // Whether a file can be written is decided as a plain fopen would decide
    // it: an existing target that is write-protected is refused, and only a
    // plain file is replaced. A link is written through, and a device such as
    // /dev/null or a pipe is written to, never replaced by a file of its own.
    struct stat target;
    const bool exists = lstat(path_.c_str(), &target) == 0;
    if (exists && access(path_.c_str(), W_OK) != 0 && errno != ENOENT) return;
    int fd = exists && !S_ISREG(target.st_mode) ? -1 : CreateTemporary(path_, tempPath_);
    if (fd < 0) {
        // No temporary beside the target (not a plain file, or a directory
        // that takes no new names): write the target in place.
        tempPath_.clear();
        fp_ = fopen(path_.c_str(), mode);
        return;
    }
    // The replacement keeps the permissions of the file it replaces.
    if (exists && S_ISREG(target.st_mode)) fchmod(fd, target.st_mode & 07777);
    fp_ = fdopen(fd, mode);
    if (!fp_) {
        close(fd);
        std::remove(tempPath_.c_str());
    }
}

AtomicFile::~AtomicFile() {
    if (fp_) Discard();
}

void AtomicFile::Discard() {
    fclose(fp_);
    fp_ = nullptr;
    if (!tempPath_.empty()) std::remove(tempPath_.c_str());
}

bool AtomicFile::Commit() {
    if (!fp_) return false;
    // A full disk shows up in the error flag, in the flush or in the sync.
    bool ok = fflush(fp_) == 0 && !ferror(fp_) && (tempPath_.empty() || fsync(fileno(fp_)) == 0);
    if (!ok) {
        Discard();
        return false;
    }
    int closed = fclose(fp_);
    fp_ = nullptr;
    if (tempPath_.empty()) return closed == 0;  // written in place
    if (closed != 0 || std::rename(tempPath_.c_str(), path_.c_str()) != 0) {
        std::remove(tempPath_.c_str());
        return false;
    }
    return true;
}
