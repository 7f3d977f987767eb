// Two networks field by field, nodes and submodels by identifier: handles and order may differ.
#ifndef QVR_SUPPORT_NETWORK_EQUALITY_H
#define QVR_SUPPORT_NETWORK_EQUALITY_H

#include <string>
#include <utility>
#include <vector>

#include "model/network.h"

namespace qvr {

// Each with a path that tells what it is. Numbers stand for themselves, so that they can be told apart by
// their bits or by their distance.
struct NetworkFields {
  void Add(const std::string& path, const std::string& text) { texts.emplace_back(path, text); }
  void Add(const std::string& path, const char* text) { Add(path, std::string(text == nullptr ? "" : text)); }
  void Add(const std::string& path, double number) { numbers.emplace_back(path, number); }
  template <typename Numbers>
  void AddAll(const std::string& path, const Numbers& list) {
    for (const auto number : list) {
      Add(path, static_cast<double>(number));
    }
    Add(path + " ends", "");
  }

  std::vector<std::pair<std::string, std::string>> texts;
  std::vector<std::pair<std::string, double>> numbers;
};

// The numbers of a definition, a node's own or one for a temporal order.
void AddDefinition(NetworkFields& fields, const std::string& path, QVR_nodeDefinition& definition);
// What a file can keep of a network: settings, metadata, submodels, nodes with all that they own.
[[nodiscard]] NetworkFields ListFields(QVR_network& network);

// What differs first, or an empty text. Numbers may differ by this fraction of the greater one; with 0 their
// bits must agree.
[[nodiscard]] std::string FirstDifference(const NetworkFields& a, const NetworkFields& b, double tolerance);
[[nodiscard]] std::string FirstDifference(QVR_network& a, QVR_network& b, double tolerance);

}  // namespace qvr

#endif
