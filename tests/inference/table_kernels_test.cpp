// The kernels over planned slabs against plain coordinate arithmetic.
#include "inference/table_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace qvr {
namespace {

// A large table and a small one over some of its dimensions, in any order.
struct TablePair {
  std::vector<int> sizes;
  std::vector<int> strides;  // of the small table, by dimension of the large one
  std::vector<double> large;
  std::vector<double> small;

  [[nodiscard]] std::size_t SmallIndex(std::size_t cell) const {
    std::size_t index = 0;
    for (std::size_t d = sizes.size(); d-- > 0;) {
      const auto size = static_cast<std::size_t>(sizes[d]);
      index += cell % size * static_cast<std::size_t>(strides[d]);
      cell /= size;
    }
    return index;
  }
};

// With `ascending` the small table's dimensions keep the large one's order.
TablePair RandomPair(std::mt19937& random, bool ascending) {
  const auto below = [&random](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  TablePair pair;
  std::size_t largeSize = 1;
  const int wanted = 1 + below(6);
  for (int d = 0; d < wanted && largeSize < 4000; ++d) {
    pair.sizes.push_back(below(12) == 0 ? 20 + below(60) : 1 + below(9));
    largeSize *= static_cast<std::size_t>(pair.sizes.back());
  }
  const int dimensions = static_cast<int>(pair.sizes.size());
  std::vector<int> members;
  for (int d = 0; d < dimensions; ++d) {
    if (below(2) == 0) {
      members.push_back(d);
    }
  }
  if (!ascending) {
    std::shuffle(members.begin(), members.end(), random);
  }
  pair.strides.assign(pair.sizes.size(), 0);
  int smallSize = 1;
  for (std::size_t i = members.size(); i-- > 0;) {
    const auto d = static_cast<std::size_t>(members[i]);
    pair.strides[d] = smallSize;
    smallSize *= pair.sizes[d];
  }
  for (std::vector<double>* table : {&pair.large, &pair.small}) {
    table->resize(table == &pair.large ? largeSize : static_cast<std::size_t>(smallSize));
    std::generate(table->begin(), table->end(), [&] { return static_cast<double>(below(1000)) / 8.0; });
  }
  return pair;
}

// Calls work(first cell of a slab, first cell of the small table there, plan) for every slab.
template <typename Work>
void ForEachSlab(const TablePair& pair, const Work& work) {
  PlanArena arena;
  const SlabShape slab = ChooseSlab(pair.sizes);
  const TablePlan plan = MakePlan(pair.sizes, pair.strides, slab, arena);
  for (std::int64_t i = 0; i < slab.slabCount; ++i) {
    const std::size_t first = static_cast<std::size_t>(i) * static_cast<std::size_t>(slab.slabSize);
    work(first, pair.SmallIndex(first), Resolve(plan, arena));
  }
}

TEST(TableKernels, AgreeWithCoordinateArithmetic) {
  std::mt19937 random(20240607);
  for (int trial = 0; trial < 800; ++trial) {
    const TablePair pair = RandomPair(random, trial % 2 == 0);
    std::vector<double> assigned(pair.large.size());
    std::vector<double> multiplied = pair.large;
    std::vector<double> product(pair.large.size());
    std::vector<double> sums(pair.small.size());
    const bool canAdd = trial % 2 == 0;  // sums are taken over dimensions in order
    ForEachSlab(pair, [&](std::size_t cell, std::size_t small, const SlabPlan& plan) {
      if (canAdd) {
        AddSlab(sums.data() + small, pair.large.data() + cell, plan);
      }
      AssignSlab(assigned.data() + cell, pair.small.data() + small, plan);
      MultiplySlab(multiplied.data() + cell, multiplied.data() + cell, pair.small.data() + small, plan);
      MultiplySlab(product.data() + cell, pair.large.data() + cell, pair.small.data() + small, plan);
    });
    std::vector<double> factors(pair.large.size());
    std::vector<double> products(pair.large.size());
    std::vector<double> expected(pair.small.size());
    for (std::size_t cell = 0; cell < pair.large.size(); ++cell) {
      factors[cell] = pair.small[pair.SmallIndex(cell)];
      products[cell] = pair.large[cell] * factors[cell];
      expected[pair.SmallIndex(cell)] += canAdd ? pair.large[cell] : 0;  // eighths: exact in any order
    }
    ASSERT_EQ(assigned, factors) << "trial " << trial;
    ASSERT_EQ(multiplied, products) << "trial " << trial;
    ASSERT_EQ(product, products) << "trial " << trial;
    ASSERT_EQ(sums, expected) << "trial " << trial;
  }
}

}  // namespace
}  // namespace qvr
