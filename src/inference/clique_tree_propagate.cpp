// Message passing over a spanning tree of cliques: towards the root, then away from it. Tables are made
// over the unobserved members alone, at the slice of the evidence.
#include <algorithm>
#include <numeric>

#include "inference/clique_tree.h"
#include "inference/solver_runs.h"
#include "inference/table_rescale.h"
#include "model/status.h"

namespace qvr {
namespace {

std::size_t CountEntries(std::span<const int> dimensions, std::span<const int> sizes) {
  std::size_t count = 1;
  for (const int dimension : dimensions) {
    count *= static_cast<std::size_t>(sizes[static_cast<std::size_t>(dimension)]);
  }
  return count;
}

}  // namespace

CliqueTree::CliqueTree(const RelevanceComponent& newComponent) : component(newComponent) {
  DescribeComponent(component, shape);
  failed = !CompileCliqueTree(shape, layout);
  if (!failed) {
    MakeTables();
    Initialise();
  }
}

int CliqueTree::Run() {
  Collect();
  Distribute();
  return WritePosteriors();
}

void CliqueTree::MakeTables() {
  steps.assign(shape.outcomeCounts.size(), 0);
  sizes = shape.outcomeCounts;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    sizes[i] = shape.observed[i] != 0 ? 1 : sizes[i];
  }
  tableStart.assign(1, 0);
  for (int i = 0; i < layout.CliqueCount(); ++i) {
    tableStart.push_back(tableStart.back() + CountEntries(layout.MembersOf(i), sizes));
  }
  std::size_t largest = 0;
  messageStart.assign(1, 0);
  for (int i = 0; i < layout.SeparatorCount(); ++i) {
    const std::size_t count = CountEntries(layout.VariablesOf(i), sizes);
    messageStart.push_back(messageStart.back() + count);
    largest = std::max(largest, count);
  }
  tables.assign(tableStart.back(), 1.0);
  messages.assign(messageStart.back(), 0.0);
  received.resize(largest);
}

std::span<double> CliqueTree::TableOf(int clique) {
  const auto at = static_cast<std::size_t>(clique);
  return {tables.data() + tableStart[at], tables.data() + tableStart[at + 1]};
}

std::span<double> CliqueTree::MessageOf(int separator) {
  const auto at = static_cast<std::size_t>(separator);
  return {messages.data() + messageStart[at], messages.data() + messageStart[at + 1]};
}

IndexWalk CliqueTree::WalkOver(std::span<const int> dimensions) const {
  IndexWalk walk;
  for (std::size_t i = dimensions.size(); i-- > 0;) {
    walk.AddDimension(SizeOf(dimensions[i]), steps[static_cast<std::size_t>(dimensions[i])]);
  }
  return walk;
}

IndexWalk CliqueTree::WalkToSeparator(int clique, int separator) {
  const std::span<const int> variables = layout.VariablesOf(separator);
  int stride = 1;
  for (std::size_t i = variables.size(); i-- > 0;) {
    StepOf(variables[i]) = stride;
    stride *= SizeOf(variables[i]);
  }
  const IndexWalk walk = WalkOver(layout.MembersOf(clique));
  for (const int variable : variables) {
    StepOf(variable) = 0;
  }
  return walk;
}

// Multiplies every node's table into its clique.
void CliqueTree::Initialise() {
  for (int i = 0; i < shape.NodeCount(); ++i) {
    const auto at = static_cast<std::size_t>(i);
    const QVR_Dmatrix& family = *component.nodes[at]->table;
    const std::span<const int> parents = shape.ParentsOf(i);
    const int own = static_cast<int>(parents.size());
    std::ptrdiff_t offset = FollowFamilyMember(i, family.GetStride(own));
    for (int k = 0; k < own; ++k) {
      offset += FollowFamilyMember(parents[static_cast<std::size_t>(k)], family.GetStride(k));
    }
    const std::span<double> table = TableOf(layout.owner[at]);
    const double* start = family.GetItems().Vector().data() + offset;
    MultiplyAlong(WalkOver(layout.MembersOf(layout.owner[at])), table, start);
    RescaleTable(table);
    StepOf(i) = 0;
    for (const int parent : parents) {
      StepOf(parent) = 0;
    }
  }
}

std::ptrdiff_t CliqueTree::FollowFamilyMember(int position, int stride) {
  StepOf(position) = stride;
  const int evidence = component.nodes[static_cast<std::size_t>(position)]->evidence;
  return evidence < 0 ? 0 : static_cast<std::ptrdiff_t>(evidence) * stride;
}

