// A definition of any type code with a given table, for what depends on the class of another definition.
#ifndef QVR_DEFINITIONS_FAKE_DEFINITION_H
#define QVR_DEFINITIONS_FAKE_DEFINITION_H

#include <string>
#include <vector>

#include "definitions/node_definition.h"
#include "model/network.h"

namespace qvr {

class FakeDefinition : public QVR_nodeDefinition {
 public:
  // Outcomes "f0", "f1", ..., and a table over the node's parents; no table for an outcome count of 0.
  FakeDefinition(QVR_network& newNetwork, int newHandle, int newType, int outcomeCount,
                 const std::vector<double>& cells)
      : QVR_nodeDefinition(&newNetwork, newHandle), type(newType) {
    std::vector<int> sizes;
    for (int parent : newNetwork.GetParents(newHandle)) {
      sizes.push_back(newNetwork.NodeAt(parent)->GetNumberOfOutcomes());
    }
    for (int i = 0; i < outcomeCount; ++i) {
      names.Add(("f" + std::to_string(i)).c_str());
    }
    sizes.push_back(type == kTypeTable ? 1 : outcomeCount);
    if (!cells.empty() && table.SetDimensions(sizes) == QVR_OKAY) {
      table.GetItems().Assign(cells);
    }
    SetReady(true);
  }

  [[nodiscard]] int GetType() const override { return type; }
  [[nodiscard]] const char* GetTypeName() const override { return "FAKE"; }
  [[nodiscard]] int GetNumberOfOutcomes() const override {
    return names.GetNumItems() > 0 ? names.GetNumItems() : QVR_WRONG_NODE_TYPE;
  }
  [[nodiscard]] QVR_stringArray* GetOutcomeNames() override {
    return names.GetNumItems() > 0 ? &names : nullptr;
  }
  int GetMatrix(QVR_Dmatrix*& out) override {
    out = table.GetNumElements() > 0 ? &table : nullptr;
    return out != nullptr ? QVR_OKAY : QVR_OUT_OF_MEMORY;
  }
  int GetDataArray(QVR_doubleArray*& out) override {
    out = table.GetNumElements() > 0 ? &table.GetItems() : nullptr;
    return out != nullptr ? QVR_OKAY : QVR_OUT_OF_MEMORY;
  }
  int RemoveParent(int /*parentHandle*/) override { return QVR_OKAY; }
  [[nodiscard]] int TestParentGrowth(int /*parentHandle*/) const override { return growthStatus; }

  int growthStatus = QVR_OKAY;

 private:
  int type;
  QVR_idArray names;
  QVR_Dmatrix table;
};

}  // namespace qvr

#endif
