#include "core/FileUtil.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <vector>

namespace chartcalc::detail {

namespace {

// A path that names a device, a pipe or a directory is never replaced: the
// rename would put a plain file where /dev/null or a folder stood.
bool IsReplaceable(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) != 0 || S_ISREG(st.st_mode) || S_ISLNK(st.st_mode);
}

}  // namespace

ReadStatus ReadWholeFile(const std::string& path, size_t maxBytes, std::string& out) {
  out.clear();
  int fd = open(path.c_str(), O_RDONLY);
  if (fd < 0) return errno == ENOENT ? ReadStatus::kMissing : ReadStatus::kError;
  struct stat st;
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    close(fd);
    return ReadStatus::kError;
  }
  if (static_cast<unsigned long long>(st.st_size) > maxBytes) {
    close(fd);
    return ReadStatus::kTooLarge;
  }
  // Reads until the end even if the file grows meanwhile, but never past
  // the limit.
  char buf[1 << 16];
  for (;;) {
    ssize_t n = read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      close(fd);
      return ReadStatus::kError;
    }
    if (n == 0) break;
    if (out.size() + static_cast<size_t>(n) > maxBytes) {
      close(fd);
      out.clear();
      return ReadStatus::kTooLarge;
    }
    out.append(buf, static_cast<size_t>(n));
  }
  close(fd);
  return ReadStatus::kOk;
}

bool WriteWholeFile(const std::string& path, std::string_view bytes) {
  return WriteWholeFile(path, bytes, FileSync::kSync);
}

bool WriteWholeFile(const std::string& path, std::string_view bytes, FileSync sync) {
  if (path.empty() || !MakeParentDirs(path)) return false;
  std::string temp = SiblingTempPath(path);
  if (temp.empty()) return false;
  int fd = open(temp.c_str(), O_WRONLY | O_TRUNC);
  bool ok = fd >= 0;
  for (size_t done = 0; ok && done < bytes.size();) {
    ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    ok = n > 0;
    if (ok) done += static_cast<size_t>(n);
  }
  if (fd >= 0) ok = (sync == FileSync::kSkip || fsync(fd) == 0) && ok, close(fd);
  if (!ok) {
    std::remove(temp.c_str());
    return false;
  }
  return ReplaceWith(temp, path, sync);
}

std::string SiblingTempPath(const std::string& path) {
  if (!IsReplaceable(path)) return std::string();
  std::string pattern = path + ".tmpXXXXXX";
  std::vector<char> buf(pattern.begin(), pattern.end());
  buf.push_back('\0');
  int fd = mkstemp(buf.data());
  if (fd < 0) return std::string();
  // The new file takes the permissions of the one it replaces, else the
  // usual ones of a document (mkstemp's own are owner-only).
  struct stat st;
  fchmod(fd, stat(path.c_str(), &st) == 0 ? (st.st_mode & 07777) : 0644);
  close(fd);
  return std::string(buf.data());
}

bool SyncFile(const std::string& path) {
  int fd = open(path.c_str(), O_RDONLY);
  if (fd < 0) return false;
  bool ok = fsync(fd) == 0;
  close(fd);
  return ok;
}

bool ReplaceWith(const std::string& temp, const std::string& path) { return ReplaceWith(temp, path, FileSync::kSync); }

bool ReplaceWith(const std::string& temp, const std::string& path, FileSync sync) {
  const bool synced = sync == FileSync::kSkip || SyncFile(temp);
  if (!IsReplaceable(path) || !synced || std::rename(temp.c_str(), path.c_str()) != 0) {
    std::remove(temp.c_str());
    return false;
  }
  if (sync == FileSync::kSkip) return true;
  // The rename reaches the disk with its directory.
  std::filesystem::path dir = std::filesystem::path(path).parent_path();
  SyncFile(dir.empty() ? std::string(".") : dir.string());
  return true;
}

bool MakeParentDirs(const std::string& path) {
  std::filesystem::path dir = std::filesystem::path(path).parent_path();
  if (dir.empty()) return true;
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  return std::filesystem::is_directory(dir, ec);
}

}  // namespace chartcalc::detail
