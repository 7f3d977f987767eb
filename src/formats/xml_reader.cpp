// Streams a document through the bindings. Expat calls back for element starts, ends and runs of text;
// each callback checks the document against the tree before a handler sees anything. After an error
// Expat goes on to the end of its block, so every callback first looks whether the parse is stopped.
#include "formats/xml_reader.h"

#include <expat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>

#include "formats/latin1.h"
#include "formats/number_token.h"

namespace qvr {
namespace {

constexpr int kBlockSize = 4096;
// Expat scans an unfinished tag or comment again with each block. Blocks that double keep that linear.
constexpr int kMaxBlockSize = 1 << 20;
constexpr std::size_t kMaxSilentBytes = std::size_t{4} << 20;
// Expat and this reader keep a few hundred bytes for each open element: a file of start tags alone would
// need many times its size.
constexpr std::size_t kMaxDepth = 100'000;
// Expat expands entities that stand in entities by recursion; this bounds how deep that can go.
constexpr int kMaxEntities = 1000;

struct FileCloser {
  void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

class XmlInputFileStream : public IXmlInputStream {
 public:
  explicit XmlInputFileStream(std::FILE& newFile) : file(newFile) {}
  std::size_t Read(char* buffer, std::size_t size) override { return std::fread(buffer, 1, size, &file); }

 private:
  std::FILE& file;
};

class XmlInputStringStream : public IXmlInputStream {
 public:
  explicit XmlInputStringStream(const char* text) : next(text), remaining(std::strlen(text)) {}
  std::size_t Read(char* buffer, std::size_t size) override {
    const std::size_t count = std::min(size, remaining);
    std::memcpy(buffer, next, count);
    next += count;
    remaining -= count;
    return count;
  }

