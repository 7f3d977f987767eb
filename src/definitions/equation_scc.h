// The definition of a continuous node whose equation is solved together with those of others.
#ifndef QVR_DEFINITIONS_EQUATION_SCC_H
#define QVR_DEFINITIONS_EQUATION_SCC_H

#include <map>
#include <string>
#include <vector>

#include "definitions/equation_definition.h"

namespace qvr {

// The equation may name the node, its parents, and the other unknowns of the simultaneous set, which are
// named in sccVariables and have no arcs. The default form adds up those before the parents.
class QVR_equationSCC final : public EquationDefinition {
 public:
  QVR_equationSCC(QVR_network* newNetwork, int newHandle);
  QVR_equationSCC(const QVR_equationSCC& other) = default;  // deep clone; nobody is told

  [[nodiscard]] int GetType() const override { return kTypeEquationScc; }
  [[nodiscard]] const char* GetTypeName() const override { return "EQUATION_SCC"; }
  int RemoveParent(int parentHandle) override;
  // Also called for the other nodes of such sets, which have no arcs.
  int RenameParent(int parentHandle, const char* oldId, const char* newId) override;
  // Only from another QVR_equationSCC; else -2 and the default form without unknowns.
  int AdoptFrom(QVR_nodeDefinition& other) override;

  // As in QVR_equation; no arc ever changes.
  bool ValidateEquation(const char* text, int* errorPosition, std::string* errorText);
  int SetEquation(const char* text);

  std::map<std::string, double> sccVariables;  // by name

 protected:
  [[nodiscard]] std::vector<std::string> GetOwnVariables() const override;

 private:
  bool ParseValid(const char* text, int* errorPosition, std::string& errorText, EquationPair& parsed) const;
};

}  // namespace qvr

#endif
