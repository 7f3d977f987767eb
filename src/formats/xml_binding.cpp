#include "formats/xml_binding.h"

#include <memory>

#include "model/status.h"

namespace qvr {

// XmlBinding is the one class behind the interface, so the cast is safe.
void XmlBinding::AddChild(IXmlBinding& child, int flags) {
  children.push_back({static_cast<XmlBinding*>(&child), flags});
}

void XmlBinding::AddAttribute(const char* attributeName, int flags) {
  attributes.push_back({attributeName, flags});
}

void XmlBinding::Dispose() { const std::unique_ptr<XmlBinding> self(this); }

int XmlBinding::FindChild(const char* childName) const {
  for (std::size_t i = 0; i < children.size(); ++i) {
    if (children[i].binding->name == childName) {
      return static_cast<int>(i);
    }
  }
  return QVR_OUT_OF_RANGE;
}

bool XmlBinding::HasAttribute(const char* attributeName) const {
  for (const Attribute& attribute : attributes) {
    if (attribute.name == attributeName) {
      return true;
    }
  }
  return false;
}

}  // namespace qvr
