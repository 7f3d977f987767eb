// Reading the engine's text format: what nodes state about their parents.
#include <limits>

#include "definitions/demorgan.h"
#include "definitions/equation.h"
#include "definitions/list.h"
#include "definitions/mau.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "definitions/truth_table.h"
#include "definitions/utility_table.h"
#include "formats/qvr_speaker.h"
#include "formats/table_exchange.h"
#include "model/network.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

// The writer has no spelling for infinities.
double BoundOf(double value, double infinity) { return SameBits(value, kIllegal) ? infinity : value; }

constexpr double kInfinity = std::numeric_limits<double>::infinity();

}  // namespace

int QVR_qvrSpeaker::ReadDefinition() {
  const auto nameList = [this](const char* keyword, Phase phase,
                               int (QVR_qvrSpeaker::*apply)(const QVR_stringArray&)) {
    return std::pair(
        keyword, [=, this] { return DeferList(keyword, phase, &QVR_fileFormat::ReadIdentifierList, apply); });
  };
  const auto numbers = [this](const char* keyword, int (QVR_qvrSpeaker::*apply)(const QVR_doubleArray&)) {
    return std::pair(
        keyword, [=, this] { return DeferList(keyword, kNumbers, &QVR_fileFormat::ReadDoubleList, apply); });
  };
  const auto number = [this](const char* keyword, int (QVR_qvrSpeaker::*apply)(double)) {
    return std::pair(keyword, [=, this] { return DeferNumber(keyword, apply); });
  };
  const Statements statements = {
      nameList("NAMESTATES", kOutcomes, &QVR_qvrSpeaker::SetNames),
      nameList("NAMECHOICES", kOutcomes, &QVR_qvrSpeaker::SetNames),
      numbers("PROBABILITIES", &QVR_qvrSpeaker::SetProbabilities),
      nameList("RESULTINGSTATES", kNumbers, &QVR_qvrSpeaker::SetResultingStates),
      numbers("UTILITIES", &QVR_qvrSpeaker::SetUtilities),
      numbers("WEIGHTS", &QVR_qvrSpeaker::SetWeights),
      {"EXPRESSIONS",
       [this] {
         return DeferList("EXPRESSIONS", kNumbers, &QVR_fileFormat::ReadStringList,
                          &QVR_qvrSpeaker::SetExpressions);
       }},
      numbers("PWEIGHTS", &QVR_qvrSpeaker::SetPositiveWeights),
      numbers("NWEIGHTS", &QVR_qvrSpeaker::SetNegativeWeights),
      number("BASELINE", &QVR_qvrSpeaker::SetBaseline),
      nameList("TYPES", kNumbers, &QVR_qvrSpeaker::SetInfluences),
      number("PRIORBELIEF", &QVR_qvrSpeaker::SetPriorBelief),
      {"STRENGTHS", [this] { return ReadStrengths(); }},
      {"DSTATES",
       [this] {
         return DeferList("DSTATES", kDistinguished, &QVR_fileFormat::ReadIntList,
                          &QVR_qvrSpeaker::SetDistinguishedStates);
       }},
      {"FUNCTION", [this] { return DeferInt("FUNCTION", kNumbers, &QVR_qvrSpeaker::SetFunction); }},
      {"EQUATION", [this] { return ReadEquation(); }},
      number("LOWER", &QVR_qvrSpeaker::SetLower),
      number("UPPER", &QVR_qvrSpeaker::SetUpper),
      {"INTERVAL_NAMES", [this] { return ReadIntervalNames(); }},
      numbers("INTERVAL_BOUNDS", &QVR_qvrSpeaker::SetIntervalBounds),
  };
  return ReadNamedBlock("DEFINITION", statements, "Unknown Definition Statement");
}

int QVR_qvrSpeaker::DeferNumber(const char* keyword, int (QVR_qvrSpeaker::*apply)(double)) {
  double value = 0;
  int status = ReadBlockHeader(keyword);
  if (status == QVR_OKAY) {
    status = ExpectNumber(value);
  }
  return status < 0 ? status : Defer(kNumbers, [this, value, apply] { return (this->*apply)(value); });
}

