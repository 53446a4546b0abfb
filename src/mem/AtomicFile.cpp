#include "mem/AtomicFile.h"

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
    int fd = CreateTemporary(path_, tempPath_);
    if (fd < 0) return;
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
    std::remove(tempPath_.c_str());
}

bool AtomicFile::Commit() {
    if (!fp_) return false;
    // A full disk shows up in the error flag, in the flush or in the sync.
    bool ok = fflush(fp_) == 0 && !ferror(fp_) && fsync(fileno(fp_)) == 0;
    if (!ok) {
        Discard();
        return false;
    }
    int closed = fclose(fp_);
    fp_ = nullptr;
    if (closed != 0 || std::rename(tempPath_.c_str(), path_.c_str()) != 0) {
        std::remove(tempPath_.c_str());
        return false;
    }
    return true;
}
