// What a formula's variables are called, how often they occur and where they read their values.
#include <unordered_set>

#include "expression/expression.h"
#include "expression/expression_walk.h"
#include "expression/value_table.h"

namespace qvr {
namespace {

class RenamingVisitor final : public QVR_variableVisitor {
 public:
  RenamingVisitor(std::string_view newOldName, std::string_view newNewName)
      : oldName(newOldName), newName(newNewName) {}
  void Visit(QVR_variable& variable) override {
    if (variable.name == oldName) {
      variable.name = newName;
    }
  }

 private:
  const std::string oldName;  // copies: the texts may be those of a variable
  const std::string newName;
};

class AssigningVisitor final : public QVR_variableVisitor {
 public:
  AssigningVisitor(std::string_view newName, double newValue) : name(newName), value(newValue) {}
  void Visit(QVR_variable& variable) override {
    if (variable.name == name) {
      variable.value = value;
    }
  }

 private:
  std::string_view name;
  double value;
};

class BindingVisitor final : public QVR_variableVisitor {
 public:
  explicit BindingVisitor(const ValueTable* newTable) : table(newTable) {}
  void Visit(QVR_variable& variable) override {
    variable.bindingIndex = table == nullptr ? -1 : table->FindVariable(variable.name);
    variable.bindingTable = variable.bindingIndex < 0 ? nullptr : table;
  }

 private:
  const ValueTable* table;
};

}  // namespace

void QVR_expression::Accept(QVR_variableVisitor& visitor) {
  std::vector<QVR_expression*> open = {this};
  while (!open.empty()) {
    QVR_expression* const node = open.back();
    open.pop_back();
    if (node->GetType() == ExpressionType::Variable) {
      visitor.Visit(static_cast<QVR_variable&>(*node));
    }
    for (int i = node->GetChildCount(); i-- > 0;) {
      open.push_back(node->ChildSlot(i).get());
    }
  }
}

void QVR_expression::Bind(const ValueTable* table) {
  BindingVisitor visitor(table);
  Accept(visitor);
}

void QVR_expression::RenameVariable(std::string_view oldName, std::string_view newName) {
  RenamingVisitor visitor(oldName, newName);
  Accept(visitor);
}

void QVR_expression::AssignVariable(std::string_view name, double value) {
  AssigningVisitor visitor(name, value);
  Accept(visitor);
}

int QVR_expression::CountVariable(std::string_view name) const {
  int count = 0;
  ExpressionWalk walk(*this);
  while (const QVR_expression* const node = walk.Next()) {
    count += IsVariable(*node, name) ? 1 : 0;
  }
  return count;
}

void QVR_expression::GetVariables(std::vector<std::string>& list) const {
  std::unordered_set<std::string> known(list.begin(), list.end());
  ExpressionWalk walk(*this);
  while (const QVR_expression* const node = walk.Next()) {
    const QVR_variable* const variable = AsVariable(*node);
    if (variable != nullptr && known.insert(variable->name).second) {
      list.push_back(variable->name);
    }
  }
}

double QVR_variable::Evaluate() const {
  return bindingTable != nullptr ? (*bindingTable)[bindingIndex] : value;
}

}  // namespace qvr
