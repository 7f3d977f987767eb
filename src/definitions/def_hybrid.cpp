#include "definitions/def_hybrid.h"

#include <algorithm>
#include <utility>

#include "model/network.h"

namespace qvr {

int QVR_defHybrid::CountDimensionsBefore(std::size_t position) const {
  return static_cast<int>(std::count_if(parents.begin(),
                                        parents.begin() + static_cast<std::ptrdiff_t>(position),
                                        [](const Parent& parent) { return parent.hasDimension; }));
}

int QVR_defHybrid::DimensionOf(int parentHandle) const {
  for (std::size_t i = 0; i < parents.size(); ++i) {
    if (parents[i].handle == parentHandle) {
      return parents[i].hasDimension ? CountDimensionsBefore(i) : QVR_OUT_OF_RANGE;
    }
  }
  return QVR_OUT_OF_RANGE;
}

int QVR_defHybrid::GetParentDimension(int parentHandle) const {
  const int dimension = DimensionOf(parentHandle);
  return dimension < 0 ? dimension : elements.GetDimensions()[dimension];
}

int QVR_defHybrid::TestParentGrowth(int parentHandle) const {
  const int size = GetParentDimension(parentHandle);
  return size > 0 &&
                 static_cast<std::int64_t>(elements.GetSize() / size) * (size + 1) > QVR_Dmatrix::kMaxElements
             ? QVR_OUT_OF_MEMORY
             : QVR_OKAY;
}

bool QVR_defHybrid::FitsParents() const {
  return network != nullptr &&
         std::ranges::equal(parents, network->GetParents(handle), [this](const Parent& known, int parent) {
           const int type = network->NodeAt(parent)->GetType();
           return known.handle == parent && known.hasDimension == ((type & kTypeBitDiscrete) != 0);
         });
}

int QVR_defHybrid::StatusWithoutDimension(int parentHandle) const {
  return ParentPosition(parentHandle) < 0 ? QVR_OUT_OF_RANGE : QVR_OKAY;
}

int QVR_defHybrid::AddParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const QVR_node* parent = ParentNode(parentHandle);
  if (parent == nullptr || !TakesParent(GetType(), parent->GetType())) {
    return QVR_OUT_OF_RANGE;
  }
  const auto position = std::min(static_cast<std::size_t>(ParentPosition(parentHandle)), parents.size());
  const bool hasDimension = (parent->GetType() & kTypeBitDiscrete) != 0;
  if (hasDimension) {
    const int status = elements.Restructure([&](QVR_Dmatrix& indices) {
      return indices.InsertDimension(CountDimensionsBefore(position), parent->GetNumberOfOutcomes());
    });
    if (status < 0) {
      return status;
    }
  }
  parents.insert(parents.begin() + static_cast<std::ptrdiff_t>(position), {parentHandle, hasDimension});
  return QVR_OKAY;
}

int QVR_defHybrid::RemoveParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const QVR_node* parent = ParentNode(parentHandle);
  if (parent == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  if (const int dimension = DimensionOf(parentHandle); dimension >= 0) {
    const int status =
        elements.Restructure([&](QVR_Dmatrix& indices) { return indices.RemoveDimension(dimension); });
    if (status < 0) {
      return status;
    }
  } else {
    ReplaceElementsNaming(parent->GetId());
  }
  std::erase_if(parents, [&](const Parent& known) { return known.handle == parentHandle; });
  return QVR_OKAY;
}

// The variable would never be assigned again.
void QVR_defHybrid::ReplaceElementsNaming(const std::string& id) {
  for (int i = 0; i < elements.GetSize(); ++i) {
    if (elements[i]->NamesVariable(id)) {
      elements[i] = MakeElement();
    }
  }
}

