// Reading the engine's text format: nodes, and the costs of observing them.
#include <algorithm>
#include <span>

#include "definitions/ci_definition.h"
#include "formats/qvr_speaker.h"
#include "model/dense_matrix.h"
#include "model/network.h"

namespace qvr {
namespace {

// Tables up to this size are built before anyone counts whether the file fills them: a few words mustn't ask
// for gigabytes.
constexpr std::int64_t kUsualTableSize = 1'048'576;

}  // namespace

int QVR_qvrSpeaker::FindNode(const std::string& name) const {
  const int found = names->Find(name);
  return found >= 0 ? found : network.FindNode(name.c_str());
}

int QVR_qvrSpeaker::ReadNode() {
  Consume();
  std::string id;
  if (const int status = ExpectIdentifier(id); status < 0) {
    return status;
  }
  const int handle = names->AddNode(kTypeCpt, id);
  if (handle < 0) {
    return Report(handle, "ERROR: Couldn't Create Node (\"" + id + "\")");
  }
  open = {};
  open.node = network.NodeAt(handle);
  QVR_nodeInfo& info = *open.node->info;
  const Statements statements = {
      {"TYPE", [this] { return ReadType(); }},
      {"HEADER", [&] { return ReadHeader(info.header, id); }},
      {"SCREEN", [&] { return ReadScreen(info.screen); }},
      {"TARGET", [this] { return ReadTarget(); }},
      {"SUBMODEL", [this] { return ReadNodeSubmodel(); }},
      {"USER_PROPERTIES", [&] { return ReadUserProperties(info.userProperties); }},
      {"DOCUMENTATION", [&] { return ReadDocumentation(info.documentation); }},
      {"PARENTS", [this] { return ReadParents(); }},
      {"DEFINITION", [this] { return ReadDefinition(); }},
      {"EXTRA_DEFINITION", [this] { return ReadExtraDefinition(); }},
  };
  const int status =
      ReadBlock([&] { return ReadStatement(statements, "Unknown Node Statement", "Unknown Node Field"); });
  RunDeferred();
  return status;
}

int QVR_qvrSpeaker::Defer(Phase phase, std::function<int()> act) {
  open.deferred[static_cast<std::size_t>(phase)].push_back({GetLine(), std::move(act)});
  return QVR_OKAY;
}

int QVR_qvrSpeaker::RunDeferred() {
  for (const std::vector<Deferred>& actions : open.deferred) {
    for (const Deferred& action : actions) {
      lineOfReport = action.line;
      action.act();
    }
  }
  lineOfReport = 0;
  open = {};
  return QVR_OKAY;
}

int QVR_qvrSpeaker::ReadType() {
  std::string word;
  int status = ReadField("TYPE", kTokenIdentifier);
  if (status == QVR_OKAY) {
    status = ExpectIdentifier(word);
  }
  if (status < 0) {
    return status;
  }
  open.readAsNoisyOr = word == "NOISY_OR";
  open.readAsNoisyAnd = word == "NOISY_AND";
  status = open.node->ChangeType(open.readAsNoisyOr || open.readAsNoisyAnd ? "NOISY_MAX" : word.c_str());
  return status < 0 ? Report(status, "ERROR: '" + word + "' : Unknown Node Type") : status;
}

int QVR_qvrSpeaker::ReadTarget() {
  bool isTarget = false;
  const int status = ReadBoolField("TARGET", isTarget);
  if (status == QVR_OKAY && isTarget) {
    network.SetTarget(open.node->handle);
  }
  return status;
}

int QVR_qvrSpeaker::ReadNodeSubmodel() {
  std::string id;
  int status = ReadField("SUBMODEL", kTokenIdentifier);
  if (status == QVR_OKAY) {
    status = ExpectIdentifier(id);
  }
  if (status < 0) {
    return status;
  }
  status = open.node->SetSubmodel(FindSubmodel(id));
  return status < 0 ? Report(status, "Invalid submodel") : status;
}

int QVR_qvrSpeaker::ReadParents() {
  QVR_stringArray list;
  std::vector<std::string> parents;
  const int status = ReadNameField("PARENTS", list);
  for (int i = 0; i < list.GetNumItems(); ++i) {
    parents.emplace_back(list.Get(i));
  }
  return status < 0 ? status : Defer(kArcs, [this, parents] { return AddParents(parents); });
}

// In one step as far as it goes: some definitions grow faster so.
int QVR_qvrSpeaker::AddParents(const std::vector<std::string>& parents) {
  int result = QVR_OKAY;
  const auto refuse = [&](int status, const std::string& name) {
    result = Report(status,
                    "ERROR: Couldn't add arc from node [" + name + "] to node [" + open.node->GetId() + "]");
  };
  const std::int64_t most =
      std::min(std::max(kUsualTableSize, CountGivenCells(parents.size())), QVR_Dmatrix::kMaxElements);
  std::vector<int> handles;
  std::vector<std::string> accepted;
  TableSize size = GetTableSize();
  for (const std::string& name : parents) {
    const int parent = FindNode(name);
    if (parent < 0) {
      refuse(parent, name);
    } else if (const TableSize grown = Grow(size, parent); grown.rows * grown.columns > most) {
      refuse(QVR_OUT_OF_MEMORY, name);
    } else {
      size = grown;
      handles.push_back(parent);
      accepted.push_back(name);
    }
  }
  for (std::size_t next = 0; next < handles.size(); ++next) {
    const int before = ParentCount();
    const int status = network.AddArcs(std::span(handles).subspan(next), open.node->handle);
    next += static_cast<std::size_t>(ParentCount() - before);
    if (status < 0 && next < handles.size()) {
      refuse(status, accepted[next]);
    }
  }
  return result;
}

// The numbers that the open node holds.
QVR_qvrSpeaker::TableSize QVR_qvrSpeaker::GetTableSize() const {
  const QVR_nodeDefinition& definition = *open.node->definition;
  switch (definition.GetType()) {
    case kTypeCpt:
    case kTypeTruthTable:
    case kTypeCast:
    case kTypeDeMorgan:
    case kTypeTable:
    case kTypeMau:
      return {definition.GetSize(), 1};
    case kTypeNoisyMax:
    case kTypeNoisyAdder: {
      const std::int64_t outcomes = std::max(definition.GetNumberOfOutcomes(), 1);
      const QVR_Dmatrix& weights = static_cast<const QVR_ciDefinition&>(definition).GetCiWeights();
      return {outcomes, weights.GetNumElements() / outcomes};
    }
    default:
      return {};
  }
}

// The numbers that it holds when it has this parent as well.
QVR_qvrSpeaker::TableSize QVR_qvrSpeaker::Grow(TableSize size, int newParent) const {
  const std::int64_t outcomes = std::max(network.NodeAt(newParent)->GetNumberOfOutcomes(), 1);
  const int type = open.node->GetType();
  const bool isAdded = type == kTypeNoisyMax || type == kTypeNoisyAdder;
  if (isAdded || (type == kTypeMau && outcomes == 1)) {
    return {size.rows, size.columns + outcomes};
  }
  return {size.rows * outcomes, size.columns};
}

// The numbers that the file has for it. Those of a gate follow from one number for each parent.
std::int64_t QVR_qvrSpeaker::CountGivenCells(std::size_t parentCount) const {
  const int type = open.node->GetType();
  if (type == kTypeCast || type == kTypeDeMorgan) {
    return open.longestList >= parentCount ? QVR_Dmatrix::kMaxElements : 0;
  }
  const std::int64_t perItem = type == kTypeTruthTable ? open.node->GetNumberOfOutcomes() : 1;
  return static_cast<std::int64_t>(open.longestList) * perItem;
}

int QVR_qvrSpeaker::ReadCosts() {
  Consume();
  TryExpect(kTokenPunctuator, "=");
  const Statements statements = {{"node", [this] { return ReadNodeCost(); }}};
  return ReadBlock([&] { return ReadStatement(statements, "Unknown Cost Statement"); });
}

int QVR_qvrSpeaker::ReadNodeCost() {
  Consume();
  std::string id;
  if (const int status = ExpectIdentifier(id); status < 0) {
    return status;
  }
  const int handle = FindNode(id);
  if (handle < 0) {
    return Report(handle, "ERROR: Couldn't Find Node (\"" + id + "\")");
  }
  QVR_stringArray parents;
  QVR_doubleArray costs;
  int parentsLine = 0;
  int costsLine = 0;
  const Statements statements = {
      {"PARENTS",
       [&] {
         const int status = ReadNameField("PARENTS", parents);
         parentsLine = GetLine();
         return status;
       }},
      {"COSTS",
       [&] {
         const int status = ReadBlockHeader("COSTS");
         costsLine = GetLine();
         return status < 0 ? status : ReadDoubleList(costs);
       }},
  };
  const int status = ReadBlock([&] { return ReadStatement(statements, "Unknown Cost Statement"); });
  lineOfReport = parentsLine;
  AddCostParents(handle, parents, costs.GetNumItems());
  lineOfReport = costsLine;
  QVR_nodeCost& cost = *network.NodeAt(handle)->cost;
  if (costsLine > 0 && cost.SetCosts(costs) < 0) {
    Report(QVR_OUT_OF_RANGE, "ERROR: Node [" + network.NodeAt(handle)->GetId() + "] was expecting " +
                                 std::to_string(cost.GetCosts().GetNumElements()) + " numbers but " +
                                 std::to_string(costs.GetNumItems()) + " were read");
  }
  lineOfReport = 0;
  return status;
}

void QVR_qvrSpeaker::AddCostParents(int child, const QVR_stringArray& parents, int costCount) {
  const QVR_node& node = *network.NodeAt(child);
  for (int i = 0; i < parents.GetNumItems(); ++i) {
    const int parent = FindNode(parents.Get(i));
    int status = parent < 0 ? parent : QVR_OKAY;
    if (status == QVR_OKAY) {
      const std::int64_t outcomes = std::max(network.NodeAt(parent)->GetNumberOfOutcomes(), 1);
      const std::int64_t most = std::max<std::int64_t>(kUsualTableSize, costCount);
      const bool isTooLarge = node.cost->GetCosts().GetNumElements() * outcomes > most;
      status = isTooLarge ? QVR_OUT_OF_MEMORY : network.AddArc(parent, child, kCostLayer);
    }
    if (status < 0) {
      Report(status, std::string("ERROR: Couldn't add cost arc from node [") + parents.Get(i) +
                         "] to node [" + node.GetId() + "]");
    }
  }
}

}  // namespace qvr