int QVR_qvrSpeaker::DeferInt(const char* keyword, Phase phase, int (QVR_qvrSpeaker::*apply)(int)) {
  int value = 0;
  const int status = ReadIntField(keyword, value);
  return status < 0 ? status : Defer(phase, [this, value, apply] { return (this->*apply)(value); });
}

int QVR_qvrSpeaker::ReportRefusal(int status, const std::string& setter, int expected, int count) {
  if (status >= 0) {
    return status;
  }
  if (expected == count) {
    return Report(status, setter + " failed");
  }
  return Report(status, "ERROR: Node [" + open.node->GetId() + "] was expecting " + std::to_string(expected) +
                            " numbers but " + std::to_string(count) + " were read");
}

int QVR_qvrSpeaker::ReportNotApplicable(const char* keyword) {
  return Report(QVR_SYNTAX_ERROR, std::string("ERROR: '") + keyword + "' : Unknown Definition Statement");
}

QVR_nodeDefinition* QVR_qvrSpeaker::GetDefinition() const { return open.node->definition.get(); }

int QVR_qvrSpeaker::ParentCount() const { return network.GetNumberOfParents(open.node->handle); }

int QVR_qvrSpeaker::SetNames(const QVR_stringArray& stateNames) {
  constexpr int kLeast = 2;
  const int count = stateNames.GetNumItems();
  const int status =
      count < kLeast ? QVR_OUT_OF_RANGE : SetOutcomeNames(network, open.node->handle, stateNames);
  return ReportRefusal(status, "SetNumberOfOutcomes", std::max(count, kLeast), count);
}

int QVR_qvrSpeaker::SetProbabilities(const QVR_doubleArray& numbers) {
  QVR_nodeDefinition& definition = *open.node->definition;
  const int count = numbers.GetNumItems();
  if (auto* adder = DefinitionAs<QVR_noisyAdder>()) {
    const int expected = adder->GetCiWeights().GetNumElements();
    return ReportRefusal(count == expected ? adder->SetValues(numbers) : QVR_OUT_OF_RANGE, "SetValues",
                         expected, count);
  }
  if (definition.GetType() == kTypeNoisyMax) {
    return SetNoisyMaxParameters(numbers);
  }
  auto* cpt = DefinitionAs<QVR_cpt>();
  if (cpt == nullptr || DefinitionAs<QVR_binaryGate>() != nullptr) {
    return ReportNotApplicable("PROBABILITIES");
  }
  return ReportRefusal(cpt->SetProbabilities(numbers), "SetProbabilities", cpt->GetSize(), count);
}

int QVR_qvrSpeaker::SetResultingStates(const QVR_stringArray& states) {
  auto* table = DefinitionAs<QVR_truthTable>();
  if (table == nullptr) {
    return ReportNotApplicable("RESULTINGSTATES");
  }
  const auto& outcomes = static_cast<const QVR_idArray&>(*table->GetOutcomeNames());
  QVR_intArray indices;
  for (int i = 0; i < states.GetNumItems(); ++i) {
    const int index = outcomes.FindId(states.Get(i));
    if (index < 0) {
      return Report(index, std::string("Invalid resulting state: ") + states.Get(i));
    }
    indices.Add(index);
  }
  return ReportRefusal(table->SetResultingStates(indices), "SetResultingStates", table->GetNumberOfRows(),
                       states.GetNumItems());
}

int QVR_qvrSpeaker::SetUtilities(const QVR_doubleArray& numbers) {
  auto* table = DefinitionAs<QVR_table>();
  return table == nullptr ? ReportNotApplicable("UTILITIES")
                          : ReportRefusal(table->SetUtilities(numbers), "SetUtilities", table->GetSize(),
                                          numbers.GetNumItems());
}

