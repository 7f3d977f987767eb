// The steps of a batch run: finding the nodes that it names, entering a case, reading its posteriors.
#ifndef QVR_APP_CASE_RUN_H
#define QVR_APP_CASE_RUN_H

#include <string>
#include <vector>

#include "app/batch_files.h"
#include "app/csv_table.h"
#include "model/network.h"

namespace qvr {

// A row of a name file, found in the network.
struct NamedNode {
  std::string place;  // file, line and identifier, for failures
  std::string id;
  int handle;
};

struct BatchNodes {
  std::vector<NamedNode> symptoms;
  std::vector<NamedNode> results;
};

// Fails unless the cases have a column for each symptom.
[[nodiscard]] Failure CheckWidth(const BatchFiles& files, const StringRows& symptomNames,
                                 const IntColumns& caseColumns);
// Loads the network, finds the nodes and makes the results targets. A network that doesn't load is no failure
// when no name asks for it.
[[nodiscard]] Failure PrepareNetwork(const BatchFiles& files, const StringRows& symptomNames,
                                     const StringRows& resultNames, QVR_network& network, BatchNodes& nodes);
// In a network of discrete chance nodes an update computes the same from the same evidence, whatever came
// before it.
[[nodiscard]] bool IsDiscreteChanceNetwork(const QVR_network& network);

// Enters cases into a network and reads its answers. Borrows everything; the network's nodes stand still.
class CaseRun {
 public:
  CaseRun(QVR_network& newNetwork, const BatchNodes& newNodes, const IntColumns& newCaseColumns);

  // The evidence calls of a case, with an update after each that can have changed something.
  void EnterCase(std::size_t caseNumber);
  // The calls alone. True if one can have changed something.
  bool EnterEvidence(std::size_t caseNumber);
  // Appends the posteriors of all results as they stand. A table that is indexed by other nodes gives its
  // first slice.
  [[nodiscard]] Failure ReadPosteriors(std::vector<double>& row) const;
  [[nodiscard]] const std::vector<QVR_node*>& ResultNodes() const { return results; }
  [[nodiscard]] QVR_network& Network() const { return network; }

 private:
  bool EnterColumn(std::size_t column, std::size_t caseNumber);
  [[nodiscard]] Failure ReadPosterior(std::size_t result, std::vector<double>& row) const;

  QVR_network& network;
  const BatchNodes& nodes;
  const IntColumns& caseColumns;
  std::vector<QVR_node*> symptoms;
  std::vector<QVR_node*> results;
  bool mustUpdateAlways;
};

}  // namespace qvr

#endif
