// Reads the input as a program of structural operations on a network of chance nodes. After each one the
// network's invariants must hold; operations that are refused must change nothing that breaks them.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "definitions/cpt.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr int kMaxNodes = 8;
constexpr int kMaxOutcomes = 5;
constexpr int kMaxParents = 3;
constexpr int kMaxSteps = 200;

// 0 when the input is used up.
class Bytes {
 public:
  Bytes(const std::uint8_t* newData, std::size_t newSize) : next(newData), remaining(newSize) {}
  int Next() {
    if (remaining == 0) {
      return 0;
    }
    --remaining;
    return *next++;
  }
  int Below(int n) { return Next() % n; }
  [[nodiscard]] bool AtEnd() const { return remaining == 0; }

 private:
  const std::uint8_t* next;
  std::size_t remaining;
};

QVR_cpt* CptAt(QVR_network& network, int handle) {
  QVR_node* node = network.NodeAt(handle);
  return node == nullptr ? nullptr : static_cast<QVR_cpt*>(node->definition.get());
}

// Possibly no permutation, which is to be refused.
void FillOrder(Bytes& bytes, int count, QVR_intArray& order) {
  for (int i = 0; i < count; ++i) {
    order.Add(bytes.Below(count));
  }
}

void EditGraph(Bytes& bytes, QVR_network& network, int handle) {
  const int other = bytes.Below(kMaxNodes);
  switch (bytes.Below(6)) {
    case 0:
    case 1:
      if (network.GetNumberOfParents(handle) < kMaxParents) {
        network.AddArc(other, handle, kOrdinaryLayer);
      }
      break;
    case 2:
      network.RemoveArc(other, handle, kOrdinaryLayer);
      break;
    case 3:
      network.DeleteNode(handle);
      break;
    case 4:
      if (network.GetNumberOfNodes() < kMaxNodes) {
        network.AddNode(kTypeCpt, nullptr);
      }
      break;
    default:
      if (QVR_node* node = network.NodeAt(handle); node != nullptr) {
        node->SetId(("n" + std::to_string(other)).c_str());
      }
  }
}

void EditOutcomes(Bytes& bytes, QVR_cpt& cpt) {
  const int count = cpt.GetNumberOfOutcomes();
  const int position = bytes.Below(kMaxOutcomes + 1) - 1;
  const std::string name = "o" + std::to_string(bytes.Below(8));
  QVR_intArray order;
  switch (bytes.Below(6)) {
    case 0:
      count < kMaxOutcomes ? cpt.AddOutcome(name.c_str()) : 0;
      break;
    case 1:
      count < kMaxOutcomes ? cpt.InsertOutcome(position, name.c_str()) : 0;
      break;
    case 2:
      cpt.RemoveOutcome(position);
      break;
    case 3:
      cpt.RenameOutcome(position, name.c_str());
      break;
    case 4:
      FillOrder(bytes, count, order);
      cpt.ReorderOutcomes(order);
      break;
    default:
      cpt.SetNumberOfOutcomes(position);
  }
}

void EditNumbers(Bytes& bytes, QVR_cpt& cpt) {
  QVR_doubleArray numbers;
  numbers.SetSize(cpt.GetSize());
  switch (bytes.Below(3)) {
    case 0:
      for (double& number : numbers.Vector()) {
        number = bytes.Next() / 255.0;
      }
      cpt.SetProbabilities(numbers);
      break;
    case 1:
      cpt.MakeUniform();
      break;
    default:
      cpt.RebuildFromNetwork();
  }
}

void EditEvidence(Bytes& bytes, QVR_nodeValue& value, int outcomeCount) {
  QVR_doubleArray likelihoods;
  switch (bytes.Below(3)) {
    case 0:
      value.SetEvidence(bytes.Below(kMaxOutcomes));
      break;
    case 1:
      value.ClearEvidence();
      break;
    default:
      for (int i = 0; i < outcomeCount; ++i) {
        likelihoods.Add(bytes.Below(4));
      }
      value.SetVirtualEvidence(likelihoods);
  }
}

void Step(Bytes& bytes, QVR_network& network) {
  const int kind = bytes.Below(5);
  const int handle = bytes.Below(kMaxNodes);
  QVR_cpt* cpt = CptAt(network, handle);
  if (kind == 0 || cpt == nullptr) {
    EditGraph(bytes, network, handle);
  } else if (kind == 1) {
    EditOutcomes(bytes, *cpt);
  } else if (kind == 2) {
    EditNumbers(bytes, *cpt);
  } else if (kind == 3) {
    EditEvidence(bytes, *network.NodeAt(handle)->value, cpt->GetNumberOfOutcomes());
  } else {
    static_cast<void>(network.UpdateBeliefs());
  }
}

// Every table has the dimensions that the graph asks for, and each value those of its node.
void CheckShapes(QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    std::vector<int> shape;
    for (int parent : network.GetParents(handle)) {
      shape.push_back(network.NodeAt(parent)->GetNumberOfOutcomes());
    }
    const int count = network.NodeAt(handle)->GetNumberOfOutcomes();
    shape.push_back(count);
    QVR_Dmatrix* table = nullptr;
    const bool whole = CptAt(network, handle)->GetMatrix(table) == QVR_OKAY && table->HasShape(shape) &&
                       network.NodeAt(handle)->value->GetMatrix()->GetNumElements() == count;
    if (!whole || count < 2) {
      std::abort();
    }
  }
  if (!network.CheckInvariants().empty()) {
    std::abort();
  }
}

}  // namespace
}  // namespace qvr

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qvr::Bytes bytes(data, size);
  qvr::QVR_network network;
  for (int i = 0; i < 4; ++i) {
    network.AddNode(qvr::kTypeCpt, nullptr);
  }
  for (int step = 0; step < qvr::kMaxSteps && !bytes.AtEnd(); ++step) {
    qvr::Step(bytes, network);
    qvr::CheckShapes(network);
  }
  qvr::QVR_network copy(network);
  qvr::CheckShapes(copy);
  qvr::GetErrorLog().Clear();
  return 0;
}
