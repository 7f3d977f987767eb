// The elements of influence diagrams: deterministic nodes, decisions, and the two kinds of utilities.
#include "definitions/mau.h"
#include "definitions/truth_table.h"
#include "definitions/utility_table.h"
#include "formats/xml_net_loader.h"
#include "model/network.h"

namespace qvr {
namespace {

// Room for so many numbers is made where the size of the table isn't known in advance.
constexpr std::size_t kUsualReserve = 4096;

}  // namespace

void XmlNetLoader::AddDecisionNodes(Binding& nodes) {
  const Callbacks numbers = {.start = &XmlNetLoader::StartDoubles,
                             .end = &XmlNetLoader::EndDoubles,
                             .token = &XmlNetLoader::TakeDouble};
  const Callbacks states = {.token = &XmlNetLoader::TakeResultingState};
  const Callbacks formula = {.end = &XmlNetLoader::EndExpression};
  struct Element {
    Binding& node;
    Binding* content;
    int flags;
  };
  const Element elements[] = {
      {NewNodeBinding("deterministic", kTypeTruthTable, true, {.end = &XmlNetLoader::EndDeterministic}),
       &NewBinding("resultingstates", states), kXmlRequired},
      {NewNodeBinding("decision", kTypeList, true, {}), nullptr, 0},
      {NewNodeBinding("utility", kTypeTable, false, {.end = &XmlNetLoader::EndUtility}),
       &NewBinding("utilities", numbers), kXmlRequired},
      {NewNodeBinding("mau", kTypeMau, false, {.end = &XmlNetLoader::EndMau}),
       &NewBinding("weights", numbers), kXmlRequired},
      {NewNodeBinding("maux", kTypeMau, false, {.end = &XmlNetLoader::EndMaux}),
       &NewBinding("expression", formula), kXmlRequired | kXmlRepeated},
  };
  for (const Element& element : elements) {
    if (element.content != nullptr) {
      element.node.AddChild(*element.content, element.flags);
    }
    element.node.AddChild(*propertyBinding, kXmlRepeated);
    nodes.AddChild(element.node, kXmlRepeated);
  }
}

void XmlNetLoader::StartDoubles(IXmlReader& /*reader*/) { doubles.reserve(kUsualReserve); }

// Names are resolved at the end of the node: they may stand before the states.
void XmlNetLoader::TakeResultingState(IXmlReader& /*reader*/) {
  const int next = static_cast<int>(resultingStateIndex.size());
  resultingStates.push_back(resultingStateIndex.try_emplace(GetRawText(), next).first->second);
}

// Only the syntax is tested here; the names in it are once the node is complete.
void XmlNetLoader::EndExpression(IXmlReader& /*reader*/) {
  std::string reason;
  if (QVR_expression::Parse(GetRawText().c_str(), &reason, nullptr) == nullptr) {
    Abort("Invalid expression: " + reason);
    return;
  }
  expressions.push_back(GetRawText());
}

std::string XmlNetLoader::WrongStateCount(long long expected) const {
  return "Invalid number of resulting states: " + std::to_string(resultingStates.size()) + ", expected " +
         std::to_string(expected);
}

std::string XmlNetLoader::WrongExpressionCount(long long expected) const {
  return "Invalid number of expressions: " + std::to_string(expressions.size()) + ", expected " +
         std::to_string(expected);
}

void XmlNetLoader::EndDeterministic(IXmlReader& /*reader*/) {
  auto& table = static_cast<QVR_truthTable&>(*definition);
  if (resultingStates.size() != static_cast<std::size_t>(table.GetNumberOfRows())) {
    Abort(WrongStateCount(table.GetNumberOfRows()));
    return;
  }
  if (!ResolveResultingStates()) {
    return;
  }
  QVR_intArray indices;
  if (indices.Assign(resultingStates) < 0 || table.SetResultingStates(indices) < 0) {
    Abort("SetResultingStates failed");
  }
}

// The places become indices of outcomes.
bool XmlNetLoader::ResolveResultingStates() {
  const auto* names = dynamic_cast<const QVR_idArray*>(definition->GetOutcomeNames());
  std::vector<int> outcomes(resultingStateIndex.size());
  for (const auto& [name, place] : resultingStateIndex) {
    const int outcome = names->FindId(name);
    if (outcome < 0) {
      Abort("Invalid resulting state: " + name);
      return false;
    }
    outcomes[static_cast<std::size_t>(place)] = outcome;
  }
  for (int& state : resultingStates) {
    state = outcomes[static_cast<std::size_t>(state)];
  }
  return true;
}

void XmlNetLoader::EndUtility(IXmlReader& /*reader*/) {
  if (static_cast<QVR_table&>(*definition).SetUtilities(values) < 0) {
    Abort("SetUtilities failed");
  }
}

void XmlNetLoader::EndMau(IXmlReader& /*reader*/) {
  if (static_cast<QVR_mau&>(*definition).SetWeights(values) < 0) {
    Abort("SetWeights failed");
  }
}

void XmlNetLoader::EndMaux(IXmlReader& /*reader*/) {
  auto& combination = static_cast<QVR_mau&>(*definition);
  if (expressions.size() != static_cast<std::size_t>(combination.GetExpressionCount())) {
    Abort(WrongExpressionCount(combination.GetExpressionCount()));
    return;
  }
  std::string errorText;
  if (combination.SetExpressions(expressions, errorText) < 0) {
    ReportQuoted("SetExpressions failed", errorText);
  }
}

}  // namespace qvr
