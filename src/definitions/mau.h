// The definition of a node that combines the utilities of other nodes.
#ifndef QVR_DEFINITIONS_MAU_H
#define QVR_DEFINITIONS_MAU_H

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "definitions/element_table.h"
#include "definitions/node_definition.h"
#include "expression/expression.h"

namespace qvr {

// One formula for each combination of the decision parents' outcomes, in parent order.
using MauExpressionTable = ElementTable<QVR_expression>;

// Parents are decisions, utility tables and other nodes of this class. There are weights for each combination
// of the decisions' outcomes, one for each other parent; or, in the expression form, a formula over the
// identifiers of the other parents.
class QVR_mau : public QVR_nodeDefinition {
 public:
  QVR_mau(QVR_network* newNetwork, int newHandle);
  QVR_mau(const QVR_mau& other);  // deep clone; nobody is told

  void CleanUp(int deep) override;
  [[nodiscard]] int GetType() const override { return kTypeMau; }
  [[nodiscard]] const char* GetTypeName() const override { return "MAU"; }
  int AddParent(int parentHandle) override;
  // Keeps the slice at a decision's first outcome. A formula that names another parent becomes the sum of
  // those that remain.
  int RemoveParent(int parentHandle) override;
  // The new outcome of a decision has weights 1.0, and the table's first formula.
  int AddParentOutcome(int parentHandle, int position) override;
  int RemoveParentOutcome(int parentHandle, int position) override;
  int ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) override;
  int ReorderParents(const QVR_intArray& order) override;
  int RenameParent(int parentHandle, const char* oldId, const char* newId) override;
  [[nodiscard]] int GetSize() const override { return weights.GetNumElements(); }
  int RebuildFromNetwork() override;  // weights 1.0, in the plain form
  // Takes weights and formulas from its own class, and nothing from others.
  int AdoptFrom(QVR_nodeDefinition& other) override;
  int ExpandInto(QVR_nodeDefinition& other) override;
  [[nodiscard]] int TestParentGrowth(int parentHandle) const override;
  [[nodiscard]] int GetParentDimension(int parentHandle) const override;  // of a decision
  [[nodiscard]] bool FitsParents() const override;

  // All weights in flat order; the definition takes the plain form. -2 unless the count fits.
  int SetWeights(const QVR_doubleArray& values);
  // One text for each combination of the decisions' outcomes; the definition takes the expression form. The
  // other parents become exactly the nodes that the formulas name: those that were parents keep their order,
  // new ones follow in the order of their first occurrence. -2 with a reason in errorText for texts that
  // can't be used, -42, or the code of an arc that was refused; all with nothing changed.
  int SetExpressions(std::span<const std::string> texts, std::string& errorText);
  // How many formulas there are, or would be in the plain form.
  [[nodiscard]] int GetExpressionCount() const;
  // AddArc from each in turn, until one fails, whose code comes back; but the weights, which AddArc copies,
  // grow just once.
  int AddParents(std::span<const int> parentHandles);
  // The outcome counts of the decision parents in parent order, and last the number of the other parents, or
  // 1 without any.
  [[nodiscard]] const QVR_Dmatrix& GetWeights() const { return weights; }
  // Null in the plain form.
  [[nodiscard]] const MauExpressionTable* GetExpressionTable() const { return expressionTable.get(); }
  // The decisions among the parents, and the others, in parent order.
  void GetDecisionParents(QVR_intArray& list) const { GetParentsOfRole(true, list); }
  void GetOtherParents(QVR_intArray& list) const { GetParentsOfRole(false, list); }

 private:
  // A parent as the weights have it: its class may be another one by the time that its arc goes.
  struct KnownParent {
    int handle;
    bool isDecision;
    bool operator==(const KnownParent&) const = default;
  };
  struct Formulas;
  struct Arrangement;

  void GetParentsOfRole(bool isDecision, QVR_intArray& list) const;
  [[nodiscard]] bool IsKnown(int parentHandle, bool isDecision) const;
  // How many parents of its role stand before it: a decision's dimension, or another's place in the last.
  [[nodiscard]] int PlaceOf(int parentHandle) const;
  // Of a decision; -2 for other parents.
  [[nodiscard]] int DimensionOf(int parentHandle) const;
  [[nodiscard]] int CountOthers() const;
  [[nodiscard]] int LastDimension() const { return weights.GetNumDimensions() - 1; }
  int ResetWeights();
  int AddOther();
  int RemoveOther(int parentHandle);
  void ForgetInFormulas(int parentHandle);
  // Applies a matrix operation to the weights and to the indices of the formulas. It gets the matrix and what
  // a new item of it holds. A failure changes nothing.
  int Restructure(const std::function<int(QVR_Dmatrix&, double)>& change);

  int ParseFormulas(std::span<const std::string> texts, Formulas& out, std::string& errorText) const;
  // Null if formulas of this node may name the other one, or what is wrong with it.
  [[nodiscard]] const char* FindFault(int node, const std::vector<int>& descendants) const;
  int Arrange(const Formulas& formulas, Arrangement& out) const;
  [[nodiscard]] int CopyWeights(const std::vector<int>& oldPlaces, QVR_Dmatrix& out) const;
  int ReplaceArcs(const Arrangement& arrangement);

  QVR_Dmatrix weights;
  std::unique_ptr<MauExpressionTable> expressionTable;
  std::vector<KnownParent> knownParents;  // in parent order
  bool replacingParents = false;          // weights and parents will fit once the arcs stand
  bool addingParents = false;             // weights alone will
};

}  // namespace qvr

#endif
