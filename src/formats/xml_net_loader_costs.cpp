// The section of observation costs: for each node that has some, what they depend on and the numbers.
#include <algorithm>

#include "formats/xml_net_loader.h"
#include "formats/xml_vocabulary.h"
#include "model/network.h"
#include "model/special_numbers.h"

namespace qvr {

void XmlNetLoader::AddObservationCosts() {
  Binding& node = NewBinding("node", {.start = &XmlNetLoader::StartCosts, .end = &XmlNetLoader::EndCosts});
  node.AddAttribute("id", kXmlRequired);
  node.AddChild(*parentsBinding, 0);
  node.AddChild(NewBinding("cost", {.end = &XmlNetLoader::EndDoubles, .token = &XmlNetLoader::TakeCost}),
                kXmlRequired);
  Binding& section = NewBinding("observationcost", {});
  section.AddChild(node, kXmlRepeated);
  rootBinding->AddChild(section, 0);
}

void XmlNetLoader::StartCosts(IXmlReader& /*reader*/) {
  if (OpenNode("id")) {
    parents.clear();
    ++parentMark;
    doubles.clear();
    values.CleanUp();
  }
}

void XmlNetLoader::TakeCost(IXmlReader& reader) {
  if (GetRawText() == kNoCostWord) {
    doubles.push_back(kNotAvailable);
  } else {
    TakeDouble(reader);
  }
}

void XmlNetLoader::EndCosts(IXmlReader& /*reader*/) {
  QVR_nodeCost& cost = *CurrentNode().cost;
  if (RefuseOversizedCosts(cost.GetCosts().GetNumElements())) {
    return;
  }
  const bool linked = std::all_of(parents.begin(), parents.end(), [this](int parent) {
    return network.AddArc(parent, currentNode, kCostLayer) >= 0;
  });
  if (!linked) {
    Abort("AddArc failed");
  } else if (cost.SetCosts(values) < 0) {
    Abort("SetCosts failed");
  }
}

// As with the nodes' own tables: refused before its memory is touched.
bool XmlNetLoader::RefuseOversizedCosts(long long present) {
  const long long cells = present * CountParentConfigurations();
  if (cells > QVR_Dmatrix::kMaxElements) {
    Abort("AddArc failed");
  } else if (cells > std::max(kMaxReserved, static_cast<long long>(values.GetSize()))) {
    Abort("SetCosts failed");
  }
  return IsAborted();
}

}  // namespace qvr
