// The slow obvious truth of influence diagrams: all histories, and backward induction over them.
#ifndef QVR_SUPPORT_POLICY_ENUMERATION_H
#define QVR_SUPPORT_POLICY_ENUMERATION_H

#include <map>
#include <vector>

#include "model/network.h"

namespace qvr {

// A history gives the outcomes of the first nodes of the order of time, from the first on.
using History = std::vector<int>;

// Evidence and likelihoods are those of the network, neither of them below an open decision. Multi-attribute
// nodes combine expected utilities.
class PolicyEnumeration {
 public:
  // `newOrder` has open decisions and what is observed, in the order of time. Everything is computed here.
  PolicyEnumeration(QVR_network& newNetwork, const std::vector<int>& newOrder);

  // Of the history and the evidence; that of choices counts as 1.
  [[nodiscard]] double Probability(const History& history) const;
  // The greatest expected utility of the diagram from here on.
  [[nodiscard]] double BestUtility(const History& history) const { return best.at(history); }
  // For a history that is possible and complete.
  [[nodiscard]] std::vector<double> Posterior(int chance, const History& history) const;
  [[nodiscard]] double ExpectedUtility(int utility, const History& history) const {
    return sums.at(history).expected.at(utility);
  }

 private:
  struct Sums {
    double weight = 0;
    std::map<int, std::vector<double>> weights = {};  // by chance node
    std::map<int, double> utilities = {};             // of utility tables, times weight
    std::map<int, double> expected = {};              // of all utilities, given the history
  };

  void Enumerate(History& history);
  void SumStates(std::size_t place, double weight, Sums& sums);
  [[nodiscard]] double LikelihoodOf(int handle, int outcome) const;
  [[nodiscard]] std::size_t RowOf(int handle) const;
  [[nodiscard]] double Combine(const Sums& from, int utility) const;

  QVR_network* network;  // a pointer, so that one can be assigned
  std::vector<int> order;
  std::vector<int> chances;                   // parents first
  std::vector<int> utilities;                 // all, parents first
  std::map<int, std::vector<double>> tables;  // of chances and utility tables
  std::vector<int> states;                    // by handle; -1: not known
  std::map<History, Sums> sums;               // of all histories
  std::map<History, double> best;
};

}  // namespace qvr

#endif
