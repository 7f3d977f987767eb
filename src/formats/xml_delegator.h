// A handler with a binding of its own that forwards an element's callbacks to members of a target object.
#ifndef QVR_FORMATS_XML_DELEGATOR_H
#define QVR_FORMATS_XML_DELEGATOR_H

#include <initializer_list>
#include <memory>

#include "formats/xml_handler.h"

namespace qvr {

// For code that knows the reader by its interface alone: XmlHandler is itself the binding.
template <typename T>
class XmlDelegator : public IXmlHandler {
 public:
  using Callbacks = XmlCallbacks<T>;

  XmlDelegator(IXmlReader& reader, T& newTarget, const char* name, const Callbacks& newCallbacks,
               int validation = kXmlInherit)
      : target(newTarget), callbacks(newCallbacks), binding(reader.CreateBinding(this, name, validation)) {}
  XmlDelegator(const XmlDelegator&) = delete;
  XmlDelegator& operator=(const XmlDelegator&) = delete;

  void Start(IXmlReader& reader) override { Call(callbacks.start, reader); }
  void End(IXmlReader& reader) override { Call(callbacks.end, reader); }
  void Token(IXmlReader& reader) override { Call(callbacks.token, reader); }
  [[nodiscard]] bool WantsTokens() const override { return callbacks.token != nullptr; }

  [[nodiscard]] IXmlBinding& GetBinding() { return *binding; }
  void AddAttributes(int flags, std::initializer_list<const char*> names) {
    for (const char* const name : names) {
      binding->AddAttribute(name, flags);
    }
  }
  void AddChildren(int flags, std::initializer_list<XmlDelegator*> children) {
    for (XmlDelegator* const child : children) {
      binding->AddChild(child->GetBinding(), flags);
    }
  }

 private:
  void Call(typename Callbacks::Member member, IXmlReader& reader) {
    if (member != nullptr) {
      (target.*member)(reader);
    }
  }

  T& target;
  Callbacks callbacks;
  std::unique_ptr<IXmlBinding> binding;
};

}  // namespace qvr

#endif
