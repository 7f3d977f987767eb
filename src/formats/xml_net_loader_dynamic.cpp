// The temporal part: the number of slices, and for nodes of the plate the parents and the table of each
// order.
#include <algorithm>

#include "formats/xml_net_loader.h"
#include "model/dynamic_extension.h"

namespace qvr {
namespace {

// Tables up to this size are built before anyone counts whether the file fills them.
constexpr long long kMostUnfilledCells = 1'048'576;

}  // namespace

// Its own start and end frame what the element's definition does at the end.
class XmlNetLoader::TemporalBinding : public XmlNetLoader::Binding {
 public:
  TemporalBinding(XmlNetLoader& loader, const char* newName, int newDefinitionType, DefinitionSetter setter)
      : Binding(loader, newName, {.end = setter}, kXmlInherit), definitionType(newDefinitionType) {
    AddAttribute("id", kXmlRequired);
    AddAttribute("order", kXmlRequired);
  }

  void Start(IXmlReader& /*reader*/) override { target.StartTemporal(); }
  void End(IXmlReader& /*reader*/) override { target.EndTemporal(definitionType, callbacks.end); }

 private:
  int definitionType;
};

void XmlNetLoader::AddTemporalPart() {
  Binding& dynamic =
      NewBinding("dynamic", {.start = &XmlNetLoader::StartDynamic, .end = &XmlNetLoader::EndDynamic});
  dynamic.AddAttribute("numslices", kXmlRequired);
  const auto add = [&](const char* name, int type, DefinitionSetter setter) -> Binding& {
    bindings.push_back(std::make_unique<TemporalBinding>(*this, name, type, setter));
    Binding& element = *bindings.back();
    element.AddChild(*parentsBinding, kXmlRequired);
    dynamic.AddChild(element, kXmlRepeated);
    return element;
  };
  const auto addList = [&](Binding& element, const char* name, const Callbacks& callbacks, int flags) {
    element.AddChild(NewBinding(name, callbacks), flags);
  };
  const auto ofDoubles = [](Callbacks::Member end) {
    return Callbacks{.end = end, .token = &XmlNetLoader::TakeDouble};
  };
  const auto ofInts = [](Callbacks::Member end) {
    return Callbacks{.end = end, .token = &XmlNetLoader::TakeInt};
  };
  Binding& cpt = add("cpt", kTypeCpt, &XmlNetLoader::EndCpt);
  addList(cpt, "probabilities", ofDoubles(&XmlNetLoader::EndDoubles), kXmlRequired);
  Binding& deterministic = add("deterministic", kTypeTruthTable, &XmlNetLoader::EndDeterministic);
  addList(deterministic, "resultingstates", {.token = &XmlNetLoader::TakeResultingState}, kXmlRequired);
  Binding& noisyMax = add("noisymax", kTypeNoisyMax, &XmlNetLoader::EndNoisyMax);
  addList(noisyMax, "strengths", ofInts(&XmlNetLoader::EndStrengths), 0);
  addList(noisyMax, "parameters", ofDoubles(&XmlNetLoader::EndCiParameters), 0);
  Binding& adder = add("noisyadder", kTypeNoisyAdder, &XmlNetLoader::EndNoisyAdder);
  adder.AddAttribute("function", 0);
  addList(adder, "dstates", ofInts(&XmlNetLoader::EndDistinguishedStates), 0);
  addList(adder, "weights", ofDoubles(&XmlNetLoader::EndParentWeights), 0);
  addList(adder, "parameters", ofDoubles(&XmlNetLoader::EndCiParameters), 0);
  Binding& demorgan = add("demorgan", kTypeDeMorgan, &XmlNetLoader::EndDeMorgan);
  addList(demorgan, "priorbelief", {.end = &XmlNetLoader::EndPriorBelief}, kXmlRequired);
  addList(demorgan, "weights", ofDoubles(&XmlNetLoader::EndParentWeights), 0);
  addList(demorgan, "types", {.token = &XmlNetLoader::TakeParentType}, 0);
  Binding& cast = add("cast", kTypeCast, &XmlNetLoader::EndCast);
  addList(cast, "baseline", {.end = &XmlNetLoader::EndBaseline}, kXmlRequired);
  addList(cast, "pweights", ofDoubles(&XmlNetLoader::EndPositiveWeights), 0);
  addList(cast, "nweights", ofDoubles(&XmlNetLoader::EndNegativeWeights), 0);
  add("decision", kTypeList, nullptr);  // has its parents alone
  rootBinding->AddChild(dynamic, 0);
}

void XmlNetLoader::StartDynamic(IXmlReader& /*reader*/) {
  if (GetIntAttribute("numslices", sliceCount, 0) && sliceCount < 0) {
    Abort("Invalid slice count: " + std::to_string(sliceCount) + ", non-negative integer expected");
  }
}

void XmlNetLoader::EndDynamic(IXmlReader& /*reader*/) {
  QVR_dynamicExtension* temporal = network.UseDynamicExtension();
  if (temporal == nullptr) {
    Abort("Out of memory");
    return;
  }
  temporal->SetSliceCount(sliceCount);
}

void XmlNetLoader::StartTemporal() {
  std::string id;
  GetStringAttribute("id", id);
  const int handle = network.FindNode(id.c_str());
  if (handle < 0) {
    ReportQuoted("Invalid node identifier", id);
    return;
  }
  if (network.GetDynamicType(handle) != kDynamicPlate) {
    ReportQuoted("Node is not part of temporal plate", id);
    return;
  }
  if (!GetIntAttribute("order", order, 0)) {
    return;
  }
  if (order < 1) {
    Abort("Invalid temporal order: " + std::to_string(order) + ", positive value expected");
    return;
  }
  currentNode = handle;
  definition = CurrentNode().definition.get();
  ResetScratch();
  if (definition->GetType() == kTypeNoisyAdder) {
    ReadAdderFunction();
  }
}

// The data is for the table of the order, which is the node's definition as far as the setters know.
void XmlNetLoader::EndTemporal(int definitionType, DefinitionSetter applyDefinition) {
  if (parents.empty()) {
    Abort("No temporal parents specified");
    return;
  }
  if (!TakeTemporalParents(applyDefinition)) {
    return;
  }
  definition = network.GetDynamicExtension()->GetTemporalDefinition(currentNode, order);
  if (definition == nullptr) {
    Abort("Temporal defintion not found");
    return;
  }
  if (definition->GetType() != definitionType) {
    Abort("Invalid temporal defintion type");
    return;
  }
  if (applyDefinition != nullptr) {
    (this->*applyDefinition)(*this);
  }
  values.CleanUp();
}

bool XmlNetLoader::TakeTemporalParents(DefinitionSetter applyDefinition) {
  QVR_dynamicExtension& temporal = *network.GetDynamicExtension();  // there's a node in the plate
  const std::vector<int> added = parents;
  parents.clear();
  for (const TemporalParent& parent : temporal.GetTableParents(currentNode, order)) {
    parents.push_back(parent.handle);
  }
  parents.insert(parents.end(), added.begin(), added.end());
  if (RefuseOversizedTable(applyDefinition)) {
    return false;
  }
  for (const int parent : added) {
    if (RefuseOversizedGrowth(parent) || temporal.AddTemporalArc(parent, currentNode, order) < 0) {
      Abort("AddTemporalArc failed");
      return false;
    }
  }
  return true;
}

// Elements stand in ascending order in whatever we write. In another order each adds its parents to the
// tables that stand already, which the file doesn't fill again.
bool XmlNetLoader::RefuseOversizedGrowth(int parent) {
  QVR_dynamicExtension& temporal = *network.GetDynamicExtension();
  const long long outcomes = std::max(network.NodeAt(parent)->GetNumberOfOutcomes(), 1);
  for (const int present : temporal.GetTemporalOrders(currentNode)) {
    const QVR_nodeDefinition& table = *temporal.GetTemporalDefinition(currentNode, present);
    const bool isFullTable = table.GetType() != kTypeNoisyMax && table.GetType() != kTypeNoisyAdder;
    if (present > order && isFullTable && table.GetSize() * outcomes > kMostUnfilledCells) {
      return true;
    }
  }
  return false;
}

}  // namespace qvr
