#include "inference/unroll.h"

#include <algorithm>
#include <string>

namespace qvr {

Unrolling::Unrolling(QVR_network& newSource, QVR_dynamicExtension& newTemporal, QVR_network& newUnrolled)
    : source(newSource),
      temporal(newTemporal),
      unrolled(newUnrolled),
      places(static_cast<std::size_t>(newSource.GetTableSize()), -1) {
  for (int handle = source.FirstNode(); handle >= 0; handle = source.NextNode(handle)) {
    if (source.GetDynamicType(handle) == kDynamicPlate) {
      places[static_cast<std::size_t>(handle)] = static_cast<int>(plate.size());
      plate.push_back({.handle = handle, .recipes = {}});
    }
  }
}

int Unrolling::Build(QVR_intArray& handleMap) {
  const int sliceCount = temporal.GetSliceCount();
  const int plateCount = static_cast<int>(plate.size());
  if (const int status = handleMap.SetSize(sliceCount * plateCount); status < 0) {
    return status;
  }
  if (const int status = CloneSource((sliceCount - 1) * plateCount); status < 0) {
    return status;
  }
  const UpdateFlagsOff quiet(unrolled, UPDATE_TRACK_CHANGES);
  unrolled.loadFlags = kLoadVouchesForGraph | kLoadAcceptsDuplicateIds;
  unrolled.valuesInUse = false;  // none is indexed by a copy: nobody need look for it in all of them
  SortPlate();
  for (int place = 0; place < plateCount; ++place) {
    PlateNode& node = plate[static_cast<std::size_t>(place)];
    handleMap[place] = node.handle;
    WriteRecipes(node);
  }
  int status = QVR_OKAY;
  for (int slice = 1; slice < sliceCount && plateCount > 0 && status >= 0; ++slice) {
    status = AddSlice(slice, handleMap);
  }
  if (status >= 0) {
    status = ConnectTerminals(handleMap);
  }
  if (status >= 0) {
    status = EnterEvidence(handleMap);
  }
  unrolled.valuesInUse = true;
  unrolled.loadFlags = 0;
  return status;
}

int Unrolling::CloneSource(int copyCount) {
  if (const int status = unrolled.AssignWithoutTime(source); status < 0) {
    return status;
  }
  unrolled.SetUpdateFlags(unrolled.GetUpdateFlags() & ~UPDATE_IMMEDIATELY);
  unrolled.GetCases().Clear();  // each copy would look through all of them
  unrolled.nodes.reserve(unrolled.nodes.size() + static_cast<std::size_t>(copyCount));
  return QVR_OKAY;
}

void Unrolling::SortPlate() {
  for (const int handle : unrolled.GetTopologicalOrder()) {
    if (PlaceInPlate(handle) >= 0) {
      sorted.push_back(PlaceInPlate(handle));
    }
  }
}

bool Unrolling::HasAnchor(int handle) const {
  return std::ranges::any_of(source.GetParents(handle),
                             [this](int parent) { return source.GetDynamicType(parent) == kDynamicAnchor; });
}

void Unrolling::WriteRecipes(PlateNode& node) {
  // Where anchors have to go, the first copy makes the definition that the others clone.
  const QVR_nodeDefinition* plain =
      HasAnchor(node.handle) ? nullptr : unrolled.NodeAt(node.handle)->definition.get();
  node.recipes.push_back({1, temporal.GetTableParents(node.handle, 0), plain});
  for (const int order : temporal.GetTemporalOrders(node.handle)) {
    if (order >= temporal.GetSliceCount()) {
      break;
    }
    node.recipes.push_back({order, temporal.GetTableParents(node.handle, order),
                            temporal.GetTemporalDefinition(node.handle, order)});
  }
}

int Unrolling::CopyOf(int place, int slice, const QVR_intArray& handleMap) const {
  return handleMap[slice * static_cast<int>(plate.size()) + place];
}

int Unrolling::AddSlice(int slice, QVR_intArray& handleMap) {
  if (const int status = AddCopies(slice, handleMap); status < 0) {
    return status;
  }
  for (const int place : sorted) {
    PlateNode& node = plate[static_cast<std::size_t>(place)];
    while (node.current + 1 < node.recipes.size() && node.recipes[node.current + 1].firstSlice <= slice) {
      ++node.current;
    }
    if (const int status = FinishCopy(node, CopyOf(place, slice, handleMap), slice, handleMap); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int Unrolling::AddCopies(int slice, QVR_intArray& handleMap) {
  const std::string suffix = "_" + std::to_string(slice);
  int next = slice * static_cast<int>(plate.size());
  for (const PlateNode& node : plate) {
    const std::string id = source.NodeAt(node.handle)->GetId() + suffix;
    const int copy = unrolled.AddNode(kTypeNone, id.c_str());
    if (copy < 0) {
      return copy;
    }
    handleMap[next++] = copy;
    if (source.IsTarget(node.handle) == 1) {
      unrolled.SetTarget(copy);
    }
  }
  return QVR_OKAY;
}

// The copies of its parents are complete.
int Unrolling::FinishCopy(PlateNode& node, int copy, int slice, const QVR_intArray& handleMap) {
  Recipe& recipe = node.recipes[node.current];
  std::vector<int> parents;
  parents.reserve(recipe.parents.size());
  for (const TemporalParent& parent : recipe.parents) {
    const int place = PlaceInPlate(parent.handle);
    parents.push_back(place < 0 ? parent.handle : CopyOf(place, slice - parent.order, handleMap));
  }
  QVR_node& copyNode = *unrolled.NodeAt(copy);
  int status = QVR_OKAY;
  if (recipe.definition == nullptr) {
    status = MakePlainDefinition(node, copy, parents);
    recipe.definition = copyNode.definition.get();
  } else {
    status = Link(parents, copy);
    if (status >= 0) {
      status = copyNode.CopyDefinition(*recipe.definition);
    }
  }
  if (status >= 0) {
    status = copyNode.CreateValue(copyNode.GetType());
  }
  copyNode.CheckReady(1);
  return status;
}

int Unrolling::Link(const std::vector<int>& parents, int child) {
  for (const int parent : parents) {
    int status = unrolled.Entry(parent).children.Add(child);
    if (status >= 0) {
      status = unrolled.Entry(child).parents.Add(parent);
    }
    if (status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int Unrolling::MakePlainDefinition(PlateNode& node, int copy, const std::vector<int>& parents) {
  std::vector<int> all;
  std::vector<int> anchors;
  auto next = parents.begin();
  for (const int parent : source.GetParents(node.handle)) {
    const bool isAnchor = source.GetDynamicType(parent) == kDynamicAnchor;
    all.push_back(isAnchor ? parent : *next++);
    if (isAnchor) {
      anchors.push_back(parent);
    }
  }
  int status = Link(all, copy);
  if (status >= 0) {
    status = unrolled.NodeAt(copy)->CopyDefinition(*unrolled.NodeAt(node.handle)->definition);
  }
  while (status >= 0 && !anchors.empty()) {
    status = unrolled.RemoveArc(anchors.back(), copy, kOrdinaryLayer);
    anchors.pop_back();
  }
  return status;
}

// Their definitions stay as they are: only who stands in the lists changes.
int Unrolling::ConnectTerminals(const QVR_intArray& handleMap) {
  const int lastSlice = temporal.GetSliceCount() - 1;
  if (lastSlice == 0) {
    return QVR_OKAY;
  }
  for (int handle = source.FirstNode(); handle >= 0; handle = source.NextNode(handle)) {
    int status = QVR_OKAY;
    if (PlaceInPlate(handle) >= 0) {
      status = MoveTerminals(handle, CopyOf(PlaceInPlate(handle), lastSlice, handleMap));
    } else if (source.GetDynamicType(handle) == kDynamicTerminal) {
      status = RedirectParents(handle, handleMap);
    }
    if (status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int Unrolling::MoveTerminals(int plateNode, int lastCopy) {
  QVR_intArray& list = unrolled.Entry(plateNode).children;
  QVR_intArray staying;
  for (const int child : list) {
    const bool isTerminal = child < source.GetTableSize() && source.GetDynamicType(child) == kDynamicTerminal;
    const int status = isTerminal ? unrolled.Entry(lastCopy).children.Add(child) : staying.Add(child);
    if (status < 0) {
      return status;
    }
  }
  list.Swap(staying);
  return QVR_OKAY;
}

int Unrolling::RedirectParents(int terminal, const QVR_intArray& handleMap) {
  QVR_nodeEntry& entry = unrolled.Entry(terminal);
  for (int i = 0; i < entry.parents.GetNumItems(); ++i) {
    const int parent = entry.parents[i];
    if (PlaceInPlate(parent) < 0) {
      continue;
    }
    const int copy = CopyOf(PlaceInPlate(parent), temporal.GetSliceCount() - 1, handleMap);
    if (entry.node->definition) {
      const std::string& oldId = unrolled.NodeAt(parent)->GetId();
      entry.node->definition->RenameParent(parent, oldId.c_str(), unrolled.NodeAt(copy)->GetId().c_str());
    }
    entry.parents[i] = copy;
  }
  return QVR_OKAY;
}

// Deduced evidence stays behind: what it was deduced from may be in another slice. Likelihoods are in the
// copied values already.
int Unrolling::EnterEvidence(const QVR_intArray& handleMap) {
  for (int handle = source.FirstNode(); handle >= 0; handle = source.NextNode(handle)) {
    const QVR_nodeValue* known = source.NodeAt(handle)->value.get();
    QVR_nodeValue* value = unrolled.NodeAt(handle)->value.get();
    if (value == nullptr) {
      continue;
    }
    value->Reinitialize();
    if (!known->HasRealEvidence() || known->GetEvidence() < 0) {
      continue;  // a number stays in the copied value
    }
    if (const int status = value->SetEvidence(known->GetEvidence()); status < 0) {
      return status;
    }
  }
  for (std::size_t place = 0; place < plate.size(); ++place) {
    for (const auto& [slice, outcome] : temporal.GetTemporalEvidence(plate[place].handle)) {
      if (slice >= temporal.GetSliceCount()) {
        break;
      }
      const int copy = CopyOf(static_cast<int>(place), slice, handleMap);
      if (const int status = unrolled.NodeAt(copy)->value->SetEvidence(outcome); status < 0) {
        return status;
      }
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
