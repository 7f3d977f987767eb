// Each clique's table passes through the cache once in either direction. On the way to the root a slab is
// filled with the product of the tables assigned to the clique and of its children's messages, and summed
// into its own message while it is at hand; on the way back it is multiplied by what is new from the
// parent, and summed into its children's new messages and its nodes' marginals.
//
// Every message is rescaled by a power of two when its largest entry leaves 2^-256 to 2^256, which changes
// no digit of a posterior and keeps thousands of observations from underflowing. A product whose own
// message comes out beyond that range may have lost digits on the way: it is formed again factor by
// factor, rescaled after each.
#include "inference/join_tree_propagation.h"

#include <algorithm>
#include <cmath>

#include "inference/table_rescale.h"

namespace qvr {

namespace {

bool IsInScale(double largest) { return largest >= 0x1p-256 && largest <= 0x1p256; }

}  // namespace

void JoinTreePropagation::Prepare(const JoinTreeStructure& newTree, const RelevanceComponent& newComponent) {
  tree = &newTree;
  component = &newComponent;
  std::size_t count = 0;
  const auto take = [&count](std::size_t size) {
    count += size;
    return count - size;
  };
  tableAt.clear();
  messageAt.clear();
  marginalAt.clear();
  for (int clique = 0; clique < tree->members.Count(); ++clique) {
    tableAt.push_back(take(static_cast<std::size_t>(tree->tableSize[Index(clique)])));
  }
  const std::size_t sumsAt = count;
  for (int clique = 0; clique < tree->members.Count(); ++clique) {
    messageAt.push_back(take(2 * Index(tree->separatorSize[Index(clique)])));
  }
  for (const int node : tree->posteriors.items) {
    marginalAt.push_back(take(Index(component->nodes[Index(node)]->outcomeCount)));
  }
  marginalAt.push_back(count);
  cells = block.Reserve(count);
  int largestSlab = 1;
  for (const SlabShape& slab : tree->slabs) {
    largestSlab = std::max(largestSlab, slab.slabSize);
  }
  product.resize(Index(largestSlab));
  std::fill(cells + sumsAt, cells + count, 0.0);
}

std::span<double> JoinTreePropagation::Table(int clique) const {
  return {cells + tableAt[Index(clique)], static_cast<std::size_t>(tree->tableSize[Index(clique)])};
}

std::span<double> JoinTreePropagation::Message(int clique) const {
  return {cells + messageAt[Index(clique)], Index(tree->separatorSize[Index(clique)])};
}

std::span<double> JoinTreePropagation::NewMessage(int clique) const {
  const std::size_t size = Index(tree->separatorSize[Index(clique)]);
  return {cells + messageAt[Index(clique)] + size, size};
}

std::span<double> JoinTreePropagation::MarginalCells(std::size_t place) const {
  return {cells + marginalAt[place], marginalAt[place + 1] - marginalAt[place]};
}

// Where a node's table begins once its observed family members are fixed.
const double* JoinTreePropagation::FirstCell(int node) const {
  const RelevanceNode& record = *component->nodes[Index(node)];
  const QVR_Dmatrix& table = *record.table;
  std::size_t offset = 0;
  const auto fix = [&](const RelevanceNode& member, int dimension) {
    if (member.evidence >= 0) {
      offset += Index(member.evidence) * Index(table.GetStride(dimension));
    }
  };
  int dimension = 0;
  for (const RelevanceNode* parent : record.parents) {
    fix(*parent, dimension++);
  }
  fix(record, dimension);
  return table.GetItems().Vector().data() + offset;
}

void JoinTreePropagation::AddInput(const double* first, const TablePlan& plan) {
  inputs.push_back({first, Resolve(plan, tree->arena), tree->arena.At(plan.outerStrides)});
}

void JoinTreePropagation::AddOutput(std::span<double> cellsOfSum, const TablePlan& plan) {
  sums.push_back(cellsOfSum);
  outputs.push_back({cellsOfSum.data(), Resolve(plan, tree->arena), tree->arena.At(plan.outerStrides)});
}

void JoinTreePropagation::ClearOutputs() {
  outputs.clear();
  sums.clear();
}

void JoinTreePropagation::MoveCompanions(int dimension, int items) {
  for (Input& input : inputs) {
    input.cells += static_cast<std::ptrdiff_t>(input.outerStrides[dimension]) * items;
  }
  for (Output& output : outputs) {
    output.cells += static_cast<std::ptrdiff_t>(output.outerStrides[dimension]) * items;
  }
}

// Runs `work` on every slab of the clique's table, with inputs and outputs at the matching cells.
template <typename Work>
void JoinTreePropagation::WalkSlabs(int clique, const Work& work) {
  const SlabShape& slab = tree->slabs[Index(clique)];
  const std::span<const int> nodes = tree->members[clique];
  odometer.assign(Index(slab.outerDimensions), 0);
  double* table = Table(clique).data();
  for (std::int64_t i = 0; i < slab.slabCount; ++i, table += slab.slabSize) {
    work(table, Index(slab.slabSize));
    for (int d = slab.outerDimensions - 1; d >= 0; --d) {
      const int size = component->nodes[Index(nodes[Index(d)])]->outcomeCount;
      if (++odometer[Index(d)] < size) {
        MoveCompanions(d, 1);
        break;
      }
      odometer[Index(d)] = 0;
      MoveCompanions(d, 1 - size);
    }
  }
}

// What is multiplied into the clique's table: its nodes' tables, then its children's messages.
void JoinTreePropagation::ListFactors(int clique) {
  inputs.clear();
  for (int place = tree->assigned.start[Index(clique)]; place < tree->assigned.start[Index(clique) + 1];
       ++place) {
    AddInput(FirstCell(tree->assigned.items[Index(place)]), tree->assignedPlans[Index(place)]);
  }
  for (const int child : tree->children[clique]) {
    if (Sends(child)) {
      AddInput(Message(child).data(), tree->parentPlans[Index(child)]);
    }
  }
}

// The product of all inputs at one slab.
void JoinTreePropagation::FillSlab(double* slab, std::size_t size) const {
  if (inputs.empty()) {
    std::fill(slab, slab + size, 1.0);
    return;
  }
  AssignSlab(slab, inputs[0].cells, inputs[0].plan);
  for (std::size_t i = 1; i < inputs.size(); ++i) {
    MultiplySlab(slab, slab, inputs[i].cells, inputs[i].plan);
  }
}

void JoinTreePropagation::SumSlab(const double* slab) const {
  for (const Output& output : outputs) {
    AddSlab(output.cells, slab, output.plan);
  }
}

void JoinTreePropagation::MultiplyTable(int clique, const Input& input, bool first) {
  inputs.assign(1, input);
  WalkSlabs(clique, [&](double* slab, std::size_t) {
    if (first) {
      AssignSlab(slab, inputs[0].cells, inputs[0].plan);
    } else {
      MultiplySlab(slab, slab, inputs[0].cells, inputs[0].plan);
    }
  });
  RescaleTable(Table(clique));
}

// The slow way to the clique's table, safe from underflow.
void JoinTreePropagation::FillStepwise(int clique) {
  ClearOutputs();
  ListFactors(clique);
  const std::vector<Input> factors = inputs;
  if (factors.empty()) {
    std::fill(Table(clique).begin(), Table(clique).end(), 1.0);
  }
  for (std::size_t i = 0; i < factors.size(); ++i) {
    MultiplyTable(clique, factors[i], i == 0);
  }
  inputs.clear();
}

void JoinTreePropagation::CollectClique(int clique) {
  const std::span<double> message = Message(clique);
  ListFactors(clique);
  ClearOutputs();
  AddOutput(message, tree->separatorPlans[Index(clique)]);
  WalkSlabs(clique, [&](double* slab, std::size_t size) {
    FillSlab(slab, size);
    SumSlab(slab);
  });
  if (!IsInScale(LargestEntry(message))) {
    FillStepwise(clique);
    std::fill(message.begin(), message.end(), 0.0);
    AddOutput(message, tree->separatorPlans[Index(clique)]);
    WalkSlabs(clique, [&](double* slab, std::size_t) { SumSlab(slab); });
    RescaleTable(message);
  }
}

void JoinTreePropagation::Collect() {
  for (int clique = 0; clique < tree->members.Count(); ++clique) {
    if (Sends(clique)) {
      CollectClique(clique);
    }
  }
}

// A clique is needed when a wanted marginal is read from it, or from one below it.
void JoinTreePropagation::MarkNeeded(std::span<const unsigned char> wanted) {
  needed.assign(Index(tree->members.Count()), 0);
  for (int clique = 0; clique < tree->members.Count(); ++clique) {
    for (const int node : tree->posteriors[clique]) {
      needed[Index(clique)] |= wanted[Index(node)];
    }
    if (needed[Index(clique)] != 0 && tree->parent[Index(clique)] >= 0) {
      needed[Index(tree->parent[Index(clique)])] = 1;
    }
  }
}

// What is new from the parent: its message over the one sent to it, 0 where that was 0.
void JoinTreePropagation::MakeRatio(int clique) {
  const std::span<double> fresh = NewMessage(clique);
  KeepQuotientsFinite(fresh, Message(clique));
  DivideTable(fresh.data(), Message(clique).data(), fresh.size());
  RescaleTable(fresh);
}

// What a clique's finished table is summed into: its children's new messages and its nodes' marginals.
void JoinTreePropagation::ListSums(int clique, std::span<const unsigned char> wanted) {
  ClearOutputs();
  for (const int child : tree->children[clique]) {
    if (needed[Index(child)] != 0 && Sends(child)) {
      AddOutput(NewMessage(child), tree->parentPlans[Index(child)]);
    }
  }
  for (std::size_t place = Index(tree->posteriors.start[Index(clique)]);
       place < Index(tree->posteriors.start[Index(clique) + 1]); ++place) {
    if (wanted[Index(tree->posteriors.items[place])] != 0) {
      AddOutput(MarginalCells(place), tree->posteriorPlans[place]);
    }
  }
}

void JoinTreePropagation::DistributeClique(int clique, std::span<const unsigned char> wanted) {
  inputs.clear();
  ListSums(clique, wanted);
  MakeRatio(clique);
  AddInput(NewMessage(clique).data(), tree->separatorPlans[Index(clique)]);
  WalkSlabs(clique, [&](const double* slab, std::size_t) {
    MultiplySlab(product.data(), slab, inputs[0].cells, inputs[0].plan);
    SumSlab(product.data());
  });
}

// A clique that sends no message is complete when its children have sent theirs: it is filled and summed
// in one go, and its table never stands as a whole.
void JoinTreePropagation::FinishClique(int clique, std::span<const unsigned char> wanted) {
  ListFactors(clique);
  ListSums(clique, wanted);
  WalkSlabs(clique, [&](const double*, std::size_t size) {
    FillSlab(product.data(), size);
    SumSlab(product.data());
  });
  const auto inScale = [](std::span<double> sum) { return IsInScale(LargestEntry(sum)); };
  if (!std::all_of(sums.begin(), sums.end(), inScale)) {
    std::for_each(sums.begin(), sums.end(),
                  [](std::span<double> sum) { std::fill(sum.begin(), sum.end(), 0.0); });
    FillStepwise(clique);
    ListSums(clique, wanted);
    WalkSlabs(clique, [&](const double* slab, std::size_t) { SumSlab(slab); });
  }
}

void JoinTreePropagation::Distribute(std::span<const unsigned char> wanted) {
  MarkNeeded(wanted);
  for (int clique = tree->members.Count() - 1; clique >= 0; --clique) {
    if (needed[Index(clique)] == 0) {
      continue;
    }
    if (Sends(clique)) {
      DistributeClique(clique, wanted);
    } else {
      FinishClique(clique, wanted);
    }
  }
}

}  // namespace qvr