int QVR_defHybrid::AddParentOutcome(int parentHandle, int position) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  if (dimension < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  if (position < 0 || position > elements.GetDimensions()[dimension]) {
    return QVR_OUT_OF_RANGE;
  }
  return elements.Restructure([&](QVR_Dmatrix& indices) {
    const int status = indices.AddItem(dimension);
    return status < 0 ? status : indices.ShiftItemsUp(dimension, position, 0.0);
  });
}

int QVR_defHybrid::RemoveParentOutcome(int parentHandle, int position) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  if (dimension < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  const int size = elements.GetDimensions()[dimension];
  if (position < 0 || position >= size || size < 2) {
    return QVR_OUT_OF_RANGE;
  }
  return elements.Restructure([&](QVR_Dmatrix& indices) {
    const int status = indices.ShiftItemsDown(dimension, position);
    return status < 0 ? status : indices.RemoveLastItem(dimension);
  });
}

int QVR_defHybrid::ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  if (dimension < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  return elements.Restructure([&](QVR_Dmatrix& indices) { return indices.PermuteItems(dimension, order); });
}

int QVR_defHybrid::ReorderParents(const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const int> places = order.View();
  if (places.size() != parents.size() || !IsPermutation(places)) {
    return QVR_OUT_OF_RANGE;
  }
  std::vector<Parent> reordered;
  QVR_intArray dimensions;
  for (int old : places) {
    const auto place = static_cast<std::size_t>(old);
    reordered.push_back(parents[place]);
    if (parents[place].hasDimension) {
      dimensions.Add(CountDimensionsBefore(place));
    }
  }
  dimensions.Add(dimensions.GetNumItems());
  const int status =
      elements.Restructure([&](QVR_Dmatrix& indices) { return indices.PermuteDimensions(dimensions); });
  if (status >= 0) {
    parents.swap(reordered);
  }
  return status;
}

int QVR_defHybrid::RenameParent(int /*parentHandle*/, const char* oldId, const char* newId) {
  if (oldId == nullptr || newId == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  for (int i = 0; i < elements.GetSize(); ++i) {
    elements[i]->RenameVariable(oldId, newId);
  }
  return QVR_OKAY;
}

void QVR_defHybrid::AddPresentParents() {
  if (network == nullptr) {
    return;
  }
  for (int parent : network->GetParents(handle)) {
    if (QVR_defHybrid::AddParent(parent) < 0) {
      return;
    }
  }
}

int QVR_defHybrid::RebuildFromNetwork() {
  elements = ElementTable<QVR_Helement>(MakeElement());
  parents.clear();
  AddAllParents();
  return QVR_OKAY;
}

bool QVR_defHybrid::HasDimensionsOf(const QVR_defHybrid& other) const {
  return std::ranges::equal(elements.GetDimensions(), other.elements.GetDimensions());
}

int QVR_defHybrid::AdoptFrom(QVR_nodeDefinition& other) {
  return Adopt(other, [&] {
    const auto* source = other.GetType() == GetType() ? dynamic_cast<const QVR_defHybrid*>(&other) : nullptr;
    if (source != nullptr) {
      AdoptContent(*source);
    } else {
      ResetContent();
    }
    RebuildFromNetwork();
    if (source != nullptr && HasDimensionsOf(*source)) {
      elements = ElementTable<QVR_Helement>(source->elements);
    }
    return source != nullptr ? QVR_OKAY : QVR_OUT_OF_RANGE;
  });
}

int QVR_defHybrid::SetElement(const QVR_intArray& coordinates, std::unique_ptr<QVR_Helement>& element) {
  const int index = elements.IndexOf(coordinates.View());
  if (index < 0 || element == nullptr || !TakesElement(*element)) {
    return QVR_OUT_OF_RANGE;
  }
  elements[index] = std::move(element);
  return NotifyChange(kNumbersChanged);
}

int QVR_defHybrid::GetElement(const QVR_intArray& coordinates, QVR_Helement*& element) {
  const int index = elements.IndexOf(coordinates.View());
  element = index < 0 ? nullptr : elements[index].get();
  return index < 0 ? index : QVR_OKAY;
}

}  // namespace qvr
