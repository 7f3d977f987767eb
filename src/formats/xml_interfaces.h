// What the parts of the XML reading framework know of each other: element handlers, bindings, the
// reader, the sink of errors and the source of bytes.
#ifndef QVR_FORMATS_XML_INTERFACES_H
#define QVR_FORMATS_XML_INTERFACES_H

#include <cstddef>
#include <memory>
#include <string>

namespace qvr {

class IXmlReader;

// The callbacks of one element. All text that a handler sees is ISO-8859-1.
class IXmlHandler {
 public:
  virtual void Start(IXmlReader& reader) = 0;
  virtual void End(IXmlReader& reader) = 0;
  // One word of a list element's text; GetRawText gives it.
  virtual void Token(IXmlReader& /*reader*/) {}
  // True makes the element a list element: its text is cut at white space and handed over word by word.
  [[nodiscard]] virtual bool WantsTokens() const { return false; }
  virtual ~IXmlHandler() = default;
};

// Flags of a child: by default it is optional and may occur once.
inline constexpr int kXmlRequired = 1;
inline constexpr int kXmlRepeated = 2;

// How strictly unknown content of an element is taken. An error with the bit, otherwise a warning, and
// the unknown thing is skipped.
inline constexpr int kXmlLax = 0;
inline constexpr int kXmlStrictAttributes = 1;
inline constexpr int kXmlStrictChildren = 2;
inline constexpr int kXmlInherit = 4;  // as the enclosing element; strict on both at the root
inline constexpr int kXmlSilent = 8;   // unknown content is skipped without a warning

// The declaration of one element: what it may hold.
class IXmlBinding {
 public:
  // The child must outlive every parse.
  virtual void AddChild(IXmlBinding& child, int flags) = 0;
  // The one flag is kXmlRequired.
  virtual void AddAttribute(const char* name, int flags) = 0;
  // Destroys the binding: for holders of a bare pointer.
  virtual void Dispose() = 0;
  virtual ~IXmlBinding() = default;
};

// The sink of errors and warnings. Lines count from 1, columns from 0.
class IXmlErrorHandler {
 public:
  virtual void OnError(const std::string& message, long line, long column) = 0;
  virtual void OnUnknownElement(const std::string& element, const std::string& parent, long line,
                                long column) = 0;
  virtual void OnUnknownAttribute(const std::string& element, const std::string& attribute, long line,
                                  long column) = 0;
  virtual ~IXmlErrorHandler() = default;
};

class IXmlInputStream {
 public:
  // Returns the number of bytes delivered; fewer than `size` only at the end.
  virtual std::size_t Read(char* buffer, std::size_t size) = 0;
  virtual ~IXmlInputStream() = default;
};

// Streams a document through a tree of bindings. False from a parse means that it was stopped by an
// error, which went to the error handler; without a handler errors and warnings are dropped.
class IXmlReader {
 public:
  virtual bool ParseFile(const char* fileName, IXmlBinding& root, IXmlErrorHandler* handler) = 0;
  virtual bool ParseString(const char* text, IXmlBinding& root, IXmlErrorHandler* handler) = 0;
  virtual bool ParseStream(IXmlInputStream& stream, IXmlBinding& root, IXmlErrorHandler* handler) = 0;
  // Reports the message at the current position and stops the parse. Nothing on a parse that is stopped.
  virtual void Abort(const std::string& message) = 0;
  virtual void GetPosition(long& line, long& column) const = 0;
  // The text of the innermost element as collected so far; in Token the word alone.
  [[nodiscard]] virtual const std::string& GetRawText() const = 0;
  // The same with backslash escapes undone.
  virtual void GetText(std::string& out) const = 0;

  // Attributes may be read in Start alone. An absent one gives the default and true. A value that is no
  // number or truth value aborts the parse, gives false and leaves `out` alone.
  virtual bool GetDoubleAttribute(const char* name, double& out, double defaultValue) = 0;
  virtual bool GetIntAttribute(const char* name, int& out, int defaultValue) = 0;
  virtual bool GetBoolAttribute(const char* name, bool& out, bool defaultValue) = 0;
  // An absent attribute gives the empty text.
  virtual void GetStringAttribute(const char* name, std::string& out) = 0;

  [[nodiscard]] virtual std::unique_ptr<IXmlBinding> CreateBinding(IXmlHandler* handler, const char* name,
                                                                   int validation) = 0;
  virtual void Dispose() = 0;
  virtual ~IXmlReader() = default;
};

}  // namespace qvr

#endif
