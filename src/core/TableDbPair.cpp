// DDB: the shipped index file and the user's file of one kind, read as one
// table. The user's file wins: it is searched and scanned first, and an index
// record whose key the user file also holds is hidden behind it.
#include <filesystem>
#include <utility>

#include "chartcalc/TableDb.h"

using namespace chartcalc::detail;

DDB::DDB(int mode) : mode_(mode) {}

DDB::DDB(const char* indexFile, const char* userFile, int mode)
    : index_(indexFile, mode),
      user_(userFile, mode),
      indexPath_(indexFile ? indexFile : ""),
      userPath_(userFile ? userFile : ""),
      mode_(mode) {}

void DDB::SetExtension(const SString& ext) {
  if (ext.IsEmpty()) return;
  std::string e = ext.str()[0] == '.' ? ext.str() : "." + ext.str();
  auto withExt = [&](const std::string& p) {
    return p.empty() ? p : std::filesystem::path(p).replace_extension(e).string();
  };
  indexPath_ = withExt(indexPath_);
  userPath_ = withExt(userPath_);
  index_.SetFileName(indexPath_.c_str());
  user_.SetFileName(userPath_.c_str());
  side_ = kNoSide;
  keyField_.clear();
}

DB* DDB::Current() {
  switch (side_) {
    case kUserSide:
      return &user_;
    case kIndexSide:
      return &index_;
    default:
      return nullptr;
  }
}

// The key of a definition: the first declared field (the definition's name).
const std::string& DDB::KeyField() {
  if (keyField_.empty()) {
    const DBField* f = index_.GetField(0);
    if (!f && HasUser()) f = user_.GetField(0);
    if (f) keyField_ = f->name;
  }
  return keyField_;
}

bool DDB::IsShadowed() { return HasUser() && !index_.Eof() && shadow_.count(index_.GetStr(KeyField().c_str())) > 0; }

void DDB::SkipShadowed() {
  while (!index_.Eof() && IsShadowed()) index_.MoveNext();
  side_ = index_.Eof() ? kNoSide : kIndexSide;
}

int DDB::StartIndexScan() {
  shadow_.clear();
  if (HasUser()) user_.CollectValues(KeyField().c_str(), shadow_);
  index_.MoveFirst();
  SkipShadowed();
  return side_ == kNoSide ? 0 : 1;
}

int DDB::FindFirst(const char* field, const char* value) {
  side_ = kNoSide;
  if (HasUser() && user_.FindFirst(field, value)) {
    side_ = kUserSide;
    return 1;
  }
  shadow_.clear();
  if (HasUser()) user_.CollectValues(KeyField().c_str(), shadow_);
  for (int found = index_.FindFirst(field, value); found; found = index_.FindNext(field, value))
    if (!IsShadowed()) {
      side_ = kIndexSide;
      return 1;
    }
  return 0;
}

int DDB::MoveFirst(int mode) {
  side_ = kNoSide;
  if (HasUser() && user_.MoveFirst(mode)) {
    side_ = kUserSide;
    return 1;
  }
  return StartIndexScan();
}

int DDB::MoveNext(int mode) {
  if (side_ == kUserSide) {
    if (user_.MoveNext(mode)) return 1;
    return StartIndexScan();
  }
  if (side_ == kIndexSide) {
    index_.MoveNext(mode);
    SkipShadowed();
  }
  return side_ == kNoSide ? 0 : 1;
}

int DDB::Eof() { return Current() ? Current()->Eof() : 1; }

int DDB::Deleted() { return Current() ? Current()->Deleted() : 0; }

char* DDB::GetStr(const char* field) {
  static thread_local char empty[1];
  empty[0] = '\0';
  return Current() ? Current()->GetStr(field) : empty;
}

const DBField* DDB::FindField(const char* name) {
  const DBField* f = Target().FindField(name);
  if (!f && HasUser()) f = index_.FindField(name);
  return f;
}

// The file written to exists, or is created empty with the declarations of
// the other file. A file that exists but is not a table is never replaced.
bool DDB::EnsureTargetExists() {
  DB& target = Target();
  if (target.IsOpen()) return true;
  if (!HasUser() || FileExist(userPath_.c_str()) || !index_.IsOpen()) return false;
  DB fresh(mode_);
  fresh.CreateDB(userPath_.c_str());
  for (int i = 0; i < index_.GetFieldCount(); ++i) {
    const DBField* f = index_.GetField(i);
    fresh.InsertField(f->name.c_str(), f->type, f->width);
  }
  fresh.WriteHead();
  fresh.WriteField();
  if (!fresh.WriteEof()) return false;
  fresh.Close();
  user_.SetFileName(userPath_.c_str());
  return user_.IsOpen() != 0;
}

int DDB::Append(const SString& key) {
  side_ = kNoSide;
  if (!EnsureTargetExists() || !Target().Append(key)) return 0;
  side_ = HasUser() ? kUserSide : kIndexSide;
  return 1;
}

int DDB::InsField(const SString& field, const SString& value) {
  return Current() ? Current()->InsField(field, value) : 0;
}

// A record of the index file is written as a copy into the user file, with
// its changes and its deleted mark.
int DDB::WriteRecord() {
  if (side_ != kIndexSide || !HasUser()) return Current() ? Current()->WriteRecord() : 0;
  if (!EnsureTargetExists()) return 0;
  std::vector<std::pair<std::string, std::string>> values;
  for (int i = 0; i < index_.GetFieldCount(); ++i) {
    const std::string& name = index_.GetField(i)->name;
    values.emplace_back(name, index_.GetStr(name.c_str()));
  }
  int deleted = index_.Deleted();
  if (!user_.Append("")) return 0;
  for (const auto& [name, value] : values) user_.InsField(name.c_str(), value.c_str());
  user_.SetDeleted(deleted);
  side_ = kUserSide;
  return user_.WriteRecord();
}

int DDB::Delete() {
  if (!Current()) return 0;
  Current()->SetDeleted(1);
  return WriteRecord();
}
