// A small influence diagram, and short verbs for it.
#ifndef QVR_DEFINITIONS_DECISION_SUPPORT_H
#define QVR_DEFINITIONS_DECISION_SUPPORT_H

#include <span>
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

// The formulas as texts; none in the plain form.
inline Names FormulasOf(QVR_network& network, int handle) {
  Names texts;
  const MauExpressionTable* table = DefinitionOf<QVR_mau>(network, handle).GetExpressionTable();
  for (int i = 0; table != nullptr && i < table->GetSize(); ++i) {
    texts.push_back((*table)[i].GetText());
  }
  return texts;
}

}  // namespace qvr

#endif
