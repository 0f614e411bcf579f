// Internal: whole-file reading and writing. A file is written aside (a
// sibling in the same directory), synced, then renamed over its target, so a
// crash leaves either the old file or the new one, never half of either.
#pragma once

#include <string>
#include <string_view>

namespace chartcalc::detail {

enum class ReadStatus { kOk, kMissing, kTooLarge, kError };

// Whether a file written aside reaches the disk before it is renamed into
// place. kSkip still renames a complete file, so a crash of the process
// never leaves half of it; only a crash of the whole system may lose the
// newest files (for files a program can write again, where an fsync would
// cost more than the writing).
enum class FileSync { kSync, kSkip };

// Reads the whole file at path into out, refusing files above maxBytes.
ReadStatus ReadWholeFile(const std::string& path, size_t maxBytes, std::string& out);
// Writes bytes to path whole (aside, synced, renamed); creates missing
// directories above it. True on success; on failure the old file stands.
bool WriteWholeFile(const std::string& path, std::string_view bytes);
bool WriteWholeFile(const std::string& path, std::string_view bytes, FileSync sync);

// A new, empty sibling of path for building a file aside ("" on failure).
std::string SiblingTempPath(const std::string& path);
// Syncs temp and renames it over path; removes temp on failure.
bool ReplaceWith(const std::string& temp, const std::string& path);
bool ReplaceWith(const std::string& temp, const std::string& path, FileSync sync);
// Creates the directories above path. True when they exist afterwards.
bool MakeParentDirs(const std::string& path);
// Makes sure the file's bytes are on the disk.
bool SyncFile(const std::string& path);

}  // namespace chartcalc::detail
