// Field writers of the speakers.
#include <cmath>
#include <string>

#include "formats/file_format.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

constexpr std::size_t kMaxFieldText = 10'210;
// A string that is as near to the end of the line as this goes on the next.
constexpr int kLeastRoom = 3;

template <typename List>
int CountOf(const List& list, int flag) {
  return flag == 0 ? list.GetNumItems() : list.GetSize();
}

const char* TextAt(const QVR_stringArray& list, int i) {
  const char* text = list.Get(i);
  return text == nullptr ? "" : text;
}

}  // namespace

std::string_view QVR_fileFormat::CutText(const char* text) {
  return text == nullptr ? std::string_view() : std::string_view(text).substr(0, kMaxFieldText);
}

std::string QVR_fileFormat::EscapeText(std::string_view text) const {
  constexpr std::string_view kCharacters = "\t\n\r\"\\";
  constexpr std::string_view kEscapes = "tnr\"\\";
  std::string escaped;
  escaped.reserve(text.size());
  for (char c : text) {
    const std::size_t i = kCharacters.find(c);
    if (i != std::string_view::npos) {
      escaped += '\\';
      c = kEscapes[i];
    }
    escaped += c;
  }
  return escaped;
}

std::string QVR_fileFormat::NumberToText(double value) {
  return DoubleToText(std::isfinite(value) ? value : kIllegal);
}

// The field is complete with what `writeValue` writes.
int QVR_fileFormat::WriteField(const char* name, const std::function<void()>& writeValue) {
  if (name == nullptr) {
    return QVR_OKAY;
  }
  WriteIndented(name);
  Write(" = ");
  writeValue();
  return Write(";\n");
}

int QVR_fileFormat::WriteList(int count, const std::function<void(int)>& writeItem) {
  Write("(");
  for (int i = 0; i < count; ++i) {
    if (i > 0) {
      Write(commaSeparated ? ", " : " ");
    }
    writeItem(i);
  }
  return Write(")");
}

int QVR_fileFormat::WriteIdentifierListField(const char* name, const QVR_stringArray& list, int flag) {
  return WriteField(name, [&] { WriteIdentifierList(list, flag); });
}

int QVR_fileFormat::WriteIdentifierList(const QVR_stringArray& list, int flag) {
  return WriteList(CountOf(list, flag), [&](int i) { Write(TextAt(list, i)); });
}

int QVR_fileFormat::WriteStringListField(const char* name, const QVR_stringArray& list, int flag) {
  return WriteField(name, [&] { WriteStringList(list, flag); });
}

int QVR_fileFormat::WriteStringList(const QVR_stringArray& list, int flag) {
  return WriteList(CountOf(list, flag), [&](int i) {
    if (textFile.GetLineLength() - textFile.GetColumn() < kLeastRoom) {
      Write("\n");
    }
    WriteQuoted(TextAt(list, i));
  });
}

int QVR_fileFormat::WriteDoubleListField(const char* name, const QVR_doubleArray& list, int flag) {
  return WriteField(name, [&] { WriteDoubleList(list, flag); });
}

int QVR_fileFormat::WriteDoubleList(const QVR_doubleArray& list, int flag) {
  return WriteList(CountOf(list, flag), [&](int i) { Write(NumberToText(list[i])); });
}

int QVR_fileFormat::WriteIntListField(const char* name, const QVR_intArray& list, int flag) {
  return WriteField(name, [&] { WriteIntList(list, flag); });
}

int QVR_fileFormat::WriteIntList(const QVR_intArray& list, int flag) {
  return WriteList(CountOf(list, flag), [&](int i) { Write(std::to_string(list[i])); });
}

int QVR_fileFormat::WriteStringField(const char* name, const char* text, bool isQuoted, bool isEscaped) {
  return WriteField(name, [&] {
    const std::string content = isEscaped ? EscapeText(CutText(text)) : std::string(CutText(text));
    if (isQuoted) {
      WriteBetweenQuotes(content);
    } else {
      Write(content);
    }
  });
}

int QVR_fileFormat::WriteIntField(const char* name, int value) {
  return WriteField(name, [&] { Write(std::to_string(value)); });
}

int QVR_fileFormat::WriteBoolField(const char* name, bool value) {
  return WriteField(name, [&] { Write(value ? "TRUE" : "FALSE"); });
}

int QVR_fileFormat::WriteQuotedField(const char* name, const char* text) {
  return WriteField(name, [&] { WriteQuoted(CutText(text)); });
}

int QVR_fileFormat::WriteQuoted(std::string_view text) { return WriteBetweenQuotes(EscapeText(text)); }

int QVR_fileFormat::WriteBetweenQuotes(std::string_view content) {
  Write("\"");
  BeginLiteral();
  Write(content);
  EndLiteral();
  return Write("\"");
}

int QVR_fileFormat::OpenBlock(std::string_view head) {
  WriteIndented(head);
  Write("\n");
  textFile.Indent();
  const int status = WriteIndented("{\n");
  textFile.Indent();
  return status;
}

int QVR_fileFormat::CloseBlock(std::string_view text) {
  textFile.Outdent();
  WriteIndented(text);
  const int status = Write("\n");
  textFile.Outdent();
  return status;
}

int QVR_fileFormat::WriteBlockEnd() { return CloseBlock("};"); }

}  // namespace qvr