 private:
  const char* next;
  std::size_t remaining;
};

const char* SkipSpace(const char* next, const char* end) {
  while (next != end && IsXmlSpace(*next)) {
    ++next;
  }
  return next;
}

const char* FindSpace(const char* next, const char* end) {
  while (next != end && !IsXmlSpace(*next)) {
    ++next;
  }
  return next;
}

const char* FindValue(const char** attributes, const char* name) {
  for (; *attributes != nullptr; attributes += 2) {
    if (std::strcmp(*attributes, name) == 0) {
      return attributes[1];
    }
  }
  return nullptr;
}

}  // namespace

void XmlReader::ParserDeleter::operator()(XML_ParserStruct* doomed) const { XML_ParserFree(doomed); }

XmlReader::XmlReader() = default;
XmlReader::~XmlReader() = default;

bool XmlReader::ParseFile(const char* fileName, IXmlBinding& root, IXmlErrorHandler* handler) {
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(fileName, "rb"));
  if (file == nullptr) {
    if (handler != nullptr) {
      handler->OnError(std::string("Can't open file ") + fileName, 0, 0);
    }
    return false;
  }
  XmlInputFileStream stream(*file);
  return ParseStream(stream, root, handler);
}

bool XmlReader::ParseString(const char* text, IXmlBinding& root, IXmlErrorHandler* handler) {
  XmlInputStringStream stream(text);
  return ParseStream(stream, root, handler);
}

bool XmlReader::ParseStream(IXmlInputStream& stream, IXmlBinding& root, IXmlErrorHandler* handler) {
  rootBinding = static_cast<XmlBinding*>(&root);
  errorHandler = handler;
  currentAttributes = nullptr;
  aborted = false;
  entityCount = 0;
  parser.reset(XML_ParserCreate(nullptr));
  if (parser == nullptr) {
    Abort("Out of memory");
    return false;
  }
  XML_SetUserData(parser.get(), this);
  XML_SetElementHandler(parser.get(), OnStartElement, OnEndElement);
  XML_SetCharacterDataHandler(parser.get(), OnCharacterData);
  XML_SetEntityDeclHandler(parser.get(),
                           [](void* reader, auto...) { static_cast<XmlReader*>(reader)->CountEntity(); });
  const bool result = PumpStream(stream);
  elementStack.clear();
  depth = 0;
  parser.reset();
  return result;
}

bool XmlReader::PumpStream(IXmlInputStream& stream) {
  std::size_t silentBytes = 0;
  int size = kBlockSize;
  bool isFinal = false;
  while (!isFinal) {
    sawCallback = false;
    if (!FeedBlock(stream, size, isFinal)) {
      return false;
    }
    silentBytes = sawCallback ? 0 : silentBytes + static_cast<std::size_t>(size);
    size = sawCallback ? kBlockSize : std::min(2 * size, kMaxBlockSize);
    if (silentBytes >= kMaxSilentBytes && !isFinal) {
      Abort("Markup too long");
      return false;
    }
  }
  return true;
}

// False if the parse is over by an error, which has been reported.
bool XmlReader::FeedBlock(IXmlInputStream& stream, int size, bool& isFinal) {
  void* const buffer = XML_GetBuffer(parser.get(), size);
  if (buffer == nullptr) {
    ReportParserError();
    return false;
  }
  const int count = static_cast<int>(stream.Read(static_cast<char*>(buffer), static_cast<std::size_t>(size)));
  isFinal = count < size;
  if (XML_ParseBuffer(parser.get(), count, isFinal ? XML_TRUE : XML_FALSE) != XML_STATUS_OK) {
    ReportParserError();
    return false;
  }
  return !aborted;
}

void XmlReader::ReportParserError() {
  if (errorHandler != nullptr) {
    long line = 0;
    long column = 0;
    GetPosition(line, column);
    errorHandler->OnError(XML_ErrorString(XML_GetErrorCode(parser.get())), line, column);
  }
}

void XmlReader::Abort(const std::string& message) {
  if (aborted) {
    return;
  }
  StopCallbacks();
  if (errorHandler != nullptr) {
    long line = 0;
    long column = 0;
    GetPosition(line, column);
    errorHandler->OnError(message, line, column);
  }
}

// When memory is so short that even the report fails, the parse still ends with false.
void XmlReader::AbortForMemory() noexcept {
  try {
    Abort("Out of memory");
  } catch (const std::exception&) {
    StopCallbacks();
  }
}

void XmlReader::StopCallbacks() noexcept {
  aborted = true;
  currentAttributes = nullptr;
  if (parser != nullptr) {
    XML_SetElementHandler(parser.get(), nullptr, nullptr);
    XML_SetCharacterDataHandler(parser.get(), nullptr);
  }
}

void XmlReader::GetPosition(long& line, long& column) const {
  line = parser == nullptr ? 0 : static_cast<long>(XML_GetCurrentLineNumber(parser.get()));
  column = parser == nullptr ? 0 : static_cast<long>(XML_GetCurrentColumnNumber(parser.get()));
}

std::unique_ptr<IXmlBinding> XmlReader::CreateBinding(IXmlHandler* handler, const char* name,
                                                      int validation) {
  return std::make_unique<XmlBinding>(handler, name, validation);
}

void XmlReader::Dispose() { const std::unique_ptr<XmlReader> self(this); }

void XmlReader::OnStartElement(void* reader, const char* name, const char** attributes) {
  auto& self = *static_cast<XmlReader*>(reader);
  self.sawCallback = true;
  try {
    self.StartElement(name, attributes);
  } catch (const std::exception&) {
    self.AbortForMemory();
  }
}

void XmlReader::OnEndElement(void* reader, const char* /*name*/) {
  auto& self = *static_cast<XmlReader*>(reader);
  self.sawCallback = true;
  try {
    self.EndElement();
  } catch (const std::exception&) {
    self.AbortForMemory();
  }
}

void XmlReader::OnCharacterData(void* reader, const char* data, int length) {
  auto& self = *static_cast<XmlReader*>(reader);
  self.sawCallback = true;
  try {
    self.CharacterData(data, length);
  } catch (const std::exception&) {
    self.AbortForMemory();
  }
}

void XmlReader::CountEntity() {
  ++entityCount;
  if (entityCount > kMaxEntities) {
    try {
      Abort("Too many entities");
    } catch (const std::exception&) {
      AbortForMemory();
    }
  }
}

void XmlReader::StartElement(const char* name, const char** attributes) {
  if (aborted) {
    return;
  }
  if (depth >= kMaxDepth) {
    Abort("Elements nested too deeply");
    return;
  }
  XmlBinding* const binding = depth == 0 ? BindRoot(name) : BindChild(Innermost(), name);
  int validation = kXmlLax;
  if (binding != nullptr && !aborted) {
    validation = binding->GetValidation();
    if (validation == kXmlInherit) {
      validation = depth == 0 ? kXmlStrictAttributes | kXmlStrictChildren : Innermost().validation;
    }
    if (CheckAttributes(*binding, validation, attributes) && binding->GetHandler() != nullptr) {
      currentAttributes = attributes;
      binding->GetHandler()->Start(*this);
      currentAttributes = nullptr;
    }
  }
  if (!aborted) {
    PushRecord(binding, validation);
  }
}

XmlBinding* XmlReader::BindRoot(const char* name) {
  if (rootBinding->GetName() != name) {
    Abort(std::string("Unknown root element '") + name + "', expected '" + rootBinding->GetName() + "'");
  }
  return rootBinding;
}

// Null for an element to be ignored, and after an error.
XmlBinding* XmlReader::BindChild(ElementRecord& parent, const char* name) {
  if (parent.binding == nullptr) {
    return nullptr;
  }
  const std::vector<XmlBinding::Child>& children = parent.binding->GetChildren();
  const int found = parent.binding->FindChild(name);
  if (found >= 0) {
    const auto index = static_cast<std::size_t>(found);
    parent.seenChildren.resize(children.size());
    if (parent.seenChildren[index] != 0 && (children[index].flags & kXmlRepeated) == 0) {
      Abort(std::string("Multiple occurences of '") + name + "' not allowed in '" +
            parent.binding->GetName() + "'");
      return nullptr;
    }
    parent.seenChildren[index] = 1;
    return children[index].binding;
  }
  if ((parent.validation & kXmlStrictChildren) != 0) {
    Abort(std::string("Unknown element '") + name + "' in '" + parent.binding->GetName() + "'");
  } else if ((parent.validation & kXmlSilent) == 0 && errorHandler != nullptr) {
    long line = 0;
    long column = 0;
    GetPosition(line, column);
    errorHandler->OnUnknownElement(name, parent.binding->GetName(), line, column);
  }
  return nullptr;
}

// False after an error.
bool XmlReader::CheckAttributes(const XmlBinding& binding, int validation, const char** attributes) {
  for (const XmlBinding::Attribute& declared : binding.GetAttributes()) {
    if ((declared.flags & kXmlRequired) != 0 && FindValue(attributes, declared.name.c_str()) == nullptr) {
      Abort("Required attribute '" + declared.name + "' not found in element '" + binding.GetName() + "'");
      return false;
    }
  }
  for (; *attributes != nullptr; attributes += 2) {
    if (!binding.HasAttribute(*attributes) && !CheckUnknownAttribute(binding, validation, *attributes)) {
      return false;
    }
  }
  return true;
}

bool XmlReader::CheckUnknownAttribute(const XmlBinding& binding, int validation, const char* attribute) {
  if ((validation & kXmlStrictAttributes) != 0) {
    Abort(std::string("Unknown attribute '") + attribute + "' in element '" + binding.GetName() + "'");
    return false;
  }
  if ((validation & kXmlSilent) == 0 && errorHandler != nullptr) {
    long line = 0;
    long column = 0;
    GetPosition(line, column);
    errorHandler->OnUnknownAttribute(binding.GetName(), attribute, line, column);
  }
  return true;
}

void XmlReader::PushRecord(XmlBinding* binding, int validation) {
  if (depth == elementStack.size()) {
    elementStack.emplace_back();
  }
  ++depth;
  ElementRecord& record = Innermost();
  record.binding = binding;
  record.wantsTokens = binding != nullptr && binding->WantsTokens();
  record.validation = validation;
  record.seenChildren.clear();
  record.text.clear();
}

void XmlReader::EndElement() {
  if (aborted) {
    return;
  }
  if (Innermost().binding != nullptr) {
    FinishElement(Innermost());
  }
  if (!aborted) {
    --depth;
  }
}

void XmlReader::FinishElement(ElementRecord& record) {
  IXmlHandler* const handler = record.binding->GetHandler();
  ConvertToLatin1(record.text);
  if (record.wantsTokens && !record.text.empty()) {
    handler->Token(*this);
  }
  if (handler != nullptr && !aborted) {
    handler->End(*this);
  }
  if (!aborted) {
    CheckRequiredChildren(record);
  }
}

void XmlReader::CheckRequiredChildren(const ElementRecord& record) {
  const std::vector<XmlBinding::Child>& children = record.binding->GetChildren();
  for (std::size_t i = 0; i < children.size(); ++i) {
    const bool seen = !record.seenChildren.empty() && record.seenChildren[i] != 0;
    if ((children[i].flags & kXmlRequired) != 0 && !seen) {
      Abort("Required element '" + children[i].binding->GetName() + "' not present in element '" +
            record.binding->GetName() + "'");
      return;
    }
  }
}

void XmlReader::CharacterData(const char* data, int length) {
  if (aborted || depth == 0) {
    return;
  }
  ElementRecord& record = Innermost();
  if (record.wantsTokens) {
    CutTokens(record, data, data + length);
  } else if (record.binding != nullptr) {
    record.text.append(data, static_cast<std::size_t>(length));
  }
}

// A word that the run of text cuts off stays in the record and goes on with the next run.
void XmlReader::CutTokens(ElementRecord& record, const char* next, const char* end) {
  if (record.text.empty()) {
    next = SkipSpace(next, end);
  }
  while (next != end) {
    const char* const stop = FindSpace(next, end);
    record.text.append(next, static_cast<std::size_t>(stop - next));
    if (stop == end) {
      return;
    }
    ConvertToLatin1(record.text);
    record.binding->GetHandler()->Token(*this);
    if (aborted) {
      return;
    }
    record.text.clear();
    next = SkipSpace(stop, end);
  }
}

const char* XmlReader::FindAttributeValue(const char* name) const {
  return currentAttributes == nullptr ? nullptr : FindValue(currentAttributes, name);
}

}  // namespace qvr
