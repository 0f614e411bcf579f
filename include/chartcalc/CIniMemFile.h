// INI settings: CIniMemFile holds a document in memory, CIniFile reads and
// writes single values of a file.
//
// Text format, one item per line (line feed, or carriage return and line
// feed):
//   [Section]        a section; later lines belong to it
//   Key=Value        a value; blanks around the key and the value are ignored
//   ; text, # text   comments
// A value with blanks at either end, a leading double quote or a control
// character is written in double quotes with the escapes \\ \" \n \r \t, and
// read back exactly. Section and key names are compared without regard to
// ASCII case; the first of two equal keys in a section counts. Lines that are
// none of the above (and comments) are kept and written back as they were, so
// saving a document loses nothing that was in its file.
//
// Encoding: the library's texts are code page 949. A document is written as
// UTF-8 when all of it converts cleanly (Korean names read well in any
// editor), otherwise as its code page 949 bytes. Reading accepts both: text
// that is valid UTF-8 (a byte-order mark is skipped) is converted, anything
// else is taken as code page 949. (So a document holding bytes that are not
// code page 949 text, written as those bytes, reads back converted if they
// happen to form UTF-8; the library's own texts never do.)
//
// Files are written whole: aside, then renamed over the target. Reading never
// creates or changes a file.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "chartcalc/CMemFile.h"
#include "chartcalc/SString.h"

namespace chartcalc::detail {

// Files and memory files above this size are refused when loading.
inline constexpr size_t kMaxIniBytes = 16u << 20;

}  // namespace chartcalc::detail

class CIniMemFile {
 public:
  CIniMemFile();
  // The document of the file at path (empty when there is none). With flag 1
  // the document stays bound to the path: released after a change, it writes
  // itself back there (creating the file when it did not exist).
  CIniMemFile(const SString& path, int flag);
  CIniMemFile(const CIniMemFile&) = delete;
  CIniMemFile& operator=(const CIniMemFile&) = delete;
  virtual ~CIniMemFile();

  // Replace the document with the content of a memory file or a file.
  // Return 1 when the content was read; a missing, unreadable or oversized
  // source leaves the document empty and returns 0. For a path, flag 1 binds
  // the document to it as the constructor does (unless the file exists but
  // could not be read, which must never be overwritten). A memory file is
  // never written back; its flag has no effect.
  int LoadIniFile(CMemFile* file, int flag);
  int LoadIniFile(const SString& path, int flag);
  // Replaces the memory file's content with the document's text (position at
  // the start). Returns 1.
  int GetMemFile(CMemFile* file);
  // Writes the document to the file, whole. Returns 1 on success.
  int SaveIniFile(const SString& path);

  // The value of key in section, or dflt when there is none (or, for the
  // numbers, when the value is not a number). GetInt returns the int as
  // unsigned, as the INI accessors always have; assign it to an int.
  unsigned int GetInt(const char* section, const char* key, int dflt);
  double GetDouble(const char* section, const char* key, double dflt);
  SString GetString(const char* section, const char* key, const char* dflt);

  // Set a value (the default argument is the key's default; values are
  // written whatever it is). A section name with "]" or a line break, or a
  // key with "=", a line break, blanks at its ends or a leading "[", ";" or
  // "#", cannot be written in the format and is refused (returns 0).
  int WriteInt(const char* section, const char* key, int value);
  int WriteInt(const char* section, const char* key, int value, int dflt);
  int WriteDouble(const char* section, const char* key, double value, double dflt = 0.0);
  int WriteString(const char* section, const char* key, const char* value, const char* dflt = "");

  // The document as text (code page 949), and parsing one.
  std::string GetText() const;
  void SetText(std::string_view cp949);
  void Clear();
  int IsModified() const { return modified_ ? 1 : 0; }
  int HasKey(const char* section, const char* key) const;

 private:
  struct Line {
    std::string key;    // empty for a kept line
    std::string value;  // the value, or the kept line's text
  };
  struct Section {
    std::string name;
    std::vector<Line> lines;
    std::unordered_map<std::string, size_t> keys;  // lower-case key -> line
  };

  const std::string* Find(const char* section, const char* key) const;
  size_t SectionFor(const std::string& name);  // its index, added when new
  void AddLine(Section& s, std::string key, std::string value);
  int Write(const char* section, const char* key, std::string value);
  int Load(const SString& path, int flag);

  // Section 0 holds the lines before the first section header.
  std::vector<Section> sections_;
  std::unordered_map<std::string, size_t> sectionIndex_;
  std::string boundPath_;
  bool modified_ = false;
};