void CliqueTree::SendTo(int separator, int clique, std::span<double> message) {
  std::fill(message.begin(), message.end(), 0.0);
  AddAlong(WalkToSeparator(clique, separator), TableOf(clique), message.data());
  RescaleTable(message);
}

void CliqueTree::ReceiveFrom(int separator, int clique, std::span<const double> message) {
  MultiplyAlong(WalkToSeparator(clique, separator), TableOf(clique), message.data());
  RescaleTable(TableOf(clique));
}

// Cliques joined by nothing but evidence tell each other nothing: a message of one entry isn't sent.
void CliqueTree::Collect() {
  for (int i = layout.SeparatorCount() - 1; i >= 0; --i) {
    const TreeSeparator& separator = layout.separators[static_cast<std::size_t>(i)];
    const std::span<double> message = MessageOf(i);
    if (message.size() > 1) {
      SendTo(i, separator.child, message);
      ReceiveFrom(i, separator.parent, message);
    }
  }
}

// The child gets what the parent has now over what it had from the child. Where the child said 0 it stays.
void CliqueTree::Distribute() {
  for (int i = 0; i < layout.SeparatorCount(); ++i) {
    const TreeSeparator& separator = layout.separators[static_cast<std::size_t>(i)];
    const std::span<double> message = MessageOf(i);
    if (message.size() <= 1) {
      continue;
    }
    const std::span<double> ratio = std::span(received).first(message.size());
    SendTo(i, separator.parent, ratio);
    KeepQuotientsFinite(ratio, message);
    for (std::size_t entry = 0; entry < ratio.size(); ++entry) {
      const double sent = message[entry];
      message[entry] = sent > 0.0 ? ratio[entry] : 0.0;
      ratio[entry] = sent > 0.0 ? ratio[entry] / sent : 0.0;
    }
    RescaleTable(ratio);
    ReceiveFrom(i, separator.child, ratio);
  }
}

// For each node the smallest table that holds it; of equal ones a separator's, then the first.
void CliqueTree::FindSmallestTables() {
  sources.assign(shape.outcomeCounts.size(), {});
  const auto offer = [this](std::span<const int> dimensions, std::span<const double> table) {
    for (const int dimension : dimensions) {
      Source& source = sources[static_cast<std::size_t>(dimension)];
      if (source.table.empty() || table.size() < source.table.size()) {
        source = {dimensions, table};
      }
    }
  };
  for (int i = 0; i < layout.SeparatorCount(); ++i) {
    if (MessageOf(i).size() > 1) {
      offer(layout.VariablesOf(i), MessageOf(i));
    }
  }
  for (int i = 0; i < layout.CliqueCount(); ++i) {
    offer(layout.MembersOf(i), TableOf(i));
  }
}

// A node with evidence, entered or derived, holds its certainty already.
int CliqueTree::WritePosteriors() {
  FindSmallestTables();
  for (int i = 0; i < shape.NodeCount(); ++i) {
    const RelevanceNode& record = *component.nodes[static_cast<std::size_t>(i)];
    if (record.evidence >= 0 || !HoldsPosterior(record)) {
      continue;
    }
    if (const int status = WritePosterior(i); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int CliqueTree::WritePosterior(int position) {
  const auto at = static_cast<std::size_t>(position);
  QVR_nodeValue& value = *component.nodes[at]->node->value;
  if (const int status = value.ShapeAsVector(SizeOf(position)); status < 0) {
    return status;
  }
  QVR_Dmatrix* posterior = value.GetMatrix();
  if (posterior == nullptr) {
    return QVR_OKAY;
  }
  posterior->Fill(0.0);
  const std::span<double> cells = posterior->GetItems().Vector();
  StepOf(position) = 1;
  AddAlong(WalkOver(sources[at].dimensions), sources[at].table, cells.data());
  StepOf(position) = 0;
  const double total = std::accumulate(cells.begin(), cells.end(), 0.0);
  for (double& cell : cells) {
    cell /= total;
  }
  value.SetValueValid();
  return QVR_OKAY;
}

int RunCliqueTree(QVR_network& network) {
  ComponentList list;
  if (const int status = RelevanceReduce(network, true, true, list); status < 0) {
    return status;
  }
  for (const RelevanceComponent& component : list.components) {
    if (component.nodes.size() == 1) {
      ApplySingleNodeComponent(*component.nodes.front());
      continue;
    }
    CliqueTree tree(component);
    if (tree.HasFailed()) {
      return QVR_OUT_OF_MEMORY;
    }
    if (const int status = tree.Run(); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
