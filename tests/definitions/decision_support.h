// Short verbs for tests of influence diagrams, and a small language of edits for their tables of cases.
#ifndef QVR_DEFINITIONS_DECISION_SUPPORT_H
#define QVR_DEFINITIONS_DECISION_SUPPORT_H

#include <functional>
#include <map>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "definitions/mau.h"
#include "model/network.h"
#include "support/network_builder.h"

namespace qvr {

using Cells = std::vector<double>;
using Names = std::vector<std::string>;

template <typename Definition>
Definition& DefinitionOf(QVR_network& network, int handle) {
  return dynamic_cast<Definition&>(*network.NodeAt(handle)->definition);
}

inline Cells CellsOf(const QVR_Dmatrix& matrix) {
  const std::span<const double> cells = matrix.GetItems().Vector();
  return {cells.begin(), cells.end()};
}

inline QVR_doubleArray Numbers(const Cells& cells) {
  QVR_doubleArray numbers;
  numbers.Assign(cells);
  return numbers;
}

inline QVR_stringArray Texts(const Names& texts) {
  QVR_stringArray list;
  for (const std::string& text : texts) {
    list.Add(text.c_str());
  }
  return list;
}

inline Names NamesOf(QVR_nodeDefinition& definition) {
  Names names;
  for (int i = 0; i < definition.GetNumberOfOutcomes(); ++i) {
    names.emplace_back(definition.GetOutcomeNames()->Get(i));
  }
  return names;
}

inline int AddNode(QVR_network& network, int type, const char* id, const std::vector<int>& parents) {
  const int handle = network.AddNode(type, id);
  for (int parent : parents) {
    if (int status = network.AddArc(parent, handle, kOrdinaryLayer); status < 0) {
      return status;
    }
  }
  return handle;
}

inline Names Words(const std::string& text) {
  std::istringstream stream(text);
  Names words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

// One command "node verb arguments"; its status code.
inline int EditOnce(QVR_network& network, const std::string& command) {
  Names arguments = Words(command);
  const int handle = std::stoi(arguments[0]);
  const std::string verb = arguments[1];
  arguments.erase(arguments.begin(), arguments.begin() + 2);
  QVR_node& node = *network.NodeAt(handle);
  QVR_nodeDefinition& definition = *node.definition;
  const auto number = [&] { return std::stoi(arguments.at(0)); };
  const auto numbers = [&] {
    QVR_intArray list;
    for (const std::string& argument : arguments) {
      list.Add(std::stoi(argument));
    }
    return list;
  };
  const std::map<std::string, std::function<int()>> verbs = {
      {"leave", [] { return 0; }},
      {"add", [&] { return definition.AddOutcome(arguments[0].c_str()); }},
      {"insert", [&] { return definition.InsertOutcome(number(), arguments[1].c_str()); }},
      {"remove", [&] { return definition.RemoveOutcome(number()); }},
      {"reorder", [&] { return definition.ReorderOutcomes(numbers()); }},
      {"rename", [&] { return definition.RenameOutcomes(Texts(arguments)); }},
      {"outcomes", [&] { return definition.SetNumberOfOutcomes(Texts(arguments)); }},
      {"count", [&] { return definition.SetNumberOfOutcomes(number()); }},
      {"states", [&] { return definition.SetResultingStates(Texts(arguments)); }},
      {"rows", [&] { return definition.SetResultingStates(numbers()); }},
      {"parents", [&] { return ReorderParents(network, handle, numbers()); }},
      {"absorbroot", [&] { return definition.AbsorbRootParent(number()); }},
      {"absorb", [&] { return definition.AbsorbObservedParent(number()); }},
      {"rebuild", [&] { return definition.RebuildFromNetwork(); }},
      {"link", [&] { return network.AddArc(handle, number(), kOrdinaryLayer); }},
      {"unlink", [&] { return network.RemoveArc(handle, number(), kOrdinaryLayer); }},
      {"type", [&] { return node.ChangeType(number()); }},
      {"observe", [&] { return node.value->SetEvidence(number()); }},
      {"name", [&] { return node.SetId(arguments[0].c_str()); }},
      {"delete", [&] { return network.DeleteNode(handle); }},
  };
  return verbs.at(verb)();
}

// Commands separated by ";"; the status code of the last.
inline int Edit(QVR_network& network, const std::string& commands) {
  std::istringstream stream(commands);
  int status = 0;
  for (std::string command; std::getline(stream, command, ';');) {
    status = EditOnce(network, command);
  }
  return status;
}

// The formulas as texts; none in the plain form.
inline Names FormulasOf(const QVR_network& network, int handle) {
  Names texts;
  const auto& mau = dynamic_cast<const QVR_mau&>(*network.NodeAt(handle)->definition);
  const MauExpressionTable* table = mau.GetExpressionTable();
  for (int i = 0; table != nullptr && i < table->GetSize(); ++i) {
    texts.push_back((*table)[i].GetText());
  }
  return texts;
}

}  // namespace qvr

#endif
