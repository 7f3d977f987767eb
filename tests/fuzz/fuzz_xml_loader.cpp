// Loads arbitrary bytes as an XML network file, and uses what came out of it.
#include "loaded_network.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path = qvr::TemporaryPath(".xqvr");
  qvr::QVR_network network;
  if (!qvr::LoadBytes(path, qvr::kFormatXml, data, size, network)) {
    return -1;
  }
  std::filesystem::remove(path);
  qvr::Use(network, size == 0 ? 0U : data[size - 1]);
  qvr::GetErrorLog().Clear();
  return 0;
}
