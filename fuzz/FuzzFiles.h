// Helpers of the file fuzzers: a private scratch directory, and a template
// file mutated by the fuzz input, so that the loaders meet both raw bytes
// and nearly valid files.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace fuzzfiles {

// A directory of this process, removed when it exits. In memory (/dev/shm)
// where there is one, since every input writes and syncs files.
inline const std::string& ScratchDir() {
  static const std::string dir = [] {
    std::error_code ec;
    std::string base = std::filesystem::is_directory("/dev/shm", ec) ? "/dev/shm" : "/tmp";
    std::string pattern = base + "/chartcalc-fuzz-XXXXXX";
    const char* made = mkdtemp(pattern.data());
    if (!made) std::abort();
    std::string d = std::string(made) + "/";
    static std::string toRemove = d;
    std::atexit([] {
      std::error_code ec;
      std::filesystem::remove_all(toRemove, ec);
    });
    return d;
  }();
  return dir;
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

inline void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// The bytes of the file to test. The first input byte chooses: even, the
// rest of the input is the file; odd, the template with the rest of the input
// applied as patches of three bytes (offset high, offset low, xor mask).
inline std::string FileBytes(const uint8_t* data, size_t size, const std::string& templ) {
  if (size == 0) return std::string();
  if ((data[0] & 1) == 0) return std::string(reinterpret_cast<const char*>(data + 1), size - 1);
  std::string bytes = templ;
  for (size_t i = 1; i + 2 < size && !bytes.empty(); i += 3) {
    size_t offset = ((static_cast<size_t>(data[i]) << 8) | data[i + 1]) % bytes.size();
    bytes[offset] = static_cast<char>(bytes[offset] ^ data[i + 2]);
  }
  return bytes;
}

// Removes the file and whatever SQLite may have left beside it.
inline void RemoveWithSidecars(const std::string& path) {
  for (const char* side : {"", "-journal", "-wal", "-shm"}) std::remove((path + side).c_str());
}

}  // namespace fuzzfiles
