// Equations of Netica's format in the engine's own language.
#ifndef QVR_FORMATS_NETICA_EQUATION_H
#define QVR_FORMATS_NETICA_EQUATION_H

#include <string>

#include "expression/expression_parser.h"

namespace qvr {

// Takes calls of Netica's functions and answers those of the engine; a distribution loses its first argument,
// the variable. Other functions stay as they are.
class NeticaExpressionParser : public QVR_expressionParser {
 protected:
  bool LookupFunction(std::string_view name, std::unique_ptr<QVR_function>& function, int& arity) override;
  ExpressionPtr TranslateFunction(std::unique_ptr<QVR_function> function, std::string& reason) override;
};

// What stands behind the first "=" of the text. Null with a message.
[[nodiscard]] ExpressionPtr ParseNeticaEquation(const std::string& text, std::string& message);

}  // namespace qvr

#endif
