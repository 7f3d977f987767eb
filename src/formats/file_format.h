// The base of all speakers: objects that read one file format.
#ifndef QVR_FORMATS_FILE_FORMAT_H
#define QVR_FORMATS_FILE_FORMAT_H

#include "model/object.h"

namespace qvr {

class IXmlBinding;
class IXmlWriterExtension;
class QVR_network;

// A speaker serves one network and one file.
class QVR_fileFormat : public QVR_object {
 public:
  explicit QVR_fileFormat(QVR_network& newNetwork) : network(newNetwork) { SetReady(true); }

  // Fills the network, which the caller has emptied. A failure has been logged; what was read before it
  // stays.
  [[nodiscard]] virtual int ReadFile(const char* fileName) = 0;
  // Writes the network. The file is replaced when all is written: -103 leaves an old one as it was.
  [[nodiscard]] virtual int WriteFile(const char* fileName) = 0;
  // True if the speaker itself refuses identifiers that occur twice: the network needn't.
  [[nodiscard]] virtual bool AcceptsDuplicateIds() const { return false; }
  // True if no file of the format can state a cycle: the network needn't look for one.
  [[nodiscard]] virtual bool VouchesForGraph() const { return false; }
  // What reads or writes the front-end's extensions, for formats that have them.
  virtual void SetExtension(IXmlBinding* /*newExtension*/) {}
  virtual void SetExtension(IXmlWriterExtension* /*newExtension*/) {}

 protected:
  QVR_network& network;
};

}  // namespace qvr

#endif
