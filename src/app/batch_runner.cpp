#include "app/batch_runner.h"

#include "model/error_log.h"
#include "model/network.h"
#include "model/system_coordinates.h"

namespace qvr {

namespace {

// A row of a name file, found in the network. Handles and nodes stand still during a run.
struct NamedNode {
  std::string place;  // file, line and identifier, for failures
  std::string id;
  int handle;
  QVR_node* node;
};

Failure LoadNetwork(QVR_network& network) {
  const int logged = GetErrorLog().GetCount();
  const int status = network.LoadFile(kNetworkFile, 0, nullptr);
  if (status == QVR_OKAY) {
    return std::nullopt;
  }
  const int last = GetErrorLog().GetCount() - 1;
  const char* text = last >= logged ? GetErrorLog().GetMessage(last) : ErrorText(status);
  return std::string(kNetworkFile) + ": code " + std::to_string(status) + ": " + text;
}

Failure FindNodes(QVR_network& network, const char* fileName, const StringRows& names,
                  std::vector<NamedNode>& out) {
  for (const std::vector<std::string>& row : names) {
    const std::string line = std::string(fileName) + ":" + std::to_string(out.size() + 1);
    if (row.empty()) {
      return line + ": the line has no identifier";
    }
    const int handle = network.FindNode(row[0].c_str());
    QVR_node* const node = network.NodeAt(handle);
    if (node == nullptr) {
      return line + ": the network has no node '" + row[0] + "'";
    }
    if (node->definition == nullptr || node->value == nullptr) {
      return line + ": node '" + row[0] + "' has no definition";
    }
    out.push_back({line + ": node '" + row[0] + "'", row[0], handle, node});
  }
  return std::nullopt;
}

Failure CheckOutcomes(const std::vector<NamedNode>& results) {
  for (const NamedNode& result : results) {
    if (result.node->definition->GetOutcomeNames() == nullptr) {
      return result.place + " has no outcomes";
    }
  }
  return std::nullopt;
}

// In such a network an update after a call that changed nothing computes what stands there already.
bool IsDiscreteChanceNetwork(const QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const int type = network.NodeAt(handle)->GetType();
    if (!QVR_nodeDefinition::IsDiscreteParentType(type) || type == kTypeList ||
        network.GetDynamicType(handle) != 0) {
      return false;
    }
  }
  return true;
}

// Whether the outcome is refused without anything to retract.
bool ChangesNothing(const QVR_node& node, int outcome) {
  constexpr int kAnyKind = kValueAnyEvidence | kValueVirtualEvidence;
  return (node.value->GetFlags() & kAnyKind) == 0 && (outcome < 0 || outcome >= node.GetNumberOfOutcomes());
}

void EnterCase(QVR_network& network, const std::vector<NamedNode>& symptoms, const IntColumns& caseColumns,
               std::size_t caseNumber, bool mustUpdateAlways) {
  for (std::size_t i = 0; i < symptoms.size(); ++i) {
    QVR_node& node = *symptoms[i].node;
    const int outcome = caseColumns[i][caseNumber];
    const bool mustUpdate = mustUpdateAlways || !ChangesNothing(node, outcome);
    node.value->SetEvidence(outcome);
    if (mustUpdate) {
      network.UpdateBeliefs();
    }
  }
}

// Appends the posterior. A table that is indexed by other nodes gives its first slice.
Failure ReadPosterior(const NamedNode& result, std::vector<double>& row) {
  const int outcomeCount = result.node->definition->GetOutcomeNames()->GetNumItems();
  const QVR_Dmatrix* const table = result.node->value->GetMatrix();
  const int last = table == nullptr ? -1 : table->GetNumDimensions() - 1;
  if (last < 0 || table->GetDimension(last) != outcomeCount) {
    return result.place + " has no value for each of its " + std::to_string(outcomeCount) + " outcomes";
  }
  QVR_sysCoordinates cursor(*result.node->value);
  for (int outcome = 0; outcome < outcomeCount; ++outcome) {
    cursor.Coordinates()[last] = outcome;
    cursor.GoToCurrentPosition();
    row.push_back(cursor.CurrentValue());
  }
  return std::nullopt;
}

void DescribeColumns(const std::vector<NamedNode>& results, std::vector<double>& outcomeIndexRow,
                     std::vector<std::string>& resultHeader) {
  for (const NamedNode& result : results) {
    const int outcomeCount = result.node->definition->GetOutcomeNames()->GetNumItems();
    for (int outcome = 0; outcome < outcomeCount; ++outcome) {
      resultHeader.push_back(result.id);
      outcomeIndexRow.push_back(outcome);
    }
  }
}

Failure CheckWidth(const StringRows& symptomNames, const IntColumns& caseColumns) {
  if (symptomNames.size() <= caseColumns.size()) {
    return std::nullopt;
  }
  return std::string(kCaseFile) + ":1: the line has " + std::to_string(caseColumns.size()) + " fields, " +
         kSymptomNameFile + " has " + std::to_string(symptomNames.size()) + " lines";
}

}  // namespace

Failure RunCases(const StringRows& symptomNames, const StringRows& resultNames, const IntColumns& caseColumns,
                 std::vector<std::vector<double>>& resultRows, std::vector<std::string>& resultHeader) {
  if (Failure failure = CheckWidth(symptomNames, caseColumns)) {
    return failure;
  }
  QVR_network network;
  const bool needsNetwork = !symptomNames.empty() || !resultNames.empty();
  if (Failure failure = LoadNetwork(network); failure && needsNetwork) {
    return failure;
  }
  std::vector<NamedNode> symptoms;
  std::vector<NamedNode> results;
  if (Failure failure = FindNodes(network, kSymptomNameFile, symptomNames, symptoms)) {
    return failure;
  }
  if (Failure failure = FindNodes(network, kResultNameFile, resultNames, results)) {
    return failure;
  }
  if (Failure failure = CheckOutcomes(results)) {
    return failure;
  }

  network.SetBeliefAlgorithm(ALG_JOIN_TREE);
  for (const NamedNode& result : results) {
    network.SetTarget(result.handle);
  }
  network.UpdateBeliefs();
  const bool mustUpdateAlways = !IsDiscreteChanceNetwork(network);
  DescribeColumns(results, resultRows.emplace_back(), resultHeader);
  for (std::size_t caseNumber = 0; caseNumber < caseColumns[0].size(); ++caseNumber) {
    EnterCase(network, symptoms, caseColumns, caseNumber, mustUpdateAlways);
    std::vector<double>& probabilityRow = resultRows.emplace_back();
    probabilityRow.reserve(resultHeader.size());
    for (const NamedNode& result : results) {
      if (Failure failure = ReadPosterior(result, probabilityRow)) {
        return failure;
      }
    }
  }
  return std::nullopt;
}

}  // namespace qvr
