// The interface of all definitions: what a node states about its parents.
#ifndef QVR_DEFINITIONS_NODE_DEFINITION_H
#define QVR_DEFINITIONS_NODE_DEFINITION_H

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "model/dense_matrix.h"
#include "model/number_array.h"
#include "model/object.h"
#include "model/status.h"
#include "model/string_array.h"

namespace qvr {

class QVR_network;
class QVR_node;

// Type codes, compared by value and by bit.
enum DefinitionType : int {
  kTypeNone = 0,
  kTypeEquation = 4,
  kTypeTable = 8,
  kTypeList = 17,
  kTypeCpt = 18,
  kTypeTruthTable = 20,
  kTypeCast = 50,
  kTypeDeMorgan = 82,
  kTypeNoisyMax = 146,
  kTypeNoisyAdder = 274,
  kTypeMau = 520,
  kTypeEquationScc = 1028,
  kTypeDChildHParent = 2064,
  kTypeDistribution = 4098,
  kTypeHEquation = 4100,
};
// Bits of the type codes.
inline constexpr int kTypeBitDecision = 1;
inline constexpr int kTypeBitUtility = 8;
inline constexpr int kTypeBitDiscrete = 16;  // the node has outcomes
inline constexpr int kTypeBitCast = 32;
inline constexpr int kTypeBitDeMorgan = 64;
inline constexpr int kTypeBitHybrid = 2048 | 4096;  // discrete child of hybrid parents, or continuous

// Codes of QVR_network::NotifyChange.
inline constexpr int kOutcomesChanged = 64;
inline constexpr int kNumbersChanged = 128;
inline constexpr int kDefinitionReplaced = 256;
inline constexpr int kForwardedChange = 123445;

// The order of the virtual operations is part of the design. Where the base doesn't say otherwise it
// returns -51: this kind of definition doesn't have the operation. All classes give -567 when they or a
// source aren't ready, and -2 for bad arguments, tested before anything changes. An array argument has
// the length Length().
class QVR_nodeDefinition : public QVR_object {
 public:
  QVR_nodeDefinition(QVR_network* newNetwork, int newHandle) : network(newNetwork), handle(newHandle) {}

  void CleanUp(int deep) override;
  void CheckReady(int deep) override;  // ready with a network and a valid handle of it
  void CheckConsistency(int deep) override;

