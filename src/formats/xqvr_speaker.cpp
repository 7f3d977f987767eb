#include "formats/xqvr_speaker.h"

#include "formats/xml_net_loader.h"
#include "model/status.h"

namespace qvr {

int QVR_xqvrSpeaker::ReadFile(const char* fileName) {
  return LoadXmlNetwork(fileName, nullptr, network, extension) ? QVR_OKAY : QVR_FILE_IO_FAILED;
}

}  // namespace qvr
