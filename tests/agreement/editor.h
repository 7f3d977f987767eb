// A random life of a network of chance nodes: each edit must leave it whole, and every number in its place.
#ifndef QVR_AGREEMENT_EDITOR_H
#define QVR_AGREEMENT_EDITOR_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/random_network.h"

namespace qvr {

// An outcome by its node and name, and a cell by the outcomes that it stands for: no places.
using Label = std::pair<int, std::string>;
using Cell = std::set<Label>;

struct Family {
  std::vector<Label> outcomes;
  std::vector<int> parents;
  std::map<Cell, double> cells;
};

// Failures are those of the running test.
class Editor {
 public:
  explicit Editor(const TestRandom& newRandom) : random(newRandom) {}

  void EditOnce();
  // New numbers for every table with rows that no longer sum to 1, as after the loss of an outcome.
  void RepairTables();

  QVR_network network;
  TestRandom random;

 private:
  [[nodiscard]] int AnyNode();
  void EditNodes(int choice);
  void EditArcs();
  void EditCostArcs();
  void EditOutcomes(int choice);
  void EditEvidence(int choice);
  void ChangeOutcomes(QVR_nodeDefinition& definition);
  void Rename(int handle);
  void ExpectNumbersInPlace();
  [[nodiscard]] std::string AnyName() { return "name" + std::to_string(random.Below(15)); }
  [[nodiscard]] std::string NewName() { return "made" + std::to_string(made++); }

  std::map<int, Family> before;
  int reset = -1;  // the node whose table an edit makes anew
  int made = 0;
};

}  // namespace qvr

#endif
