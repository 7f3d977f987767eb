#include "formats/xqvr_speaker.h"

#include "formats/node_def_visitor.h"
#include "formats/xml_net_loader.h"
#include "formats/xml_net_saver.h"
#include "model/status.h"

namespace qvr {

int QVR_xqvrSpeaker::ReadFile(const char* fileName) {
  return LoadXmlNetwork(fileName, nullptr, network, binding) ? QVR_OKAY : QVR_FILE_IO_FAILED;
}

int QVR_xqvrSpeaker::WriteFile(const char* fileName) {
  if (!NodeDefVisitor::KnowsTypesOf(network)) {
    return QVR_OUT_OF_RANGE;
  }
  return SaveXmlNetwork(fileName, nullptr, network, extension) ? QVR_OKAY : QVR_FILE_IO_FAILED;
}

}  // namespace qvr
