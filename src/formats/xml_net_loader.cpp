#include "formats/xml_net_loader.h"

#include "formats/xml_tarvo_loader.h"
#include "formats/xml_version.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr const char* kSupportedVersion = "1.0";

}  // namespace

IXmlBinding& NoReaderExtension() {
  static XmlBinding none(nullptr, "", kXmlLax);
  return none;
}

bool LoadXmlNetwork(const char* fileName, const char* text, QVR_network& network,
                    IXmlBinding* extensionBinding) {
  XmlNetLoader loader(network);
  return loader.Load(fileName, text, extensionBinding);
}

XmlNetLoader::XmlNetLoader(QVR_network& newNetwork) : network(newNetwork) {}

bool XmlNetLoader::Load(const char* path, const char* text, IXmlBinding* extensionBinding) {
  const std::string name = path == nullptr ? "" : path;
  SetFileName(path == nullptr ? nullptr : &name);
  XmlTarvoLoader frontEnd(*this, network);
  if (extensionBinding == nullptr) {
    extensionBinding = &frontEnd.GetBinding();
  }
  BuildSchema(extensionBinding == &NoReaderExtension() ? nullptr : extensionBinding);
  const bool result =
      path != nullptr ? ParseFile(path, *rootBinding, this) : ParseString(text, *rootBinding, this);
  if (result) {
    ReportUnknownContent();
  }
  SetFileName(nullptr);
  return result;
}

void XmlNetLoader::ReportQuoted(const char* message, const std::string& value) {
  Abort(std::string(message) + ": '" + value + "'");
}

void XmlNetLoader::StartRoot(IXmlReader& reader) {
  std::string id;
  GetStringAttribute("id", id);
  network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header.SetId(id.c_str());
  std::string version;
  GetStringAttribute("version", version);
  bool avoidZero = false;
  bool rejectOutliers = false;
  if (!CheckVersion(reader, version, kSupportedVersion) ||
      !GetIntAttribute("numsamples", network.sampleCount, 1000) ||
      !GetIntAttribute("discsamples", network.discSamples, 10000) ||
      !GetBoolAttribute("discavoidzero", avoidZero, true)) {
    return;
  }
  network.discAvoidZero = avoidZero ? 1 : 0;
  if (GetBoolAttribute("rejectoutliers", rejectOutliers, false)) {
    network.rejectOutliers = rejectOutliers ? 1 : 0;
  }
}

void XmlNetLoader::StartEpis(IXmlReader& /*reader*/) {
  const EpisParameters usual;
  EpisParameters read;
  if (!GetIntAttribute("proplen", read.propLength, usual.propLength) ||
      !GetIntAttribute("numstates1", read.numStates1, usual.numStates1) ||
      !GetIntAttribute("numstates2", read.numStates2, usual.numStates2) ||
      !GetIntAttribute("numstates3", read.numStates3, usual.numStates3) ||
      !GetDoubleAttribute("eps1", read.eps1, usual.eps1) ||
      !GetDoubleAttribute("eps2", read.eps2, usual.eps2) ||
      !GetDoubleAttribute("eps3", read.eps3, usual.eps3) ||
      !GetDoubleAttribute("eps4", read.eps4, usual.eps4)) {
    return;
  }
  if (network.SetEpisParameters(read) < 0) {
    Abort("Invalid EPIS parameters");
  }
}

void XmlNetLoader::StartProperty(IXmlReader& /*reader*/) { GetStringAttribute("id", propertyId); }

void XmlNetLoader::EndNetworkProperty(IXmlReader& /*reader*/) {
  std::string value;
  GetText(value);
  if (network.userProperties.Add(propertyId.c_str(), value.c_str()) < 0) {
    ReportQuoted("Can't add network property", propertyId);
  }
}

}  // namespace qvr
