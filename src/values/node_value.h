// The interface of all values: what evidence and inference leave in a node.
#ifndef QVR_VALUES_NODE_VALUE_H
#define QVR_VALUES_NODE_VALUE_H

#include "model/dense_matrix.h"
#include "model/number_array.h"
#include "model/object.h"
#include "model/status.h"

namespace qvr {

class QVR_network;

// Bits of valueFlags.
inline constexpr int kValueEvidence = 1;            // real evidence, entered by the user
inline constexpr int kValueValid = 2;               // the table holds a current result
inline constexpr int kValuePropagatedEvidence = 4;  // evidence deduced from other evidence
inline constexpr int kValueIgnoreParents = 8;
inline constexpr int kValueVirtualEvidence = 16;
inline constexpr int kValueAnyEvidence = kValueEvidence | kValuePropagatedEvidence;

// Codes of GetValueType.
enum ValueType : int {
  kValueBeliefVector = 3,
  kValueExpectedUtility = 4,
  kValueListOfDecisions = 6,
  kValueMauExpectedUtility = 7,
  kValueEqEvaluation = 8,
  kValueContinuous = 9,
};

// The order of the virtual operations is part of the design. Where the base doesn't say otherwise it
// returns -51: this kind of value doesn't have the operation.
class QVR_nodeValue : public QVR_object {
 public:
  QVR_nodeValue(QVR_network* newNetwork, int newHandle) : network(newNetwork), handle(newHandle) {
    SetReady(true);
  }

  void CleanUp(int deep) override;
  virtual int Assign(QVR_nodeValue& other);
  // Takes on what it can from the value of another class, when the node changes its type.
  virtual int AdoptValue(QVR_nodeValue& other);
  // A fresh table of the definition's outcome count, filled with 0.0; evidence and indexing parents go,
  // likelihoods of the right length stay. Nobody is told.
  virtual int Reinitialize();
  [[nodiscard]] virtual int GetValueType() const = 0;
  [[nodiscard]] virtual QVR_Dmatrix* GetMatrix();  // null where GetValueMatrix fails
  // Adds the node's dimension in front of the value's own. -2 for a bad handle; 0 where nothing is added.
  virtual int AddIndexingParent(int parentHandle);
  virtual int GetDouble(double& out) const;
  [[nodiscard]] virtual int GetEvidence() const;  // the outcome, or -2 without evidence
  // Retracts what was entered before, also when the new outcome is then refused (-2 out of range or
  // impossible, -26 in conflict with other evidence).
  virtual int SetEvidence(int outcome);
  virtual int SetEvidenceValue(double value);
  virtual int ClearEvidence();            // -2 without evidence
  virtual int ClearPropagatedEvidence();  // -2 without; the network isn't told
  virtual int SetPropagatedValue(double value);
  virtual int SetPropagatedEvidence(int outcome);
  virtual int GetVirtualEvidence(QVR_doubleArray& out) const;  // -2 without
  // One likelihood for each outcome; scaled to sum to 1.
  virtual int SetVirtualEvidence(const QVR_doubleArray& likelihoods);
  virtual int GetValueMatrix(QVR_Dmatrix*& out);  // the value's own table
  virtual int SetValueMatrix(const QVR_Dmatrix& matrix);
  // The node's outcomes were permuted: new outcome i is the old order[i]. Evidence stays on the outcome
  // that it named. The base does nothing.
  virtual int ReorderOutcomes(const QVR_intArray& order);
  // The indexing parents have lost their meaning: a fresh table without them. Only decisions keep evidence.
  virtual int DropIndexingParents() { return Reinitialize(); }

  void SetValueValid() { RaiseFlags(kValueValid); }
  void SetValueInvalid() { ClearFlags(kValueValid); }
  [[nodiscard]] bool IsValueValid() const { return (valueFlags & kValueValid) != 0; }
  [[nodiscard]] bool HasEvidence() const { return (valueFlags & kValueAnyEvidence) != 0; }
  [[nodiscard]] bool HasRealEvidence() const { return (valueFlags & kValueEvidence) != 0; }
  [[nodiscard]] int GetFlags() const { return valueFlags; }
  [[nodiscard]] const QVR_intArray& GetIndexingParents() const { return indexingParents; }
  // Rebinds without telling anybody.
  void SetOwner(QVR_network* newNetwork, int newHandle);
  // For solvers: makes the table one-dimensional with `count` cells, index-free; new cells are 0.0. Keeps
  // evidence and flags. -42 if memory is short.
  int ShapeAsVector(int count);

 protected:
  QVR_nodeValue(const QVR_nodeValue& other);  // member by member, for clones
  QVR_nodeValue& operator=(const QVR_nodeValue&) = delete;

  // The network is told of the first flag or index that any of its values gets.
  void RaiseFlags(int bits);
  void ClearFlags(int bits) { valueFlags &= ~bits; }
  [[nodiscard]] int OutcomeCount() const;  // the definition's; 0 where it has none
  // Whether the value of another class or node has a cell for each outcome, in its last dimension.
  [[nodiscard]] bool FitsOutcomes(QVR_nodeValue& other) const;
  // Enters the outcome that another value holds as evidence, as evidence of the same kind.
  void AdoptEvidence(const QVR_nodeValue& other);

  QVR_network* network;          // not owned
  int handle;                    // -1 when there's none
  QVR_intArray indexingParents;  // list: each adds a dimension in front of the value's own

 private:
  int valueFlags = 0;
};

}  // namespace qvr

#endif
