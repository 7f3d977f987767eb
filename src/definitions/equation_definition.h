// What both kinds of equation nodes share: the equation, and how it follows the parents.
#ifndef QVR_DEFINITIONS_EQUATION_DEFINITION_H
#define QVR_DEFINITIONS_EQUATION_DEFINITION_H

#include <string>
#include <vector>

#include "definitions/equation_pair.h"
#include "definitions/node_definition.h"

namespace qvr {

// No outcomes and no table: those operations answer -51 as in the base. The default form is
// id = sum of the parents, in their order.
class EquationDefinition : public QVR_nodeDefinition {
 public:
  // Adds the parent to the right side, in place of a 0. -2, which is logged, for a parent that is no
  // equation; -42 if the formula would become too high.
  int AddParent(int parentHandle) override;
  // What was written is lost: the default form over the other parents takes its place.
  int RemoveParent(int parentHandle) override;
  // Also called for the node's own identifier.
  int RenameParent(int parentHandle, const char* oldId, const char* newId) override;
  int RebuildFromNetwork() override;
  // Whether every parent is named, and nothing else but the node itself and the class's own variables.
  [[nodiscard]] bool FitsParents() const override;

  [[nodiscard]] const EquationPair& GetEquation() const { return equation; }
  // After every change of the equation: nothing derived from it outlives it, here or in the children.
  void EquationChanged();

 protected:
  EquationDefinition(QVR_network* newNetwork, int newHandle) : QVR_nodeDefinition(newNetwork, newHandle) {}
  EquationDefinition(const EquationDefinition& other) = default;

  // Variables of the default form that stand before the parents.
  [[nodiscard]] virtual std::vector<std::string> GetOwnVariables() const { return {}; }
  // Deletes what was derived from the equation, or just the table that is also derived from the parents.
  virtual void ForgetResults() {}
  virtual void ForgetTable() {}

  // The default form of these summands.
  [[nodiscard]] EquationPair MakeDefault(const std::vector<std::string>& summands) const;
  // Appends the parents' identifiers, but not that of `withoutParent`.
  void AppendParentIds(int withoutParent, std::vector<std::string>& names) const;
  void ForgetTables();  // here and in the children
  // Of this node and all its descendants; those with evidence stay valid.
  void InvalidateValues();
  [[nodiscard]] std::string OwnId() const;  // empty without a node
  // Logs -2 and returns it. `errorText`, which may be null, gets the message.
  static int Refuse(const std::string& message, std::string* errorText);

  EquationPair equation;

 private:
  // The right side is the sum of the parents alone, made by RemoveParent, and leans to the left: where many
  // parents go one by one, the sum isn't built anew for each.
  bool isParentSum = false;
};

}  // namespace qvr

#endif
