#include "formats/node_def_visitor.h"

#include "definitions/cast.h"
#include "definitions/demorgan.h"
#include "definitions/equation.h"
#include "definitions/list.h"
#include "definitions/mau.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "definitions/truth_table.h"
#include "definitions/utility_table.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {
namespace {

struct Row {
  int type;
  void (*visit)(NodeDefVisitor& visitor, QVR_nodeDefinition& definition);
};

template <typename Class, void (NodeDefVisitor::*visit)(Class&)>
void Call(NodeDefVisitor& visitor, QVR_nodeDefinition& definition) {
  (visitor.*visit)(static_cast<Class&>(definition));
}

constexpr Row kRows[] = {
    {kTypeMau, Call<QVR_mau, &NodeDefVisitor::VisitMau>},
    {kTypeTable, Call<QVR_table, &NodeDefVisitor::VisitTable>},
    {kTypeList, Call<QVR_list, &NodeDefVisitor::VisitList>},
    {kTypeEquation, Call<QVR_equation, &NodeDefVisitor::VisitEquation>},
    {kTypeDeMorgan, Call<QVR_demorgan, &NodeDefVisitor::VisitDeMorgan>},
    {kTypeCast, Call<QVR_cast, &NodeDefVisitor::VisitCast>},
    {kTypeNoisyAdder, Call<QVR_noisyAdder, &NodeDefVisitor::VisitNoisyAdder>},
    {kTypeNoisyMax, Call<QVR_noisyMAX, &NodeDefVisitor::VisitNoisyMax>},
    {kTypeTruthTable, Call<QVR_truthTable, &NodeDefVisitor::VisitTruthTable>},
    {kTypeCpt, Call<QVR_cpt, &NodeDefVisitor::VisitCpt>},
};

const Row* FindRow(int type) {
  for (const Row& row : kRows) {
    if (row.type == type) {
      return &row;
    }
  }
  return nullptr;
}

}  // namespace

void NodeDefVisitor::VisitMau(QVR_mau& definition) { VisitDefinition(definition); }
void NodeDefVisitor::VisitTable(QVR_table& definition) { VisitDefinition(definition); }
void NodeDefVisitor::VisitList(QVR_list& definition) { VisitDefinition(definition); }
void NodeDefVisitor::VisitEquation(QVR_equation& definition) { VisitDefinition(definition); }
void NodeDefVisitor::VisitDeMorgan(QVR_demorgan& definition) { VisitDefinition(definition); }
void NodeDefVisitor::VisitCast(QVR_cast& definition) { VisitDefinition(definition); }
void NodeDefVisitor::VisitNoisyAdder(QVR_noisyAdder& definition) { VisitDefinition(definition); }
void NodeDefVisitor::VisitNoisyMax(QVR_noisyMAX& definition) { VisitDefinition(definition); }
void NodeDefVisitor::VisitTruthTable(QVR_truthTable& definition) { VisitCpt(definition); }
void NodeDefVisitor::VisitCpt(QVR_cpt& definition) { VisitDefinition(definition); }
void NodeDefVisitor::VisitDefinition(QVR_nodeDefinition& /*definition*/) {}

void NodeDefVisitor::Visit(QVR_nodeDefinition& definition) {
  if (const Row* const row = FindRow(definition.GetType())) {
    row->visit(*this, definition);
  }
}

bool NodeDefVisitor::KnowsTypesOf(const QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const QVR_node& node = *network.NodeAt(handle);
    if (FindRow(node.GetType()) == nullptr) {
      GetErrorLog().Log(QVR_WRONG_NODE_TYPE, "Node [" + node.GetId() + "] can't be saved");
      return false;
    }
  }
  return true;
}

}  // namespace qvr
