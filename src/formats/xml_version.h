// The check of a document's version, and the notice for documents that are newer than this program.
#ifndef QVR_FORMATS_XML_VERSION_H
#define QVR_FORMATS_XML_VERSION_H

#include <string>

#include "formats/xml_interfaces.h"

namespace qvr {

[[nodiscard]] std::string UpgradeNotice();

// Aborts the parse and gives false if the number found is greater than the one supported. What is no
// number counts as 0.
bool CheckVersion(IXmlReader& reader, const std::string& found, const std::string& supported);

}  // namespace qvr

#endif
