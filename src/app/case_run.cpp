#include "app/case_run.h"

#include "model/error_log.h"
#include "model/system_coordinates.h"

namespace qvr {

namespace {

Failure LoadNetwork(const std::string& fileName, QVR_network& network) {
  const int logged = GetErrorLog().GetCount();
  const int status = network.LoadFile(fileName.c_str(), 0, nullptr);
  if (status == QVR_OKAY) {
    return std::nullopt;
  }
  const int last = GetErrorLog().GetCount() - 1;
  const char* text = last >= logged ? GetErrorLog().GetMessage(last) : ErrorText(status);
  return fileName + ": code " + std::to_string(status) + ": " + text;
}

Failure FindNodes(const QVR_network& network, const std::string& fileName, const StringRows& names,
                  std::vector<NamedNode>& out) {
  for (const std::vector<std::string>& row : names) {
    const std::string line = fileName + ":" + std::to_string(out.size() + 1);
    if (row.empty()) {
      return line + ": the line has no identifier";
    }
    const int handle = network.FindNode(row[0].c_str());
    const QVR_node* const node = network.NodeAt(handle);
    if (node == nullptr) {
      return line + ": the network has no node '" + row[0] + "'";
    }
    if (node->definition == nullptr || node->value == nullptr) {
      return line + ": node '" + row[0] + "' has no definition";
    }
    out.push_back({line + ": node '" + row[0] + "'", row[0], handle});
  }
  return std::nullopt;
}

Failure CheckOutcomes(const QVR_network& network, const std::vector<NamedNode>& results) {
  for (const NamedNode& result : results) {
    if (network.NodeAt(result.handle)->definition->GetOutcomeNames() == nullptr) {
      return result.place + " has no outcomes";
    }
  }
  return std::nullopt;
}

// Whether the outcome is refused without anything to retract.
bool ChangesNothing(const QVR_node& node, int outcome) {
  constexpr int kAnyKind = kValueAnyEvidence | kValueVirtualEvidence;
  return (node.value->GetFlags() & kAnyKind) == 0 && (outcome < 0 || outcome >= node.GetNumberOfOutcomes());
}

std::vector<QVR_node*> NodesOf(QVR_network& network, const std::vector<NamedNode>& names) {
  std::vector<QVR_node*> nodes;
  for (const NamedNode& name : names) {
    nodes.push_back(network.NodeAt(name.handle));
  }
  return nodes;
}

}  // namespace

Failure CheckWidth(const BatchFiles& files, const StringRows& symptomNames, const IntColumns& caseColumns) {
  if (symptomNames.size() <= caseColumns.size()) {
    return std::nullopt;
  }
  return files.cases + ":1: the line has " + std::to_string(caseColumns.size()) + " fields, " +
         files.symptomNames + " has " + std::to_string(symptomNames.size()) + " lines";
}

Failure PrepareNetwork(const BatchFiles& files, const StringRows& symptomNames, const StringRows& resultNames,
                       QVR_network& network, BatchNodes& nodes) {
  const bool needsNetwork = !symptomNames.empty() || !resultNames.empty();
  if (Failure failure = LoadNetwork(files.network, network); failure && needsNetwork) {
    return failure;
  }
  if (Failure failure = FindNodes(network, files.symptomNames, symptomNames, nodes.symptoms)) {
    return failure;
  }
  if (Failure failure = FindNodes(network, files.resultNames, resultNames, nodes.results)) {
    return failure;
  }
  if (Failure failure = CheckOutcomes(network, nodes.results)) {
    return failure;
  }
  for (const NamedNode& result : nodes.results) {
    network.SetTarget(result.handle);
  }
  return std::nullopt;
}

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

CaseRun::CaseRun(QVR_network& newNetwork, const BatchNodes& newNodes, const IntColumns& newCaseColumns)
    : network(newNetwork),
      nodes(newNodes),
      caseColumns(newCaseColumns),
      symptoms(NodesOf(newNetwork, newNodes.symptoms)),
      results(NodesOf(newNetwork, newNodes.results)),
      mustUpdateAlways(!IsDiscreteChanceNetwork(newNetwork)) {}

bool CaseRun::EnterColumn(std::size_t column, std::size_t caseNumber) {
  QVR_node& node = *symptoms[column];
  const int outcome = caseColumns[column][caseNumber];
  const bool canChange = mustUpdateAlways || !ChangesNothing(node, outcome);
  node.value->SetEvidence(outcome);
  return canChange;
}

void CaseRun::EnterCase(std::size_t caseNumber) {
  for (std::size_t column = 0; column < symptoms.size(); ++column) {
    if (EnterColumn(column, caseNumber)) {
      network.UpdateBeliefs();
    }
  }
}

bool CaseRun::EnterEvidence(std::size_t caseNumber) {
  bool canChange = false;
  for (std::size_t column = 0; column < symptoms.size(); ++column) {
    canChange = EnterColumn(column, caseNumber) || canChange;
  }
  return canChange;
}

Failure CaseRun::ReadPosterior(std::size_t result, std::vector<double>& row) const {
  QVR_node& node = *results[result];
  const int outcomeCount = node.definition->GetOutcomeNames()->GetNumItems();
  const QVR_Dmatrix* const table = node.value->GetMatrix();
  const int last = table == nullptr ? -1 : table->GetNumDimensions() - 1;
  if (last < 0 || table->GetDimension(last) != outcomeCount) {
    return nodes.results[result].place + " has no value for each of its " + std::to_string(outcomeCount) +
           " outcomes";
  }
  QVR_sysCoordinates cursor(*node.value);
  for (int outcome = 0; outcome < outcomeCount; ++outcome) {
    cursor.Coordinates()[last] = outcome;
    cursor.GoToCurrentPosition();
    row.push_back(cursor.CurrentValue());
  }
  return std::nullopt;
}

Failure CaseRun::ReadPosteriors(std::vector<double>& row) const {
  for (std::size_t result = 0; result < results.size(); ++result) {
    if (Failure failure = ReadPosterior(result, row)) {
      return failure;
    }
  }
  return std::nullopt;
}

}  // namespace qvr
