#include "chartcalc/CIniMemFile.h"

#include <charconv>
#include <cstdio>

#include "chartcalc/TextHelpers.h"
#include "core/FileUtil.h"
#include "core/TextCodec.h"

using namespace chartcalc::detail;

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

std::string Lower(std::string_view s) {
  std::string out(s);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return out;
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

bool NeedsQuotes(std::string_view v) {
  if (v.empty()) return false;
  if (IsBlank(v.front()) || IsBlank(v.back()) || v.front() == '"') return true;
  for (char c : v)
    if (IsControl(c)) return true;
  return false;
}

// Escapes of quoted values, one row per escape: the character and its letter.
struct Escape {
  char c;
  char letter;
};
constexpr Escape kEscapes[] = {{'\\', '\\'}, {'"', '"'}, {'\n', 'n'}, {'\r', 'r'}, {'\t', 't'}};

std::string QuoteValue(std::string_view v) {
  std::string out = "\"";
  for (char c : v) {
    bool escaped = false;
    for (const Escape& e : kEscapes)
      if (c == e.c) {
        out += '\\';
        out += e.letter;
        escaped = true;
      }
    if (!escaped) out += c;
  }
  return out + "\"";
}

std::string UnquoteValue(std::string_view v) {
  if (v.size() < 2 || v.front() != '"' || v.back() != '"') return std::string(v);
  v = v.substr(1, v.size() - 2);
  std::string out;
  for (size_t i = 0; i < v.size(); ++i) {
    char c = v[i];
    if (c == '\\' && i + 1 < v.size()) {
      for (const Escape& e : kEscapes)
        if (v[i + 1] == e.letter) {
          c = e.c;
          ++i;
          break;
        }
    }
    out += c;
  }
  return out;
}

bool ValidSection(std::string_view name) {
  for (char c : name)
    if (c == ']' || c == '\n' || c == '\r' || c == '\0') return false;
  return TrimBlanks(name).size() == name.size();
}

bool ValidKey(std::string_view key) {
  if (key.empty() || TrimBlanks(key).size() != key.size()) return false;
  if (key[0] == '[' || key[0] == ';' || key[0] == '#') return false;
  for (char c : key)
    if (c == '=' || c == '\n' || c == '\r' || c == '\0') return false;
  return true;
}

// File bytes to the document's code page 949 text.
std::string Decode(std::string_view bytes) {
  if (!IsValidUtf8(bytes)) return std::string(bytes);
  if (bytes.substr(0, kByteOrderMark.size()) == kByteOrderMark) bytes.remove_prefix(kByteOrderMark.size());
  return Cp949FromUtf8Lossy(bytes);
}

// The document's text to file bytes: UTF-8 when it converts cleanly.
std::string Encode(const std::string& cp949) {
  std::string utf8;
  return CleanUtf8(cp949, utf8) ? utf8 : cp949;
}

// The shortest text that reads back as exactly the same double.
std::string DoubleText(double v) {
  char buf[64];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
  return ec == std::errc() ? std::string(buf, end) : std::string(dtos(v, 0).c_str());
}

}  // namespace

CIniMemFile::CIniMemFile() { Clear(); }

CIniMemFile::CIniMemFile(const SString& path, int flag) {
  Clear();
  Load(path, flag);
}

CIniMemFile::~CIniMemFile() {
  if (modified_ && !boundPath_.empty()) SaveIniFile(boundPath_.c_str());
}

void CIniMemFile::Clear() {
  sections_.assign(1, Section{});
  sectionIndex_.clear();
  sectionIndex_[""] = 0;
}

size_t CIniMemFile::SectionFor(const std::string& name) {
  auto [it, added] = sectionIndex_.try_emplace(Lower(name), sections_.size());
  if (added) sections_.push_back(Section{name, {}, {}});
  return it->second;
}

void CIniMemFile::AddLine(Section& s, std::string key, std::string value) {
  if (!key.empty()) s.keys.emplace(Lower(key), s.lines.size());
  s.lines.push_back(Line{std::move(key), std::move(value)});
}

const std::string* CIniMemFile::Find(const char* section, const char* key) const {
  auto s = sectionIndex_.find(Lower(section ? section : ""));
  if (s == sectionIndex_.end() || !key) return nullptr;
  const Section& sec = sections_[s->second];
  auto k = sec.keys.find(Lower(key));
  return k == sec.keys.end() ? nullptr : &sec.lines[k->second].value;
}

int CIniMemFile::HasKey(const char* section, const char* key) const { return Find(section, key) ? 1 : 0; }

