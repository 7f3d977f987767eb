#include "formats/table_exchange.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <span>
#include <utility>

#include "definitions/cpt.h"
#include "model/network.h"

namespace qvr {
namespace {

// Rows this near to 1 are kept bit for bit.
constexpr double kLeastSum = 0.999995;
constexpr double kGreatestSum = 1.000005;

void NormalizeRow(std::span<double> row) {
  if (std::any_of(row.begin(), row.end(), [](double cell) { return !(cell >= 0.0); })) {
    return;
  }
  const double sum = std::accumulate(row.begin(), row.end(), 0.0);
  if (sum == 0.0) {
    std::fill(row.begin(), row.end(), 1.0 / static_cast<double>(row.size()));
  } else if ((sum < kLeastSum || sum > kGreatestSum) && std::isfinite(sum)) {
    for (double& cell : row) {
      cell /= sum;
    }
  }
}

}  // namespace

int SetProbabilityRows(QVR_network& network, int handle, QVR_doubleArray numbers) {
  auto* definition = dynamic_cast<QVR_cpt*>(network.NodeAt(handle)->definition.get());
  if (definition == nullptr) {
    return QVR_WRONG_NODE_TYPE;
  }
  const int outcomes = definition->GetNumberOfOutcomes();
  if (numbers.Length() != definition->GetSize()) {
    return QVR_OUT_OF_RANGE;
  }
  for (int first = 0; first < numbers.Length(); first += outcomes) {
    NormalizeRow({&numbers[first], static_cast<std::size_t>(outcomes)});
  }
  return definition->SetProbabilities(numbers);
}

std::string WrongCountMessage(const std::string& id, int expected, int count) {
  return "ERROR: Node [" + id + "] was expecting " + std::to_string(expected) + " numbers but " +
         std::to_string(count) + " were read";
}

std::string WrongCountMessage(const QVR_network& network, int handle, int count) {
  const QVR_node& node = *network.NodeAt(handle);
  return WrongCountMessage(node.GetId(), node.definition->GetSize(), count);
}

int SetOutcomeNames(QVR_network& network, int handle, const QVR_stringArray& names) {
  QVR_idArray ids;
  if (const int status = ids.Copy(names); status < 0) {
    return status;
  }
  QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
  return ids.MakeAllValid() < 0 ? definition.SetNumberOfOutcomes(names) : definition.SetNumberOfOutcomes(ids);
}

bool HasProbabilities(int type) {
  switch (type) {
    case kTypeCpt:
    case kTypeTruthTable:
    case kTypeCast:
    case kTypeDeMorgan:
    case kTypeNoisyMax:
    case kTypeNoisyAdder:
      return true;
    default:
      return false;
  }
}

bool HasWritableTable(QVR_network& network, int handle) {
  const int type = network.NodeAt(handle)->GetType();
  return type == kTypeList ||
         ((type == kTypeTable || HasProbabilities(type)) && GetWritableTable(network, handle) != nullptr);
}

const QVR_Dmatrix* GetWritableTable(QVR_network& network, int handle) {
  QVR_Dmatrix* table = nullptr;
  return network.NodeAt(handle)->definition->GetMatrix(table) < 0 ? nullptr : table;
}

}  // namespace qvr
