#include "formats/xml_writer.h"

#include <memory>

#include "model/special_numbers.h"

namespace qvr {
namespace {

constexpr int kDigits = 16;

// The escape of a character that can't stand for itself, or null.
const char* FindEscape(char c, int escapeLevel) {
  switch (c) {
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '&':
      return "&amp;";
    case '"':
      return "&quot;";
    case '\'':
      return "&apos;";
    default:
      break;
  }
  if (escapeLevel == kEscapeLines) {
    switch (c) {
      case '\t':
        return "\\t";
      case '\n':
        return "\\n";
      case '\\':
        return "\\\\";
      case '\r':
        return "";
      default:
        break;
    }
  }
  return static_cast<unsigned char>(c) < ' ' ? "." : nullptr;
}

std::string Escape(const char* text, int escapeLevel) {
  std::string escaped;
  for (; *text != '\0'; ++text) {
    if (const char* const escape = FindEscape(*text, escapeLevel)) {
      escaped += escape;
    } else {
      escaped += *text;
    }
  }
  return escaped;
}

}  // namespace

bool XmlWriterFileOutput::Open(const char* fileName) { return file.emplace(fileName).IsOpen(); }

bool XmlWriterFileOutput::Write(const char* text) { return file->Write(text); }

bool XmlWriterFileOutput::Put(char character) { return file->Write({&character, 1}); }

bool XmlWriterFileOutput::Commit() { return file->Commit() >= 0; }

bool XmlWriterStringOutput::Write(const char* added) {
  text += added;
  return true;
}

bool XmlWriterStringOutput::Put(char character) {
  text += character;
  return true;
}

void XmlWriter::Dispose() { const std::unique_ptr<XmlWriter> self(this); }

void XmlWriter::Start(bool withDeclaration) {
  depth = 0;
  if (withDeclaration) {
    output->Write("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n");
  }
}

void XmlWriter::AddAttribute(const char* name, double value) {
  AddAttribute(name, FormatGeneral(value, kDigits).c_str());
}

void XmlWriter::AddAttribute(const char* name, bool value) { AddAttribute(name, value ? "true" : "false"); }

void XmlWriter::AddAttribute(const char* name, int value) {
  AddAttribute(name, std::to_string(value).c_str());
}

void XmlWriter::AddAttribute(const char* name, const char* value) {
  pendingAttributes.push_back({name, value});
}

void XmlWriter::Indent() { output->Write(std::string(static_cast<std::size_t>(depth), '\t').c_str()); }

// A start tag with the pending attributes, up to and with `end`.
void XmlWriter::WriteTag(const char* name, const char* end) {
  Indent();
  output->Put('<');
  output->Write(name);
  for (const Attribute& attribute : pendingAttributes) {
    output->Put(' ');
    output->Write(attribute.name.c_str());
    output->Write("=\"");
    output->Write(Escape(attribute.value.c_str(), kEscapeMarkup).c_str());
    output->Put('"');
  }
  pendingAttributes.clear();
  output->Write(end);
}

void XmlWriter::WriteEndTag(const char* name) {
  output->Write("</");
  output->Write(name);
  output->Write(">\n");
}

void XmlWriter::OpenElement(const char* name) {
  WriteTag(name, ">\n");
  ++depth;
}

void XmlWriter::CloseElement(const char* name) {
  --depth;
  Indent();
  WriteEndTag(name);
}

void XmlWriter::WriteElement(const char* name, const char* text, int escapeLevel) {
  if (text == nullptr) {
    WriteTag(name, " />\n");
    return;
  }
  WriteTag(name, ">");
  output->Write(Escape(text, escapeLevel).c_str());
  WriteEndTag(name);
}

void XmlWriter::WriteDoubleList(const char* name, std::span<const double> values, const char* token,
                                double tokenValue) {
  WriteTag(name, ">");
  bool isFirst = true;
  for (const double value : values) {
    if (!isFirst) {
      output->Put(' ');
    }
    isFirst = false;
    const bool isToken = token != nullptr && SameBits(value, tokenValue);
    output->Write(isToken ? token : FormatGeneral(value, kDigits).c_str());
  }
  WriteEndTag(name);
}

void XmlWriter::WriteIntList(const char* name, std::span<const int> values) {
  std::string text;
  for (const int value : values) {
    text += (text.empty() ? "" : " ") + std::to_string(value);
  }
  WriteElement(name, text.c_str(), kEscapeMarkup);
}

void XmlWriter::WriteWordList(const char* name, std::span<const char* const> words) {
  std::string text;
  for (const char* const word : words) {
    text += text.empty() ? "" : " ";
    text += word;
  }
  WriteElement(name, text.c_str(), kEscapeMarkup);
}

void XmlWriter::WriteDouble(const char* name, double value) {
  WriteElement(name, FormatGeneral(value, kDigits).c_str(), kEscapeMarkup);
}

void ScopedElement::Close() {
  if (name != nullptr) {
    writer.CloseElement(name);
    name = nullptr;
  }
}

}  // namespace qvr
