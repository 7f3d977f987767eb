// The section of saved cases.
#include "definitions/node_definition.h"
#include "formats/xml_net_loader.h"
#include "model/network.h"

namespace qvr {

void XmlNetLoader::AddCases() {
  Binding& scenario = NewBinding("case", {.start = &XmlNetLoader::StartCase});
  scenario.AddAttribute("name", kXmlRequired);
  for (const char* optional : {"category", "modified", "created"}) {
    scenario.AddAttribute(optional, 0);
  }
  scenario.AddChild(NewBinding("description", {.end = &XmlNetLoader::EndCaseDescription}), 0);
  Binding& evidence = NewBinding("evidence", {.start = &XmlNetLoader::StartEvidence});
  evidence.AddAttribute("node", kXmlRequired);
  evidence.AddAttribute("state", kXmlRequired);
  evidence.AddAttribute("slice", 0);
  scenario.AddChild(evidence, kXmlRepeated);
  Binding& softEvidence = NewBinding("softevidence", {.start = &XmlNetLoader::StartSoftEvidence,
                                                      .end = &XmlNetLoader::EndSoftEvidence,
                                                      .token = &XmlNetLoader::TakeDouble});
  softEvidence.AddAttribute("node", kXmlRequired);
  scenario.AddChild(softEvidence, kXmlRepeated);
  Binding& target = NewBinding("target", {.start = &XmlNetLoader::StartCaseTarget});
  target.AddAttribute("node", kXmlRequired);
  scenario.AddChild(target, kXmlRepeated);
  Binding& section = NewBinding("cases", {});
  section.AddChild(scenario, kXmlRepeated);
  rootBinding->AddChild(section, 0);
}

// The node that the attribute names becomes the current one. False after an error.
bool XmlNetLoader::OpenNode(const char* attribute) {
  std::string id;
  GetStringAttribute(attribute, id);
  const int found = network.FindNode(id.c_str());
  if (found < 0) {
    ReportQuoted("Invalid node identifier", id);
    return false;
  }
  currentNode = found;
  return true;
}

void XmlNetLoader::StartCase(IXmlReader& /*reader*/) {
  std::string text;
  GetStringAttribute("name", text);
  currentCase = network.GetCases().AddCase(text);
  if (currentCase == nullptr) {
    ReportQuoted("Duplicate case name", text);
    return;
  }
  GetStringAttribute("category", text);
  currentCase->SetCategory(text);
  if (GetInt64Attribute("modified", currentCase->modified, 0)) {
    GetInt64Attribute("created", currentCase->created, 0);
  }
}

void XmlNetLoader::EndCaseDescription(IXmlReader& /*reader*/) {
  std::string text;
  GetText(text);
  currentCase->SetDescription(text);
}

void XmlNetLoader::StartEvidence(IXmlReader& /*reader*/) {
  int slice = -1;
  if (!GetIntAttribute("slice", slice, -1) || !OpenNode("node")) {
    return;
  }
  std::string state;
  GetStringAttribute("state", state);
  const int type = CurrentNode().GetType();
  const int status =
      type == kTypeEquation || type == kTypeEquationScc ? AddNumberToCase() : AddOutcomeToCase(state, slice);
  if (status < 0) {
    Abort("Evidence '" + state + "' of node '" + CurrentNode().GetId() + "' cannot be added.");
  }
}

int XmlNetLoader::AddNumberToCase() {
  double value = 0;
  return GetDoubleAttribute("state", value, 0) ? currentCase->AddContinuousEvidence(currentNode, value)
                                               : QVR_GENERAL_ERROR;
}

int XmlNetLoader::AddOutcomeToCase(const std::string& state, int slice) {
  const auto* names = dynamic_cast<const QVR_idArray*>(CurrentNode().definition->GetOutcomeNames());
  const int outcome = names != nullptr ? names->FindId(state) : QVR_OUT_OF_RANGE;
  if (outcome < 0) {
    ReportQuoted("Invalid outcome identifier", state);
    return outcome;
  }
  return slice >= 0 ? currentCase->AddTemporalEvidence(currentNode, slice, outcome)
                    : currentCase->AddDiscreteEvidence(currentNode, outcome);
}

void XmlNetLoader::StartSoftEvidence(IXmlReader& /*reader*/) {
  doubles.clear();
  OpenNode("node");
}

void XmlNetLoader::EndSoftEvidence(IXmlReader& /*reader*/) {
  if (currentCase->AddSoftEvidence(currentNode, doubles) < 0) {
    Abort("Can't add soft evidence");
  }
}

void XmlNetLoader::StartCaseTarget(IXmlReader& /*reader*/) {
  std::string id;
  GetStringAttribute("node", id);
  if (currentCase->AddTarget(network.FindNode(id.c_str())) < 0) {
    ReportQuoted("Can't add target node", id);
  }
}

}  // namespace qvr
