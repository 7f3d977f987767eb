// The XML reader over Expat.
#ifndef QVR_FORMATS_XML_READER_H
#define QVR_FORMATS_XML_READER_H

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "formats/xml_binding.h"
#include "formats/xml_interfaces.h"

struct XML_ParserStruct;

namespace qvr {

// One parse at a time: a handler must not start another one on the same reader. Bindings must outlive
// the parse.
class XmlReader : public IXmlReader {
 public:
  XmlReader();
  XmlReader(const XmlReader&) = delete;
  XmlReader& operator=(const XmlReader&) = delete;
  ~XmlReader() override;

  bool ParseFile(const char* fileName, IXmlBinding& root, IXmlErrorHandler* handler) override;
  bool ParseString(const char* text, IXmlBinding& root, IXmlErrorHandler* handler) override;
  bool ParseStream(IXmlInputStream& stream, IXmlBinding& root, IXmlErrorHandler* handler) override;
  void Abort(const std::string& message) override;
  void GetPosition(long& line, long& column) const override;
  [[nodiscard]] const std::string& GetRawText() const override;
  void GetText(std::string& out) const override;
  bool GetDoubleAttribute(const char* name, double& out, double defaultValue) override;
  bool GetIntAttribute(const char* name, int& out, int defaultValue) override;
  // The same for numbers of 64 bits, clamped.
  bool GetInt64Attribute(const char* name, std::int64_t& out, std::int64_t defaultValue);
  bool GetBoolAttribute(const char* name, bool& out, bool defaultValue) override;
  void GetStringAttribute(const char* name, std::string& out) override;
  [[nodiscard]] std::unique_ptr<IXmlBinding> CreateBinding(IXmlHandler* handler, const char* name,
                                                           int validation) override;
  void Dispose() override;

  [[nodiscard]] bool IsAborted() const { return aborted; }

 private:
  // An open element. Records stay in the stack when their element ends, and the next element at that
  // depth takes the record over with the room of its text.
  struct ElementRecord {
    XmlBinding* binding = nullptr;  // null inside an ignored subtree
    bool wantsTokens = false;
    int validation = kXmlLax;
    std::vector<char> seenChildren;  // 1 for each child binding met; empty before the first
    std::string text;
  };
  struct ParserDeleter {
    void operator()(XML_ParserStruct* doomed) const;
  };

  // Expat's callbacks; `reader` is this object. No exception passes them.
  static void OnStartElement(void* reader, const char* name, const char** attributes);
  static void OnEndElement(void* reader, const char* name);
  static void OnCharacterData(void* reader, const char* data, int length);
  void CountEntity();

  bool PumpStream(IXmlInputStream& stream);
  bool FeedBlock(IXmlInputStream& stream, int size, bool& isFinal);
  void ReportParserError();
  void AbortForMemory() noexcept;
  void StopCallbacks() noexcept;

  void StartElement(const char* name, const char** attributes);
  XmlBinding* BindRoot(const char* name);
  XmlBinding* BindChild(ElementRecord& parent, const char* name);
  bool CheckAttributes(const XmlBinding& binding, int validation, const char** attributes);
  bool CheckUnknownAttribute(const XmlBinding& binding, int validation, const char* attribute);
  void PushRecord(XmlBinding* binding, int validation);
  void EndElement();
  void FinishElement(ElementRecord& record);
  void CheckRequiredChildren(const ElementRecord& record);
  void CharacterData(const char* data, int length);
  void CutTokens(ElementRecord& record, const char* next, const char* end);
  [[nodiscard]] ElementRecord& Innermost() { return elementStack[depth - 1]; }
  bool AbortForInteger(const char* name);                                // false
  [[nodiscard]] const char* FindAttributeValue(const char* name) const;  // null if absent

  std::deque<ElementRecord> elementStack;
  std::size_t depth = 0;  // open elements; records beyond are spare
  XmlBinding* rootBinding = nullptr;
  const char** currentAttributes = nullptr;  // name, value, ..., null; only while Start runs
  std::unique_ptr<XML_ParserStruct, ParserDeleter> parser;
  bool aborted = false;
  bool sawCallback = false;  // since the present block was fed
  int entityCount = 0;       // declared by the document
  IXmlErrorHandler* errorHandler = nullptr;
};

}  // namespace qvr

#endif
