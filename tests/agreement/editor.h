// A random life of a network of chance nodes of all discrete classes: each edit must leave it whole, every
// number in its place, and every expanded table up to date.
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
  int type = 0;
  std::vector<Label> outcomes;
  std::vector<int> parents;
  std::map<int, Label> idle;  // by parent, what it counts as when its arc goes; none where no outcome does
  std::map<Cell, double> cells;
  Label certain;  // the outcome of which an adder's idle rows are certain
};

// Failures are those of the running test.
class Editor {
 public:
  explicit Editor(const TestRandom& newRandom) : random(newRandom) {}

  void EditOnce();
  // New numbers for every node with rows that no longer sum to 1, as after the loss of an outcome.
  void RepairTables();

  QVR_network network;
  TestRandom random;

 private:
  [[nodiscard]] int AnyNode();
  [[nodiscard]] int AnyType();
  void EditNodes(int choice);
  void ChangeType(int handle, int type);
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
  int reset = -1;          // the table node whose numbers an edit makes anew
  std::set<int> untold{};  // the nodes whose numbers an edit may change in any way
  int made = 0;
};

}  // namespace qvr

#endif
