// Arrays of owned texts: the plain one, and the one that keeps valid unique identifiers.
#ifndef QVR_MODEL_STRING_ARRAY_H
#define QVR_MODEL_STRING_ARRAY_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "model/number_array.h"
#include "model/object.h"

namespace qvr {

class QVR_array : public QVR_object {
 public:
  explicit QVR_array(int newDelta = 10) : delta(newDelta < 1 ? 10 : newDelta) { SetReady(true); }

  void CleanUp(int deep) override;

  [[nodiscard]] int GetSize() const { return size; }          // allocated entries
  [[nodiscard]] int GetNumItems() const { return numItems; }  // entries in use
  [[nodiscard]] int GetDelta() const { return delta; }        // growth step

 protected:
  int size = 0;
  int numItems = 0;
  int delta;
};

// Entries may be null. Texts are bytes, compared byte by byte. Every text argument may point into this
// array's own content.
class QVR_stringArray : public QVR_array {
 public:
  explicit QVR_stringArray(int newDelta = 10) : QVR_array(newDelta) {}
  QVR_stringArray(const QVR_stringArray& other);
  QVR_stringArray& operator=(const QVR_stringArray&) = delete;  // copying goes through Copy

  void CleanUp(int deep) override;
  void CheckReady(int deep) override;

  // Stores a copy, or null. -567 if not ready; -2 unless 0 <= i < size. numItems doesn't change.
  virtual int SetItem(int i, const char* text);
  virtual int Add(const char* text);
  // -567 if not ready; -2 unless 0 <= i <= numItems; -42 with the array unchanged.
  virtual int Insert(int i, const char* text);

  // As for number arrays; the strings go unless n equals size.
  int SetSize(int n);
  // -2 if not ready or unless 0 <= i < size.
  int Delete(int i);
  // The first position among numItems, or -2 (also for null, or an array that isn't ready).
  [[nodiscard]] int Find(const char* text) const;
  // Null for a null entry and outside 0 to size - 1. Stays valid until the entry changes.
  [[nodiscard]] const char* Get(int i) const;
  void Flush();
  // -567 if the other isn't ready. Takes every one of `size` entries, numItems and delta.
  int Copy(const QVR_stringArray& other);
  // Appends the empty text with no validity test, in the identifier array too.
  int AddEmpty();
  // new[i] = old[order[i]]; -2 with nothing changed for a bad order.
  int Permute(const QVR_intArray& order);

 protected:
  // Called by every operation of this class that changes an entry.
  virtual void EntriesChanged() {}

 private:
  // All empty texts are one: most of a node's texts are empty, and no memory goes to them.
  struct TextDeleter {
    void operator()(const char* text) const;
  };
  using Text = std::unique_ptr<const char[], TextDeleter>;
  [[nodiscard]] static Text Duplicate(const char* text);
  [[nodiscard]] static std::vector<Text> Duplicate(const std::vector<Text>& items);

  std::vector<Text> items;  // `size` entries; a text keeps its place when others move
};

// Items are valid identifiers (without the at-sign exception of node names) and unique, but for empty
// ones where allowEmpty is set. Names are looked up through a hash index.
class QVR_idArray : public QVR_stringArray {
 public:
  explicit QVR_idArray(bool newAllowEmpty = false, int newDelta = 10);
  QVR_idArray(const QVR_idArray& other);
  ~QVR_idArray() override;

  void CheckConsistency(int deep) override;
  int SetItem(int i, const char* text) override;  // -2 unless IsValidAt(text, i)
  int Add(const char* text) override;             // -2 unless IsValidNew(text)
  int Insert(int i, const char* text) override;

  [[nodiscard]] bool AllowsEmpty() const { return allowEmpty; }
  void SetAllowEmpty(bool newAllowEmpty) { allowEmpty = newAllowEmpty; }

  [[nodiscard]] int IsValidNew(const char* text) const;
  // The same, leaving the entry at i out when looking for duplicates.
  [[nodiscard]] int IsValidAt(const char* text, int i) const;
  // `base` made valid, alone if `first` is negative and that is free, else with the first free number
  // from `first` (at least 0) behind it. A null or empty base is taken as "x".
  [[nodiscard]] std::string MakeUniqueId(const char* base, int first) const;
  int AddUniqueId(const char* base, int first);
  int InsertUniqueId(const char* base, int first, int i);
  // Repairs bad and repeated names; entries already valid and unique stay. -2, with the array as it
  // was, if that fails.
  int MakeAllValid();
  // As the base's; from another identifier array takes allowEmpty as well. Tests no name.
  int Copy(const QVR_stringArray& other);
  int Copy(const QVR_idArray& other);
  // The first position of the text by the index, or -2.
  [[nodiscard]] int FindId(std::string_view text) const;

 protected:
  void EntriesChanged() override;

 private:
  struct Index;
  // Null for an array so short that a scan is faster, and when memory is short.
  Index* IndexNow() const;
  [[nodiscard]] bool IsTaken(std::string_view text, int except) const;
  int InsertUnchecked(int i, const char* text);
  int AddRepaired(const char* text);

  bool allowEmpty;
  mutable std::unique_ptr<Index> index;  // null until first used after a change it didn't follow
};

}  // namespace qvr

#endif
