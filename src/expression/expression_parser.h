// From the text of a formula to its tree.
#ifndef QVR_EXPRESSION_EXPRESSION_PARSER_H
#define QVR_EXPRESSION_EXPRESSION_PARSER_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "expression/expression.h"
#include "expression/function_expression.h"

namespace qvr {

// A subclass can read a language with other variables and functions. Operators from the one that binds
// least: conditional, = <>, <= < >= >, + -, * /, ^, unary minus. All binary ones associate to the left.
class QVR_expressionParser {
 public:
  QVR_expressionParser() = default;
  QVR_expressionParser(const QVR_expressionParser&) = delete;
  QVR_expressionParser& operator=(const QVR_expressionParser&) = delete;
  virtual ~QVR_expressionParser() = default;

  // As QVR_expression::Parse, which uses a parser of this class.
  [[nodiscard]] ExpressionPtr Parse(const char* newText, std::string* errorText, int* errorPosition);

 protected:
  // False with a reason for a name that isn't acceptable.
  virtual bool ValidateVariable(std::string_view name, std::string& reason);
  // Makes the node of a call, still without arguments, and gives its arity, of which alone the number of
  // arguments depends: a count, or minus the least count. False for an unknown name.
  virtual bool LookupFunction(std::string_view name, std::unique_ptr<QVR_function>& function, int& arity);
  // What stands for the complete call. Null with a reason for one that isn't acceptable.
  virtual ExpressionPtr TranslateFunction(std::unique_ptr<QVR_function> function, std::string& reason);

 private:
  struct Tree {
    ExpressionPtr root;  // null after an error
    int height = 0;
  };

  void ReadToken();
  void ReadNumber();
  void ReadIdentifier();
  void ReadSymbol();

  // Every routine answers null once there has been an error.
  ExpressionPtr ParseAll();
  Tree ParseConditional();
  Tree ParseNested();
  Tree ParseLevel(int level);
  Tree ParseFactor();
  Tree ParseNegated();
  Tree ParseParenthesised();
  Tree ParseName();
  Tree ParseCall(std::string_view name);
  bool ParseArgument(QVR_function& call, int& height);
  bool ParseFixedArguments(QVR_function& call, int count, int& height);
  bool ParseVariableArguments(QVR_function& call, int minimum, int& height);
  Tree Grow(ExpressionPtr root, int childHeight);

  void AddError(std::string_view message);
  bool Fail(std::string_view message);

  const char* text = "";
  std::size_t position = 0;  // behind the present token
  int errorCount = 0;
  std::string firstError;
  int firstErrorPosition = 0;

  int token = 0;
  double number = 0.0;     // of a number token
  std::string identifier;  // of an identifier token

  int nesting = 0;
  int nodeCount = 0;
};

}  // namespace qvr

#endif
