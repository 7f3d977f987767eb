// The declaration of one XML element.
#ifndef QVR_FORMATS_XML_BINDING_H
#define QVR_FORMATS_XML_BINDING_H

#include <string>
#include <vector>

#include "formats/xml_interfaces.h"

namespace qvr {

class XmlBinding : public IXmlBinding {
 public:
  struct Child {
    XmlBinding* binding;  // not owned
    int flags;
  };
  struct Attribute {
    std::string name;
    int flags;
  };

  // The handler isn't owned and may be null.
  XmlBinding(IXmlHandler* newHandler, const char* newName, int newValidation)
      : handler(newHandler), name(newName), validation(newValidation) {}

  void AddChild(IXmlBinding& child, int flags) override;
  void AddAttribute(const char* attributeName, int flags) override;
  void Dispose() override;

  [[nodiscard]] IXmlHandler* GetHandler() const { return handler; }
  [[nodiscard]] const std::string& GetName() const { return name; }
  [[nodiscard]] int GetValidation() const { return validation; }
  // In the order of declaration.
  [[nodiscard]] const std::vector<Child>& GetChildren() const { return children; }
  [[nodiscard]] const std::vector<Attribute>& GetAttributes() const { return attributes; }
  [[nodiscard]] int FindChild(const char* childName) const;  // the first of that name, or -2
  [[nodiscard]] bool HasAttribute(const char* attributeName) const;
  [[nodiscard]] bool WantsTokens() const { return handler != nullptr && handler->WantsTokens(); }

 private:
  IXmlHandler* handler;
  std::string name;
  std::vector<Child> children;
  std::vector<Attribute> attributes;
  int validation;
};

}  // namespace qvr

#endif
