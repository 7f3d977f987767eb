// qvr sample: cases drawn from a network, parents before children.
#include <cstddef>

#include "app/command/commands.h"
#include "app/command/network_input.h"
#include "app/command/output.h"
#include "model/random_source.h"

namespace qvr {

namespace {

// A node and where its row of probabilities begins, by the outcomes of its parents.
struct Draw {
  std::size_t handle;
  const double* cells;
  int outcomeCount;
  std::vector<std::size_t> parents;
  std::vector<int> strides;
};

class CaseSource {
 public:
  explicit CaseSource(std::uint32_t seed) : random(seed) {}

  Failure Prepare(QVR_network& network) {
    for (const int handle : network.GetTopologicalOrder()) {
      if (Failure failure = AddDraw(network, handle)) {
        return failure;
      }
    }
    outcomes.resize(static_cast<std::size_t>(network.GetTableSize()));
    return std::nullopt;
  }

  // The outcomes of a new case, by handle.
  const std::vector<int>& Next() {
    for (const Draw& draw : draws) {
      const double* row = draw.cells;
      for (std::size_t i = 0; i < draw.parents.size(); ++i) {
        row += static_cast<std::ptrdiff_t>(draw.strides[i]) * outcomes[draw.parents[i]];
      }
      outcomes[draw.handle] = DrawFrom({row, static_cast<std::size_t>(draw.outcomeCount)});
    }
    return outcomes;
  }

 private:
  Failure AddDraw(QVR_network& network, int handle) {
    QVR_nodeDefinition* const definition = network.NodeAt(handle)->definition.get();
    const int type = network.NodeAt(handle)->GetType();
    QVR_Dmatrix* table = nullptr;
    if (!QVR_nodeDefinition::IsDiscreteParentType(type) || type == kTypeList ||
        network.GetDynamicType(handle) != 0) {
      return "node '" + NodeId(network, handle) + "' is no discrete chance node";
    }
    if (definition->GetMatrix(table) < 0 || table == nullptr) {
      return "node '" + NodeId(network, handle) + "' has no table";
    }
    Draw draw{static_cast<std::size_t>(handle),
              table->GetItems().View().data(),
              definition->GetNumberOfOutcomes(),
              {},
              {}};
    const QVR_intArray& parents = network.GetParents(handle);
    for (int i = 0; i < parents.GetNumItems(); ++i) {
      draw.parents.push_back(static_cast<std::size_t>(parents[i]));
      draw.strides.push_back(table->GetStride(i));
    }
    draws.push_back(std::move(draw));
    return std::nullopt;
  }

  // What rounding leaves out at the end goes to the last outcome that is possible.
  int DrawFrom(std::span<const double> row) {
    double rest = random.NextDouble();
    int last = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (row[i] > 0) {
        last = static_cast<int>(i);
        rest -= row[i];
      }
      if (rest < 0) {
        break;
      }
    }
    return last;
  }

  QVR_randomSource random;
  std::vector<Draw> draws;  // parents first
  std::vector<int> outcomes;
};

}  // namespace

Failure Sample(const SampleOptions& options) {
  QVR_network network;
  if (Failure failure = OpenNetwork(options.file, network)) {
    return failure;
  }
  CaseSource source(options.seed.value_or(0));
  if (Failure failure = source.Prepare(network)) {
    return failure;
  }
  std::vector<std::size_t> handles;
  std::vector<std::vector<std::string>> names(static_cast<std::size_t>(network.GetTableSize()));
  std::string line;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    handles.push_back(static_cast<std::size_t>(handle));
    names[handles.back()] = OutcomeIds(*network.NodeAt(handle));
    line += (line.empty() ? "" : ",") + NodeId(network, handle);
  }
  PrintResult(line + "\n");
  for (std::int64_t i = 0; i < options.count; ++i) {
    const std::vector<int>& outcomes = source.Next();
    line.clear();
    for (const std::size_t handle : handles) {
      line += names[handle][static_cast<std::size_t>(outcomes[handle])];
      line += ',';
    }
    line.back() = '\n';
    PrintResult(line);
  }
  return std::nullopt;
}

}  // namespace qvr
