// What it costs to observe a node, which may depend on other nodes along cost arcs.
#ifndef QVR_MODEL_NODE_COST_H
#define QVR_MODEL_NODE_COST_H

#include <functional>

#include "model/dense_matrix.h"
#include "model/object.h"

namespace qvr {

class QVR_network;

class QVR_nodeCost : public QVR_object {
 public:
  QVR_nodeCost(QVR_network* newNetwork, int newHandle);
  QVR_nodeCost(const QVR_nodeCost& other);  // member by member; nothing is rebuilt
  QVR_nodeCost& operator=(const QVR_nodeCost&) = delete;

  void CleanUp(int deep) override;
  void CheckReady(int deep) override;  // ready with a network
  virtual int ChangeHook(int code);    // returns 0
  virtual int ForwardChange(int code);

  void SetOwner(QVR_network* newNetwork, int newHandle);
  // A dimension for the parent, behind those of the parents that precede it in the list of cost
  // parents. -567, -2 for a parent without outcomes' kind, or the matrix's code.
  int AddCostParent(int parentHandle);
  // The first dimension of this parent goes, whatever the parent's type is by now.
  int RemoveCostParent(int parentHandle);
  // On every dimension of this parent. 0 for a parent that has none.
  int ReorderParentOutcomes(int parentHandle, const QVR_intArray& order);
  int ParentOutcomeAdded(int parentHandle, int position);
  int ParentOutcomeRemoved(int parentHandle, int position);
  // -42 if a further outcome of the parent would not fit.
  [[nodiscard]] int TestParentGrowth(int parentHandle) const;
  // The numbers in flat order; the dimensions stay. -2 if the count differs.
  int SetCosts(const QVR_doubleArray& newCosts);
  // One cell of 0, then the cost parents again. A refused one is logged. Always 0.
  int Rebuild();

  [[nodiscard]] const QVR_Dmatrix& GetCosts() const { return costs; }
  [[nodiscard]] const QVR_intArray& GetDimensionIds() const { return dimensionIds; }

 private:
  void Clear();
  [[nodiscard]] int TypeOf(int parentHandle) const;  // 0 for a bad handle
  // The dimension to insert for a parent that is listed and lacks one, or -2.
  [[nodiscard]] int FindFreePlace(int parentHandle) const;
  // What an operation on a parent without dimension gives: there's nothing to change, but -2 for a utility.
  [[nodiscard]] int StatusWithoutDimension(int parentHandle) const;
  // Applies a change to every dimension of the parent, to all or to none.
  int ChangeDimensions(int parentHandle, const std::function<int(QVR_Dmatrix&, int)>& change);

  QVR_network* network;
  int handle;
  QVR_Dmatrix costs;          // the cost parents' dimensions, then one of size 1
  QVR_intArray dimensionIds;  // list: the parent that owns each dimension but the last
};

}  // namespace qvr

#endif
