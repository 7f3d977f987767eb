#include "formats/foreign_network.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <unordered_set>
#include <utility>

#include "definitions/utility_table.h"
#include "formats/latin1.h"
#include "formats/table_exchange.h"
#include "model/identifier.h"
#include "model/network.h"

namespace qvr {
namespace {

// Tables up to this size are built before anyone counts whether the file fills them.
constexpr std::int64_t kUsualTableSize = 1'048'576;

}  // namespace

void SetNetworkName(QVR_network& network, std::string name) {
  std::string id = name;
  if (!IsPlainIdentifier(id) && MakeValidIdentifier(id) < 0) {
    return;
  }
  QVR_header& header = network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header;
  header.SetId(id.c_str());
  ConvertFileText(name);
  header.SetName(name.c_str());
}

int AddTableParent(QVR_network& network, int parent, int child, std::size_t numberCount) {
  const std::int64_t states = std::max(network.NodeAt(parent)->GetNumberOfOutcomes(), 1);
  const auto limit = std::max(kUsualTableSize, static_cast<std::int64_t>(numberCount));
  if (GetTableSize(network, child) * states > std::min(limit, QVR_Dmatrix::kMaxElements)) {
    return QVR_OUT_OF_MEMORY;
  }
  return network.AddArc(parent, child, kOrdinaryLayer);
}

int GetTableSize(const QVR_network& network, int handle) {
  const QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
  return definition.GetType() == kTypeList ? 0 : definition.GetSize();
}

int SetTable(QVR_network& network, int handle, std::span<const double> numbers) {
  QVR_doubleArray array;
  if (const int status = array.Assign(numbers); status < 0) {
    return status;
  }
  if (auto* utilities = dynamic_cast<QVR_table*>(network.NodeAt(handle)->definition.get())) {
    return utilities->SetUtilities(array);
  }
  return SetProbabilityRows(network, handle, std::move(array));
}

std::optional<int> ToCoordinate(double number) {
  const double rounded = std::round(number);
  if (!(std::abs(rounded) <= std::numeric_limits<int>::max())) {
    return std::nullopt;
  }
  return static_cast<int>(rounded);
}

bool ToCoordinates(const QVR_doubleArray& numbers, int& first, int& second) {
  if (numbers.GetNumItems() != 2) {
    return false;
  }
  const std::optional<int> x = ToCoordinate(numbers[0]);
  const std::optional<int> y = ToCoordinate(numbers[1]);
  if (x && y) {
    first = *x;
    second = *y;
  }
  return x && y;
}

void SetNodeCentre(QVR_network& network, int handle, int x, int y) {
  QVR_rectangle& position = network.NodeAt(handle)->info->screen.position;
  position.centerX = x;
  position.centerY = y;
}

bool HasCost(const QVR_network& network, int handle) {
  const std::span<const double> costs = network.NodeAt(handle)->cost->GetCosts().GetItems().Vector();
  return network.GetNumberOfParents(handle, kCostLayer) > 0 ||
         std::any_of(costs.begin(), costs.end(), [](double cost) { return cost != 0; });
}

std::string MakeWrittenId(const std::string& id, const char* substitute) {
  std::string written = id.empty() ? substitute : id;
  if (!id.empty() && !IsPlainIdentifier(id)) {
    MakeValidIdentifier(written);
  }
  return written;
}

std::vector<std::string> MakeWrittenIds(const QVR_network& network) {
  std::vector<std::string> ids(static_cast<std::size_t>(network.GetTableSize()));
  std::unordered_set<std::string> repaired;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const std::string& id = network.NodeAt(handle)->GetId();
    const std::string base = MakeWrittenId(id, "_Unnamed_Node_");
    std::string written = base;
    for (int number = 2; written != id && (network.IsIdentifierTaken(written.c_str(), handle) ||
                                           !repaired.insert(written).second);
         ++number) {
      written = base + std::to_string(number);
    }
    ids[static_cast<std::size_t>(handle)] = written;
  }
  return ids;
}

}  // namespace qvr
