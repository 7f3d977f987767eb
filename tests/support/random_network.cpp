#include "support/random_network.h"

#include <algorithm>
#include <string>

#include "support/network_builder.h"

namespace qvr {
namespace {

void MakeRow(const TableStyle& style, TestRandom& random, std::span<double> row) {
  const int count = static_cast<int>(row.size());
  const auto kept = static_cast<std::size_t>(random.Below(count));
  const bool certain = random.Chance(style.certainRowFraction);
  double sum = 0;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const bool zero = certain || random.Chance(style.zeroFraction);
    row[i] = zero && i != kept ? 0 : random.Unit() + 0.02;
    sum += row[i];
  }
  for (double& cell : row) {
    cell /= sum;
  }
}

}  // namespace

QVR_intArray ShuffledOrder(int count, TestRandom& random) {
  QVR_intArray order;
  for (int i = 0; i < count; ++i) {
    order.Insert(random.Below(i + 1), i);
  }
  return order;
}

ParentLists ChainParents(int nodeCount) {
  ParentLists parents(static_cast<std::size_t>(nodeCount));
  for (int i = 1; i < nodeCount; ++i) {
    parents[static_cast<std::size_t>(i)] = {i - 1};
  }
  return parents;
}

ParentLists TreeParents(int nodeCount, TestRandom& random) {
  ParentLists parents(static_cast<std::size_t>(nodeCount));
  for (int i = 1; i < nodeCount; ++i) {
    parents[static_cast<std::size_t>(i)] = {random.Below(i)};
  }
  return parents;
}

ParentLists GridParents(int rows, int columns) {
  ParentLists parents;
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      std::vector<int>& list = parents.emplace_back();
      const int node = row * columns + column;
      if (row > 0) {
        list.push_back(node - columns);
      }
      if (column > 0) {
        list.push_back(node - 1);
      }
    }
  }
  return parents;
}

ParentLists HubParents(int leafCount) {
  ParentLists parents(static_cast<std::size_t>(leafCount) + 1, std::vector<int>{0});
  parents[0].clear();
  return parents;
}

ParentLists PolytreeParents(int nodeCount, int maxParents, TestRandom& random) {
  ParentLists parents(static_cast<std::size_t>(nodeCount));
  const QVR_intArray joining = ShuffledOrder(nodeCount, random);
  for (int joined = 1; joined < nodeCount; ++joined) {
    for (bool linked = false; !linked;) {
      const auto [parent, child] = std::minmax(joining[joined], joining[random.Below(joined)]);
      std::vector<int>& list = parents[static_cast<std::size_t>(child)];
      linked = list.size() < static_cast<std::size_t>(maxParents);
      if (linked) {
        list.push_back(parent);
      }
    }
  }
  return parents;
}

ParentLists RandomParents(int nodeCount, int maxParents, int window, TestRandom& random) {
  ParentLists parents(static_cast<std::size_t>(nodeCount));
  for (int i = 1; i < nodeCount; ++i) {
    std::vector<int>& list = parents[static_cast<std::size_t>(i)];
    const int wanted = random.Below(maxParents + 1);
    for (int draw = 0; draw < wanted; ++draw) {
      const int parent = i - 1 - random.Below(std::min(window, i));
      if (std::find(list.begin(), list.end(), parent) == list.end()) {
        list.push_back(parent);
      }
    }
  }
  return parents;
}

std::vector<int> RandomOutcomeCounts(int nodeCount, int least, int most, double maxJointStates,
                                     TestRandom& random) {
  std::vector<int> counts(static_cast<std::size_t>(nodeCount));
  double states = 1;
  for (int i = 0; i < nodeCount; ++i) {
    int& count = counts[static_cast<std::size_t>(i)];
    count = least + random.Below(most - least + 1);
    if (states * count > maxJointStates) {
      count = 2;
    }
    states *= count;
  }
  return counts;
}

std::vector<double> RandomTable(int rows, int outcomeCount, const TableStyle& style, TestRandom& random) {
  const auto width = static_cast<std::size_t>(outcomeCount);
  std::vector<double> table(static_cast<std::size_t>(rows) * width);
  for (std::size_t start = 0; start < table.size(); start += width) {
    MakeRow(style, random, std::span(table).subspan(start, width));
  }
  return table;
}

bool FillNetwork(const ParentLists& parents, const std::vector<int>& outcomeCounts, const TableStyle& style,
                 TestRandom& random, QVR_network& network) {
  // A walk over the network for each arc of an empty result would make large networks quadratic.
  const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
  for (std::size_t i = 0; i < parents.size(); ++i) {
    int rows = 1;
    for (int parent : parents[i]) {
      rows *= outcomeCounts[static_cast<std::size_t>(parent)];
    }
    const std::string id = std::string("n").append(std::to_string(i));
    const std::vector<double> table = RandomTable(rows, outcomeCounts[i], style, random);
    if (AddChance(network, id.c_str(), outcomeCounts[i], parents[i], table) != static_cast<int>(i)) {
      return false;
    }
  }
  return true;
}

std::vector<int> SampleStates(QVR_network& network, TestRandom& random) {
  std::vector<int> states(static_cast<std::size_t>(network.GetTableSize()), -1);
  for (int handle : AllNodes(network)) {
    const QVR_Dmatrix& table = *TableOf(network, handle);
    const int parentCount = table.GetNumDimensions() - 1;
    int cell = 0;
    for (int i = 0; i < parentCount; ++i) {
      cell += states[static_cast<std::size_t>(network.GetParents(handle)[i])] * table.GetStride(i);
    }
    const int count = table.GetDimension(parentCount);
    int& state = states[static_cast<std::size_t>(handle)];
    state = 0;
    double left = random.Unit() - table.Subscript(cell);
    while (state + 1 < count && (left >= 0 || table.Subscript(cell + state) == 0)) {
      ++state;
      left -= table.Subscript(cell + state);
    }
    // Rounding may carry the draw past the last outcome that is possible.
    while (table.Subscript(cell + state) == 0) {
      --state;
    }
  }
  return states;
}

}  // namespace qvr
