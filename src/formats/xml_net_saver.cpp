#include "formats/xml_net_saver.h"

#include <vector>

#include "formats/foreign_network.h"
#include "formats/xml_tarvo_saver.h"
#include "formats/xml_vocabulary.h"
#include "model/network.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

constexpr const char* kVersion = "1.0";

class NoExtension : public IXmlWriterExtension {
 public:
  void Write(IXmlWriter& /*writer*/) override {}
  void Dispose() override {}
};

void Save(QVR_network& network, IXmlWriterOutput& output, IXmlWriterExtension* extension) {
  XmlTarvoSaver frontEnd(network);
  if (extension == nullptr) {
    extension = &frontEnd;
  }
  XmlNetworkSaver(network, output, extension == &NoWriterExtension() ? nullptr : extension).WriteDocument();
}

bool IsUsual(const EpisParameters& used) {
  const EpisParameters usual;
  return used.propLength == usual.propLength && used.numStates1 == usual.numStates1 &&
         used.numStates2 == usual.numStates2 && used.numStates3 == usual.numStates3 &&
         used.eps1 == usual.eps1 && used.eps2 == usual.eps2 && used.eps3 == usual.eps3 &&
         used.eps4 == usual.eps4;
}

}  // namespace

IXmlWriterExtension& NoWriterExtension() {
  static NoExtension none;
  return none;
}

bool SaveXmlNetwork(const char* fileName, std::string* text, QVR_network& network,
                    IXmlWriterExtension* extension) {
  if (!NodeDefVisitor::KnowsTypesOf(network)) {
    return false;
  }
  if (fileName == nullptr) {
    XmlWriterStringOutput output(*text);
    Save(network, output, extension);
    return true;
  }
  XmlWriterFileOutput output;
  if (!output.Open(fileName)) {
    return false;
  }
  Save(network, output, extension);
  return output.Commit();
}

XmlNetworkSaver::XmlNetworkSaver(QVR_network& newNetwork, IXmlWriterOutput& newOutput,
                                 IXmlWriterExtension* newExtension)
    : network(newNetwork), extension(newExtension) {
  SetOutput(&newOutput);
  Start(true);
}

void XmlNetworkSaver::WriteDocument() {
  WriteRootAttributes();
  const ScopedElement root(*this, "orbel");
  WriteNetworkProperties();
  WriteAlgorithmParameters();
  WriteNodes();
  WriteDynamic();
  WriteCosts();
  WriteCases();
  WriteExtension();
}

void XmlNetworkSaver::WriteRootAttributes() {
  const QVR_submodel& main = *network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel);
  AddAttribute("version", kVersion);
  AddAttribute("id", main.header.GetId().c_str());
  AddAttribute("numsamples", network.sampleCount);
  AddAttribute("discsamples", network.discSamples);
  if (network.discAvoidZero == 0) {
    AddAttribute("discavoidzero", false);
  }
  if (network.rejectOutliers != 0) {
    AddAttribute("rejectoutliers", true);
  }
}

void XmlNetworkSaver::WriteNetworkProperties() {
  if (network.userProperties.GetCount() > 0) {
    const ScopedElement properties(*this, "properties");
    WriteProperties(network.userProperties);
  }
}

void XmlNetworkSaver::WriteProperties(const QVR_userProperties& properties) {
  for (int i = 0; i < properties.GetCount(); ++i) {
    AddAttribute("id", properties.GetName(i));
    WriteElement("property", properties.GetValue(i), kEscapeLines);
  }
}

void XmlNetworkSaver::WriteAlgorithmParameters() {
  const EpisParameters& used = network.GetEpisParameters();
  if (IsUsual(used)) {
    return;
  }
  const ScopedElement parameters(*this, "algparams");
  AddAttribute("proplen", used.propLength);
  AddAttribute("numstates1", used.numStates1);
  AddAttribute("numstates2", used.numStates2);
  AddAttribute("numstates3", used.numStates3);
  AddAttribute("eps1", used.eps1);
  AddAttribute("eps2", used.eps2);
  AddAttribute("eps3", used.eps3);
  AddAttribute("eps4", used.eps4);
  WriteElement("epis", nullptr, kEscapeMarkup);
}

void XmlNetworkSaver::WriteNodes() {
  const ScopedElement nodes(*this, "nodes");
  for (const int handle : network.GetTopologicalOrder()) {
    const QVR_node& node = *network.NodeAt(handle);
    AddAttribute("id", node.GetId().c_str());
    Visit(*node.definition);
    WriteProperties(node.info->userProperties);
    CloseElement(currentElement.c_str());
  }
}

void XmlNetworkSaver::WriteParents(const QVR_intArray& handles) {
  std::vector<const char*> ids;
  for (const int handle : handles) {
    ids.push_back(network.NodeAt(handle)->GetId().c_str());
  }
  if (!ids.empty()) {
    WriteWordList("parents", ids);
  }
}

void XmlNetworkSaver::WriteCosts() {
  std::vector<int> costly;
  for (const int handle : network.GetTopologicalOrder()) {
    if (HasCost(network, handle)) {
      costly.push_back(handle);
    }
  }
  if (costly.empty()) {
    return;
  }
  const ScopedElement costs(*this, "observationcost");
  for (const int handle : costly) {
    WriteCost(handle);
  }
}

void XmlNetworkSaver::WriteCost(int handle) {
  AddAttribute("id", network.NodeAt(handle)->GetId().c_str());
  const ScopedElement node(*this, "node");
  WriteParents(network.GetParents(handle, kCostLayer));
  const std::span<const double> costs = network.NodeAt(handle)->cost->GetCosts().GetItems().Vector();
  WriteDoubleList("cost", costs, kNoCostWord, kNotAvailable);
}

void XmlNetworkSaver::WriteExtension() {
  if (extension != nullptr) {
    const ScopedElement extensions(*this, "extensions");
    extension->Write(*this);
  }
}

}  // namespace qvr
