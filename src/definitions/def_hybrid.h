// What all definitions of a hybrid network share: an element for each combination of discrete parents.
#ifndef QVR_DEFINITIONS_DEF_HYBRID_H
#define QVR_DEFINITIONS_DEF_HYBRID_H

#include <memory>
#include <vector>

#include "definitions/element_table.h"
#include "definitions/hybrid_element.h"
#include "definitions/node_definition.h"

namespace qvr {

// Parents with outcomes have a dimension, in parent order; continuous ones are named in the elements, by
// identifier. Where combinations come anew, their elements are copies of others or the first one's.
class QVR_defHybrid : public QVR_nodeDefinition {
 public:
  // -42 for a table beyond the largest matrix.
  int AddParent(int parentHandle) override;
  // The elements for the parent's first outcome stay; those that name a continuous parent become fresh.
  int RemoveParent(int parentHandle) override;
  int AddParentOutcome(int parentHandle, int position) override;
  int RemoveParentOutcome(int parentHandle, int position) override;
  int ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) override;
  int ReorderParents(const QVR_intArray& order) override;
  int RenameParent(int parentHandle, const char* oldId, const char* newId) override;
  [[nodiscard]] int GetSize() const override { return elements.GetSize(); }  // number of elements
  int RebuildFromNetwork() override;
  // Only from the same class, and elements only if the parents have the same outcome counts. Another class
  // leaves a fresh definition, with -2.
  int AdoptFrom(QVR_nodeDefinition& other) override;
  [[nodiscard]] int TestParentGrowth(int parentHandle) const override;
  [[nodiscard]] int GetParentDimension(int parentHandle) const override;
  [[nodiscard]] bool FitsParents() const override;

  // Takes the element over. -2, with nothing changed, for null, coordinates out of range (one for each
  // dimension) and an element of another kind.
  int SetElement(const QVR_intArray& coordinates, std::unique_ptr<QVR_Helement>& element);
  // The definition's own element; -2 and null for coordinates out of range.
  int GetElement(const QVR_intArray& coordinates, QVR_Helement*& element);
  [[nodiscard]] const ElementTable<QVR_Helement>& GetElements() const { return elements; }

 protected:
  QVR_defHybrid(QVR_network* newNetwork, int newHandle, std::unique_ptr<QVR_Helement> onlyElement)
      : QVR_nodeDefinition(newNetwork, newHandle), elements(std::move(onlyElement)) {}
  QVR_defHybrid(const QVR_defHybrid& other) = default;

  // What a fresh definition has everywhere.
  [[nodiscard]] virtual std::unique_ptr<QVR_Helement> MakeElement() const = 0;
  [[nodiscard]] virtual bool TakesElement(const QVR_Helement& element) const = 0;
  // What the class adds: from one of the same class, or as it is at first.
  virtual void AdoptContent(const QVR_defHybrid& other) = 0;
  virtual void ResetContent() = 0;

  // For constructors: as RebuildFromNetwork, but an arc that is refused is left to whoever puts the
  // definition in place.
  void AddPresentParents();

  ElementTable<QVR_Helement> elements;

 private:
  // A parent, and whether it was given a dimension: its type may have changed since.
  struct Parent {
    int handle;
    bool hasDimension;
  };

  [[nodiscard]] int CountDimensionsBefore(std::size_t position) const;
  // The place of the parent's dimension, or -2 if it has none.
  [[nodiscard]] int DimensionOf(int parentHandle) const;
  [[nodiscard]] int StatusWithoutDimension(int parentHandle) const;
  [[nodiscard]] bool HasDimensionsOf(const QVR_defHybrid& other) const;
  void ReplaceElementsNaming(const std::string& id);

  std::vector<Parent> parents;  // in the network's order
};

}  // namespace qvr

#endif
