// What a node's block of Netica's format states, and what follows from it.
#ifndef QVR_FORMATS_NETICA_NODE_H
#define QVR_FORMATS_NETICA_NODE_H

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "model/number_array.h"

namespace qvr {

// Among the numbers of a table: a whole row that isn't stated.
inline constexpr double kNeticaOpenRow = std::numeric_limits<double>::quiet_NaN();

struct NeticaNode {
  std::string name;
  int handle = -1;
  int kind = 18;            // what `kind` makes of a definition's type code
  bool isConstant = false;  // of a kind that no node is made for
  int discrete = -1;        // 0 or 1 if stated
  int chance = -1;          // 1 for DETERMIN, 0 for CHANCE, if stated
  std::string title;
  std::string comment;
  std::vector<std::string> states;
  int stateCount = 0;  // 0 if not stated
  std::vector<std::string> parents;
  std::vector<double> levels;
  std::string equation;
  bool hasProbs = false;
  std::vector<double> probs;
  bool hasFunctable = false;
  std::vector<std::string> functable;  // tokens
  int centerX = 0;
  int centerY = 0;
  int width = 0;
  int height = 0;

  // The type code of all that was stated; 2 or 4 for a continuous node.
  [[nodiscard]] int GetKind() const;
  [[nodiscard]] bool IsContinuous() const { return GetKind() < 8; }
  // The type of the node as one with outcomes.
  [[nodiscard]] int GetDiscreteType() const;
  // By states, their number, or the levels: intervals between them, or a value for each state. 0 if unknown.
  [[nodiscard]] int CountOutcomes() const;
  // Levels in ascending order with finite ends: an infinite one lies beyond its neighbour as far as that from
  // the next, or 1.0.
  [[nodiscard]] std::vector<double> FiniteLevels() const;
  // The outcome that each entry of `functable` names, by its name, as "#" and an index, or as a number of the
  // interval. -2 if none.
  [[nodiscard]] std::vector<int> FindOutcomes() const;
  // As many cells as the block's numbers can stand for.
  [[nodiscard]] std::size_t CountCells() const {
    const auto outcomes = static_cast<std::size_t>(std::max(CountOutcomes(), 2));
    return (probs.size() + functable.size()) * outcomes;
  }
  // Fills open rows, and completes rows that lack their last entry. Empty if the count fits neither.
  [[nodiscard]] QVR_doubleArray CompleteTable(int rows, int outcomes) const;

 private:
  [[nodiscard]] int FindOutcomeOfNumber(const std::string& entry) const;
};

}  // namespace qvr

#endif
