#include "inference/sample_network.h"

#include <algorithm>
#include <cassert>
#include <new>

#include "model/error_log.h"

namespace qvr {

SampleNet::SampleNet(const RelevanceComponent& component, std::span<RelevanceNode* const> order)
    : records(order.begin(), order.end()) {
  std::vector<int> placeOf(component.nodes.size());
  std::size_t cellTotal = 0;
  for (const RelevanceNode* record : records) {
    const int place = static_cast<int>(nodes.size());
    placeOf[static_cast<std::size_t>(record->position)] = place;
    const QVR_Dmatrix& own = *record->table;
    const SampleNode node{.firstCell = cellTotal,
                          .cellCount = static_cast<std::size_t>(own.GetNumElements()),
                          .firstOutcome = outcomeTotal,
                          .outcomeCount = record->outcomeCount,
                          .evidence = record->evidence,
                          .firstArc = static_cast<int>(arcs.size()),
                          .parentCount = static_cast<int>(record->parents.size())};
    for (int i = 0; i < node.parentCount; ++i) {
      const RelevanceNode* parent = record->parents[static_cast<std::size_t>(i)];
      arcs.push_back({placeOf[static_cast<std::size_t>(parent->position)], own.GetStride(i)});
      assert(parent->evidence < 0 && arcs.back().parent < place &&
             own.GetDimension(i) == parent->outcomeCount);
    }
    nodes.push_back(node);
    states.push_back(std::max(node.evidence, 0));
    cellTotal += node.cellCount;
    outcomeTotal += static_cast<std::size_t>(node.outcomeCount);
  }
  const std::span<double> cells = MakeCells(table, cellTotal);
  for (std::size_t place = 0; place < nodes.size(); ++place) {
    const std::span<const double> own = records[place]->table->GetItems().Vector();
    std::copy(own.begin(), own.end(), cells.begin() + static_cast<std::ptrdiff_t>(nodes[place].firstCell));
  }
}

std::span<double> MakeCells(QVR_Dmatrix& block, std::size_t count) {
  const int sizes[] = {static_cast<int>(count)};
  if (count > static_cast<std::size_t>(QVR_Dmatrix::kMaxElements) || block.SetDimensions(sizes) < 0) {
    throw std::bad_alloc();
  }
  return block.GetItems().Vector();
}

int ReportNoSamples() {
  return GetErrorLog().Log(QVR_NO_SAMPLES, "No useful samples have been generated for some of nodes.");
}

}  // namespace qvr
