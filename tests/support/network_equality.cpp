#include "support/network_equality.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <sstream>

#include "definitions/cast.h"
#include "definitions/demorgan.h"
#include "definitions/equation.h"
#include "definitions/mau.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "model/dynamic_extension.h"
#include "model/special_numbers.h"
#include "support/describe_network.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

void AddBox(NetworkFields& fields, const std::string& path, const QVR_rectangle& box) {
  fields.AddAll(path, std::vector<int>{box.centerX, box.centerY, box.width, box.height});
}

void AddScreen(NetworkFields& fields, const std::string& path, const QVR_screenInfo& screen) {
  fields.AddAll(path + ".screen",
                std::vector<int>{screen.color, screen.selectionColor, screen.font, screen.fontColor,
                                 screen.borderThickness, screen.borderColor, screen.arcFlags});
  AddBox(fields, path + ".position", screen.position);
}

void AddStrings(NetworkFields& fields, const std::string& path, const QVR_stringArray& list) {
  for (int i = 0; i < list.GetNumItems(); ++i) {
    fields.Add(path, list.Get(i));
  }
  fields.Add(path + " ends", "");
}

void AddProperties(NetworkFields& fields, const std::string& path, const QVR_userProperties& properties) {
  for (int i = 0; i < properties.GetCount(); ++i) {
    fields.Add(path + ".property " + properties.GetName(i), properties.GetValue(i));
  }
}

void AddHeader(NetworkFields& fields, const std::string& path, const QVR_header& header) {
  fields.Add(path + ".id", header.GetId());
  fields.Add(path + ".name", header.GetName());
  fields.Add(path + ".comment", header.GetComment());
}

void AddLinks(NetworkFields& fields, const std::string& path, const QVR_documentation* links) {
  if (links != nullptr && links->titles.GetNumItems() > 0) {
    AddStrings(fields, path + ".titles", links->titles);
    AddStrings(fields, path + ".links", links->links);
  }
}

std::string IdOf(const QVR_network& network, int submodel) {
  const QVR_submodel* const found = network.GetSubmodels().GetSubmodel(submodel);
  return found == nullptr ? "" : found->header.GetId();
}

void AddSubmodels(NetworkFields& fields, const QVR_network& network) {
  const QVR_submodelHandler& handler = network.GetSubmodels();
  std::vector<std::pair<std::string, int>> sorted;
  for (int handle = handler.FirstSubmodel(); handle >= 0; handle = handler.NextSubmodel(handle)) {
    sorted.emplace_back(IdOf(network, handle), handle);
  }
  std::sort(sorted.begin(), sorted.end());
  for (const auto& [id, handle] : sorted) {
    const QVR_submodel& submodel = *handler.GetSubmodel(handle);
    const std::string path = "submodel " + id;
    AddHeader(fields, path, submodel.header);
    fields.Add(path + ".parent", IdOf(network, handler.GetParent(handle)));
    AddScreen(fields, path, submodel.screen);
    AddBox(fields, path + ".window", submodel.windowPosition);
    fields.Add(path + ".background", submodel.backgroundColor);
    AddStrings(fields, path + ".text boxes", submodel.textBoxes.texts);
    for (int i = 0; i < submodel.textBoxes.boxes.GetNumItems(); ++i) {
      AddBox(fields, path + ".text box", submodel.textBoxes.boxes.Get(i));
    }
    AddProperties(fields, path, submodel.userProperties);
    AddLinks(fields, path, &submodel.documentation);
  }
}

void AddOutcomes(NetworkFields& fields, const std::string& path, QVR_node& node) {
  const QVR_extraDefinition& extra = *node.extra;
  fields.AddAll(path + ".diagnosis",
                std::vector<int>{extra.diagnosisType, extra.ranked, extra.mandatory, extra.setAsDefault,
                                 extra.showAs, extra.GetDefaultOutcome()});
  fields.Add(path + ".question", extra.question);
  const int count = node.GetNumberOfOutcomes();
  if (count < 1) {
    return;
  }
  AddStrings(fields, path + ".outcomes", *node.definition->GetOutcomeNames());
  fields.AddAll(path + ".faults", extra.GetFaultStates());
  AddStrings(fields, path + ".labels", extra.GetFaultLabels());
  AddStrings(fields, path + ".fault names", extra.GetFaultNames());
  AddStrings(fields, path + ".state comments", extra.GetStateComments());
  AddStrings(fields, path + ".repairs", extra.GetRepairInfo());
  for (int i = 0; i < count; ++i) {
    AddLinks(fields, path + ".state " + std::to_string(i), extra.FindStateDocumentation(i));
  }
}

