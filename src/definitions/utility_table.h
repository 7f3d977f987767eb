// The definition of a utility node: one number for each combination of parent outcomes.
#ifndef QVR_DEFINITIONS_UTILITY_TABLE_H
#define QVR_DEFINITIONS_UTILITY_TABLE_H

#include "definitions/tabular_definition.h"

namespace qvr {

// The last dimension of the table has size 1, so without parents it holds one number.
class QVR_table : public TabularDefinition {
 public:
  QVR_table(QVR_network* newNetwork, int newHandle);
  QVR_table(const QVR_table& other) = default;  // deep clone; nobody is told

  void CleanUp(int deep) override;
  [[nodiscard]] int GetType() const override { return kTypeTable; }
  [[nodiscard]] const char* GetTypeName() const override { return "TABLE"; }
  int RebuildFromNetwork() override;
  // -2 for hybrid classes.
  int AdoptFrom(QVR_nodeDefinition& other) override;
  // By the differences of utilities, relative to the range of the whole table.
  int CheckParentInfluence(int parentIndex, double epsilon, int& isRelevant) override;
  int ExpandInto(QVR_nodeDefinition& other) override;

  // All cells, in flat order. -2 unless the count is that of the table.
  int SetUtilities(const QVR_doubleArray& array) { return SetAllValues(array); }
  // As RescaleCells in utility_scale.h; -567 if not ready.
  int RescaleUtilities(double fromLow, double fromHigh, double toLow, double toHigh);
  [[nodiscard]] double GetMinimumUtility() const;
  [[nodiscard]] double GetMaximumUtility() const;

 private:
  int ResetTable();
  int AdoptContent(QVR_nodeDefinition& other);
  void AdoptData(QVR_nodeDefinition& other);
};

}  // namespace qvr

#endif