  [[nodiscard]] virtual int GetType() const = 0;
  [[nodiscard]] virtual const char* GetTypeName() const = 0;
  // The network has added the arc; the definition makes room. A failure changes nothing.
  virtual int AddParent(int parentHandle);
  // The arc is going; the parent's dimension, found by its position, goes.
  virtual int RemoveParent(int parentHandle);
  // Replaces the parent's dimension by the slice at its evidence, or by the expectation over its table.
  virtual int AbsorbObservedParent(int parentHandle);
  virtual int AbsorbRootParent(int parentHandle);
  // A parent gained, lost or permuted outcomes.
  virtual int AddParentOutcome(int parentHandle, int position);
  virtual int RemoveParentOutcome(int parentHandle, int position);
  virtual int ReorderParentOutcomes(int parentHandle, const QVR_intArray& order);
  // The parent list was permuted.
  virtual int ReorderParents(const QVR_intArray& order);
  // A parent's or this node's own identifier is about to change. The base does nothing.
  virtual int RenameParent(int parentHandle, const char* oldId, const char* newId);
  virtual int ChangeHook(int code);  // the base returns 0
  virtual int ForwardChange(int code);
  [[nodiscard]] virtual int GetSize() const;  // number of cells
  virtual int Assign(const QVR_nodeDefinition& other);
  // Rebuilds over the present parents. One that is refused is logged and loses its arc.
  virtual int RebuildFromNetwork();
  // Takes on what it can from a definition of any class. Never leaves an empty definition.
  virtual int AdoptFrom(QVR_nodeDefinition& other);
  // Removes the arcs from all parents that this class doesn't take.
  virtual int DropUnsupportedParents();
  // isRelevant: 1 if rows of different outcomes of the parent are further apart than epsilon. -2 for a
  // bad index.
  virtual int CheckParentInfluence(int parentIndex, double epsilon, int& isRelevant);
  // Tested here for all classes with outcomes: -567, -2 for a bad position and below two outcomes.
  virtual int AddOutcome(const char* name);
  virtual int InsertOutcome(int position, const char* name);
  virtual int RemoveOutcome(int position);
  [[nodiscard]] virtual int GetNumberOfOutcomes() const;
  virtual int RenameOutcome(int position, const char* name);
  virtual int RenameOutcomes(const QVR_stringArray& names);
  [[nodiscard]] virtual QVR_stringArray* GetOutcomeNames();  // the definition's own; null in the base
  // Resets the definition to these names, or to this many generated ones. -19 with children.
  virtual int SetNumberOfOutcomes(const QVR_stringArray& names);
  virtual int SetNumberOfOutcomes(int count);
  virtual int ReorderOutcomes(const QVR_intArray& order);
  // Replaces the outcomes keeping the numbers of those that survive: mapping[i] is the old outcome that
  // new outcome i continues, or -1. Built on the other operations; `mapping` is used up.
  virtual int ChangeOutcomes(const QVR_stringArray& names, QVR_intArray& mapping);
  virtual int MakeUniform();
  virtual int GetChoiceNames(QVR_idArray*& out);
  virtual int Reserved();
  // The table and its numbers, this definition's own. `out` is null on failure.
  virtual int GetDataArray(QVR_doubleArray*& out);
  virtual int GetMatrix(QVR_Dmatrix*& out);
  virtual int SetMatrix(const QVR_Dmatrix& matrix);
  virtual int SetResultingStates(const QVR_stringArray& names);
  virtual int SetResultingStates(const QVR_intArray& indices);
  virtual int SetValues(const QVR_doubleArray& array);
  // Copies this definition's numbers into one of the same class and shape; otherwise nothing happens.
  virtual int ExpandInto(QVR_nodeDefinition& other);
  // -42 if the table would grow too large with one more outcome of the parent; the base gives 0.
  [[nodiscard]] virtual int TestParentGrowth(int parentHandle) const;
  // How many outcomes of the parent this definition has room for; -2, as in the base, for none.
  [[nodiscard]] virtual int GetParentDimension(int parentHandle) const;
  // As QVR_Dmatrix::AllEqual on the table: whether all cells that the pattern selects (an outcome for each
  // parent, last the node's own, negative for any) equal x, which is 0.0 or 1.0. The base looks at the table;
  // a class whose table is costly may know without. Negative, too, if there's no table of these dimensions.
  [[nodiscard]] virtual int AllCellsEqual(double x, std::span<const int> pattern);
  // Whether what the definition holds by handles or identifiers of parents is about the node's present ones.
  // True in the base, which holds nothing of that kind.
  [[nodiscard]] virtual bool FitsParents() const { return true; }

  // The one outcome of each parent that the rest of the pattern doesn't rule out (see AllCellsEqual), or -2
  // if there are several or none. `counts` are the parents' outcomes; one below 1 leaves a parent untested,
  // -2. A tested parent is unknown to those after it, whatever the pattern says. All -2 without a table.
  [[nodiscard]] virtual std::vector<int> OnlyPossibleOutcomes(std::vector<int> pattern,
                                                              std::span<const int> counts);
  // AddParent for each in order, up to the first that is refused, whose code comes back; `taken` is how many
  // weren't. All are in the parent list already. A class whose AddParent is costly may take many in one step.
  virtual int TakeParents(std::span<const int> parentHandles, int& taken);

  [[nodiscard]] int GetHandle() const { return handle; }
  [[nodiscard]] QVR_network* GetNetwork() const { return network; }
  // Rebinds without telling anybody.
  void SetOwner(QVR_network* newNetwork, int newHandle);

  // Whether a class (by type code) takes parents of a type: the one table that AddParent,
  // DropUnsupportedParents and QVR_node::ChangeType share.
  [[nodiscard]] static bool TakesParent(int childType, int parentType);
  // The types that have a dimension in their children's tables.
  [[nodiscard]] static bool IsDiscreteParentType(int type);

