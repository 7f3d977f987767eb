// The definition of a decision node: its choices.
#ifndef QVR_DEFINITIONS_LIST_H
#define QVR_DEFINITIONS_LIST_H

#include "definitions/node_definition.h"

namespace qvr {

// The outcomes are the choices, at least 2. Parents are what is known when the choice is made; a list keeps
// nothing of them.
class QVR_list : public QVR_nodeDefinition {
 public:
  QVR_list(QVR_network* newNetwork, int newHandle);
  QVR_list(const QVR_list& other);  // deep clone; nobody is told

  void CleanUp(int deep) override;
  void CheckReady(int deep) override;
  void CheckConsistency(int deep) override;
  [[nodiscard]] int GetType() const override { return kTypeList; }
  [[nodiscard]] const char* GetTypeName() const override { return "LIST"; }
  int AddParent(int parentHandle) override;  // tests the parent's type alone
  int RemoveParent(int parentHandle) override;
  int AddParentOutcome(int parentHandle, int position) override;
  int RemoveParentOutcome(int parentHandle, int position) override;
  int ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) override;
  int ReorderParents(const QVR_intArray& order) override;
  int RebuildFromNetwork() override;
  // Takes names alone. -2 for a multi-attribute utility and for hybrid classes.
  int AdoptFrom(QVR_nodeDefinition& other) override;
  int DropUnsupportedParents() override;  // removes every arc into the node
  [[nodiscard]] int GetNumberOfOutcomes() const override { return choiceCount; }
  int RenameOutcomes(const QVR_stringArray& names) override;
  [[nodiscard]] QVR_stringArray* GetOutcomeNames() override { return &choiceNames; }
  // Names that aren't all valid and different count only by their number, which is taken as at least 2.
  int SetNumberOfOutcomes(const QVR_stringArray& names) override;
  int SetNumberOfOutcomes(int count) override;
  int ReorderOutcomes(const QVR_intArray& order) override;
  int GetChoiceNames(QVR_idArray*& out) override;
  using QVR_nodeDefinition::SetResultingStates;
  int SetResultingStates(const QVR_stringArray& names) override { return SetChoiceNames(names); }

  // Untested texts; -2 unless there is one for each choice.
  int SetChoiceNames(const QVR_stringArray& names);
  // Numbers of any count. With one for each choice they follow the choices; the engine reads them nowhere.
  int SetChoiceValues(const QVR_doubleArray& array);
  [[nodiscard]] const QVR_doubleArray& GetChoiceValues() const { return choiceValues; }

 private:
  // Replaces the choices; evidence goes and the value starts afresh, whatever the count.
  int ResetChoices(const QVR_idArray& names);
  int InsertOutcomeAt(int position, const char* name) override;
  int RemoveOutcomeAt(int position) override;
  int AdoptNames(QVR_nodeDefinition& other);
  int FillUpChoices();
  [[nodiscard]] bool HasValueForEachChoice() const { return choiceValues.GetNumItems() == choiceCount; }

  int choiceCount = 0;
  QVR_idArray choiceNames;
  QVR_doubleArray choiceValues;  // list
};

}  // namespace qvr

#endif
