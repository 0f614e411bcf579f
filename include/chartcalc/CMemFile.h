// CMemFile: an in-memory file, a growable byte buffer with a position. It
// carries settings blobs between the host and the INI documents: writing
// to it replaces or extends its bytes, loading from it reads its whole
// content from the start.
#pragma once

#include <string>
#include <string_view>

class CMemFile {
 public:
  enum SeekPosition { begin = 0, current = 1, end = 2 };

  CMemFile() = default;
  CMemFile(const CMemFile&) = default;
  CMemFile& operator=(const CMemFile&) = default;
  virtual ~CMemFile() = default;

  // Writes n bytes at the position (growing the file) and moves past them.
  void Write(const void* data, unsigned int n);
  // Reads up to n bytes from the position; returns the number read.
  unsigned int Read(void* data, unsigned int n);
  // Moves the position (clamped to 0 .. length) and returns it.
  unsigned long long Seek(long long offset, int from);
  void SeekToBegin() { pos_ = 0; }
  unsigned long long SeekToEnd() { return pos_ = bytes_.size(); }
  unsigned long long GetPosition() const { return pos_; }
  unsigned long long GetLength() const { return bytes_.size(); }
  // Cuts or extends (with zero bytes) the file to n bytes.
  void SetLength(unsigned long long n);

  // The whole content, and replacing it (position at the start).
  std::string_view Content() const { return bytes_; }
  void SetContent(std::string_view bytes);

 private:
  std::string bytes_;
  unsigned long long pos_ = 0;
};
