// CArray: a growable array of values (the framework's dynamic array) with
// size, indexing, add, insert, remove and copy. An index outside the array
// never touches memory outside it: reads give a default value and writes
// are dropped.
#pragma once

#include <cstddef>
#include <vector>

template <typename T, typename ARG = const T&>
class CArray {
 public:
  int GetSize() const { return static_cast<int>(items_.size()); }
  int GetCount() const { return GetSize(); }
  int GetUpperBound() const { return GetSize() - 1; }
  bool IsEmpty() const { return items_.empty(); }
  void SetSize(int n) { items_.resize(n > 0 ? static_cast<size_t>(n) : 0); }

  T GetAt(int i) const { return Valid(i) ? items_[static_cast<size_t>(i)] : T(); }
  void SetAt(int i, ARG v) {
    if (Valid(i)) items_[static_cast<size_t>(i)] = v;
  }
  T& ElementAt(int i) { return Valid(i) ? items_[static_cast<size_t>(i)] : (scratch_ = T()); }
  T& operator[](int i) { return ElementAt(i); }
  T operator[](int i) const { return GetAt(i); }
  T* GetData() { return items_.data(); }

  int Add(ARG v) {
    items_.push_back(v);
    return GetSize() - 1;
  }
  // Inserts count copies of v before index i (at the end when i is the size).
  void InsertAt(int i, ARG v, int count = 1) {
    if (i < 0 || i > GetSize() || count <= 0) return;
    items_.insert(items_.begin() + i, static_cast<size_t>(count), v);
  }
  void RemoveAt(int i, int count = 1) {
    if (!Valid(i) || count <= 0) return;
    int last = i + count > GetSize() ? GetSize() : i + count;
    items_.erase(items_.begin() + i, items_.begin() + last);
  }
  void RemoveAll() { items_.clear(); }
  void Copy(const CArray& src) { items_ = src.items_; }
  int Append(const CArray& src) {
    int first = GetSize();
    items_.insert(items_.end(), src.items_.begin(), src.items_.end());
    return first;
  }

 private:
  bool Valid(int i) const { return i >= 0 && i < GetSize(); }
  std::vector<T> items_;
  T scratch_ = T();
};
