// A named scenario that a user saved: evidence and targets. It isn't entered into the network.
#ifndef QVR_MODEL_NETWORK_CASE_H
#define QVR_MODEL_NETWORK_CASE_H

#include <cstdint>
#include <functional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace qvr {

class QVR_network;

// Values of CaseEvidence::kind.
enum CaseEvidenceKind : int {
  kCaseUnset = -1,
  kCaseDiscrete = 0,
  kCaseContinuous = 1,
  kCaseSoft = 2,
  kCaseTemporal = 3,
};

// What a case knows of one node. A node that moves into or out of the temporal plate keeps its kind, so
// what the record holds says more than the kind.
struct CaseEvidence {
  int handle = -1;
  int kind = kCaseUnset;
  int outcome = -1;
  double value = 0;
  std::vector<double> softEvidence;           // one for each outcome
  std::vector<std::pair<int, int>> temporal;  // slice, outcome; a slice stands once
};

// Owned by the case store of its network. Records and targets stand in the order of their arrival.
class QVR_case {
 public:
  explicit QVR_case(QVR_network& newNetwork) : network(&newNetwork) {}
  QVR_case(const QVR_case& other, QVR_network& newNetwork) : QVR_case(other) { network = &newNetwork; }
  QVR_case& operator=(const QVR_case&) = delete;

  // Whatever adds or changes something gives -42, and leaves the case as it was, if memory is short.
  // -30 for an empty name, -32 if another case of the network has it, byte for byte.
  int SetName(std::string_view newName);
  void SetCategory(std::string_view text) { category = text; }
  void SetDescription(std::string_view text) { description = text; }
  [[nodiscard]] const std::string& GetName() const { return name; }
  [[nodiscard]] const std::string& GetCategory() const { return category; }
  [[nodiscard]] const std::string& GetDescription() const { return description; }

  // -2 for a bad node or outcome, -32 for a node that has a record. A record whose outcome is refused
  // stays, of kind -1.
  int AddDiscreteEvidence(int handle, int outcome);
  int AddContinuousEvidence(int handle, double value);
  int AddSoftEvidence(int handle, std::span<const double> values);  // any number of them
  // Whatever record the node has becomes temporal. Tested in this order: the node, -2; the slice, -4; the
  // outcome, -2; whether the slice has one already, -32.
  int AddTemporalEvidence(int handle, int slice, int outcome);
  int AddTarget(int handle);  // -2 for a bad node; 0 for one that is a target already

  // By the record's kind: -2 for a bad index, -51 for a record of another kind.
  int GetDiscreteEvidence(int index, int& handle, int& outcome) const;
  int GetContinuousEvidence(int index, int& handle, double& value) const;
  int GetSoftEvidence(int index, int& handle, std::vector<double>& values) const;
  int GetTemporalEvidence(int index, int& handle, std::vector<std::pair<int, int>>& slices) const;
  [[nodiscard]] int GetEvidenceHandle(int index) const;  // -2 for a bad index
  [[nodiscard]] int GetTarget(int index) const;          // -2 for a bad index
  [[nodiscard]] const std::vector<CaseEvidence>& GetEvidence() const { return evidence; }
  [[nodiscard]] const std::vector<int>& GetTargets() const { return targets; }

  std::int64_t created = 0;  // times; their epoch is up to who sets them
  std::int64_t modified = 0;

 private:
  friend class QVR_caseStore;
  // The outcome that an old one becomes; -1 if it goes.
  using Renumbering = std::function<int(int)>;

  QVR_case(const QVR_case&) = default;

  [[nodiscard]] int FindRecord(int handle) const;  // the place, or -1
  int AddRecord(int handle);
  int AddSlice(CaseEvidence& record, int slice, int outcome);
  [[nodiscard]] bool IsOutcome(int handle, int outcome) const;
  [[nodiscard]] int TestRecord(int index, int kind) const;
  void RemoveRecord(int place);
  void ForgetSlices(CaseEvidence& record);
  // True if the record's own outcome went. Pairs that lost theirs go.
  bool Renumber(CaseEvidence& record, const Renumbering& renumber);
  // Whether a record that lost its own outcome has anything left to live by.
  [[nodiscard]] bool LivesBySlices(const CaseEvidence& record) const;

  // What became of the node; nothing happens to a case that doesn't know it.
  void DropNode(int handle);
  void OutcomeAdded(int handle, int position);
  void OutcomeRemoved(int handle, int position);
  void OutcomesReordered(int handle, std::span<const int> order, std::span<const int> placeOf);
  void OutcomesReplaced(int handle, int count);
  void PlateEntered(int handle);
  void PlateLeft(int handle);
  [[nodiscard]] std::string CheckInvariants() const;

  QVR_network* network;  // not owned
  std::string name;
  std::string category;
  std::string description;
  std::vector<int> targets;
  std::vector<CaseEvidence> evidence;
  std::unordered_map<int, int> places;       // by handle: the record's place in `evidence`
  std::unordered_set<int> targetHandles;     // those in `targets`
  std::set<std::pair<int, int>> usedSlices;  // handle, slice of each temporal pair
};

}  // namespace qvr

#endif
