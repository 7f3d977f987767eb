// The reader of the XML network format.
#ifndef QVR_FORMATS_XML_NET_LOADER_H
#define QVR_FORMATS_XML_NET_LOADER_H

#include <map>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "definitions/equation.h"
#include "formats/xml_error_handler.h"
#include "formats/xml_handler.h"
#include "formats/xml_reader.h"
#include "model/number_array.h"

namespace qvr {

class QVR_case;
class QVR_ciDefinition;
class QVR_network;
class QVR_node;
class QVR_noisyAdder;
class QVR_noisyMAX;
class QVR_nodeDefinition;

// Stands for no extension where null asks for the front-end's.
[[nodiscard]] IXmlBinding& NoReaderExtension();

// Fills the network from the file, or without a file name from the text. The element "extensions", if there
// is one, must hold the element of the binding, which for null is that of the front-end; without a binding
// all in it is skipped. False after an error, which has been logged; what had been built up to there stays
// in the network.
bool LoadXmlNetwork(const char* fileName, const char* text, QVR_network& network,
                    IXmlBinding* extensionBinding);

// Builds the network while the document streams: a node comes into being when its element starts; arcs,
// outcomes and numbers are applied when it ends. A name must be known before it is used.
class XmlNetLoader : private XmlReader, private XmlErrorHandler {
 public:
  explicit XmlNetLoader(QVR_network& newNetwork);

  bool Load(const char* path, const char* text, IXmlBinding* extensionBinding);

 private:
  using Binding = XmlHandler<XmlNetLoader>;
  using Callbacks = XmlCallbacks<XmlNetLoader>;
  using DefinitionSetter = Callbacks::Member;  // what an element's definition does at the end; may be null
  class NodeBinding;
  class TemporalBinding;
  friend class XmlHandler<XmlNetLoader>;
  struct NodeAttributes;

  // Room for so many numbers is made in advance; beyond it a list grows by what the file really holds.
  // Tables up to this size are built before anyone counts whether the file fills them.
  static constexpr long long kMaxReserved = 1'048'576;

  // --- the schema: xml_net_loader_schema.cpp
  Binding& NewBinding(const char* name, const Callbacks& callbacks);
  Binding& NewBinding(const char* name, const Callbacks& callbacks, int validation);
  Binding& NewNodeBinding(const char* name, int definitionType, bool hasStates, const Callbacks& callbacks);
  void BuildSchema(IXmlBinding* extensionBinding);
  void AddAlgorithmParameters();
  void AddProperties();
  void AddNodes();
  void AddDecisionNodes(Binding& nodes);   // xml_net_loader_decisions.cpp
  void AddCanonicalNodes(Binding& nodes);  // xml_net_loader_canonical.cpp
  void AddEquationNodes(Binding& nodes);   // xml_net_loader_equation.cpp
  void AddObservationCosts();              // xml_net_loader_costs.cpp
  void AddCases();                         // xml_net_loader_cases.cpp
  void AddTemporalPart();                  // xml_net_loader_dynamic.cpp
  void AddExtensions(IXmlBinding* extensionBinding);
  void AddSkipped(const char* name);

  // --- the document around the nodes: xml_net_loader.cpp
  // Aborts with the message, a colon and the value in quotes.
  void ReportQuoted(const char* message, const std::string& value);
  void StartRoot(IXmlReader& reader);
  void StartEpis(IXmlReader& reader);
  void StartProperty(IXmlReader& reader);
  void EndNetworkProperty(IXmlReader& reader);

  // --- nodes: xml_net_loader_nodes.cpp
  void StartNode(int definitionType);
  bool ReadNodeAttributes(NodeAttributes& out);
  bool ReadWordAttributes(NodeAttributes& out);
  bool CreateNode(int definitionType, const NodeAttributes& attributes);
  void ResetScratch();
  void EndNode(bool hasStates, DefinitionSetter applyDefinition);
  struct TableDemand;
  [[nodiscard]] TableDemand MeasureTable(DefinitionSetter applyDefinition) const;
  bool RefuseOversizedTable(DefinitionSetter applyDefinition);
  void AddArcs();
  bool SetOutcomes();
  void SetDiagnosticAttributes();
  void EndNodeProperty(IXmlReader& reader);
  bool AddStateId(const std::string& id);
  void StartState(IXmlReader& reader);
  void TakeParent(IXmlReader& reader);
  void StartProbabilities(IXmlReader& reader);
  void TakeDouble(IXmlReader& reader);
  void EndDoubles(IXmlReader& reader);
  void MoveDoubles(QVR_doubleArray& to);
  void EndCpt(IXmlReader& reader);
  [[nodiscard]] long long CountParentConfigurations() const;
  [[nodiscard]] int ParentCount() const;
  [[nodiscard]] long long StateCount() const;
  [[nodiscard]] long long CountParentsWithoutOutcomes() const;
  [[nodiscard]] QVR_node& CurrentNode() const;

