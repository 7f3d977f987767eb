// The streaming XML writer.
#ifndef QVR_FORMATS_XML_WRITER_H
#define QVR_FORMATS_XML_WRITER_H

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "formats/atomic_file.h"
#include "formats/xml_writer_interfaces.h"

namespace qvr {

// The file appears with Commit.
class XmlWriterFileOutput : public IXmlWriterOutput {
 public:
  bool Open(const char* fileName);  // false if it can't be
  bool Write(const char* text) override;
  bool Put(char character) override;
  [[nodiscard]] bool Commit();  // false if anything failed since Open; the old file is as it was then

 private:
  std::optional<AtomicFile> file;
};

class XmlWriterStringOutput : public IXmlWriterOutput {
 public:
  explicit XmlWriterStringOutput(std::string& newText) : text(newText) {}  // appends to it

  bool Write(const char* added) override;
  bool Put(char character) override;

 private:
  std::string& text;
};

// Its output may refuse what it likes: nothing is tested here.
class XmlWriter : public IXmlWriter {
 public:
  void SetOutput(IXmlWriterOutput* newOutput) override { output = newOutput; }
  void OpenElement(const char* name) override;
  void CloseElement(const char* name) override;
  void WriteElement(const char* name, const char* text, int escapeLevel) override;
  void AddAttribute(const char* name, double value) override;
  void AddAttribute(const char* name, bool value) override;
  void AddAttribute(const char* name, int value) override;
  void AddAttribute(const char* name, const char* value) override;
  void Dispose() override;

  // To be called first. The declaration names the encoding.
  void Start(bool withDeclaration);
  // Numbers with 16 significant digits, each value with the bits of `tokenValue` as `token` if there's one.
  void WriteDoubleList(const char* name, std::span<const double> values, const char* token = nullptr,
                       double tokenValue = 0);
  void WriteIntList(const char* name, std::span<const int> values);
  void WriteWordList(const char* name, std::span<const char* const> words);
  void WriteDouble(const char* name, double value);
  void WriteIfNotEmpty(const char* name, const std::string& text, int escapeLevel);

 private:
  struct Attribute {
    std::string name;
    std::string value;
  };

  void WriteTag(const char* name, const char* end);
  void WriteEndTag(const char* name);
  void Indent();

  IXmlWriterOutput* output = nullptr;
  std::vector<Attribute> pendingAttributes;
  int depth = 0;
};

// An element that is open for the life of this object.
class ScopedElement {
 public:
  ScopedElement(IXmlWriter& newWriter, const char* newName) : writer(newWriter), name(newName) {
    writer.OpenElement(name);
  }
  ~ScopedElement() { Close(); }
  ScopedElement(const ScopedElement&) = delete;
  ScopedElement& operator=(const ScopedElement&) = delete;

  // Before the end.
  void Close();

 private:
  IXmlWriter& writer;
  const char* name;  // null once closed
};

}  // namespace qvr

#endif
