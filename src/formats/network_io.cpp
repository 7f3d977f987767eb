// The network's door to its file formats.
#include <memory>
#include <new>
#include <stdexcept>

#include "formats/file_format.h"
#include "formats/format_table.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {

// What a network is told about a load for its length. Ends with the load however that ends.
class LoadScope {
 public:
  LoadScope(QVR_network& newNetwork, const QVR_fileFormat& speaker)
      : network(newNetwork), savedMask(newNetwork.relevanceMask) {
    network.relevanceMask = 0;
    network.loadFlags = kLoading | (speaker.AcceptsDuplicateIds() ? kLoadAcceptsDuplicateIds : 0U) |
                        (speaker.VouchesForGraph() ? kLoadVouchesForGraph : 0U);
  }
  ~LoadScope() {
    network.relevanceMask = savedMask;
    network.loadFlags = 0;
  }
  LoadScope(const LoadScope&) = delete;
  LoadScope& operator=(const LoadScope&) = delete;

  // Empties the network and reads the file into it.
  [[nodiscard]] int Read(QVR_fileFormat& speaker, const char* name) {
    network.PrepareForLoad();
    return speaker.ReadFile(name);
  }

 private:
  QVR_network& network;
  unsigned savedMask;
};

namespace {

int ReadAndCheck(QVR_network& network, const char* name, int format, IXmlBinding* observer) {
  std::unique_ptr<QVR_fileFormat> speaker = CreateSpeaker(network, name, format);
  if (speaker == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  if (observer != nullptr) {
    speaker->SetExtension(observer);
  }
  const int result = LoadScope(network, *speaker).Read(*speaker, name);
  speaker.reset();
  if (result == QVR_OKAY) {
    network.CheckReady(1);
    network.CheckConsistency(1);
  }
  return result;
}

int Write(QVR_network& network, const char* name, int format, IXmlWriterExtension* observer) {
  const std::unique_ptr<QVR_fileFormat> speaker = CreateSpeaker(network, name, format);
  if (speaker == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  if (observer != nullptr) {
    speaker->SetExtension(observer);
  }
  return speaker->WriteFile(name);
}

// -2, logged, without a name; -42 when memory is short.
template <typename Observer>
int WithFile(QVR_network& network, const char* name, int format, Observer* observer,
             int (*handle)(QVR_network&, const char*, int, Observer*)) {
  if (name == nullptr) {
    return GetErrorLog().Log(QVR_OUT_OF_RANGE, "Unknown File Format");
  }
  try {
    return handle(network, name, format, observer);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  } catch (const std::length_error&) {
    return QVR_OUT_OF_MEMORY;
  }
}

}  // namespace

int QVR_network::LoadFile(const char* name, int format, IXmlBinding* observer) {
  return WithFile(*this, name, format, observer, &ReadAndCheck);
}

int QVR_network::SaveFile(const char* name, int format, IXmlWriterExtension* observer) {
  return WithFile(*this, name, format, observer, &Write);
}

}  // namespace qvr
