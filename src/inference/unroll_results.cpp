// The solving of a temporal network: unrolls it, updates the copy, and brings the posteriors back.
#include <algorithm>
#include <array>

#include "inference/unroll.h"

namespace qvr {
namespace {

// The value's table, or null for one that isn't a result or, for plate nodes, a plain vector of outcomes.
QVR_Dmatrix* ResultOf(QVR_nodeValue& value, int outcomeCount) {
  QVR_Dmatrix* matrix = value.IsValueValid() ? value.GetMatrix() : nullptr;
  return matrix != nullptr && matrix->HasShape(std::array{outcomeCount}) ? matrix : nullptr;
}

// With the indexing parents that a decision solver gave it.
int TakeResult(QVR_nodeValue& value, QVR_nodeValue& result, int outcomeCount) {
  QVR_Dmatrix* matrix = result.GetMatrix();
  if (matrix == nullptr) {
    return value.AdoptValue(result);
  }
  if (const int status = value.ShapeAsVector(std::max(1, outcomeCount)); status < 0) {
    return status;
  }
  for (const int parent : result.GetIndexingParents()) {
    value.AddIndexingParent(parent);  // a copy has no place in the original network
  }
  return value.SetValueMatrix(*matrix);
}

// Slice by slice. -2 where a copy has no result.
int GatherSlices(QVR_network& unrolled, const QVR_intArray& handleMap, int place, QVR_Dmatrix& gathered) {
  const int sliceCount = gathered.GetDimension(0);
  const int outcomeCount = gathered.GetDimension(1);
  const int plateCount = handleMap.GetSize() / sliceCount;
  const std::span<double> cells = gathered.GetItems().Vector();
  for (int slice = 0; slice < sliceCount; ++slice) {
    QVR_nodeValue& value = *unrolled.NodeAt(handleMap[place + slice * plateCount])->value;
    const QVR_Dmatrix* result = ResultOf(value, outcomeCount);
    if (result == nullptr) {
      return QVR_OUT_OF_RANGE;
    }
    std::ranges::copy(result->GetItems().Vector(),
                      cells.begin() + static_cast<std::ptrdiff_t>(slice) * outcomeCount);
  }
  return QVR_OKAY;
}

int TakePlateResult(QVR_node& node, QVR_network& unrolled, const QVR_intArray& handleMap, int sliceCount) {
  const auto plateEnd = handleMap.Vector().begin() + handleMap.GetSize() / sliceCount;
  const auto found = std::lower_bound(handleMap.Vector().begin(), plateEnd, node.handle);
  QVR_Dmatrix gathered;
  if (const int status = gathered.SetDimensions(std::array{sliceCount, node.GetNumberOfOutcomes()});
      status < 0) {
    return status;
  }
  const int place = static_cast<int>(found - handleMap.Vector().begin());
  if (GatherSlices(unrolled, handleMap, place, gathered) < 0) {
    node.value->SetValueInvalid();
    return QVR_OKAY;
  }
  if (const int status = node.value->ShapeAsVector(node.GetNumberOfOutcomes()); status < 0) {
    return status;
  }
  if (const int status = node.value->SetValueMatrix(gathered); status < 0) {
    return status;
  }
  node.value->SetValueValid();
  return QVR_OKAY;
}

int TakeOrdinaryResult(QVR_node& node, QVR_network& unrolled) {
  QVR_nodeValue& result = *unrolled.NodeAt(node.handle)->value;
  if (!result.IsValueValid()) {
    node.value->SetValueInvalid();
    return QVR_OKAY;
  }
  if (const int status = TakeResult(*node.value, result, node.GetNumberOfOutcomes()); status < 0) {
    return status;
  }
  node.value->SetValueValid();
  return QVR_OKAY;
}

}  // namespace

int QVR_dynamicExtension::Unroll(QVR_network& unrolled, QVR_intArray& handleMap) {
  Unrolling unrolling(network, *this, unrolled);
  const int status = unrolling.Test();
  return status < 0 ? status : unrolling.Build(handleMap);
}

int QVR_dynamicExtension::SolveUnrolled() {
  QVR_network unrolled;
  QVR_intArray handleMap;
  if (const int status = Unroll(unrolled, handleMap); status < 0) {
    return status;
  }
  if (const int status = unrolled.UpdateBeliefs(); status != QVR_OKAY) {
    return status;
  }
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    QVR_node& node = *network.NodeAt(handle);
    if (!node.value) {
      continue;
    }
    const int status = network.GetDynamicType(handle) == kDynamicPlate
                           ? TakePlateResult(node, unrolled, handleMap, sliceCount)
                           : TakeOrdinaryResult(node, unrolled);
    if (status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
