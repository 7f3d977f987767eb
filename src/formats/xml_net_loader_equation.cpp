// The node element `equation`: a formula with bounds, and the intervals of its discretisation.
#include <utility>

#include "definitions/equation.h"
#include "formats/xml_net_loader.h"
#include "model/network.h"

namespace qvr {

void XmlNetLoader::AddEquationNodes(Binding& nodes) {
  Binding& formula = NewBinding(
      "definition", {.start = &XmlNetLoader::StartEquationDefinition, .end = &XmlNetLoader::EndExpression});
  formula.AddAttribute("lower", 0);
  formula.AddAttribute("upper", 0);

  Binding& interval = NewBinding("interval", {.start = &XmlNetLoader::StartInterval});
  interval.AddAttribute("upper", kXmlRequired);
  interval.AddAttribute("label", 0);
  Binding& discretization = NewBinding("discretization", {});
  discretization.AddChild(interval, kXmlRequired | kXmlRepeated);

  Binding& equation = NewNodeBinding("equation", kTypeEquation, false, {.end = &XmlNetLoader::EndEquation});
  equation.AddChild(formula, kXmlRequired);
  equation.AddChild(discretization, 0);
  equation.AddChild(*propertyBinding, kXmlRepeated);
  nodes.AddChild(equation, kXmlRepeated);
}

void XmlNetLoader::StartEquationDefinition(IXmlReader& /*reader*/) {
  double lower = 0;
  double upper = 0;
  if (GetDoubleAttribute("lower", lower, -1.0) && GetDoubleAttribute("upper", upper, 1.0)) {
    static_cast<QVR_equation*>(definition)->SetBounds(lower, upper);
  }
}

void XmlNetLoader::StartInterval(IXmlReader& /*reader*/) {
  DiscretizationInterval interval;
  GetStringAttribute("label", interval.id);
  if (GetDoubleAttribute("upper", interval.upperBound, 0.0)) {
    intervals.push_back(std::move(interval));
  }
}

void XmlNetLoader::EndEquation(IXmlReader& /*reader*/) {
  auto& equation = *static_cast<QVR_equation*>(definition);
  std::string message;
  if (equation.SetEquation(expressions.empty() ? "" : expressions.front().c_str(), nullptr, &message) < 0) {
    ReportQuoted("SetEquation failed", message);
    return;
  }
  if (!intervals.empty() && equation.SetDiscIntervals(intervals) < 0) {
    ReportQuoted("SetDiscIntervals failed", CurrentNode().GetId());
  }
}

}  // namespace qvr
