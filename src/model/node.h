// A node: the owner of its metadata, definition, value, cost and diagnostic attributes.
#ifndef QVR_MODEL_NODE_H
#define QVR_MODEL_NODE_H

#include <memory>
#include <string>

#include "definitions/node_definition.h"
#include "model/extra_definition.h"
#include "model/node_cost.h"
#include "model/node_info.h"
#include "model/object.h"
#include "values/node_value.h"

namespace qvr {

class QVR_network;

class QVR_node : public QVR_object {
 public:
  // Creates definition and value of the type; a null network makes an empty, unready node. The network
  // must already hold the node at the handle if the type isn't 0.
  QVR_node(int type, int newHandle, QVR_network* newNetwork);
  // Deep clone, member by member: nobody is told, nothing is tested. std::bad_alloc if memory is short.
  QVR_node(const QVR_node& other);
  QVR_node& operator=(const QVR_node&) = delete;
  ~QVR_node() override;

  void CleanUp(int deep) override;
  void CheckReady(int deep) override;
  void CheckConsistency(int deep) override;

  // Replace what was there. -2 for an unknown type; -42 with nothing left. Type 0 means none. The
  // bodies stand in values/node_factory.cpp, the one place that knows all classes.
  int CreateDefinition(int type);
  int CreateValue(int type);
  // A copy of the other's exact class, with this node's network and handle. -567 if not ready, -42; both
  // leave what was there. In a network's table the arcs, children and attributes that don't fit follow.
  int CopyDefinition(const QVR_nodeDefinition& other);
  int CopyValue(const QVR_nodeValue& other);

  // Gives the node a definition and value of another type, which take over what they can. A type that
  // can't be created leaves everything as it was and gives its code.
  int ChangeType(int newType);
  int ChangeType(const char* typeName);

  // 0 for a node without definition.
  [[nodiscard]] int GetType() const { return definition ? definition->GetType() : 0; }
  // -51 for a node without outcomes.
  [[nodiscard]] int GetNumberOfOutcomes() const;
  [[nodiscard]] const std::string& GetId() const { return info->header.GetId(); }
  int SetId(const char* text) { return info->header.SetId(text); }
  // -2 for null, -567 if it isn't ready. Rebinds all parts.
  int SetNetwork(QVR_network* newNetwork);
  // Without the tests: for copies of a network that isn't complete yet.
  void Bind(QVR_network* newNetwork, int newHandle);
  // -2 if the handle, its 0x4000 bit cleared, is no live submodel.
  int SetSubmodel(int newSubmodel);
  // -2 for null; -30 with "Unknown submodel".
  int SetSubmodel(const char* id);

  std::unique_ptr<QVR_nodeInfo> info;              // always present
  std::unique_ptr<QVR_nodeDefinition> definition;  // null for type 0
  std::unique_ptr<QVR_nodeValue> value;            // null for type 0
  std::unique_ptr<QVR_nodeCost> cost;              // always present
  std::unique_ptr<QVR_extraDefinition> extra;      // from the first definition on
  QVR_network* network;                            // not owned
  int handle;
  int submodel = 16384;  // the main submodel

 private:
  // Swaps in the new pair in place of the present one, adopting from it. True if arcs or evidence went.
  bool Replace(std::unique_ptr<QVR_nodeDefinition> newDefinition, std::unique_ptr<QVR_nodeValue> newValue);
  [[nodiscard]] bool StandsInTable() const;
  // Whether the definition has a dimension of the right size for each parent, and for no other.
  [[nodiscard]] bool DefinitionFitsParents(const QVR_nodeDefinition& source) const;
  bool DropParentsNotTakenBy(int newType);
  bool UpdateChildren(int oldType, int oldCount);
  // Lists of another length than the outcome count start afresh.
  void FitExtra();
  void UpdateExtra();
};

}  // namespace qvr

#endif
