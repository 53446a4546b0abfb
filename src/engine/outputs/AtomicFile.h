// A file written under a temporary name and moved over its real name only when complete.
#pragma once

#include <cstdio>
#include <string>

// Output files of an analysis must never be left half-written: an interrupted
// run or a full disk has to keep the previous version whole. AtomicFile opens a
// sibling of the target in the same directory (so that the final rename stays
// on one file system and is atomic), and Commit() flushes, syncs and renames it.
// A file that is destroyed without a successful Commit() removes its temporary
// and leaves the target as it was. Whether the target can be written at all is
// decided as by fopen: a write-protected target fails, and a target that is
// not a plain file (a link, a device, a pipe) or that has no temporary beside
// it (a directory closed to new names) is written in place.
class AtomicFile {
public:
    // mode is a stdio write mode, "w" or "wb".
    AtomicFile(const std::string& path, const char* mode);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // The stream to write to; null when the temporary could not be created.
    FILE* stream() const { return fp_; }
    bool isOpen() const { return fp_ != nullptr; }

    // Completes the file and replaces the target. False when any write,
    // the flush, the close or the rename failed; the target is then untouched.
    bool Commit();

    const std::string& path() const { return path_; }

private:
    void Discard();

    std::string path_;
    std::string tempPath_;
    FILE* fp_ = nullptr;
};
