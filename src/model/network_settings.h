// The settings of a network: bits of its flag words, ids of algorithms, records of parameters.
#ifndef QVR_MODEL_NETWORK_SETTINGS_H
#define QVR_MODEL_NETWORK_SETTINGS_H

namespace qvr {

// Bits of updateFlags.
inline constexpr unsigned UPDATE_TRACK_CHANGES = 1;       // changes invalidate values
inline constexpr unsigned UPDATE_PROPAGATE_EVIDENCE = 2;  // entering evidence deduces what it forces
inline constexpr unsigned UPDATE_IMMEDIATELY = 8;         // every notification ends with UpdateBeliefs

// Bits of relevanceMask; a change is acted on only if its bit is on. 64, 128 and 256 are changes of a
// definition.
inline constexpr unsigned kRelevanceArcAdded = 1;
inline constexpr unsigned kRelevanceArcRemoved = 2;
inline constexpr unsigned kRelevanceEvidenceSet = 4;
inline constexpr unsigned kRelevanceEvidenceRetracted = 8;
inline constexpr unsigned kDefaultRelevanceMask = 463;

// Bits of loadFlags, set for the length of a load.
inline constexpr unsigned kLoading = 1;
inline constexpr unsigned kLoadVouchesForGraph = 2;      // AddArc skips the cycle test
inline constexpr unsigned kLoadAcceptsDuplicateIds = 4;  // the reader tests identifiers itself

// Values of beliefAlgorithm.
enum BeliefAlgorithm : int {
  ALG_JOIN_TREE = 0,
  ALG_LOGIC_SAMPLING = 1,
  ALG_POLYTREE = 2,
  ALG_LIKELIHOOD_WEIGHTING = 3,
  // Counts the ratio of its two tables twice: beyond 100 samples its limit isn't the posterior.
  ALG_SELF_IMPORTANCE = 4,
  ALG_LIKELIHOOD_WEIGHTING_2 = 5,
  ALG_BACKWARD_SAMPLING = 6,
  ALG_ADAPTIVE_IMPORTANCE = 7,
  ALG_MESSAGE_IMPORTANCE = 8,
  ALG_LOOPY_BELIEF = 9,
  ALG_CLIQUE_TREE = 10,
  ALG_RELEVANCE_BATCHES = 11,
  ALG_RELEVANCE_HALVING = 12,
};

// Values of decisionAlgorithm.
enum DecisionAlgorithm : int {
  DECISION_COOPER = 0,    // the expected utility of every policy
  DECISION_SHACHTER = 1,  // only the best choice of the first open decision
};

// Settings of importance sampling from loopy messages.
struct EpisParameters {
  int propLength = 5;
  int numStates1 = 5;
  int numStates2 = 8;
  int numStates3 = 20;
  double eps1 = 0.006;
  double eps2 = 0.0001;
  double eps3 = 0.00005;
  double eps4 = 0.00005;
};

struct AdaptationParameters {
  double rate = 0.8;
  double step = 0.001;
  double maximum = 0.99;
  double floor = 0.1;
  int first = 1;
  int second = 10;
  int third = 20;
};

// What programs and files set freely.
struct NetworkOptions {
  int sampleCount = 1000;
  int discSamples = 10000;
  char rejectOutliers = 0;
  char discretize = 0;
  char discAvoidZero = 1;
  char noisyMaxRelevance = 0;  // reduce the families of noisy-MAX nodes by their evidence
  int reservedMode = 3;        // how a front end names faults; the engine only keeps it
  int tag = 0;
};

// What is set through operations that test it.
struct SolverSettings {
  int beliefAlgorithm = ALG_JOIN_TREE;
  int decisionAlgorithm = DECISION_COOPER;
  int hybridAlgorithm = 14;
  unsigned updateFlags = UPDATE_TRACK_CHANGES | UPDATE_PROPAGATE_EVIDENCE;
  unsigned relevanceMask = kDefaultRelevanceMask;
  EpisParameters episParameters;
  int samplingPasses = 5;
  AdaptationParameters adaptationParameters;
};

// Arc layers: any other value than kCostLayer means the ordinary arcs.
inline constexpr int kOrdinaryLayer = 0;
inline constexpr int kCostLayer = 1;

}  // namespace qvr

#endif
