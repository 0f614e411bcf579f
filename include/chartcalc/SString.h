// SString: the library's single-byte (code page 949) string with value
// semantics and fixed rules for turning numbers into text.
#pragma once

#include <string>
#include <vector>

// Final: its assignment operators are virtual but its destructor is not, so
// it must never be a base class.
class SString final {
 public:
  SString() = default;
  SString(const SString&) = default;
  SString(SString&&) noexcept = default;
  SString(const std::string& s) : text_(s) {}
  SString(char c, int n) : text_(n > 0 ? static_cast<size_t>(n) : 0, c) {}
  SString(const char* p, int n);
  SString(const unsigned char* p) : SString(reinterpret_cast<const char*>(p)) {}
  SString(const char* p) : text_(p ? p : "") {}
  SString(int v) : SString(static_cast<long>(v)) {}
  SString(unsigned int v) : SString(static_cast<unsigned long>(v)) {}
  SString(long v);
  SString(unsigned long v);  // as ultos
  SString(double v);
  SString(const wchar_t* w);
  ~SString() = default;

  SString& operator=(const SString&) = default;
  SString& operator=(SString&&) noexcept = default;
  SString& operator=(const char* p) {
    text_ = p ? p : "";
    return *this;
  }
  virtual SString& operator=(double v);
  virtual SString& operator=(float v) { return *this = static_cast<double>(v); }
  virtual SString& operator=(int v) { return *this = static_cast<long>(v); }
  virtual SString& operator=(unsigned int v) { return *this = static_cast<unsigned long>(v); }
  virtual SString& operator=(long v);
  virtual SString& operator=(unsigned long v);

  const char* c_str() const { return text_.c_str(); }
  int Length() const { return static_cast<int>(text_.size()); }
  bool IsEmpty() const { return text_.empty(); }
  const std::string& str() const { return text_; }
  std::string& str() { return text_; }
  SString& Trim();

  SString& operator+=(const SString& s) {
    text_ += s.text_;
    return *this;
  }
  friend SString operator+(const SString& a, const SString& b) { return SString(a.text_ + b.text_); }
  friend bool operator==(const SString& a, const SString& b) { return a.text_ == b.text_; }
  friend bool operator!=(const SString& a, const SString& b) { return a.text_ != b.text_; }

 private:
  std::string text_;
};

// Number formats of the string type.
SString ltos(long v);                // "%ld"
SString ultos(unsigned long v);      // "%ld" too, so values above 2^31-1 read negative
SString dtos(double v, int digits);  // digits > 0: fixed decimals; else "%g"

// The framework's string type is the library's own string here.
using CString = SString;

// An ordered list of strings. An index outside the list reads as an empty
// string (and writing to it changes nothing in the list).
class SAnsiStringList {
 public:
  void Add(const SString& s) { items_.push_back(s); }
  void Clear() { items_.clear(); }
  long Count() const { return static_cast<long>(items_.size()); }
  SString& operator[](long i) { return Valid(i) ? items_[static_cast<size_t>(i)] : (outside_ = SString()); }
  const SString& operator[](long i) const {
    static const SString kEmpty;
    return Valid(i) ? items_[static_cast<size_t>(i)] : kEmpty;
  }

 private:
  bool Valid(long i) const { return i >= 0 && i < Count(); }
  std::vector<SString> items_;
  SString outside_;
};
