#include "hybrid/equation_order.h"

#include <algorithm>
#include <utility>

#include "definitions/equation_scc.h"
#include "model/error_log.h"

namespace qvr {

namespace {

// A unit whose needs are being put in order before it.
struct OpenUnit {
  EquationUnit unit;
  std::vector<int> needs;  // nodes outside
  std::size_t nextNeed = 0;
};

class EquationOrdering {
 public:
  EquationOrdering(QVR_network& newNetwork, std::vector<EquationUnit>& newOrder)
      : network(newNetwork),
        order(newOrder),
        states(static_cast<std::size_t>(newNetwork.GetTableSize()), State::Waiting) {}

  int Run();

 private:
  enum class State : char { Waiting, Gathering, Open, Placed };

  [[nodiscard]] State& StateOf(int handle) { return states[static_cast<std::size_t>(handle)]; }
  int Place(int first);
  int OpenUnitOf(int handle);
  int GatherMembers(OpenUnit& opened);
  void GatherNeeds(OpenUnit& opened);
  void ClosePlaced();

  QVR_network& network;
  std::vector<EquationUnit>& order;
  std::vector<State> states;
  std::vector<OpenUnit> open;  // each is needed by the one before
};

int EquationOrdering::Run() {
  for (int handle : network.GetTopologicalOrder()) {
    const int type = network.NodeAt(handle)->GetType();
    if (type != kTypeEquation && type != kTypeEquationScc) {
      continue;
    }
    if (int status = Place(handle); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int EquationOrdering::Place(int first) {
  if (StateOf(first) == State::Placed) {
    return QVR_OKAY;
  }
  int status = OpenUnitOf(first);
  while (status >= 0 && !open.empty()) {
    OpenUnit& top = open.back();
    if (top.nextNeed == top.needs.size()) {
      ClosePlaced();
      continue;
    }
    const int need = top.needs[top.nextNeed++];
    if (StateOf(need) == State::Open) {
      status = QVR_OUT_OF_RANGE;
    } else if (StateOf(need) == State::Waiting) {
      status = OpenUnitOf(need);
    }
  }
  return status < 0 ? GetErrorLog().Log(status, "Failed in computing SCC.") : QVR_OKAY;
}

int EquationOrdering::OpenUnitOf(int handle) {
  const QVR_valEqEvaluation* value = EquationValue(network, handle);
  if (value == nullptr) {
    return QVR_OBJECT_NOT_READY;
  }
  OpenUnit opened;
  opened.unit.members = {handle};
  StateOf(handle) = State::Gathering;
  if (!value->HasEvidence()) {
    opened.unit.isComponent = network.NodeAt(handle)->GetType() == kTypeEquationScc;
    if (int status = GatherMembers(opened); status < 0) {
      return status;
    }
    GatherNeeds(opened);
  }
  for (int member : opened.unit.members) {
    StateOf(member) = State::Open;
  }
  open.push_back(std::move(opened));
  return QVR_OKAY;
}

// Everything that the members name, directly or not. What is known or in a unit already is only needed.
int EquationOrdering::GatherMembers(OpenUnit& opened) {
  std::vector<int>& members = opened.unit.members;
  for (std::size_t i = 0; opened.unit.isComponent && i < members.size(); ++i) {
    const auto* set = dynamic_cast<QVR_equationSCC*>(network.NodeAt(members[i])->definition.get());
    if (set == nullptr) {
      return QVR_OUT_OF_RANGE;
    }
    for (const auto& [name, unused] : set->sccVariables) {
      const int named = network.FindNode(name.c_str());
      if (named < 0 || network.NodeAt(named)->GetType() != kTypeEquationScc) {
        return QVR_OUT_OF_RANGE;
      }
      const QVR_valEqEvaluation* value = EquationValue(network, named);
      if (value == nullptr) {
        return QVR_OBJECT_NOT_READY;
      }
      if (StateOf(named) == State::Waiting && !value->HasEvidence()) {
        StateOf(named) = State::Gathering;
        members.push_back(named);
      } else if (StateOf(named) != State::Gathering) {
        opened.needs.push_back(named);
      }
    }
  }
  std::sort(members.begin(), members.end());
  return QVR_OKAY;
}

void EquationOrdering::GatherNeeds(OpenUnit& opened) {
  for (int member : opened.unit.members) {
    for (int parent : network.GetParents(member)) {
      if (StateOf(parent) != State::Gathering) {
        opened.needs.push_back(parent);
      }
    }
  }
}

void EquationOrdering::ClosePlaced() {
  for (int member : open.back().unit.members) {
    StateOf(member) = State::Placed;
  }
  order.push_back(std::move(open.back().unit));
  open.pop_back();
}

}  // namespace

int OrderEquations(QVR_network& network, std::vector<EquationUnit>& order) {
  order.clear();
  return EquationOrdering(network, order).Run();
}

}  // namespace qvr
