// The definition of an ordinary chance node: outcomes and a conditional probability table.
#ifndef QVR_DEFINITIONS_CPT_H
#define QVR_DEFINITIONS_CPT_H

#include "definitions/tabular_definition.h"

namespace qvr {

// There are always at least 2 outcomes and a table of the right shape; its rows may be inconsistent.
class QVR_cpt : public TabularDefinition {
 public:
  QVR_cpt(QVR_network* newNetwork, int newHandle);
  QVR_cpt(const QVR_cpt& other) = default;  // deep clone; nobody is told

  void CleanUp(int deep) override;
  void CheckReady(int deep) override;
  void CheckConsistency(int deep) override;
  [[nodiscard]] int GetType() const override;
  [[nodiscard]] const char* GetTypeName() const override;
  int RebuildFromNetwork() override;
  int AdoptFrom(QVR_nodeDefinition& other) override;
  [[nodiscard]] int GetNumberOfOutcomes() const override;
  int RenameOutcomes(const QVR_stringArray& names) override;
  [[nodiscard]] QVR_stringArray* GetOutcomeNames() override;
  int SetNumberOfOutcomes(const QVR_stringArray& names) override;
  int SetNumberOfOutcomes(int count) override;
  int ReorderOutcomes(const QVR_intArray& order) override;
  int MakeUniform() override;
  int ExpandInto(QVR_nodeDefinition& other) override;

  // All cells, in flat order. -2 unless the count is that of the table. Inconsistent numbers are taken;
  // the consistent bit goes off.
  int SetProbabilities(const QVR_doubleArray& array);

 protected:
  int StartAfresh(QVR_idArray& ownNames, const QVR_idArray& names) override;
  void AdoptNames(QVR_nodeDefinition& other);
  // What is taken from a source of each class, before all that depends on it is told.
  virtual void AdoptContent(QVR_nodeDefinition& other);

  int numOutcomes = 0;
  QVR_idArray outcomeNames;

 private:
  // At least two outcomes, and a uniform table without parents.
  int ResetTable();
  void FillNewRows() override;
  int InsertOutcomeAt(int position, const char* name) override;
  int RemoveOutcomeAt(int position) override;
  [[nodiscard]] int TestReplacement(int count) const;
  void AdoptTable(QVR_nodeDefinition& other);
  void AdoptUtilities(QVR_nodeDefinition& other);
};

}  // namespace qvr

#endif