void AddArcs(NetworkFields& fields, const std::string& path, const QVR_network& network,
             const QVR_intArray& parents) {
  for (const int parent : parents) {
    fields.Add(path, network.NodeAt(parent)->GetId());
  }
}

void AddCanonical(NetworkFields& fields, const std::string& path, QVR_nodeDefinition& definition) {
  if (const auto* ci = dynamic_cast<QVR_ciDefinition*>(&definition)) {
    fields.AddAll(path + ".parameters", ci->GetCiWeights().GetItems().Vector());
  }
  if (const auto* noisyMax = dynamic_cast<QVR_noisyMAX*>(&definition)) {
    const int count = definition.GetNetwork()->GetNumberOfParents(definition.GetHandle());
    for (int i = 0; i < count; ++i) {
      fields.AddAll(path + ".strengths", noisyMax->GetStrengths(i));
    }
  } else if (const auto* adder = dynamic_cast<QVR_noisyAdder*>(&definition)) {
    fields.AddAll(path + ".states", adder->GetParentDistinguishedStates());
    fields.AddAll(path + ".weights", adder->GetParentWeights());
    fields.AddAll(path + ".adder", std::vector<int>{adder->GetDistinguishedState(), adder->GetFunction()});
  } else if (const auto* cast = dynamic_cast<QVR_cast*>(&definition)) {
    fields.Add(path + ".baseline", cast->GetBaseline());
    fields.AddAll(path + ".positive", cast->GetPositiveWeights());
    fields.AddAll(path + ".negative", cast->GetNegativeWeights());
  } else if (const auto* demorgan = dynamic_cast<QVR_demorgan*>(&definition)) {
    fields.Add(path + ".prior", demorgan->GetPriorBelief());
    fields.AddAll(path + ".weights", demorgan->GetParentWeights());
    fields.AddAll(path + ".types", demorgan->GetParentTypes());
  }
}

void AddFormulas(NetworkFields& fields, const std::string& path, QVR_nodeDefinition& definition) {
  if (const auto* mau = dynamic_cast<QVR_mau*>(&definition)) {
    if (mau->GetExpressionTable() == nullptr) {
      fields.AddAll(path + ".weights", mau->GetWeights().GetItems().Vector());
      return;
    }
    for (const ExpressionPtr& formula : mau->GetExpressionTable()->View()) {
      fields.Add(path + ".formula", formula->GetText());
    }
  } else if (const auto* equation = dynamic_cast<QVR_equation*>(&definition)) {
    fields.Add(path + ".equation", equation->GetEquation().GetText());
    fields.Add(path + ".lower", equation->GetLowerBound());
    fields.Add(path + ".upper", equation->GetUpperBound());
    for (const DiscretizationInterval& interval : equation->GetDiscIntervals()) {
      fields.Add(path + ".interval", interval.id);
      fields.Add(path + ".interval", interval.upperBound);
    }
  }
}

}  // namespace

void AddDefinition(NetworkFields& fields, const std::string& path, QVR_nodeDefinition& definition) {
  fields.Add(path + ".type", definition.GetTypeName());
  QVR_Dmatrix* table = nullptr;
  const bool isTable = dynamic_cast<QVR_ciDefinition*>(&definition) == nullptr;
  if (isTable && definition.GetMatrix(table) == QVR_OKAY) {
    fields.AddAll(path + ".sizes", table->GetDimensions().Vector());
    fields.AddAll(path + ".table", table->GetItems().Vector());
  }
  AddCanonical(fields, path, definition);
  AddFormulas(fields, path, definition);
}

