#include "definitions/mau.h"

#include <algorithm>
#include <array>
#include <new>
#include <numeric>

#include "definitions/equation_pair.h"
#include "model/network.h"
#include "model/raised_flag.h"

namespace qvr {

QVR_mau::QVR_mau(QVR_network* newNetwork, int newHandle) : QVR_nodeDefinition(newNetwork, newHandle) {
  if (QVR_mau::ResetWeights() < 0 || network == nullptr) {
    return;
  }
  for (int parent : network->GetParents(handle)) {
    if (QVR_mau::AddParent(parent) < 0) {
      return;
    }
  }
}

QVR_mau::QVR_mau(const QVR_mau& other)
    : QVR_nodeDefinition(other),
      weights(other.weights),
      expressionTable(other.expressionTable ? std::make_unique<MauExpressionTable>(*other.expressionTable)
                                            : nullptr),
      knownParents(other.knownParents) {}

void QVR_mau::CleanUp(int deep) {
  if (deep != 0) {
    weights.CleanUp();
    expressionTable.reset();
    knownParents.clear();
  }
  QVR_nodeDefinition::CleanUp(deep);
}

int QVR_mau::ResetWeights() {
  expressionTable.reset();
  knownParents.clear();
  if (int status = weights.SetDimensions(std::array{1}); status < 0) {
    return status;
  }
  weights.Fill(1.0);
  QVR_nodeDefinition::CheckReady(1);
  return QVR_OKAY;
}

int QVR_mau::RebuildFromNetwork() {
  if (int status = ResetWeights(); status < 0) {
    return status;
  }
  AddAllParents();
  return QVR_OKAY;
}

int QVR_mau::AdoptFrom(QVR_nodeDefinition& other) {
  return Adopt(other, [&] {
    QVR_nodeDefinition::AdoptFrom(other);
    RebuildFromNetwork();
    return other.ExpandInto(*this);
  });
}

// Formulas name their parents, so for them these have to be the same as well.
int QVR_mau::ExpandInto(QVR_nodeDefinition& other) {
  auto* target = other.GetType() == GetType() ? dynamic_cast<QVR_mau*>(&other) : nullptr;
  if (target == nullptr || target == this || weights.SameShape(target->weights) == 0) {
    return QVR_OKAY;
  }
  const bool copiesFormulas =
      expressionTable && network == target->network && knownParents == target->knownParents;
  try {
    auto formulas = copiesFormulas ? std::make_unique<MauExpressionTable>(*expressionTable) : nullptr;
    if (int status = target->weights.Copy(weights); status < 0) {
      return status;
    }
    target->expressionTable = std::move(formulas);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  return QVR_OKAY;
}

void QVR_mau::GetParentsOfRole(bool isDecision, QVR_intArray& list) const {
  list.Flush();
  for (const KnownParent& parent : knownParents) {
    if (parent.isDecision == isDecision) {
      list.Add(parent.handle);
    }
  }
}

bool QVR_mau::IsKnown(int parentHandle, bool isDecision) const {
  const KnownParent wanted = {parentHandle, isDecision};
  return std::find(knownParents.begin(), knownParents.end(), wanted) != knownParents.end();
}

int QVR_mau::PlaceOf(int parentHandle) const {
  const bool isDecision = IsKnown(parentHandle, true);
  int place = 0;
  for (const KnownParent& parent : knownParents) {
    if (parent.handle == parentHandle) {
      return place;
    }
    place += parent.isDecision == isDecision ? 1 : 0;
  }
  return QVR_OUT_OF_RANGE;
}

int QVR_mau::DimensionOf(int parentHandle) const {
  return IsKnown(parentHandle, true) ? PlaceOf(parentHandle) : QVR_OUT_OF_RANGE;
}

int QVR_mau::CountOthers() const {
  return static_cast<int>(std::count_if(knownParents.begin(), knownParents.end(),
                                        [](const KnownParent& parent) { return !parent.isDecision; }));
}

int QVR_mau::GetExpressionCount() const {
  return LastDimension() < 0 ? 0 : weights.GetNumElements() / weights.GetDimension(LastDimension());
}

int QVR_mau::GetParentDimension(int parentHandle) const {
  const int dimension = DimensionOf(parentHandle);
  return dimension < 0 ? dimension : weights.GetDimension(dimension);
}

bool QVR_mau::FitsParents() const {
  return network != nullptr &&
         std::ranges::equal(knownParents, network->GetParents(handle),
                            [this](const KnownParent& known, int parent) {
                              const int type = network->NodeAt(parent)->GetType();
                              return known == KnownParent{parent, (type & kTypeBitDecision) != 0};
                            });
}

int QVR_mau::TestParentGrowth(int parentHandle) const {
  const int dimension = DimensionOf(parentHandle);
  return dimension < 0 ? QVR_OKAY : TestTableGrowth(weights, dimension, weights.GetDimension(dimension) + 1);
}

int QVR_mau::Restructure(const std::function<int(QVR_Dmatrix&, double)>& change) {
  QVR_Dmatrix changed;
  if (int status = changed.Copy(weights); status < 0) {
    return status;
  }
  if (int status = change(changed, 1.0); status < 0) {
    return status;
  }
  const auto changeIndices = [&change](QVR_Dmatrix& indices) { return change(indices, 0.0); };
  if (int status = expressionTable ? expressionTable->Restructure(changeIndices) : QVR_OKAY; status < 0) {
    return status;
  }
  weights.Swap(changed);
  return QVR_OKAY;
}

int QVR_mau::AddParent(int parentHandle) {
  if (replacingParents) {
    return QVR_OKAY;
  }
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const QVR_node* parent = ParentNode(parentHandle);
  if (parent == nullptr || !TakesParent(GetType(), parent->GetType())) {
    return QVR_OUT_OF_RANGE;
  }
  const bool isDecision = (parent->GetType() & kTypeBitDecision) != 0;
  const int last = LastDimension();
  const int count = parent->GetNumberOfOutcomes();
  const int status =
      isDecision
          ? Restructure([=](QVR_Dmatrix& matrix, double) { return matrix.InsertDimension(last, count); })
          : AddOther();
  if (status >= 0) {
    knownParents.push_back({parentHandle, isDecision});
  }
  return status;
}

int QVR_mau::AddParents(std::span<const int> parentHandles) {
  const UpdateFlagsOff noUpdates(*network, UPDATE_IMMEDIATELY);  // the weights don't fit yet
  std::vector<int> places(static_cast<std::size_t>(CountOthers()));
  std::iota(places.begin(), places.end(), 0);
  int status = QVR_OKAY;
  {
    const RaisedFlag scope(addingParents);
    for (std::size_t i = 0; i < parentHandles.size() && status >= 0; ++i) {
      status = network->AddArc(parentHandles[i], handle, kOrdinaryLayer);
    }
  }
  const auto count = static_cast<std::size_t>(CountOthers());
  if (count == places.size()) {
    return status;
  }
  places.resize(count, -1);
  QVR_Dmatrix grown;
  if (int failure = CopyWeights(places, grown); failure < 0) {
    RebuildFromNetwork();  // drops the arcs that there is no room for
    return failure;
  }
  weights.Swap(grown);
  return status;
}

// The first one takes over the place that stands there without any.
int QVR_mau::AddOther() {
  if (addingParents) {
    return QVR_OKAY;
  }
  if (CountOthers() == 0) {
    weights.Fill(1.0);
    return QVR_OKAY;
  }
  const int last = LastDimension();
  if (int status = weights.AddItem(last); status < 0) {
    return status;
  }
  return weights.ShiftItemsUp(last, weights.GetDimension(last) - 1, 1.0);
}

int QVR_mau::RemoveParent(int parentHandle) {
  if (replacingParents) {
    return QVR_OKAY;
  }
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (PlaceOf(parentHandle) < 0) {
    return QVR_OUT_OF_RANGE;
  }
  const int dimension = DimensionOf(parentHandle);
  const auto removeDimension = [dimension](QVR_Dmatrix& matrix, double) {
    return matrix.RemoveDimension(dimension);
  };
  const int status = dimension >= 0 ? Restructure(removeDimension) : RemoveOther(parentHandle);
  if (status >= 0) {
    std::erase_if(knownParents, [=](const KnownParent& known) { return known.handle == parentHandle; });
  }
  return status;
}

int QVR_mau::RemoveOther(int parentHandle) {
  if (CountOthers() == 1) {
    weights.Fill(1.0);
  } else {
    const int last = LastDimension();
    weights.ShiftItemsDown(last, PlaceOf(parentHandle));
    if (int status = weights.RemoveLastItem(last); status < 0) {
      return status;
    }
  }
  ForgetInFormulas(parentHandle);
  return QVR_OKAY;
}

void QVR_mau::ForgetInFormulas(int parentHandle) {
  if (!expressionTable) {
    return;
  }
  std::vector<std::string> remaining;
  for (const KnownParent& known : knownParents) {
    if (!known.isDecision && known.handle != parentHandle) {
      remaining.push_back(network->NodeAt(known.handle)->GetId());
    }
  }
  const ExpressionPtr sum = MakeSum(remaining);
  const std::string& id = network->NodeAt(parentHandle)->GetId();
  for (int i = 0; i < expressionTable->GetSize(); ++i) {
    ExpressionPtr& formula = (*expressionTable)[i];
    if (formula->CountVariable(id) > 0) {
      formula = sum->Clone();
    }
  }
}

int QVR_mau::AddParentOutcome(int parentHandle, int position) {
  const int dimension = DimensionOf(parentHandle);
  if (dimension < 0 || position < 0 || position > weights.GetDimension(dimension)) {
    return QVR_OUT_OF_RANGE;
  }
  return Restructure([=](QVR_Dmatrix& matrix, double newItem) {
    const int status = matrix.AddItem(dimension);
    return status < 0 ? status : matrix.ShiftItemsUp(dimension, position, newItem);
  });
}

int QVR_mau::RemoveParentOutcome(int parentHandle, int position) {
  const int dimension = DimensionOf(parentHandle);
  if (dimension < 0 || position < 0 || position >= weights.GetDimension(dimension)) {
    return QVR_OUT_OF_RANGE;
  }
  return Restructure([=](QVR_Dmatrix& matrix, double) {
    const int status = matrix.ShiftItemsDown(dimension, position);
    return status < 0 ? status : matrix.RemoveLastItem(dimension);
  });
}

int QVR_mau::ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) {
  const int dimension = DimensionOf(parentHandle);
  if (dimension < 0) {
    return QVR_OUT_OF_RANGE;
  }
  return Restructure(
      [&, dimension](QVR_Dmatrix& matrix, double) { return matrix.PermuteItems(dimension, order); });
}

int QVR_mau::ReorderParents(const QVR_intArray& order) {
  if (order.Length() != static_cast<int>(knownParents.size()) || !IsPermutation(order.View())) {
    return QVR_OUT_OF_RANGE;
  }
  std::vector<KnownParent> reordered;
  QVR_intArray dimensions;
  QVR_intArray places;
  for (int old : order.View()) {
    const KnownParent& parent = knownParents[static_cast<std::size_t>(old)];
    reordered.push_back(parent);
    (parent.isDecision ? dimensions : places).Add(PlaceOf(parent.handle));
  }
  if (places.GetNumItems() == 0) {
    places.Add(0);
  }
  dimensions.Add(dimensions.GetNumItems());
  const auto permuteDimensions = [&](QVR_Dmatrix& matrix, double) {
    return matrix.PermuteDimensions(dimensions);
  };
  if (int status = Restructure(permuteDimensions); status < 0) {
    return status;
  }
  knownParents = reordered;
  return weights.PermuteItems(LastDimension(), places);
}

int QVR_mau::RenameParent(int /*parentHandle*/, const char* oldId, const char* newId) {
  if (expressionTable && oldId != nullptr && newId != nullptr) {
    for (const ExpressionPtr& formula : expressionTable->View()) {
      formula->RenameVariable(oldId, newId);
    }
  }
  return QVR_OKAY;
}

int QVR_mau::SetWeights(const QVR_doubleArray& values) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (values.Length() != weights.GetNumElements()) {
    return QVR_OUT_OF_RANGE;
  }
  const std::span<const double> numbers = values.View();
  std::copy(numbers.begin(), numbers.end(), weights.GetItems().Vector().begin());
  expressionTable.reset();
  return NotifyChange(kNumbersChanged);
}

}  // namespace qvr
