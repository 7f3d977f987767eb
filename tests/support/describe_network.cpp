#include "support/describe_network.h"

#include <sstream>

#include "support/network_builder.h"

namespace qvr {
namespace {

template <typename Numbers>
void Print(std::ostream& out, const char* name, const Numbers& numbers) {
  out << ' ' << name;
  for (const auto number : numbers) {
    out << ' ' << number;
  }
}

void PrintProperties(std::ostream& out, const QVR_userProperties& properties) {
  for (int i = 0; i < properties.GetCount(); ++i) {
    out << ' ' << properties.GetName(i) << '=' << properties.GetValue(i);
  }
}

void PrintOutcomes(std::ostream& out, QVR_node& node) {
  for (int i = 0; i < node.GetNumberOfOutcomes(); ++i) {
    out << ' ' << node.definition->GetOutcomeNames()->Get(i) << ',' << node.extra->GetFaultStates()[i] << ','
        << node.extra->GetFaultNames().Get(i) << ','
        << node.extra->GetStateDocumentation(i)->titles.GetNumItems();
  }
}

void PrintNode(std::ostream& out, QVR_network& network, int handle) {
  QVR_node& node = *network.NodeAt(handle);
  const QVR_header& header = node.info->header;
  out << '\n'
      << handle << ' ' << header.GetId() << ' ' << header.GetName() << ' ' << header.GetComment() << " type "
      << node.GetType() << " at " << node.info->screen.position.width << " in " << node.submodel
      << (network.IsTarget(handle) == 1 ? " target" : "");
  Print(out, "parents", network.GetParents(handle));
  Print(out, "children", network.GetChildren(handle));
  Print(out, "cost parents", network.GetParents(handle, kCostLayer));
  Print(out, "cost children", network.GetChildren(handle, kCostLayer));
  Print(out, "costs", node.cost->GetCosts().GetItems().Vector());
  Print(out, "table", CellsOf(network, handle));
  PrintProperties(out, node.info->userProperties);
  if (node.value == nullptr) {
    return;
  }
  PrintOutcomes(out, node);
  out << " flags " << (node.value->GetFlags() & ~kValueValid) << " evidence " << node.value->GetEvidence()
      << ' ' << node.extra->GetDefaultOutcome() << node.extra->question;
  QVR_doubleArray likelihoods;
  if (node.value->GetVirtualEvidence(likelihoods) == QVR_OKAY) {
    Print(out, "likelihoods", likelihoods.View());
  }
}

void PrintCase(std::ostream& out, const QVR_network& network, const QVR_case& scenario) {
  const auto idOf = [&network](int handle) {
    return network.IsValidHandle(handle) ? network.NodeAt(handle)->GetId() : "nobody";
  };
  out << "\ncase " << scenario.GetName() << ' ' << scenario.GetCategory() << ' ' << scenario.GetDescription()
      << ' ' << scenario.created << ' ' << scenario.modified;
  for (const CaseEvidence& record : scenario.GetEvidence()) {
    out << "\n  " << idOf(record.handle) << " kind " << record.kind;
    if (record.temporal.empty()) {  // which outdoes what the record had before
      out << ' ' << record.outcome << ' ' << record.value;
      Print(out, "soft", record.softEvidence);
    }
    for (const auto& [slice, outcome] : record.temporal) {
      out << " [" << slice << "] " << outcome;
    }
  }
  for (const int handle : scenario.GetTargets()) {
    out << " target " << idOf(handle);
  }
}

}  // namespace

std::string Describe(QVR_network& network) {
  std::ostringstream out;
  out.precision(12);
  const QVR_submodelHandler& submodels = network.GetSubmodels();
  for (int handle = submodels.FirstSubmodel(); handle >= 0; handle = submodels.NextSubmodel(handle)) {
    out << submodels.GetSubmodel(handle)->header.GetId() << submodels.GetParent(handle) << ' ';
  }
  out << network.creation.creator << ' ' << network.sampleCount << ' ' << network.tag << ' '
      << network.GetBeliefAlgorithm() << ' ' << network.GetEpisParameters().eps4 << ' '
      << network.GetSamplingPasses() << ' ' << network.GetUpdateFlags() << ' ' << network.GetTargetCount()
      << ' ' << network.GetTableSize() << ' ' << network.IsReady() << network.CheckInvariants();
  PrintProperties(out, network.userProperties);
  for (int handle : AllNodes(network)) {
    PrintNode(out, network, handle);
  }
  out << DescribeCases(network);
  return out.str();
}

std::string DescribeCases(const QVR_network& network) {
  const QVR_caseStore& store = network.GetCases();
  std::ostringstream out;
  out.precision(17);
  for (int i = 0; i < store.GetCount(); ++i) {
    PrintCase(out, network, *store.GetCase(i));
  }
  out << "\ntracking " << static_cast<int>(store.tracking);
  return out.str();
}

}  // namespace qvr