namespace {

void AddTemporalTables(NetworkFields& fields, const std::string& path, QVR_network& network, int handle) {
  QVR_dynamicExtension* const temporal = network.GetDynamicExtension();
  if (temporal == nullptr) {
    return;
  }
  for (const int order : temporal->GetTemporalOrders(handle)) {
    const std::string place = path + ".order " + std::to_string(order);
    for (const int parent : temporal->GetTemporalParents(handle, order)) {
      fields.Add(place + ".parent", network.NodeAt(parent)->GetId());
    }
    AddDefinition(fields, place, *temporal->GetTemporalDefinition(handle, order));
  }
}

// Files say how many slices there are, and where they are drawn, only if there's something in them.
void AddPlate(NetworkFields& fields, const QVR_network& network) {
  const QVR_dynamicExtension* const temporal = network.GetDynamicExtension();
  if (temporal != nullptr && temporal->GetMaxOrder() > 0) {
    fields.AddAll("plate",
                  std::vector<int>{temporal->GetSliceCount(), temporal->leftWidth, temporal->rightWidth});
    AddBox(fields, "plate", temporal->plateArea);
  }
}

void AddNode(NetworkFields& fields, QVR_network& network, int handle) {
  QVR_node& node = *network.NodeAt(handle);
  const std::string path = "node " + node.GetId();
  AddHeader(fields, path, node.info->header);
  AddScreen(fields, path, node.info->screen);
  AddProperties(fields, path, node.info->userProperties);
  AddLinks(fields, path, &node.info->documentation);
  fields.Add(path + ".submodel", IdOf(network, node.submodel));
  fields.Add(path + ".target", network.IsTarget(handle));
  fields.Add(path + ".dynamic type", network.GetDynamicType(handle));
  AddArcs(fields, path + ".parent", network, network.GetParents(handle));
  AddArcs(fields, path + ".cost parent", network, network.GetParents(handle, kCostLayer));
  fields.AddAll(path + ".cost sizes", node.cost->GetCosts().GetDimensions().Vector());
  fields.AddAll(path + ".costs", node.cost->GetCosts().GetItems().Vector());
  AddOutcomes(fields, path, node);
  AddDefinition(fields, path, *node.definition);
  AddTemporalTables(fields, path, network, handle);
}

bool Agree(double a, double b, double tolerance) {
  return SameBits(a, b) || (std::isnan(a) && std::isnan(b)) ||
         std::abs(a - b) <= tolerance * std::max(std::abs(a), std::abs(b));
}

template <typename List, typename Same>
std::string FindDifference(const List& a, const List& b, const Same& same) {
  std::ostringstream out;
  out.precision(17);
  for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
    if (i >= a.size() || i >= b.size()) {
      out << "only one has " << (i < a.size() ? a : b)[i].first;
      break;
    }
    if (a[i].first != b[i].first || !same(a[i].second, b[i].second)) {
      out << a[i].first << " is " << a[i].second << ", " << b[i].first << " is " << b[i].second;
      break;
    }
  }
  return out.str();
}

}  // namespace

NetworkFields ListFields(QVR_network& network) {
  NetworkFields fields;
  const EpisParameters& epis = network.GetEpisParameters();
  fields.AddAll("options", std::vector<int>{network.sampleCount, network.discSamples, network.rejectOutliers,
                                            network.discAvoidZero, network.reservedMode});
  fields.AddAll("epis", std::vector<double>{static_cast<double>(epis.propLength), epis.eps1, epis.eps2,
                                            epis.eps3, epis.eps4});
  fields.AddAll("epis states", std::vector<int>{epis.numStates1, epis.numStates2, epis.numStates3});
  AddProperties(fields, "network", network.userProperties);
  AddSubmodels(fields, network);
  AddPlate(fields, network);
  std::vector<int> handles = AllNodes(network);
  std::sort(handles.begin(), handles.end(),
            [&](int a, int b) { return network.NodeAt(a)->GetId() < network.NodeAt(b)->GetId(); });
  for (const int handle : handles) {
    AddNode(fields, network, handle);
  }
  fields.Add("cases", DescribeCases(network));
  return fields;
}

std::string FirstDifference(const NetworkFields& a, const NetworkFields& b, double tolerance) {
  std::string texts = FindDifference(a.texts, b.texts, std::equal_to<>());
  if (!texts.empty()) {
    return texts;
  }
  return FindDifference(a.numbers, b.numbers,
                        [tolerance](double x, double y) { return Agree(x, y, tolerance); });
}

std::string FirstDifference(QVR_network& a, QVR_network& b, double tolerance) {
  return FirstDifference(ListFields(a), ListFields(b), tolerance);
}

}  // namespace qvr
