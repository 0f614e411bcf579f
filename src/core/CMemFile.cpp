#include "chartcalc/CMemFile.h"

#include <algorithm>
#include <cstring>

void CMemFile::Write(const void* data, unsigned int n) {
  if (!data || n == 0) return;
  if (pos_ + n > bytes_.size()) bytes_.resize(pos_ + n);
  std::memcpy(bytes_.data() + pos_, data, n);
  pos_ += n;
}

unsigned int CMemFile::Read(void* data, unsigned int n) {
  if (!data || pos_ >= bytes_.size()) return 0;
  unsigned int k = static_cast<unsigned int>(std::min<unsigned long long>(n, bytes_.size() - pos_));
  std::memcpy(data, bytes_.data() + pos_, k);
  pos_ += k;
  return k;
}

unsigned long long CMemFile::Seek(long long offset, int from) {
  long long base = from == current ? static_cast<long long>(pos_)
                   : from == end   ? static_cast<long long>(bytes_.size())
                                   : 0;
  long long target = base + offset;
  if (offset > 0 && target < base) target = static_cast<long long>(bytes_.size());  // overflow
  pos_ = static_cast<unsigned long long>(std::clamp<long long>(target, 0, static_cast<long long>(bytes_.size())));
  return pos_;
}

void CMemFile::SetLength(unsigned long long n) {
  bytes_.resize(n);
  pos_ = std::min<unsigned long long>(pos_, n);
}

void CMemFile::SetContent(std::string_view bytes) {
  bytes_.assign(bytes);
  pos_ = 0;
}
