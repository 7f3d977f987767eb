// A discrete node of a hybrid network: formulas of its continuous parents weigh its outcomes.
#ifndef QVR_DEFINITIONS_DEF_DCHILD_HPARENT_H
#define QVR_DEFINITIONS_DEF_DCHILD_HPARENT_H

#include "definitions/def_hybrid.h"

namespace qvr {

// Elements are QVR_discreteElement with a formula for each outcome. There are always at least 2 outcomes.
class QVR_defDchildHparent final : public QVR_defHybrid {
 public:
  QVR_defDchildHparent(QVR_network* newNetwork, int newHandle);
  QVR_defDchildHparent(const QVR_defDchildHparent& other) = default;  // deep clone; nobody is told

  void CheckReady(int deep) override;
  void CheckConsistency(int deep) override;
  [[nodiscard]] int GetType() const override { return kTypeDChildHParent; }
  [[nodiscard]] const char* GetTypeName() const override { return "DCHILDHPARENT"; }
  int RebuildFromNetwork() override;
  [[nodiscard]] int GetNumberOfOutcomes() const override { return numberOfOutcomes; }
  // A name that is refused becomes a generated one.
  int RenameOutcomes(const QVR_stringArray& names) override;
  [[nodiscard]] QVR_stringArray* GetOutcomeNames() override { return &outcomeNames; }
  int SetNumberOfOutcomes(const QVR_stringArray& names) override;
  int SetNumberOfOutcomes(int count) override;
  int ReorderOutcomes(const QVR_intArray& order) override;

 protected:
  [[nodiscard]] std::unique_ptr<QVR_Helement> MakeElement() const override;
  [[nodiscard]] bool TakesElement(const QVR_Helement& element) const override;
  void AdoptContent(const QVR_defHybrid& other) override;
  void ResetContent() override;

 private:
  template <typename Change>
  void ChangeElements(const Change& change);
  // At least two outcomes.
  int CompleteNames();
  int InsertOutcomeAt(int position, const char* name) override;
  int RemoveOutcomeAt(int position) override;

  int numberOfOutcomes = 0;
  QVR_idArray outcomeNames;
};

}  // namespace qvr

#endif
