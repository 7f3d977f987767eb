// Which plates can have copies, and how many.
#include <algorithm>

#include "definitions/ci_definition.h"
#include "inference/unroll.h"
#include "model/error_log.h"

namespace qvr {
namespace {

// Slice counts and tables come from files.
constexpr long long kMostCopies = 1'000'000;
constexpr long long kMostCells = 1LL << 28;

int Refuse(const QVR_node& node) {
  return GetErrorLog().Log(QVR_WRONG_NODE_TYPE, "Node [" + node.GetId() + "] can't be unrolled");
}

// A canonical definition is cloned with its parameters, not with the table that they stand for.
long long CellsOf(const QVR_nodeDefinition& definition) {
  const auto* canonical = dynamic_cast<const QVR_ciDefinition*>(&definition);
  return std::max(0,
                  canonical != nullptr ? canonical->GetCiWeights().GetNumElements() : definition.GetSize());
}

}  // namespace

int Unrolling::Test() const {
  const int sliceCount = temporal.GetSliceCount();
  if (sliceCount < 1) {
    return GetErrorLog().Log(QVR_OUT_OF_RANGE, "Number of slices must be at least 1");
  }
  if (const int status = TestNodes(); status < 0) {
    return status;
  }
  if (static_cast<long long>(plate.size()) * sliceCount > kMostCopies) {
    return QVR_OUT_OF_MEMORY;
  }
  long long cells = 0;
  for (const PlateNode& node : plate) {
    cells += CountCells(node);
    if (cells > kMostCells) {
      return QVR_OUT_OF_MEMORY;
    }
  }
  return QVR_OKAY;
}

// Hybrid definitions know their parents by handle and so can't have copies, nor others for parents.
int Unrolling::TestNodes() const {
  for (const PlateNode& node : plate) {
    const QVR_node& original = *source.NodeAt(node.handle);
    if (original.GetNumberOfOutcomes() < 1 || (original.GetType() & kTypeBitHybrid) != 0) {
      return Refuse(original);
    }
    for (const int child : source.GetChildren(node.handle)) {
      if ((source.NodeAt(child)->GetType() & kTypeBitHybrid) != 0) {
        return Refuse(*source.NodeAt(child));
      }
    }
  }
  return QVR_OKAY;
}

// Of the copies in slices 1 and up; at most a thousandth part more than int's range before the sum is tested.
long long Unrolling::CountCells(const PlateNode& node) const {
  const int sliceCount = temporal.GetSliceCount();
  long long cells = 0;
  long long perCopy = CountCellsWithoutAnchors(node.handle);
  int from = 1;
  for (const int order : temporal.GetTemporalOrders(node.handle)) {
    const int until = std::min(order, sliceCount);
    cells += perCopy * (until - from);
    from = until;
    perCopy = CellsOf(*temporal.GetTemporalDefinition(node.handle, order));
  }
  return cells + perCopy * (sliceCount - from);
}

long long Unrolling::CountCellsWithoutAnchors(int handle) const {
  const QVR_nodeDefinition& definition = *source.NodeAt(handle)->definition;
  const bool isCanonical = dynamic_cast<const QVR_ciDefinition*>(&definition) != nullptr;
  long long cells = CellsOf(definition);
  for (const int parent : source.GetParents(handle)) {
    const int outcomes = definition.GetParentDimension(parent);
    if (source.GetDynamicType(parent) == kDynamicAnchor && outcomes > 0) {
      cells = isCanonical ? cells - static_cast<long long>(outcomes) * definition.GetNumberOfOutcomes()
                          : cells / outcomes;
    }
  }
  return cells;
}

}  // namespace qvr
