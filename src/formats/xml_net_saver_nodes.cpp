// The node elements: what each class of definitions states.
#include <algorithm>
#include <vector>

#include "definitions/cast.h"
#include "definitions/demorgan.h"
#include "definitions/equation.h"
#include "definitions/list.h"
#include "definitions/mau.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "definitions/truth_table.h"
#include "definitions/utility_table.h"
#include "formats/xml_net_saver.h"
#include "formats/xml_vocabulary.h"
#include "model/network.h"

namespace qvr {
namespace {

// Bounds of an equation that aren't written.
constexpr double kUsualLower = -1.0;
constexpr double kUsualUpper = 1.0;

// The place at which each outcome of a parent stands in the order of strengths.
void AppendPlaces(const std::vector<int>& outcomesByPlace, std::vector<int>& places) {
  const std::size_t first = places.size();
  places.resize(first + outcomesByPlace.size());
  for (std::size_t place = 0; place < outcomesByPlace.size(); ++place) {
    places[first + static_cast<std::size_t>(outcomesByPlace[place])] = static_cast<int>(place);
  }
}

// The first column of the row with 1.0, or 0.
int FindCertain(std::span<const double> row) {
  const auto found = std::find(row.begin(), row.end(), 1.0);
  return found == row.end() ? 0 : static_cast<int>(found - row.begin());
}

std::span<const double> CellsOf(QVR_nodeDefinition& definition) {
  QVR_Dmatrix* table = nullptr;
  return definition.GetMatrix(table) < 0 ? std::span<const double>() : table->GetItems().Vector();
}

}  // namespace

// What all node elements begin with. Under `dynamic` the caller has added the attributes, the states are
// those of the node's own element, and the parents those of the temporal order.
void XmlNetworkSaver::OpenNode(QVR_nodeDefinition& definition, const char* element, States states) {
  currentElement = element;
  if (inDynamic) {
    OpenElement(element);
    WriteParents(*temporalParents);
    return;
  }
  QVR_node& node = *network.NodeAt(definition.GetHandle());
  AddNodeAttributes(node);
  OpenElement(element);
  if (states == States::kListed) {
    WriteStates(node);
  }
  WriteParents(network.GetParents(node.handle));
}

void XmlNetworkSaver::AddNodeAttributes(const QVR_node& node) {
  if (network.IsTarget(node.handle) == 1) {
    AddAttribute("target", true);
  }
  if (node.extra->diagnosisType != kAuxiliary) {
    AddAttribute("diagtype", WordOf(kDiagnosisWords, node.extra->diagnosisType));
  }
  if (const int type = network.GetDynamicType(node.handle); type != kDynamicNormal) {
    AddAttribute("dynamic", WordOf(kDynamicWords, type));
  }
  if (node.extra->ranked != 0) {
    AddAttribute("ranked", true);
  }
  if (node.extra->mandatory != 0) {
    AddAttribute("mandatory", true);
  }
}

void XmlNetworkSaver::WriteStates(QVR_node& node) {
  const QVR_extraDefinition& extra = *node.extra;
  for (int i = 0; i < node.GetNumberOfOutcomes(); ++i) {
    AddAttribute("id", node.definition->GetOutcomeNames()->Get(i));
    if (const char* const label = extra.GetFaultLabels().Get(i); label != nullptr && *label != '\0') {
      AddAttribute("label", label);
    }
    if (extra.setAsDefault != 0 && extra.GetDefaultOutcome() == i) {
      AddAttribute("default", true);
    }
    if (extra.GetFaultStates()[i] != 0) {
      AddAttribute("fault", true);
    }
    WriteElement("state", nullptr, kEscapeMarkup);
  }
}

void XmlNetworkSaver::VisitCpt(QVR_cpt& cpt) {
  OpenNode(cpt, "cpt", States::kListed);
  WriteDoubleList("probabilities", CellsOf(cpt));
}

void XmlNetworkSaver::VisitTruthTable(QVR_truthTable& truthTable) {
  OpenNode(truthTable, "deterministic", States::kListed);
  const QVR_stringArray& names = *(inDynamic ? *mainDefinition : truthTable).GetOutcomeNames();
  const std::span<const double> cells = CellsOf(truthTable);
  const auto width = static_cast<std::size_t>(truthTable.GetNumberOfOutcomes());
  std::vector<const char*> states;
  for (std::size_t row = 0; row < cells.size(); row += width) {
    states.push_back(names.Get(FindCertain(cells.subspan(row, width))));
  }
  WriteWordList("resultingstates", states);
}

void XmlNetworkSaver::VisitList(QVR_list& decision) { OpenNode(decision, "decision", States::kListed); }

void XmlNetworkSaver::VisitTable(QVR_table& utility) {
  OpenNode(utility, "utility", States::kNone);
  WriteDoubleList("utilities", CellsOf(utility));
}

void XmlNetworkSaver::VisitMau(QVR_mau& mau) {
  const MauExpressionTable* const formulas = mau.GetExpressionTable();
  if (formulas == nullptr) {
    OpenNode(mau, "mau", States::kNone);
    WriteDoubleList("weights", mau.GetWeights().GetItems().Vector());
    return;
  }
  OpenNode(mau, "maux", States::kNone);
  for (const ExpressionPtr& formula : formulas->View()) {
    WriteElement("expression", formula->GetText().c_str(), kEscapeMarkup);
  }
}

void XmlNetworkSaver::VisitEquation(QVR_equation& equation) {
  OpenNode(equation, "equation", States::kNone);
  const double lower = equation.GetLowerBound();
  const double upper = equation.GetUpperBound();
  if (lower != kUsualLower || upper != kUsualUpper) {
    AddAttribute("lower", lower);
    AddAttribute("upper", upper);
  }
  WriteElement("definition", equation.GetEquation().GetText().c_str(), kEscapeMarkup);
  if (equation.GetDiscIntervals().empty()) {
    return;
  }
  const ScopedElement discretization(*this, "discretization");
  for (const DiscretizationInterval& interval : equation.GetDiscIntervals()) {
    if (!interval.id.empty()) {
      AddAttribute("label", interval.id.c_str());
    }
    AddAttribute("upper", interval.upperBound);
    WriteElement("interval", nullptr, kEscapeMarkup);
  }
}

void XmlNetworkSaver::VisitCast(QVR_cast& cast) {
  OpenNode(cast, "cast", States::kNone);
  if (!cast.GetPositiveWeights().empty()) {
    WriteDoubleList("pweights", cast.GetPositiveWeights());
    WriteDoubleList("nweights", cast.GetNegativeWeights());
  }
  WriteDouble("baseline", cast.GetBaseline());
}

void XmlNetworkSaver::VisitDeMorgan(QVR_demorgan& demorgan) {
  OpenNode(demorgan, "demorgan", States::kNone);
  if (!demorgan.GetParentTypes().empty()) {
    std::vector<const char*> types;
    for (const int type : demorgan.GetParentTypes()) {
      types.push_back(WordOf(kInfluenceWords, type));
    }
    WriteWordList("types", types);
    WriteDoubleList("weights", demorgan.GetParentWeights());
  }
  WriteDouble("priorbelief", demorgan.GetPriorBelief());
}

void XmlNetworkSaver::VisitNoisyMax(QVR_noisyMAX& noisyMax) {
  OpenNode(noisyMax, "noisymax", States::kListed);
  const int parentCount = noisyMax.GetNetwork()->GetNumberOfParents(noisyMax.GetHandle());
  if (parentCount > 0) {
    std::vector<int> places;
    for (int parent = 0; parent < parentCount; ++parent) {
      AppendPlaces(noisyMax.GetStrengths(parent), places);
    }
    WriteIntList("strengths", places);
  }
  WriteDoubleList("parameters", noisyMax.GetCiWeights().GetItems().Vector());
}

void XmlNetworkSaver::VisitNoisyAdder(QVR_noisyAdder& adder) {
  if (adder.GetFunction() == kAdderSingleFault) {
    AddAttribute("function", WordOf(kFunctionWords, kAdderSingleFault));
  }
  OpenNode(adder, "noisyadder", States::kListed);
  std::vector<int> states = {adder.GetDistinguishedState()};
  const std::vector<int>& parentStates = adder.GetParentDistinguishedStates();
  states.insert(states.end(), parentStates.begin(), parentStates.end());
  WriteIntList("dstates", states);
  WriteDoubleList("weights", adder.GetParentWeights());
  WriteDoubleList("parameters", adder.GetCiWeights().GetItems().Vector());
}

}  // namespace qvr
