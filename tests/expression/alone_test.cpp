// Links the objects of expression/ and only those of model/ that they ask for: an include or a call that
// reaches higher fails to link.
#include "expression/expression.h"

int main() {
  const qvr::ExpressionPtr tree = qvr::QVR_expression::Parse("2*Sqrt(9)-Max(1,5)", nullptr, nullptr);
  return tree != nullptr && tree->EvaluateSigned() == 1.0 ? 0 : 1;
}
