// The section of saved cases.

#include "definitions/node_definition.h"
#include "formats/xml_net_saver.h"
#include "formats/xml_vocabulary.h"
#include "model/network.h"

namespace qvr {
namespace {

bool IsContinuous(const QVR_node& node) {
  return node.GetType() == kTypeEquation || node.GetType() == kTypeEquationScc;
}

}  // namespace

void XmlNetworkSaver::WriteCases() {
  const QVR_caseStore& store = network.GetCases();
  if (store.GetCount() == 0) {
    return;
  }
  const ScopedElement cases(*this, "cases");
  for (int i = 0; i < store.GetCount(); ++i) {
    WriteCase(*store.GetCase(i));
  }
}

void XmlNetworkSaver::WriteCase(const QVR_case& scenario) {
  AddAttribute("name", scenario.GetName().c_str());
  if (!scenario.GetCategory().empty()) {
    AddAttribute("category", scenario.GetCategory().c_str());
  }
  AddTime("created", scenario.created);
  AddTime("modified", scenario.modified);
  const ScopedElement element(*this, "case");
  if (!scenario.GetDescription().empty()) {
    WriteElement("description", scenario.GetDescription().c_str(), kEscapeLines);
  }
  for (const CaseEvidence& record : scenario.GetEvidence()) {
    if (network.IsValidHandle(record.handle)) {
      WriteEvidence(record, *network.NodeAt(record.handle));
    }
  }
  for (const int handle : scenario.GetTargets()) {
    if (network.IsValidHandle(handle)) {
      AddAttribute("node", network.NodeAt(handle)->GetId().c_str());
      WriteElement("target", nullptr, kEscapeMarkup);
    }
  }
}

void XmlNetworkSaver::AddTime(const char* name, std::int64_t time) {
  if (time != 0) {
    AddAttribute(name, std::to_string(time).c_str());
  }
}

// What the record holds decides, since its kind stays behind when the node moves into or out of the plate.
// What couldn't be read back is left out.
void XmlNetworkSaver::WriteEvidence(const CaseEvidence& record, const QVR_node& node) {
  if (!record.temporal.empty()) {
    for (const auto& [slice, outcome] : record.temporal) {
      WriteOutcome(node, slice, outcome);
    }
  } else if (record.kind == kCaseSoft) {
    AddAttribute("node", node.GetId().c_str());
    WriteDoubleList("softevidence", record.softEvidence);
  } else if (record.kind == kCaseContinuous) {
    if (IsContinuous(node)) {
      AddAttribute("node", node.GetId().c_str());
      AddAttribute("state", record.value);
      WriteElement("evidence", nullptr, kEscapeMarkup);
    }
  } else if (record.kind != kCaseUnset) {
    WriteOutcome(node, -1, record.outcome);
  }
}

// In a slice, or in none for a negative one.
void XmlNetworkSaver::WriteOutcome(const QVR_node& node, int slice, int outcome) {
  const char* const id = OutcomeWord(node, outcome);
  if (id == nullptr) {
    return;
  }
  AddAttribute("node", node.GetId().c_str());
  if (slice >= 0) {
    AddAttribute("slice", slice);
  }
  AddAttribute("state", id);
  WriteElement("evidence", nullptr, kEscapeMarkup);
}

}  // namespace qvr
