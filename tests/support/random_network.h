// Seeded makers of networks: the same network for the same seed on every platform.
#ifndef QVR_SUPPORT_RANDOM_NETWORK_H
#define QVR_SUPPORT_RANDOM_NETWORK_H

#include <cstdint>
#include <random>
#include <span>
#include <vector>

#include "model/network.h"

namespace qvr {

// The standard distributions differ between libraries, so the mapping is our own.
class TestRandom {
 public:
  explicit TestRandom(std::uint64_t seed) : engine(seed) {}
  // A byte for each draw, for as long as there are any.
  explicit TestRandom(std::span<const std::uint8_t> newBytes) : bytes(newBytes) {}

  int Below(int n) { return static_cast<int>(Draw() % static_cast<std::uint64_t>(n)); }
  double Unit() { return static_cast<double>(Draw() >> 11) * 0x1p-53; }  // 0 included, 1 not
  bool Chance(double probability) { return Unit() < probability; }
  [[nodiscard]] bool HasBytes() const { return !bytes.empty(); }

 private:
  std::uint64_t Draw() {
    if (bytes.empty()) {
      return engine();
    }
    const std::uint64_t byte = bytes.front();
    bytes = bytes.subspan(1);
    return byte << 56 | byte;  // both halves tell
  }

  std::mt19937_64 engine;
  std::span<const std::uint8_t> bytes;
};

[[nodiscard]] QVR_intArray ShuffledOrder(int count, TestRandom& random);

// What tables look like.
struct TableStyle {
  double zeroFraction = 0;        // of cells; each row keeps at least one other
  double certainRowFraction = 0;  // of rows with a single outcome of probability 1
};

// The parents of node i, all below i.
using ParentLists = std::vector<std::vector<int>>;

[[nodiscard]] ParentLists ChainParents(int nodeCount);
// Each node below a random earlier one.
[[nodiscard]] ParentLists TreeParents(int nodeCount, TestRandom& random);
// Each node below its upper and its left neighbour.
[[nodiscard]] ParentLists GridParents(int rows, int columns);
// One root with leaves.
[[nodiscard]] ParentLists HubParents(int leafCount);
// One connected network without an undirected cycle: up to `maxParents` (at least 1) each, any number of
// children.
[[nodiscard]] ParentLists PolytreeParents(int nodeCount, int maxParents, TestRandom& random);
// Up to `maxParents` each, from the `window` nodes before: a narrow window keeps cliques small.
[[nodiscard]] ParentLists RandomParents(int nodeCount, int maxParents, int window, TestRandom& random);

// `least` to `most` for each node, but 2 from where the joint states would exceed `maxJointStates`.
[[nodiscard]] std::vector<int> RandomOutcomeCounts(int nodeCount, int least, int most, double maxJointStates,
                                                   TestRandom& random);
[[nodiscard]] std::vector<double> RandomTable(int rows, int outcomeCount, const TableStyle& style,
                                              TestRandom& random);

// Fills an empty network; node i gets handle i and identifier "n<i>". False if any step was refused.
[[nodiscard]] bool FillNetwork(const ParentLists& parents, const std::vector<int>& outcomeCounts,
                               const TableStyle& style, TestRandom& random, QVR_network& network);
// A joint state drawn from the network, by handle: evidence taken from it is possible. Needs parents of
// lower handles.
[[nodiscard]] std::vector<int> SampleStates(QVR_network& network, TestRandom& random);

}  // namespace qvr

#endif
