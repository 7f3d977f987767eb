// A binding that forwards its element's callbacks to members of a target object.
#ifndef QVR_FORMATS_XML_HANDLER_H
#define QVR_FORMATS_XML_HANDLER_H

#include "formats/xml_binding.h"

namespace qvr {

// A member function of the target for each callback, or null for none. A token function makes the
// element a list element.
template <typename T>
struct XmlCallbacks {
  using Member = void (T::*)(IXmlReader&);
  Member start = nullptr;
  Member end = nullptr;
  Member token = nullptr;
};

template <typename T>
class XmlHandler : public XmlBinding, public IXmlHandler {
 public:
  XmlHandler(T& newTarget, const char* newName, const XmlCallbacks<T>& newCallbacks, int newValidation)
      : XmlBinding(this, newName, newValidation), target(newTarget), callbacks(newCallbacks) {}

  void Start(IXmlReader& reader) override { Call(callbacks.start, reader); }
  void End(IXmlReader& reader) override { Call(callbacks.end, reader); }
  void Token(IXmlReader& reader) override { Call(callbacks.token, reader); }
  [[nodiscard]] bool WantsTokens() const override { return callbacks.token != nullptr; }

 protected:
  void Call(typename XmlCallbacks<T>::Member member, IXmlReader& reader) {
    if (member != nullptr) {
      (target.*member)(reader);
    }
  }

  T& target;
  XmlCallbacks<T> callbacks;
};

}  // namespace qvr

#endif
