// The cases of a network, kept correct while the network changes under them.
#ifndef QVR_MODEL_CASE_STORE_H
#define QVR_MODEL_CASE_STORE_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "model/network_case.h"
#include "model/number_array.h"

namespace qvr {

// Lives as long as its network.
class QVR_caseStore {
 public:
  explicit QVR_caseStore(QVR_network& newNetwork) : network(&newNetwork) {}
  QVR_caseStore(const QVR_caseStore&) = delete;
  QVR_caseStore& operator=(const QVR_caseStore&) = delete;

  // Deep copies for this store's network; takes `tracking` over.
  void Assign(const QVR_caseStore& other);

  // Null if QVR_case::SetName refuses the name, or memory is short. The store owns the case.
  QVR_case* AddCase(std::string_view name);
  [[nodiscard]] QVR_case* GetCase(int index);  // null out of range
  [[nodiscard]] const QVR_case* GetCase(int index) const;
  [[nodiscard]] int GetCount() const { return static_cast<int>(cases.size()); }
  void Clear();  // leaves `tracking` as it is

  // What happened to a node. `order` holds the old index at each new position. Replaced outcomes keep their
  // evidence as far as there are as many; a node that changed between numbers and outcomes is dropped.
  void NodeDeleted(int handle);
  void OutcomeAdded(int handle, int position);
  void OutcomeRemoved(int handle, int position);
  void OutcomesReordered(int handle, const QVR_intArray& order);
  void OutcomesReplaced(int handle);
  void DynamicTypeChanged(int handle, int oldType);
  void DefinitionTypeChanged(int handle, int oldType);

  // The first disagreement of a case with its own indices in words, or an empty text.
  [[nodiscard]] std::string CheckInvariants() const;

  unsigned char tracking = 1;  // 0: the store ignores what happens to the network

 private:
  friend class QVR_case;

  // False if the name is taken; otherwise it is from now on, and the old one is free.
  bool TakeName(const std::string& newName, const std::string& oldName);
  template <typename Change>
  void ChangeCases(const Change& change);
  [[nodiscard]] int CountOutcomes(int handle) const;  // 0 without any

  QVR_network* network;  // not owned
  std::vector<std::unique_ptr<QVR_case>> cases;
  std::unordered_set<std::string> names;
};

}  // namespace qvr

#endif