// One line at a time: comments and lines that are no INI item are kept as
// they are, a repeated key too (the first one counts).
void CIniMemFile::SetText(std::string_view text) {
  Clear();
  size_t current = 0;
  while (!text.empty()) {
    size_t eol = text.find('\n');
    std::string_view line = text.substr(0, eol);
    text.remove_prefix(eol == std::string_view::npos ? text.size() : eol + 1);
    while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    std::string_view t = TrimBlanks(line);
    if (t.empty()) continue;
    size_t close = t[0] == '[' ? t.rfind(']') : std::string_view::npos;
    size_t eq = t.find('=');
    if (close != std::string_view::npos) {
      current = SectionFor(std::string(TrimBlanks(t.substr(1, close - 1))));
      continue;
    }
    Section& s = sections_[current];
    std::string key(eq == std::string_view::npos ? std::string_view() : TrimBlanks(t.substr(0, eq)));
    bool item = t[0] != ';' && t[0] != '#' && t[0] != '[' && !key.empty() && !s.keys.count(Lower(key));
    if (item)
      AddLine(s, std::move(key), UnquoteValue(TrimBlanks(t.substr(eq + 1))));
    else
      AddLine(s, std::string(), std::string(line));
  }
  modified_ = false;
}

std::string CIniMemFile::GetText() const {
  std::string out;
  for (size_t i = 0; i < sections_.size(); ++i) {
    const Section& s = sections_[i];
    if (i > 0) {
      if (!out.empty()) out += '\n';
      out += "[" + s.name + "]\n";
    }
    for (const Line& line : s.lines) {
      if (line.key.empty())
        out += line.value;
      else
        out += line.key + "=" + (NeedsQuotes(line.value) ? QuoteValue(line.value) : line.value);
      out += '\n';
    }
  }
  return out;
}

int CIniMemFile::Load(const SString& path, int flag) {
  if (modified_ && !boundPath_.empty()) SaveIniFile(boundPath_.c_str());
  boundPath_.clear();
  Clear();
  modified_ = false;
  std::string bytes;
  ReadStatus status = ReadWholeFile(path.str(), kMaxIniBytes, bytes);
  // A file that exists but could not be read must never be overwritten.
  if (flag == 1 && !path.IsEmpty() && (status == ReadStatus::kOk || status == ReadStatus::kMissing))
    boundPath_ = path.str();
  if (status != ReadStatus::kOk) return 0;
  SetText(Decode(bytes));
  return 1;
}

int CIniMemFile::LoadIniFile(const SString& path, int flag) { return Load(path, flag); }

int CIniMemFile::LoadIniFile(CMemFile* file, int) {
  if (modified_ && !boundPath_.empty()) SaveIniFile(boundPath_.c_str());
  boundPath_.clear();
  Clear();
  modified_ = false;
  if (!file || file->GetLength() > kMaxIniBytes) return 0;
  SetText(Decode(file->Content()));
  return 1;
}

int CIniMemFile::GetMemFile(CMemFile* file) {
  if (!file) return 0;
  file->SetContent(Encode(GetText()));
  return 1;
}

int CIniMemFile::SaveIniFile(const SString& path) {
  if (!WriteWholeFile(path.str(), Encode(GetText()))) return 0;
  if (path.str() == boundPath_) modified_ = false;
  return 1;
}

unsigned int CIniMemFile::GetInt(const char* section, const char* key, int dflt) {
  const std::string* v = Find(section, key);
  return static_cast<unsigned int>(v ? static_cast<int>(AnsiStringToInt(SString(*v), dflt)) : dflt);
}

double CIniMemFile::GetDouble(const char* section, const char* key, double dflt) {
  const std::string* v = Find(section, key);
  return v ? AnsiStringToFloat(SString(*v), dflt) : dflt;
}

SString CIniMemFile::GetString(const char* section, const char* key, const char* dflt) {
  const std::string* v = Find(section, key);
  return v ? SString(*v) : SString(dflt);
}

int CIniMemFile::Write(const char* section, const char* key, std::string value) {
  std::string sec = section ? section : "";
  if (!key || !ValidSection(sec) || !ValidKey(key)) return 0;
  Section& s = sections_[SectionFor(sec)];
  auto k = s.keys.find(Lower(key));
  if (k == s.keys.end()) {
    AddLine(s, key, std::move(value));
    modified_ = true;
  } else if (s.lines[k->second].value != value) {
    s.lines[k->second].value = std::move(value);
    modified_ = true;
  }
  return 1;
}

int CIniMemFile::WriteInt(const char* section, const char* key, int value) {
  return Write(section, key, ltos(value).str());
}

int CIniMemFile::WriteInt(const char* section, const char* key, int value, int) {
  return WriteInt(section, key, value);
}

int CIniMemFile::WriteDouble(const char* section, const char* key, double value, double) {
  return Write(section, key, DoubleText(value));
}

int CIniMemFile::WriteString(const char* section, const char* key, const char* value, const char*) {
  return Write(section, key, value ? value : "");
}
