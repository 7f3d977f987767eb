// What the parts of the XML writing side know of each other: the writer, where its text goes, and what
// others add to a document.
#ifndef QVR_FORMATS_XML_WRITER_INTERFACES_H
#define QVR_FORMATS_XML_WRITER_INTERFACES_H

namespace qvr {

class IXmlWriterOutput {
 public:
  // Both return success; a failure may also show later.
  virtual bool Write(const char* text) = 0;
  virtual bool Put(char character) = 0;
  virtual ~IXmlWriterOutput() = default;
};

// How far a text is escaped. Attributes, and texts that the reader takes as they stand, lose their control
// characters.
inline constexpr int kEscapeMarkup = 0;
// Line feeds and tabs survive as backslash escapes, which the reader's GetText undoes.
inline constexpr int kEscapeLines = 1;

// Streams a document, a tag a line. All texts are ISO-8859-1.
class IXmlWriter {
 public:
  virtual void SetOutput(IXmlWriterOutput* output) = 0;  // not owned
  virtual void OpenElement(const char* name) = 0;
  virtual void CloseElement(const char* name) = 0;
  // A whole element on one line; a null text gives an empty tag.
  virtual void WriteElement(const char* name, const char* text, int escapeLevel) = 0;
  // Attributes are added before their element and used up by it. The value is copied.
  virtual void AddAttribute(const char* name, double value) = 0;
  virtual void AddAttribute(const char* name, bool value) = 0;
  virtual void AddAttribute(const char* name, int value) = 0;
  virtual void AddAttribute(const char* name, const char* value) = 0;
  virtual void Dispose() = 0;
  virtual ~IXmlWriter() = default;
};

// What others put into a document's section of extensions.
class IXmlWriterExtension {
 public:
  virtual void Write(IXmlWriter& writer) = 0;
  virtual void Dispose() = 0;
  virtual ~IXmlWriterExtension() = default;
};

}  // namespace qvr

#endif
