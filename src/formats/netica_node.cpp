#include "formats/netica_node.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "definitions/node_definition.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

constexpr int kBitChance = 2;
constexpr int kBitDeterministic = 4;

}  // namespace

int NeticaNode::GetKind() const {
  int result = kind;
  if (discrete >= 0 && (result & (kTypeBitDecision | kTypeBitUtility)) == 0) {
    result = discrete == 1 ? result | kTypeBitDiscrete : result & ~kTypeBitDiscrete;
  }
  if (chance >= 0 && (result & (kBitChance | kBitDeterministic)) != 0) {
    result &= ~(kBitChance | kBitDeterministic);
    result |= chance == 1 ? kBitDeterministic : kBitChance;
  }
  return result;
}

int NeticaNode::GetDiscreteType() const {
  const int type = GetKind() | kTypeBitDiscrete;
  if (type == kTypeList || (GetKind() & kTypeBitUtility) != 0) {
    return GetKind();
  }
  if (!hasProbs) {
    return hasFunctable ? static_cast<int>(kTypeTruthTable) : type;
  }
  const bool isCertain = std::all_of(probs.begin(), probs.end(), [](double p) { return p == 0 || p == 1; });
  return type == kTypeTruthTable && isCertain ? kTypeTruthTable : kTypeCpt;
}

int NeticaNode::CountOutcomes() const {
  if (!states.empty()) {
    return static_cast<int>(states.size());
  }
  if (stateCount > 0 || levels.empty()) {
    return stateCount;
  }
  return static_cast<int>(levels.size()) - (discrete == 1 ? 0 : 1);
}

std::vector<double> NeticaNode::FiniteLevels() const {
  std::vector<double> finite = levels;
  if (finite.size() >= 2 && finite.front() > finite.back()) {
    std::reverse(finite.begin(), finite.end());
  }
  const std::size_t count = finite.size();
  if (count >= 2 && std::isinf(finite.front())) {
    const bool hasNext = count >= 3 && std::isfinite(finite[2]);
    finite.front() = finite[1] - (hasNext ? finite[2] - finite[1] : 1.0);
  }
  if (count >= 2 && std::isinf(finite.back())) {
    const bool hasNext = count >= 3 && std::isfinite(finite[count - 3]);
    finite.back() = finite[count - 2] + (hasNext ? finite[count - 2] - finite[count - 3] : 1.0);
  }
  return finite;
}

std::vector<int> NeticaNode::FindOutcomes() const {
  std::unordered_map<std::string, int> known;
  for (std::size_t i = 0; i < states.size(); ++i) {
    known.try_emplace(states[i], static_cast<int>(i));
  }
  std::vector<int> outcomes;
  outcomes.reserve(functable.size());
  for (const std::string& entry : functable) {
    auto found = known.find(entry);
    if (found == known.end()) {
      found = known.emplace(entry, FindOutcomeOfNumber(entry)).first;
    }
    outcomes.push_back(found->second);
  }
  return outcomes;
}

int NeticaNode::FindOutcomeOfNumber(const std::string& entry) const {
  const bool isIndex = entry.starts_with('#');
  double number = 0;
  if (entry.empty() || TextToDouble(entry.c_str() + (isIndex ? 1 : 0), number) < 0 ||
      !std::isfinite(number)) {
    return QVR_OUT_OF_RANGE;
  }
  const int outcomes = CountOutcomes();
  if (isIndex || levels.empty()) {
    return number >= 0 && number < outcomes ? static_cast<int>(number) : QVR_OUT_OF_RANGE;
  }
  if (discrete == 1) {
    const auto value = std::find(levels.begin(), levels.end(), number);
    return value == levels.end() ? QVR_OUT_OF_RANGE : static_cast<int>(value - levels.begin());
  }
  for (std::size_t i = 0; i + 1 < levels.size(); ++i) {
    const auto [low, high] = std::minmax(levels[i], levels[i + 1]);
    if (number >= low && number <= high) {
      return static_cast<int>(i) < outcomes ? static_cast<int>(i) : QVR_OUT_OF_RANGE;
    }
  }
  return QVR_OUT_OF_RANGE;
}

QVR_doubleArray NeticaNode::CompleteTable(int rows, int outcomes) const {
  const long long open = std::count_if(probs.begin(), probs.end(), [](double p) { return std::isnan(p); });
  const long long stated = static_cast<long long>(probs.size()) - open;
  const bool isWhole = stated + open * outcomes == static_cast<long long>(rows) * outcomes;
  const int given = isWhole ? outcomes : outcomes - 1;
  QVR_doubleArray table;
  if (stated + open * given != static_cast<long long>(rows) * given || table.SetSize(rows * outcomes) < 0) {
    return table;
  }
  int cell = 0;
  double rest = 1;
  const auto store = [&](double p) {
    table[cell++] = p;
    rest -= p;
    if (!isWhole && cell % outcomes == given) {
      table[cell++] = std::max(rest, 0.0);
      rest = 1;
    }
  };
  for (double p : probs) {
    for (int i = 0; i < (std::isnan(p) ? given : 1); ++i) {
      store(std::isnan(p) ? 1.0 / outcomes : p);
    }
  }
  return table;
}

}  // namespace qvr
