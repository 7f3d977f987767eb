// Loads arbitrary bytes as a file of one of the text formats, which the first byte chooses, and uses what
// came out of it. What can be saved in the format can be loaded again.
#include "loaded_network.h"
#include "model/dense_matrix.h"

namespace {

constexpr int kTextFormats = 7;  // codes 1 to 7
constexpr std::int64_t kMemoryCeiling = 256 << 20;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path = qvr::TemporaryPath(".txt");
  if (size == 0) {
    return 0;
  }
  qvr::QVR_Dmatrix::SetMemoryCeiling(kMemoryCeiling);
  const int format = 1 + data[0] % kTextFormats;
  qvr::QVR_network network;
  if (!qvr::LoadBytes(path, format, data + 1, size - 1, network)) {
    return -1;
  }
  if (network.SaveFile(path.c_str(), format, nullptr) == qvr::QVR_OKAY) {
    qvr::QVR_network saved;
    qvr::Demand(saved.LoadFile(path.c_str(), format, nullptr) == qvr::QVR_OKAY);
    qvr::Demand(saved.GetNumberOfNodes() == network.GetNumberOfNodes());
  }
  std::filesystem::remove(path);
  qvr::Use(network, data[size - 1]);
  qvr::GetErrorLog().Clear();
  return 0;
}
