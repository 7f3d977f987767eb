// The vocabulary of the XML network format as a tree of bindings. The whole format is lax: what a later
// version adds is skipped with a warning.
#include "definitions/node_definition.h"
#include "formats/xml_net_loader.h"

namespace qvr {

// Its own start and end frame what the element's definition does at the end.
class XmlNetLoader::NodeBinding : public XmlNetLoader::Binding {
 public:
  NodeBinding(XmlNetLoader& loader, const char* newName, int newDefinitionType, bool newHasStates,
              const Callbacks& newCallbacks)
      : Binding(loader, newName, newCallbacks, kXmlInherit),
        definitionType(newDefinitionType),
        hasStates(newHasStates) {}

  void Start(IXmlReader& /*reader*/) override { target.StartNode(definitionType); }
  void End(IXmlReader& /*reader*/) override { target.EndNode(hasStates, callbacks.end); }

 private:
  int definitionType;
  bool hasStates;
};

XmlNetLoader::Binding& XmlNetLoader::NewBinding(const char* name, const Callbacks& callbacks,
                                                int validation) {
  bindings.push_back(std::make_unique<Binding>(*this, name, callbacks, validation));
  return *bindings.back();
}

XmlNetLoader::Binding& XmlNetLoader::NewBinding(const char* name, const Callbacks& callbacks) {
  return NewBinding(name, callbacks, kXmlInherit);
}

void XmlNetLoader::BuildSchema(IXmlBinding* extensionBinding) {
  rootBinding = &NewBinding("orbel", {.start = &XmlNetLoader::StartRoot}, kXmlLax);
  rootBinding->AddAttribute("id", kXmlRequired);
  rootBinding->AddAttribute("version", kXmlRequired);
  for (const char* optional : {"numsamples", "discsamples", "discavoidzero", "rejectoutliers"}) {
    rootBinding->AddAttribute(optional, 0);
  }
  AddAlgorithmParameters();
  AddProperties();
  AddNodes();
  AddObservationCosts();
  AddExtensions(extensionBinding);
  AddTemporalPart();
  AddCases();
}

void XmlNetLoader::AddAlgorithmParameters() {
  Binding& parameters = NewBinding("algparams", {});
  Binding& epis = NewBinding("epis", {.start = &XmlNetLoader::StartEpis});
  for (const char* name :
       {"proplen", "numstates1", "numstates2", "numstates3", "eps1", "eps2", "eps3", "eps4"}) {
    epis.AddAttribute(name, kXmlRequired);
  }
  parameters.AddChild(epis, 0);
  rootBinding->AddChild(parameters, 0);
}

void XmlNetLoader::AddProperties() {
  Binding& properties = NewBinding("properties", {});
  Binding& property = NewBinding(
      "property", {.start = &XmlNetLoader::StartProperty, .end = &XmlNetLoader::EndNetworkProperty});
  property.AddAttribute("id", kXmlRequired);
  properties.AddChild(property, kXmlRepeated);
  rootBinding->AddChild(properties, 0);
}

void XmlNetLoader::AddNodes() {
  parentsBinding = &NewBinding("parents", {.token = &XmlNetLoader::TakeParent});
  stateBinding = &NewBinding("state", {.start = &XmlNetLoader::StartState});
  stateBinding->AddAttribute("id", kXmlRequired);
  for (const char* optional : {"label", "default", "fault"}) {
    stateBinding->AddAttribute(optional, 0);
  }
  propertyBinding =
      &NewBinding("property", {.start = &XmlNetLoader::StartProperty, .end = &XmlNetLoader::EndNodeProperty});
  propertyBinding->AddAttribute("id", kXmlRequired);

  Binding& probabilities = NewBinding("probabilities", {.start = &XmlNetLoader::StartProbabilities,
                                                        .end = &XmlNetLoader::EndDoubles,
                                                        .token = &XmlNetLoader::TakeDouble});
  Binding& cpt = NewNodeBinding("cpt", kTypeCpt, true, {.end = &XmlNetLoader::EndCpt});
  cpt.AddChild(probabilities, kXmlRequired);
  cpt.AddChild(*propertyBinding, kXmlRepeated);

  Binding& nodes = NewBinding("nodes", {});
  nodes.AddChild(cpt, kXmlRepeated);
  AddDecisionNodes(nodes);
  AddCanonicalNodes(nodes);
  AddEquationNodes(nodes);
  rootBinding->AddChild(nodes, 0);
}

// A node element with what all of them share but the properties, which stand behind the definition's own
// elements.
XmlNetLoader::Binding& XmlNetLoader::NewNodeBinding(const char* name, int definitionType, bool hasStates,
                                                    const Callbacks& callbacks) {
  bindings.push_back(std::make_unique<NodeBinding>(*this, name, definitionType, hasStates, callbacks));
  Binding& node = *bindings.back();
  node.AddAttribute("id", kXmlRequired);
  for (const char* optional : {"target", "diagtype", "dynamic", "ranked", "mandatory"}) {
    node.AddAttribute(optional, 0);
  }
  node.AddChild(*parentsBinding, 0);
  if (hasStates) {
    node.AddChild(*stateBinding, kXmlRequired | kXmlRepeated);
  }
  return node;
}

// Null for none.
void XmlNetLoader::AddExtensions(IXmlBinding* extensionBinding) {
  Binding& extensions = NewBinding("extensions", {}, kXmlLax);
  if (extensionBinding != nullptr) {
    extensions.AddChild(*extensionBinding, kXmlRequired);
  }
  rootBinding->AddChild(extensions, 0);
}

// An element of the format whose content this program doesn't use.
void XmlNetLoader::AddSkipped(const char* name) {
  rootBinding->AddChild(NewBinding(name, {}, kXmlSilent), 0);
}

}  // namespace qvr
