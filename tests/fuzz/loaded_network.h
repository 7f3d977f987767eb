// What the targets do with a file and with the network that came out of it.
#ifndef QVR_FUZZ_LOADED_NETWORK_H
#define QVR_FUZZ_LOADED_NETWORK_H

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <span>
#include <string>

#include "formats/format_table.h"
#include "model/error_log.h"
#include "model/network.h"
#include "model/special_numbers.h"

namespace qvr {

// Updates of larger networks could take more time than a fuzz run has.
inline constexpr double kMaxJointStates = 1 << 20;
inline constexpr double kMaxScenarioStates = 1 << 10;  // with decisions there may be an update for each

inline void Demand(bool holds) {
  if (!holds) {
    std::abort();
  }
}

inline bool WriteFile(const std::string& path, const std::uint8_t* data, std::size_t size) {
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) {
    return false;
  }
  const bool written = std::fwrite(data, 1, size, file) == size;
  return std::fclose(file) == 0 && written;
}

inline double CountJointStates(const QVR_network& network) {
  double count = 1;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    count *= std::max(1, network.NodeAt(handle)->GetNumberOfOutcomes());
  }
  return count;
}

inline bool HasDecisions(const QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    if ((network.NodeAt(handle)->GetType() & kTypeBitDecision) != 0) {
      return true;
    }
  }
  return false;
}

inline void EnterEvidence(QVR_network& network, unsigned salt) {
  int outcome = static_cast<int>(salt % 3);
  for (int handle = network.LastNode(); handle >= 0; handle -= 2) {
    if (QVR_node* node = network.NodeAt(handle); node != nullptr && node->value != nullptr) {
      node->value->SetEvidence(outcome);
      outcome = (outcome + 1) % 3;
    }
  }
}

// Rows of a consistent table may miss 1 by 5e-6, and a posterior that needs no tree takes its table as it is.
inline constexpr double kSumTolerance = 1e-3;

// Posteriors of consistent tables are distributions, one for each scenario that isn't impossible.
inline void CheckPosteriors(QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    QVR_nodeValue& value = *network.NodeAt(handle)->value;
    if (!value.IsValueValid() || value.GetValueType() != kValueBeliefVector) {
      continue;
    }
    const std::span<const double> cells = value.GetMatrix()->GetItems().Vector();
    const auto outcomes = static_cast<std::size_t>(network.NodeAt(handle)->GetNumberOfOutcomes());
    Demand(!cells.empty() && cells.size() % outcomes == 0);
    for (std::size_t row = 0; row < cells.size(); row += outcomes) {
      const double sum = std::accumulate(cells.begin() + static_cast<std::ptrdiff_t>(row),
                                         cells.begin() + static_cast<std::ptrdiff_t>(row + outcomes), 0.0);
      Demand(IsUndefined(cells[row]) || std::abs(sum - 1) < kSumTolerance);
    }
  }
}

inline void Use(QVR_network& network, unsigned salt) {
  const QVR_network copy(network);
  Demand(copy.CheckInvariants().empty());
  if (CountJointStates(network) > (HasDecisions(network) ? kMaxScenarioStates : kMaxJointStates)) {
    return;
  }
  for (int round = 0; round < 2; ++round) {
    if (network.UpdateBeliefs() == QVR_OKAY && network.IsConsistent()) {
      CheckPosteriors(network);
    }
    EnterEvidence(network, salt);
  }
  Demand(network.CheckInvariants().empty());
}

inline std::string TemporaryPath(const char* extension) {
  return (std::filesystem::temp_directory_path() / ("qvr_fuzz_" + std::to_string(getpid()) + extension))
      .string();
}

// False if the bytes couldn't be put into the file, which stays.
inline bool LoadBytes(const std::string& path, int format, const std::uint8_t* data, std::size_t size,
                      QVR_network& network) {
  if (!WriteFile(path, data, size)) {
    return false;
  }
  const int result = network.LoadFile(path.c_str(), format, nullptr);
  network.CheckConsistency(1);  // a failed load ends without
  Demand(network.CheckInvariants().empty());
  Demand(result == QVR_OKAY || GetErrorLog().GetCount() > 0);
  return true;
}

}  // namespace qvr

#endif
