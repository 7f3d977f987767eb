// The tree of submodels under one main submodel.
#ifndef QVR_MODEL_SUBMODEL_HANDLER_H
#define QVR_MODEL_SUBMODEL_HANDLER_H

#include <memory>
#include <string>
#include <vector>

#include "model/identifier_index.h"
#include "model/number_array.h"
#include "model/submodel.h"

namespace qvr {

class QVR_network;

// A submodel's handle is its slot with kHandleBit set, which keeps it apart from node handles.
class QVR_submodelHandler : public QVR_object {
 public:
  static constexpr int kHandleBit = 0x4000;
  static constexpr int kMainSubmodel = kHandleBit;  // slot 0
  static constexpr int kNoParent = -8888;           // what GetParent gives for the main submodel

  QVR_submodelHandler() = default;

  void CleanUp(int deep) override;
  void CheckReady(int deep) override;
  void CheckConsistency(int deep) override;

  // A lone main submodel "Sub0" with the default screen records.
  int Initialize(QVR_network* newNetwork);
  int Reset();
  // Deep clone; this handler's network and submodelDefaults stay. -567, or -42 with this unready.
  int Assign(const QVR_submodelHandler& other);

  // A null id asks for a generated one. -567; -2 for a bad parent or a taken id; -30 with "Illegal
  // identifier"; -42 beyond 16384 slots. Returns the handle.
  int CreateSubmodel(int parent, const char* id);
  [[nodiscard]] int FindSubmodel(const char* id) const;  // -2, or -567
  [[nodiscard]] int FirstSubmodel() const;               // -2 if there is none
  [[nodiscard]] int NextSubmodel(int handle) const;
  [[nodiscard]] QVR_submodel* GetSubmodel(int handle);  // null for a bad handle
  [[nodiscard]] const QVR_submodel* GetSubmodel(int handle) const;
  [[nodiscard]] int GetParent(int handle) const;
  [[nodiscard]] int IsIncluded(int inner, int outer) const;
  int MoveSubmodel(int handle, int newParent);
  // These append and return how many. Nodes and direct children come in ascending order; -2 for a bad handle.
  int GetIncludedNodes(int handle, QVR_intArray& out) const;
  int GetIncludedSubmodels(int handle, QVR_intArray& out) const;
  int GetDeepSubmodels(QVR_intArray& out) const;  // all, level by level; -567
  [[nodiscard]] int IdExists(const char* id) const;
  // The same leaving the main submodel out: its identifier is the network's own name.
  [[nodiscard]] int IdExistsBelowMain(const char* id) const;
  // For headers: what the submodel in the slot was called and is called now.
  void IdentifierStored(int slot, const std::string& oldId, const std::string& newId);

  QVR_screenInfo nodeDefaults;      // inherited by every node at its creation
  QVR_screenInfo submodelDefaults;  // copied into every new submodel

 private:
  static constexpr int kFreeSlot = -8889;
  struct Slot {
    std::unique_ptr<QVR_submodel> submodel;
    int parent = kFreeSlot;
  };

  [[nodiscard]] int SlotOf(int handle) const;  // -2 unless an occupied slot
  int BuildMainSubmodel();
  // A submodel in the slot, known to nobody yet. Null if memory is short.
  QVR_submodel* Occupy(int slot, int parent);
  int TakeSlot();                                  // a free slot, or -42
  [[nodiscard]] int NextOccupied(int slot) const;  // the handle from this slot on, or -2
  [[nodiscard]] std::string GenerateId(int number) const;

  std::vector<Slot> slots;
  QVR_network* network = nullptr;
  int delta = 10;
  IdentifierIndex ids;
};

}  // namespace qvr

#endif
