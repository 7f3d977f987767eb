// The small descriptive records that networks, nodes and submodels carry.
#ifndef QVR_MODEL_METADATA_H
#define QVR_MODEL_METADATA_H

#include <string>

#include "model/object.h"
#include "model/rectangle.h"
#include "model/string_array.h"

namespace qvr {

// Three texts, all empty at first.
class QVR_creation : public QVR_object {
 public:
  QVR_creation() { SetReady(true); }
  void CleanUp(int deep) override;

  std::string creator;
  std::string created;
  std::string modified;
};

// Pairs of an identifier and a text. A missing value reads as an empty text.
class QVR_userProperties : public QVR_object {
 public:
  QVR_userProperties() { SetReady(true); }
  void CleanUp(int deep) override;
  void CheckConsistency(int deep) override;

  [[nodiscard]] int GetCount() const { return names.GetNumItems(); }
  [[nodiscard]] const char* GetName(int i) const { return names.Get(i); }
  [[nodiscard]] const char* GetValue(int i) const;
  // -2 for a name that is no identifier or is taken.
  int Add(const char* name, const char* value);
  int Insert(int i, const char* name, const char* value);
  [[nodiscard]] int Find(const char* name) const;  // the position, or -2
  int Delete(int i);
  // Puts the pair at the position, taking it away from where its name stood before. If the name or the
  // position is refused nothing changes.
  int Set(int position, const char* name, const char* value);
  int Copy(const QVR_userProperties& other);  // -567 if the source isn't ready

 private:
  QVR_idArray names;
  QVR_stringArray values;
};

// Pairs of a title and a link.
class QVR_documentation : public QVR_object {
 public:
  QVR_documentation() { SetReady(true); }
  void CleanUp(int deep) override;
  void CheckConsistency(int deep) override;
  int Copy(const QVR_documentation& other);

  QVR_stringArray titles;
  QVR_stringArray links;
};

class QVR_screenInfo : public QVR_object {
 public:
  static constexpr int kInherit = static_cast<int>(0x80000001U);  // taken from the enclosing submodel
  static constexpr int kShowInArcs = 1;
  static constexpr int kShowOutArcs = 2;

  QVR_screenInfo() { SetReady(true); }

  // -567 if the other isn't ready. Takes width and height where they are 0, and every field that holds
  // the inherit marker.
  int InheritFrom(const QVR_screenInfo& other);

  QVR_rectangle position;
  int color = kInherit;
  int selectionColor = kInherit;
  int font = kInherit;
  int fontColor = kInherit;
  int borderThickness = kInherit;
  int borderColor = kInherit;
  int arcFlags = kShowInArcs | kShowOutArcs;
};

// Item i of one list belongs with item i of the other.
class QVR_textBoxList : public QVR_object {
 public:
  QVR_textBoxList() { SetReady(true); }
  QVR_rectangleArray boxes;
  QVR_stringArray texts;
};

}  // namespace qvr

#endif