  // --- canonical nodes: xml_net_loader_canonical.cpp
  bool ReadAdderFunction();
  void TakeInt(IXmlReader& reader);
  void TakeParentType(IXmlReader& reader);
  void EndBaseline(IXmlReader& reader);
  void EndPriorBelief(IXmlReader& reader);
  void EndStrengths(IXmlReader& reader);
  void EndDistinguishedStates(IXmlReader& reader);
  void EndPositiveWeights(IXmlReader& reader);
  void EndNegativeWeights(IXmlReader& reader);
  void EndParentWeights(IXmlReader& reader);
  void EndCiParameters(IXmlReader& reader);
  void EndCast(IXmlReader& reader);
  void EndDeMorgan(IXmlReader& reader);
  void EndNoisyMax(IXmlReader& reader);
  void EndNoisyAdder(IXmlReader& reader);
  bool SetStrengths(QVR_noisyMAX& noisyMax);
  bool SetDistinguishedStates(QVR_noisyAdder& adder);
  void SetCiParameters(QVR_ciDefinition& ci);
  bool RefuseOversizedParameters(long long most);
  bool RefuseOversizedGate(long long configurations, long long most);

  // What a canonical node has told. -1 is no chance, so that a missing one is refused.
  struct CanonicalNumbers {
    double baseline = -1.0;
    double priorBelief = -1.0;
    int function = 0;
    QVR_doubleArray positiveWeights;
    QVR_doubleArray negativeWeights;
    QVR_doubleArray parentWeights;  // of DeMorgan, and of the noisy adder with the leak's
    QVR_doubleArray ciParameters;
    QVR_intArray parentTypes;
    std::vector<int> strengths;
    std::vector<int> distinguishedStates;
  };

  // --- decisions, utilities and what parents determine: xml_net_loader_decisions.cpp
  void StartDoubles(IXmlReader& reader);
  void TakeResultingState(IXmlReader& reader);
  void EndExpression(IXmlReader& reader);
  void EndDeterministic(IXmlReader& reader);
  bool ResolveResultingStates();
  void EndUtility(IXmlReader& reader);
  void EndMau(IXmlReader& reader);
  void EndMaux(IXmlReader& reader);
  [[nodiscard]] std::string WrongStateCount(long long expected) const;
  [[nodiscard]] std::string WrongExpressionCount(long long expected) const;

  // --- nodes of equations: xml_net_loader_equation.cpp
  void StartEquationDefinition(IXmlReader& reader);
  void StartInterval(IXmlReader& reader);
  void EndEquation(IXmlReader& reader);

  // --- observation costs: xml_net_loader_costs.cpp
  void StartCosts(IXmlReader& reader);
  void TakeCost(IXmlReader& reader);
  void EndCosts(IXmlReader& reader);
  bool RefuseOversizedCosts(long long present);

  // --- saved cases: xml_net_loader_cases.cpp
  bool OpenNode(const char* attribute);
  void StartCase(IXmlReader& reader);
  void EndCaseDescription(IXmlReader& reader);
  void StartEvidence(IXmlReader& reader);
  int AddNumberToCase();
  int AddOutcomeToCase(const std::string& state, int slice);
  void StartSoftEvidence(IXmlReader& reader);
  void EndSoftEvidence(IXmlReader& reader);
  void StartCaseTarget(IXmlReader& reader);

  // --- the temporal part: xml_net_loader_dynamic.cpp
  void StartDynamic(IXmlReader& reader);
  void EndDynamic(IXmlReader& reader);
  void StartTemporal();
  void EndTemporal(int definitionType, DefinitionSetter applyDefinition);
  bool TakeTemporalParents(DefinitionSetter applyDefinition);
  bool RefuseOversizedGrowth(int parent);

  QVR_network& network;
  int currentNode = -1;  // the handle of the node that is or was last open
  QVR_nodeDefinition* definition = nullptr;
  QVR_case* currentCase = nullptr;  // the open one
  std::string propertyId;

  // What the open node element has told so far.
  std::vector<std::string> stateIds;
  std::unordered_set<std::string> manyStateIds;  // the same once there are many; empty before
  std::vector<std::string> stateLabels;          // empty where a state has none
  int defaultState = -1;
  std::vector<int> faultStates;
  std::vector<int> parents;
  std::vector<int> parentMarks;  // by handle: the mark of the last element that named it as a parent
  int parentMark = 0;
  std::vector<double> doubles;                     // the open list of numbers
  std::vector<int> ints;                           // the same of integers
  QVR_doubleArray values;                          // the finished one
  std::map<std::string, int> resultingStateIndex;  // by name: its place in the order of first occurrence
  std::vector<int> resultingStates;                // such places
  std::vector<std::string> expressions;            // that parse
  std::vector<DiscretizationInterval> intervals;
  CanonicalNumbers canonical;

  int sliceCount = 0;
  int order = 0;  // of the open element under "dynamic"

  Binding* rootBinding = nullptr;
  Binding* parentsBinding = nullptr;
  Binding* stateBinding = nullptr;
  Binding* propertyBinding = nullptr;
  std::vector<std::unique_ptr<Binding>> bindings;
};

}  // namespace qvr

#endif
