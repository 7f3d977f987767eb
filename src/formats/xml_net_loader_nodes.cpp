// The node elements: from the start of an element, which makes the node, over the children, which gather
// what it has, to its end, which applies that.
#include <algorithm>
#include <cstdint>
#include <span>

#include "definitions/cpt.h"
#include "definitions/mau.h"
#include "formats/number_token.h"
#include "formats/xml_net_loader.h"
#include "formats/xml_vocabulary.h"
#include "model/dense_matrix.h"
#include "model/network.h"

namespace qvr {
namespace {

// Room for so many numbers is made in advance; beyond it a list grows by what the file really holds.
// Tables up to this size are built before anyone counts whether the file fills them.
constexpr long long kMaxReserved = 1'048'576;

// Among so few states a scan is the fastest search.
constexpr std::size_t kMaxScanned = 16;

}  // namespace

struct XmlNetLoader::NodeAttributes {
  std::string id;
  bool isTarget = false;
  bool isRanked = false;
  bool isMandatory = false;
  int diagnosisType = kAuxiliary;
  std::string dynamicWord;
  int dynamicType = kDynamicNormal;
};

QVR_node& XmlNetLoader::CurrentNode() const { return *network.NodeAt(currentNode); }

void XmlNetLoader::StartNode(int definitionType) {
  NodeAttributes attributes;
  if (!ReadNodeAttributes(attributes) || !CreateNode(definitionType, attributes)) {
    return;
  }
  if (attributes.isTarget) {
    network.SetTarget(currentNode);
  }
  QVR_extraDefinition& extra = *CurrentNode().extra;
  extra.diagnosisType = attributes.diagnosisType;
  extra.ranked = attributes.isRanked ? 1 : 0;
  extra.mandatory = attributes.isMandatory ? 1 : 0;
  ResetScratch();
  if (definitionType == kTypeNoisyAdder) {
    ReadAdderFunction();
  }
}

// False after an error, as in all these steps.
bool XmlNetLoader::ReadNodeAttributes(NodeAttributes& out) {
  GetStringAttribute("id", out.id);
  return GetBoolAttribute("target", out.isTarget, false) && GetBoolAttribute("ranked", out.isRanked, false) &&
         GetBoolAttribute("mandatory", out.isMandatory, false) && ReadWordAttributes(out);
}

bool XmlNetLoader::ReadWordAttributes(NodeAttributes& out) {
  std::string diagnosisWord;
  GetStringAttribute("diagtype", diagnosisWord);
  out.diagnosisType = FindWord(diagnosisWord, kDiagnosisWords, kAuxiliary);
  if (out.diagnosisType < 0) {
    ReportQuoted("Unknown diagnosis node type", diagnosisWord);
    return false;
  }
  GetStringAttribute("dynamic", out.dynamicWord);
  out.dynamicType = FindWord(out.dynamicWord, kDynamicWords, kDynamicNormal);
  if (out.dynamicType < 0) {
    ReportQuoted("Unknown dynamic node type", out.dynamicWord);
    return false;
  }
  return true;
}

int XmlNetLoader::FindWord(const std::string& word, std::span<const char* const> words, int fallback) {
  if (word.empty()) {
    return fallback;
  }
  const auto found = std::find(words.begin(), words.end(), word);
  return found == words.end() ? QVR_OUT_OF_RANGE : static_cast<int>(found - words.begin());
}

bool XmlNetLoader::CreateNode(int definitionType, const NodeAttributes& attributes) {
  if (network.FindNode(attributes.id.c_str()) >= 0) {
    ReportQuoted("Duplicated node identifier", attributes.id);
    return false;
  }
  const int handle = network.AddNode(definitionType, attributes.id.c_str());
  if (handle < 0 || network.NodeAt(handle)->definition == nullptr) {
    ReportQuoted("ORBEL failed to create node", attributes.id);
    return false;
  }
  if (attributes.dynamicType != kDynamicNormal &&
      network.SetDynamicType(handle, attributes.dynamicType) < 0) {
    Abort("ORBEL failed to set dynamic node type to '" + attributes.dynamicWord + "' for '" + attributes.id +
          "'");
    return false;
  }
  currentNode = handle;
  definition = CurrentNode().definition.get();
  return true;
}

void XmlNetLoader::ResetScratch() {
  stateIds.clear();
  manyStateIds = {};  // clear() would cost the room of the largest node each time
  stateLabels.clear();
  defaultState = -1;
  faultStates.clear();
  parents.clear();
  ++parentMark;
  doubles.clear();
  ints.clear();
  values.CleanUp();
  resultingStateIndex.clear();
  resultingStates.clear();
  expressions.clear();
  intervals.clear();
  canonical = {};
}

void XmlNetLoader::EndNode(bool hasStates, DefinitionSetter applyDefinition) {
  if (RefuseOversizedTable(applyDefinition)) {
    return;
  }
  AddArcs();
  if (hasStates) {
    if (!SetOutcomes()) {
      return;
    }
    SetDiagnosticAttributes();
  }
  if (applyDefinition != nullptr) {
    (this->*applyDefinition)(*this);
  }
  values.CleanUp();
}

// What a node's table takes by what the file says of it.
struct XmlNetLoader::TableDemand {
  long long firstColumns;     // cells of a row while the arcs are added
  long long columns;          // and in the end
  long long filled;           // cells that the file has numbers for
  std::string tooFewNumbers;  // the message that such a table would end with
};

XmlNetLoader::TableDemand XmlNetLoader::MeasureTable(DefinitionSetter applyDefinition) const {
  const auto states = static_cast<long long>(std::max<std::size_t>(stateIds.size(), 2));
  const long long configurations = CountParentConfigurations();
  switch (definition->GetType()) {
    case kTypeCpt:
      return {2, states, values.GetSize(), "SetProbabilities failed"};
    case kTypeTruthTable:
      return {2, states, static_cast<long long>(resultingStates.size()) * states,
              WrongStateCount(configurations)};
    case kTypeTable:
      return {1, 1, values.GetSize(), "SetUtilities failed"};
    case kTypeMau: {
      const long long weights = std::max(CountParentsWithoutOutcomes(), 1LL);
      if (applyDefinition == &XmlNetLoader::EndMau) {
        return {weights, weights, values.GetSize(), "SetWeights failed"};
      }
      return {weights, weights, static_cast<long long>(expressions.size()) * weights,
              WrongExpressionCount(configurations)};
    }
    default:
      return {};  // has no table
  }
}

// A few words can ask for a table of gigabytes. One that can't be built, or that the file's numbers don't
// fill, is refused before its memory is touched, by the message that building it would end with.
bool XmlNetLoader::RefuseOversizedTable(DefinitionSetter applyDefinition) {
  const int type = definition->GetType();
  if (type == kTypeNoisyMax || type == kTypeNoisyAdder) {
    return RefuseOversizedParameters(kMaxReserved);
  }
  const long long configurations = CountParentConfigurations();
  if (type == kTypeCast || type == kTypeDeMorgan) {
    return RefuseOversizedGate(configurations, kMaxReserved);
  }
  const TableDemand demand = MeasureTable(applyDefinition);
  if (configurations * demand.firstColumns > QVR_Dmatrix::kMaxElements) {
    Abort("AddArc failed");
  } else if (configurations * demand.columns > QVR_Dmatrix::kMaxElements) {
    Abort("SetNumberOfOutcomes failed");
  } else if (configurations * demand.columns > std::max(kMaxReserved, demand.filled)) {
    Abort(demand.tooFewNumbers);
  }
  return IsAborted();
}

long long XmlNetLoader::CountParentsWithoutOutcomes() const {
  return std::count_if(parents.begin(), parents.end(),
                       [this](int parent) { return network.NodeAt(parent)->GetNumberOfOutcomes() < 0; });
}

// Saturates just above the largest table that a matrix can hold, so that products of it don't overflow.
long long XmlNetLoader::CountParentConfigurations() const {
  long long count = 1;
  for (int parent : parents) {
    count *= std::max(network.NodeAt(parent)->GetNumberOfOutcomes(), 1);
    if (count > QVR_Dmatrix::kMaxElements) {
      return QVR_Dmatrix::kMaxElements + 1;
    }
  }
  return count;
}

void XmlNetLoader::AddArcs() {
  const int status = definition->GetType() == kTypeMau
                         ? static_cast<QVR_mau&>(*definition).AddParents(parents)
                         : network.AddArcs(parents, currentNode);
  if (status < 0) {
    Abort("AddArc failed");
  }
}

bool XmlNetLoader::SetOutcomes() {
  QVR_stringArray names;
  bool complete = true;
  for (const std::string& id : stateIds) {
    complete = names.Add(id.c_str()) >= 0 && complete;
  }
  if (!complete || definition->SetNumberOfOutcomes(names) < 0) {
    Abort("SetNumberOfOutcomes failed");
    return false;
  }
  return true;
}

void XmlNetLoader::SetDiagnosticAttributes() {
  QVR_extraDefinition& extra = *CurrentNode().extra;
  for (std::size_t i = 0; i < stateLabels.size(); ++i) {
    if (!stateLabels[i].empty()) {
      extra.SetFaultLabel(static_cast<int>(i), stateLabels[i].c_str());
    }
  }
  if (defaultState >= 0) {
    extra.SetDefaultOutcome(defaultState);
    extra.setAsDefault = 1;
  }
  for (int state : faultStates) {
    extra.SetFault(state, 1);
  }
}

void XmlNetLoader::EndNodeProperty(IXmlReader& /*reader*/) {
  std::string value;
  GetText(value);
  if (CurrentNode().info->userProperties.Add(propertyId.c_str(), value.c_str()) < 0) {
    ReportQuoted("Can't add node property", propertyId);
  }
}

// False for an identifier that is there already.
bool XmlNetLoader::AddStateId(const std::string& id) {
  if (stateIds.size() < kMaxScanned) {
    if (std::find(stateIds.begin(), stateIds.end(), id) != stateIds.end()) {
      return false;
    }
  } else {
    if (manyStateIds.empty()) {
      manyStateIds.insert(stateIds.begin(), stateIds.end());
    }
    if (!manyStateIds.insert(id).second) {
      return false;
    }
  }
  stateIds.push_back(id);
  return true;
}

void XmlNetLoader::StartState(IXmlReader& /*reader*/) {
  std::string id;
  GetStringAttribute("id", id);
  const int index = static_cast<int>(stateIds.size());
  if (!AddStateId(id)) {
    ReportQuoted("Duplicate state identifier", id);
    return;
  }
  bool isDefault = false;
  bool isFault = false;
  if (!GetBoolAttribute("default", isDefault, false) || !GetBoolAttribute("fault", isFault, false)) {
    return;
  }
  if (isDefault && defaultState >= 0) {
    ReportQuoted("Duplicate default state attribute at state", id);
    return;
  }
  if (isDefault) {
    defaultState = index;
  }
  if (isFault) {
    faultStates.push_back(index);
  }
  std::string label;
  GetStringAttribute("label", label);
  stateLabels.push_back(label);
}

void XmlNetLoader::TakeParent(IXmlReader& /*reader*/) {
  const std::string& id = GetRawText();
  const int parent = network.FindNode(id.c_str());
  if (parent < 0) {
    ReportQuoted("Node parent not found: ", id);
    return;
  }
  const auto place = static_cast<std::size_t>(parent);
  if (place >= parentMarks.size()) {
    parentMarks.resize(static_cast<std::size_t>(network.GetTableSize()));
  }
  if (parentMarks[place] == parentMark) {
    ReportQuoted("Duplicate parent", id);
    return;
  }
  parentMarks[place] = parentMark;
  parents.push_back(parent);
}

// The exact size of the table where states and parents stand before the numbers.
void XmlNetLoader::StartProbabilities(IXmlReader& /*reader*/) {
  const long long states = std::min(static_cast<long long>(stateIds.size()), kMaxReserved);
  const long long configurations = std::min(CountParentConfigurations(), kMaxReserved);
  doubles.reserve(static_cast<std::size_t>(std::min(states * configurations, kMaxReserved)));
}

void XmlNetLoader::TakeDouble(IXmlReader& /*reader*/) {
  double value = 0;
  if (!ReadWholeDouble(GetRawText(), value)) {
    Abort("Can't read list of doubles, failed at element " + std::to_string(doubles.size() + 1));
    return;
  }
  doubles.push_back(value);
}

void XmlNetLoader::EndDoubles(IXmlReader& /*reader*/) { MoveDoubles(values); }

// The open list becomes a finished one.
void XmlNetLoader::MoveDoubles(QVR_doubleArray& to) {
  if (to.Assign(doubles) < 0) {
    Abort("Out of memory");
  }
  doubles.clear();
}

void XmlNetLoader::EndCpt(IXmlReader& /*reader*/) {
  if (static_cast<QVR_cpt*>(definition)->SetProbabilities(values) < 0) {
    Abort("SetProbabilities failed");
  }
}

}  // namespace qvr