int QVR_qvrSpeaker::SetWeights(const QVR_doubleArray& numbers) {
  const int count = numbers.GetNumItems();
  if (auto* mau = DefinitionAs<QVR_mau>()) {
    return ReportRefusal(mau->SetWeights(numbers), "SetWeights", mau->GetSize(), count);
  }
  if (auto* demorgan = DefinitionAs<QVR_demorgan>()) {
    return ReportRefusal(demorgan->SetParentWeights(numbers), "SetParentWeights", ParentCount(), count);
  }
  if (auto* adder = DefinitionAs<QVR_noisyAdder>()) {
    return ReportRefusal(adder->SetParentWeights(numbers), "SetParentWeights", ParentCount() + 1, count);
  }
  return ReportNotApplicable("WEIGHTS");
}

int QVR_qvrSpeaker::SetExpressions(const QVR_stringArray& texts) {
  auto* mau = DefinitionAs<QVR_mau>();
  if (mau == nullptr) {
    return ReportNotApplicable("EXPRESSIONS");
  }
  std::vector<std::string> formulas;
  for (int i = 0; i < texts.GetNumItems(); ++i) {
    formulas.emplace_back(texts.Get(i));
  }
  std::string reason;
  const int status = mau->SetExpressions(formulas, reason);
  return ReportRefusal(status, "SetExpressions failed: '" + reason + "'", mau->GetExpressionCount(),
                       texts.GetNumItems());
}

int QVR_qvrSpeaker::ReadEquation() {
  return ReadTextField("EQUATION", [this](const char* text) {
    return Defer(kNumbers, [this, equationText = std::string(text)] {
      auto* equation = DefinitionAs<QVR_equation>();
      if (equation == nullptr) {
        return ReportNotApplicable("EQUATION");
      }
      std::string reason;
      const int status = equation->SetEquation(equationText.c_str(), nullptr, &reason);
      return status < 0 ? Report(status, "SetEquation failed: '" + reason + "'") : status;
    });
  });
}

int QVR_qvrSpeaker::SetLower(double value) {
  auto* equation = DefinitionAs<QVR_equation>();
  return equation == nullptr ? ReportNotApplicable("LOWER")
                             : equation->SetBounds(BoundOf(value, -kInfinity), equation->GetUpperBound());
}

int QVR_qvrSpeaker::SetUpper(double value) {
  auto* equation = DefinitionAs<QVR_equation>();
  return equation == nullptr ? ReportNotApplicable("UPPER")
                             : equation->SetBounds(equation->GetLowerBound(), BoundOf(value, kInfinity));
}

int QVR_qvrSpeaker::ReadIntervalNames() {
  QVR_stringArray list;
  int status = ReadBlockHeader("INTERVAL_NAMES");
  if (status == QVR_OKAY) {
    status = ReadStringList(list);
  }
  open.intervalNames.clear();
  for (int i = 0; i < list.GetNumItems(); ++i) {
    open.intervalNames.emplace_back(list.Get(i));
  }
  return status;
}

int QVR_qvrSpeaker::SetIntervalBounds(const QVR_doubleArray& bounds) {
  // The bounds of the whole may stand behind these in the file.
  return Defer(kAttributes, [this, ends = std::vector<double>(bounds.begin(), bounds.end())] {
    auto* equation = DefinitionAs<QVR_equation>();
    if (equation == nullptr) {
      return ReportNotApplicable("INTERVAL_BOUNDS");
    }
    std::vector<DiscretizationInterval> intervals(ends.size());
    std::vector<std::string>& labels = open.intervalNames;
    labels.resize(labels.empty() ? ends.size() : labels.size());
    if (labels.size() != ends.size()) {
      return ReportRefusal(QVR_OUT_OF_RANGE, "SetDiscIntervals", static_cast<int>(labels.size()),
                           static_cast<int>(ends.size()));
    }
    for (std::size_t i = 0; i < ends.size(); ++i) {
      intervals[i] = {labels[i], BoundOf(ends[i], kInfinity)};
    }
    return ReportRefusal(equation->SetDiscIntervals(std::move(intervals)), "SetDiscIntervals", 1, 1);
  });
}

}  // namespace qvr
