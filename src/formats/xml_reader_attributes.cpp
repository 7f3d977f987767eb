// What handlers ask the reader for: the text and the attributes of the present element.
#include <limits>

#include "formats/latin1.h"
#include "formats/number_token.h"
#include "formats/xml_reader.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

char UndoEscape(char c) {
  if (c == 'n') {
    return '\n';
  }
  return c == 't' ? '\t' : c;
}

}  // namespace

const std::string& XmlReader::GetRawText() const {
  static const std::string kEmpty;
  return depth == 0 ? kEmpty : elementStack[depth - 1].text;
}

void XmlReader::GetText(std::string& out) const {
  const std::string& raw = GetRawText();
  out.clear();
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] == '\\' && i + 1 < raw.size()) {
      ++i;
      out.push_back(UndoEscape(raw[i]));
    } else {
      out.push_back(raw[i]);
    }
  }
}

// Whether a number is followed by other text shows only where its value is 0: files rely on "12abc"
// being taken as 12.
bool XmlReader::GetDoubleAttribute(const char* name, double& out, double defaultValue) {
  const char* const text = FindAttributeValue(name);
  if (text == nullptr) {
    out = defaultValue;
    return true;
  }
  const char* end = nullptr;
  const double value = ParseDouble(text, &end);
  if (value == 0.0 && *end != '\0') {
    Abort(std::string("Floating point value expected for attribute '") + name + "'");
    return false;
  }
  out = value;
  return true;
}

bool XmlReader::GetIntAttribute(const char* name, int& out, int defaultValue) {
  std::int64_t value = 0;
  if (!GetInt64Attribute(name, value, defaultValue)) {
    return false;
  }
  if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
    return AbortForInteger(name);
  }
  out = static_cast<int>(value);
  return true;
}

bool XmlReader::GetInt64Attribute(const char* name, std::int64_t& out, std::int64_t defaultValue) {
  const char* const text = FindAttributeValue(name);
  if (text == nullptr) {
    out = defaultValue;
    return true;
  }
  const char* end = nullptr;
  const std::int64_t value = ReadLeadingInteger(text, end);
  if (value == 0 && *end != '\0') {
    return AbortForInteger(name);
  }
  out = value;
  return true;
}

bool XmlReader::AbortForInteger(const char* name) {
  Abort(std::string("Integer value expected for attribute '") + name + "'");
  return false;
}

bool XmlReader::GetBoolAttribute(const char* name, bool& out, bool defaultValue) {
  const char* const text = FindAttributeValue(name);
  const std::string word = text == nullptr ? "" : text;
  if (text != nullptr && word != "true" && word != "false") {
    Abort(std::string("'true' or 'false' expected as value of boolean attribute '") + name + "'");
    return false;
  }
  out = text == nullptr ? defaultValue : word == "true";
  return true;
}

void XmlReader::GetStringAttribute(const char* name, std::string& out) {
  const char* const text = FindAttributeValue(name);
  out = text == nullptr ? "" : text;
  ConvertToLatin1(out);
}

}  // namespace qvr
