#include "model/submodel_handler.h"

#include <algorithm>
#include <new>
#include <string>

#include "model/error_log.h"
#include "model/identifier.h"
#include "model/network.h"
#include "model/status.h"

namespace qvr {

namespace {

constexpr int kMaxSlots = QVR_submodelHandler::kHandleBit;  // a slot's number must leave the bit free
constexpr int kGrowthStep = 10;

QVR_screenInfo DefaultScreen(int borderThickness) {
  QVR_screenInfo screen;
  screen.position.width = 76;
  screen.position.height = 36;
  screen.color = 0xF7F6E5;
  screen.selectionColor = 0xBBBBBB;
  screen.font = 1;
  screen.fontColor = 0;
  screen.borderThickness = borderThickness;
  screen.borderColor = 0xBB0000;
  return screen;
}

}  // namespace

void QVR_submodelHandler::CleanUp(int deep) {
  slots.clear();
  ids.Clear();
  network = nullptr;
  delta = kGrowthStep;
  QVR_object::CleanUp(deep);
  SetReady(false);
}

void QVR_submodelHandler::CheckReady(int deep) {
  if (deep != 0) {
    for (Slot& slot : slots) {
      if (slot.submodel) {
        slot.submodel->CheckReady(deep);
      }
    }
  }
  SetReady(!slots.empty() && network != nullptr);
}

void QVR_submodelHandler::CheckConsistency(int deep) {
  bool consistent = true;
  for (Slot& slot : slots) {
    if (slot.submodel && deep != 0) {
      slot.submodel->CheckConsistency(deep);
    }
    consistent = consistent && (!slot.submodel || slot.submodel->IsConsistent());
  }
  SetConsistent(consistent);
}

int QVR_submodelHandler::Initialize(QVR_network* newNetwork) {
  CleanUp(1);
  network = newNetwork;
  try {
    slots.resize(1);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  const int status = BuildMainSubmodel();
  CheckReady(1);
  return status;
}

int QVR_submodelHandler::Reset() {
  if (slots.empty()) {
    return QVR_OBJECT_NOT_READY;
  }
  for (Slot& slot : slots) {
    slot = Slot();
  }
  if (network != nullptr) {
    for (int node = network->FirstNode(); node >= 0; node = network->NextNode(node)) {
      network->NodeAt(node)->submodel = kMainSubmodel;
    }
  }
  return BuildMainSubmodel();
}

// All other slots are free when this is called.
int QVR_submodelHandler::BuildMainSubmodel() {
  ids.Clear();
  submodelDefaults = DefaultScreen(3);
  nodeDefaults = DefaultScreen(1);
  QVR_submodel* const main = Occupy(0, kNoParent);
  if (main == nullptr) {
    return QVR_OUT_OF_MEMORY;
  }
  main->backgroundColor = 0xFFFFFF;
  const std::string id = GenerateId(0);
  main->header.SetName(id.c_str());
  return main->header.SetId(id.c_str());
}

QVR_submodel* QVR_submodelHandler::Occupy(int slot, int parent) {
  Slot& taken = slots[static_cast<std::size_t>(slot)];
  try {
    taken.submodel = std::make_unique<QVR_submodel>();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  taken.parent = parent;
  taken.submodel->header.submodels = this;
  taken.submodel->header.submodelSlot = slot;
  taken.submodel->screen = submodelDefaults;
  return taken.submodel.get();
}

int QVR_submodelHandler::Assign(const QVR_submodelHandler& other) {
  if (this == &other) {
    return QVR_OKAY;
  }
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  slots.clear();
  try {
    slots.resize(other.slots.size());
    for (std::size_t i = 0; i < slots.size(); ++i) {
      if (other.slots[i].submodel) {
        slots[i].submodel = std::make_unique<QVR_submodel>(*other.slots[i].submodel);
        slots[i].submodel->header.submodels = this;
        slots[i].submodel->header.submodelSlot = static_cast<int>(i);
      }
      slots[i].parent = other.slots[i].parent;
    }
    ids = other.ids;
  } catch (const std::bad_alloc&) {
    slots.clear();
    ids.Clear();
    SetReady(false);
    return QVR_OUT_OF_MEMORY;
  }
  delta = other.delta;
  nodeDefaults = other.nodeDefaults;
  CheckReady(0);
  return QVR_OKAY;
}

int QVR_submodelHandler::SlotOf(int handle) const {
  const int slot = handle & ~kHandleBit;
  if (handle < 0 || slot >= static_cast<int>(slots.size()) ||
      !slots[static_cast<std::size_t>(slot)].submodel) {
    return QVR_OUT_OF_RANGE;
  }
  return slot;
}

std::string QVR_submodelHandler::GenerateId(int number) const {
  std::string candidate = "Sub" + std::to_string(number);
  while (ids.Find(candidate) >= 0) {
    candidate = "Sub" + std::to_string(++number);
  }
  return candidate;
}

int QVR_submodelHandler::TakeSlot() {
  const auto isFree = [](const Slot& slot) { return slot.parent == kFreeSlot; };
  auto place = std::find_if(slots.begin(), slots.end(), isFree);
  if (place == slots.end()) {
    const int size = static_cast<int>(slots.size());
    if (size >= kMaxSlots) {
      return QVR_OUT_OF_MEMORY;
    }
    try {
      slots.resize(static_cast<std::size_t>(std::min(size + delta, kMaxSlots)));
    } catch (const std::bad_alloc&) {
      return QVR_OUT_OF_MEMORY;
    }
    return size;
  }
  return static_cast<int>(place - slots.begin());
}

int QVR_submodelHandler::CreateSubmodel(int parent, const char* id) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int parentSlot = SlotOf(parent);
  if (parentSlot < 0 || (id != nullptr && IdExists(id) != 0)) {
    return QVR_OUT_OF_RANGE;
  }
  const int place = TakeSlot();
  if (place < 0) {
    return place;
  }
  const std::string text = id != nullptr ? id : GenerateId(place);
  if (!IsValidIdentifier(text)) {
    return GetErrorLog().Log(QVR_ILLEGAL_IDENTIFIER, "Illegal identifier");
  }
  QVR_submodel* const submodel = Occupy(place, parentSlot);
  if (submodel == nullptr) {
    return QVR_OUT_OF_MEMORY;
  }
  submodel->header.SetName(text.c_str());
  if (const int status = submodel->header.SetId(text.c_str()); status < 0) {
    slots[static_cast<std::size_t>(place)] = Slot();
    return status;
  }
  return place | kHandleBit;
}

void QVR_submodelHandler::IdentifierStored(int slot, const std::string& oldId, const std::string& newId) {
  if (oldId == newId) {
    return;
  }
  ids.Insert(newId, slot);
  if (!oldId.empty()) {
    ids.Erase(oldId, slot);
  }
}

int QVR_submodelHandler::FindSubmodel(const char* id) const {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int slot = id != nullptr ? ids.Find(id) : QVR_OUT_OF_RANGE;
  return slot < 0 ? QVR_OUT_OF_RANGE : (slot | kHandleBit);
}

int QVR_submodelHandler::IdExists(const char* id) const { return id != nullptr && ids.Find(id) >= 0 ? 1 : 0; }

int QVR_submodelHandler::IdExistsBelowMain(const char* id) const {
  return id != nullptr && ids.FindOther(id, 0) >= 0 ? 1 : 0;
}

int QVR_submodelHandler::FirstSubmodel() const { return NextOccupied(0); }

int QVR_submodelHandler::NextSubmodel(int handle) const {
  const int slot = SlotOf(handle);
  return slot < 0 ? slot : NextOccupied(slot + 1);
}

int QVR_submodelHandler::NextOccupied(int slot) const {
  for (; slot < static_cast<int>(slots.size()); ++slot) {
    if (slots[static_cast<std::size_t>(slot)].submodel) {
      return slot | kHandleBit;
    }
  }
  return QVR_OUT_OF_RANGE;
}

QVR_submodel* QVR_submodelHandler::GetSubmodel(int handle) {
  const int slot = SlotOf(handle);
  return slot < 0 ? nullptr : slots[static_cast<std::size_t>(slot)].submodel.get();
}

const QVR_submodel* QVR_submodelHandler::GetSubmodel(int handle) const {
  const int slot = SlotOf(handle);
  return slot < 0 ? nullptr : slots[static_cast<std::size_t>(slot)].submodel.get();
}

int QVR_submodelHandler::GetParent(int handle) const {
  const int slot = SlotOf(handle);
  if (slot < 0) {
    return QVR_OUT_OF_RANGE;
  }
  const int parent = slots[static_cast<std::size_t>(slot)].parent;
  return parent == kNoParent ? kNoParent : (parent | kHandleBit);
}

int QVR_submodelHandler::IsIncluded(int inner, int outer) const {
  const int innerSlot = SlotOf(inner);
  const int outerSlot = SlotOf(outer);
  if (innerSlot < 0 || outerSlot < 0) {
    return QVR_OUT_OF_RANGE;
  }
  int parent = slots[static_cast<std::size_t>(innerSlot)].parent;
  while (parent != kNoParent) {
    if (parent == outerSlot) {
      return 1;
    }
    parent = slots[static_cast<std::size_t>(parent)].parent;
  }
  return 0;
}

int QVR_submodelHandler::MoveSubmodel(int handle, int newParent) {
  const int slot = SlotOf(handle);
  const int parentSlot = SlotOf(newParent);
  if (slot <= 0 || parentSlot < 0 || slot == parentSlot || IsIncluded(newParent, handle) != 0) {
    return QVR_OUT_OF_RANGE;
  }
  slots[static_cast<std::size_t>(slot)].parent = parentSlot;
  return QVR_OKAY;
}

int QVR_submodelHandler::GetIncludedNodes(int handle, QVR_intArray& out) const {
  const int slot = SlotOf(handle);
  if (slot < 0 || network == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  int count = 0;
  for (int node = network->FirstNode(); node >= 0; node = network->NextNode(node)) {
    if ((network->NodeAt(node)->submodel & ~kHandleBit) == slot) {
      out.Add(node);
      ++count;
    }
  }
  return count;
}

int QVR_submodelHandler::GetIncludedSubmodels(int handle, QVR_intArray& out) const {
  const int slot = SlotOf(handle);
  if (slot < 0) {
    return slot;
  }
  int count = 0;
  for (int child = 0; child < static_cast<int>(slots.size()); ++child) {
    if (slots[static_cast<std::size_t>(child)].parent == slot) {
      out.Add(child | kHandleBit);
      ++count;
    }
  }
  return count;
}

int QVR_submodelHandler::GetDeepSubmodels(QVR_intArray& out) const {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  std::vector<std::vector<int>> children(slots.size());
  for (std::size_t slot = 0; slot < slots.size(); ++slot) {
    if (slots[slot].parent >= 0) {
      children[static_cast<std::size_t>(slots[slot].parent)].push_back(static_cast<int>(slot));
    }
  }
  std::vector<int> found = {0};
  for (std::size_t next = 0; next < found.size(); ++next) {
    const std::vector<int>& below = children[static_cast<std::size_t>(found[next])];
    found.insert(found.end(), below.begin(), below.end());
  }
  for (int slot : found) {
    out.Add(slot | kHandleBit);
  }
  return static_cast<int>(found.size());
}

}  // namespace qvr
