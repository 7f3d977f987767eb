// A network under trial: what is entered is kept beside it, and every exact engine must then agree with
// the joint distribution.
#ifndef QVR_AGREEMENT_ENGINE_TRIAL_H
#define QVR_AGREEMENT_ENGINE_TRIAL_H

#include <span>
#include <string>
#include <vector>

#include "support/brute_force.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {

inline constexpr int kExactEngines[] = {ALG_JOIN_TREE, ALG_CLIQUE_TREE, ALG_RELEVANCE_BATCHES,
                                        ALG_RELEVANCE_HALVING};
inline constexpr double kTolerance = 1e-9;

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
inline constexpr bool kSanitized = __has_feature(address_sanitizer);
#else
inline constexpr bool kSanitized = false;
#endif

// The first seed of a random test, from the environment's QVR_TEST_SEED if that is set. Printed.
[[nodiscard]] std::uint64_t FirstSeed();

class Trial {
 public:
  // The network has all its nodes by now; none has evidence.
  explicit Trial(QVR_network& newNetwork) : network(newNetwork), entered(newNetwork) {}

  // Evidence may be refused, but only if it is impossible beside the other outcomes observed.
  void Observe(int handle, int outcome);
  void Retract(int handle);
  void Weigh(int handle, const std::vector<double>& likelihoods);
  // One of the three, or a change of targets.
  void EnterSomething(TestRandom& random);
  // All these engines; also that no value still marked valid from before has become stale.
  void CheckEngines(std::span<const int> engines = kExactEngines);

  [[nodiscard]] const Observations& Entered() const { return entered; }

 private:
  void ExpectEntered(bool refused);
  void ExpectTruth(const JointAnswer& truth);
  void ExpectContradiction(int engine, int code);
  [[nodiscard]] bool IsWanted(int handle) const;
  void Forget();

  QVR_network& network;
  Observations entered;
};

}  // namespace qvr

#endif
