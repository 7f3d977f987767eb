// A visit for each class of definitions that files know.
#ifndef QVR_FORMATS_NODE_DEF_VISITOR_H
#define QVR_FORMATS_NODE_DEF_VISITOR_H

namespace qvr {

class QVR_cast;
class QVR_cpt;
class QVR_demorgan;
class QVR_equation;
class QVR_list;
class QVR_mau;
class QVR_network;
class QVR_nodeDefinition;
class QVR_noisyAdder;
class QVR_noisyMAX;
class QVR_table;
class QVR_truthTable;

// Each visit forwards to the generic one, which does nothing; that of a truth table to that of a CPT.
class NodeDefVisitor {
 public:
  virtual void VisitMau(QVR_mau& definition);
  virtual void VisitTable(QVR_table& definition);
  virtual void VisitList(QVR_list& definition);
  virtual void VisitEquation(QVR_equation& definition);
  virtual void VisitDeMorgan(QVR_demorgan& definition);
  virtual void VisitCast(QVR_cast& definition);
  virtual void VisitNoisyAdder(QVR_noisyAdder& definition);
  virtual void VisitNoisyMax(QVR_noisyMAX& definition);
  virtual void VisitTruthTable(QVR_truthTable& definition);
  virtual void VisitCpt(QVR_cpt& definition);
  virtual void VisitDefinition(QVR_nodeDefinition& definition);
  virtual ~NodeDefVisitor() = default;

  // The visit that belongs to the definition's type; none for a type that isn't listed above.
  void Visit(QVR_nodeDefinition& definition);
  // Whether each node has a visit. False, logged under -51, for the first that has none.
  [[nodiscard]] static bool KnowsTypesOf(const QVR_network& network);
};

}  // namespace qvr

#endif
