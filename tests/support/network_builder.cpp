#include "support/network_builder.h"

#include "definitions/cpt.h"
#include "definitions/equation.h"

namespace qvr {

int AddChance(QVR_network& network, const char* id, int outcomeCount, const std::vector<int>& parents,
              const std::vector<double>& table) {
  const int handle = network.AddNode(kTypeCpt, id);
  if (handle < 0) {
    return handle;
  }
  if (outcomeCount != 2) {
    if (int status = network.NodeAt(handle)->definition->SetNumberOfOutcomes(outcomeCount); status < 0) {
      return status;
    }
  }
  for (int parent : parents) {
    if (int status = network.AddArc(parent, handle, kOrdinaryLayer); status < 0) {
      return status;
    }
  }
  const int status = SetTable(network, handle, table);
  return status < 0 ? status : handle;
}

int AddEquation(QVR_network& network, const char* id, const char* text, double lower, double upper) {
  const int handle = network.AddNode(kTypeEquation, id);
  if (handle < 0) {
    return handle;
  }
  auto& definition = dynamic_cast<QVR_equation&>(*network.NodeAt(handle)->definition);
  definition.SetBounds(lower, upper);
  const int status = definition.SetEquation(text);
  return status < 0 ? status : handle;
}

int SetTable(QVR_network& network, int handle, const std::vector<double>& table) {
  auto* definition = dynamic_cast<QVR_cpt*>(network.NodeAt(handle)->definition.get());
  if (definition == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_doubleArray cells;
  if (int status = cells.Assign(table); status < 0) {
    return status;
  }
  return definition->SetProbabilities(cells);
}

QVR_Dmatrix* TableOf(QVR_network& network, int handle) {
  QVR_nodeDefinition* definition = network.NodeAt(handle)->definition.get();
  QVR_Dmatrix* matrix = nullptr;
  if (definition == nullptr || definition->GetNumberOfOutcomes() < 1 || definition->GetMatrix(matrix) < 0) {
    return nullptr;
  }
  return matrix;
}

std::vector<double> CellsOf(QVR_network& network, int handle) {
  QVR_Dmatrix* matrix = TableOf(network, handle);
  if (matrix == nullptr) {
    return {};
  }
  const std::span<const double> cells = matrix->GetItems().Vector();
  return {cells.begin(), cells.end()};
}

std::vector<double> NumbersOf(QVR_network& network, int handle) {
  QVR_doubleArray* cells = nullptr;
  if (network.NodeAt(handle)->definition->GetDataArray(cells) < 0) {
    return {};
  }
  return {cells->Vector().begin(), cells->Vector().end()};
}

std::vector<int> AllNodes(const QVR_network& network) {
  QVR_intArray handles;
  network.GetAllNodes(handles);
  return ListOf(handles);
}

QVR_nodeValue& ValueOf(QVR_network& network, int handle) { return *network.NodeAt(handle)->value; }

std::vector<double> BeliefOf(QVR_network& network, int handle) {
  QVR_Dmatrix* matrix = ValueOf(network, handle).GetMatrix();
  if (matrix == nullptr) {
    return {};
  }
  const std::span<const double> cells = matrix->GetItems().Vector();
  return {cells.begin(), cells.end()};
}

int ReorderParents(QVR_network& network, int handle, const QVR_intArray& order) {
  const int status = network.NodeAt(handle)->definition->ReorderParents(order);
  return status < 0 ? status : const_cast<QVR_intArray&>(network.GetParents(handle)).Permute(order);
}

int SetLikelihoods(QVR_network& network, int handle, const std::vector<double>& likelihoods) {
  QVR_doubleArray list;
  if (int status = list.Assign(likelihoods); status < 0) {
    return status;
  }
  return ValueOf(network, handle).SetVirtualEvidence(list);
}

}  // namespace qvr