 protected:
  QVR_nodeDefinition(const QVR_nodeDefinition&) = default;  // member by member, for clones
  QVR_nodeDefinition& operator=(const QVR_nodeDefinition&) = delete;

  // Called by subclasses after they changed their own data, to bring along the value, the children, the
  // cost children and the extra definition. OutcomeRemoved deletes the name at the position first.
  int OutcomeAdded(int position);
  int OutcomeRemoved(int position, QVR_stringArray& names);
  int OutcomesReordered(const QVR_intArray& order);
  // The same when the whole outcome set was adopted: whatever doesn't have its size is made afresh. The
  // caller notifies.
  void OutcomesAdopted();
  // -42 if a child or cost child couldn't follow an added outcome; asked before anything changes.
  [[nodiscard]] int TestOutcomeGrowth() const;
  // -42 if the table would grow too large with this size of the dimension.
  [[nodiscard]] static int TestTableGrowth(const QVR_Dmatrix& table, int dimension, std::int64_t newSize);
  // Whether, for any combination of the other parents, some row of the dimension differs from its first.
  // `differ` gets the places of the two rows' first cells.
  [[nodiscard]] static bool AnyRowDiffers(const QVR_Dmatrix& table, int dimension,
                                          const std::function<bool(int, int)>& differ);
  // Every child, also after a failure, whose code comes back: a child that can't follow is rebuilt, since a
  // table of the old shape would be read past its end.
  int TellChildren(const std::function<int(QVR_nodeDefinition&)>& follow);
  void NotifyGates();
  // Retracts evidence, real, propagated or virtual, before the outcome set changes.
  void RetractEvidence();
  // A fresh value, for another number of outcomes; also the values that this node indexes.
  void ReinitializeValues();
  // What InsertOutcome and RemoveOutcome do in a class with outcomes, once the arguments are tested.
  virtual int InsertOutcomeAt(int position, const char* name);
  virtual int RemoveOutcomeAt(int position);
  // -51 without outcomes, -567 if not ready, -2 unless 0 <= position < count.
  int TestOutcome(int position, int count);
  // The frame of AdoptFrom: the tests before and the news after what a class takes over. Gives the code of
  // `takeOver`, or else that of the news.
  int Adopt(QVR_nodeDefinition& other, const std::function<int()>& takeOver);
  // Default numbers for these names over the present parents.
  virtual int StartAfresh(QVR_idArray& ownNames, const QVR_idArray& names);
  // The same by clearing the class and rebuilding it.
  int ClearAndRebuild(QVR_idArray& ownNames, const QVR_idArray& names);
  // What SetNumberOfOutcomes comes down to: the class is cleared, takes these names into its own array, and
  // is rebuilt; values and records follow.
  int ReplaceOutcomes(QVR_idArray& ownNames, const QVR_idArray& names);
  // Whether other nodes depend on this one, in its own time slice or a later one.
  [[nodiscard]] bool HasChildren() const;
  // Removes every ordinary arc into this node.
  void RemoveAllParents();
  // The parent's position in the node's parent list, or -2.
  [[nodiscard]] int ParentPosition(int parentHandle) const;
  [[nodiscard]] QVR_node* ParentNode(int parentHandle) const;  // null unless it's a parent
  // The descendants in table order. Costs nothing for a node without children, such as one being loaded.
  [[nodiscard]] std::vector<int> GetDescendants() const;
  // For a handle that has no dimension here: -2 if it is no parent or a utility, else there's nothing to do.
  [[nodiscard]] int StatusWithoutDimension(int parentHandle);
  // After an absorbed parent's dimension went: the arc, and the news.
  int FinishAbsorption(int parentHandle);
  // Takes an arc out of both lists without asking this definition to remove the parent.
  void DetachParent(int parentHandle);
  // AddParent for every parent, in order; a refused one is logged and detached.
  void AddAllParents();
  // After new numbers were stored.
  int NumbersReplaced();
  int NotifyChange(int code);               // to the network, if there is one
  [[nodiscard]] QVR_node* OwnNode() const;  // null without a network

  QVR_network* network;  // not owned
  int handle;            // -1 when there's none
};

}  // namespace qvr

#endif
