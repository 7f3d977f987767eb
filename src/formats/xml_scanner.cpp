#include "formats/xml_scanner.h"

#include <algorithm>
#include <charconv>

#include "formats/latin1.h"
#include "formats/number_token.h"
#include "model/identifier.h"

namespace qvr {
namespace {

struct Entity {
  std::string_view name;
  char character;
};
constexpr Entity kEntities[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
constexpr std::size_t kMaxReference = 12;  // the longest reference to a character that makes sense

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kCharacterData = "<![CDATA[";

char ToUpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool IsNameCharacter(char c) {
  return IsAsciiLetterOrDigit(c) || c == '_' || c == '-' || c == '.' || c == ':';
}

// The number of the character that a reference (the text between "&" and ";") stands for, or -1.
int Dereference(std::string_view reference) {
  for (const Entity& entity : kEntities) {
    if (reference == entity.name) {
      return entity.character;
    }
  }
  if (reference.size() < 2 || reference[0] != '#') {
    return -1;
  }
  const bool isHexadecimal = reference[1] == 'x';
  reference.remove_prefix(isHexadecimal ? 2 : 1);
  unsigned value = 0;
  const char* const end = reference.data() + reference.size();
  const auto [stop, error] = std::from_chars(reference.data(), end, value, isHexadecimal ? 16 : 10);
  const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
  const bool isCharacter = value > 0 && value <= 0x10FFFF && !isSurrogate;
  return error == std::errc{} && stop == end && isCharacter ? static_cast<int>(value) : -1;
}

// In the encoding of the text around it.
void AppendCharacter(std::string& text, unsigned value, bool isUtf8) {
  if (value < 0x80 || !isUtf8) {
    text += value <= 0xFF ? static_cast<char>(value) : '?';
    return;
  }
  const int following = value < 0x800 ? 1 : (value < 0x10000 ? 2 : 3);
  const unsigned lead = 0xFF00U >> (following + 1) & 0xFFU;
  text += static_cast<char>(lead | value >> (6 * following));
  for (int i = following - 1; i >= 0; --i) {
    text += static_cast<char>(0x80U | (value >> (6 * i) & 0x3FU));
  }
}

std::string UndoReferences(const std::string& text) {
  const bool isUtf8 = IsValidUtf8(text);
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '&') {
      const std::size_t end = text.substr(i, kMaxReference).find(';');
      const int character =
          end == std::string::npos ? -1 : Dereference(std::string_view(text).substr(i + 1, end - 1));
      if (character > 0) {
        AppendCharacter(plain, static_cast<unsigned>(character), isUtf8);
        i += end;
        continue;
      }
    }
    plain += text[i];
  }
  return plain;
}

std::string Trim(const std::string& text) {
  const auto first = std::find_if_not(text.begin(), text.end(), IsXmlSpace);
  const auto last = std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), IsXmlSpace).base();
  return std::string(first, last);
}

}  // namespace

const std::string* XmlTag::FindAttribute(std::string_view attribute) const {
  for (const auto& [key, value] : attributes) {
    if (key == attribute) {
      return &value;
    }
  }
  return nullptr;
}

XmlScanner::XmlScanner(std::string newText) : text(std::move(newText)) {
  if (IsAt(kByteOrderMark)) {
    MoveTo(kByteOrderMark.size());
  }
}

bool XmlScanner::IsAt(std::string_view marker) const {
  return std::string_view(text).substr(cursor).starts_with(marker);
}

// A "<" that no name follows is text.
bool XmlScanner::IsAtTag() const {
  if (Current() != '<' || cursor + 1 >= text.size()) {
    return false;
  }
  const char next = text[cursor + 1];
  return next == '/' || IsAsciiLetter(next) || next == '_';
}

void XmlScanner::MoveTo(std::size_t place) {
  const std::size_t end = std::min(place, text.size());
  const auto at = [this](std::size_t i) { return text.begin() + static_cast<std::ptrdiff_t>(i); };
  line += static_cast<int>(std::count(at(cursor), at(end), '\n'));
  cursor = end;
}

void XmlScanner::MoveBehind(std::string_view marker) {
  const std::size_t found = text.find(marker, cursor);
  MoveTo(found == std::string::npos ? text.size() : found + marker.size());
}

void XmlScanner::SkipSpace() {
  std::size_t end = cursor;
  while (end < text.size() && IsXmlSpace(text[end])) {
    ++end;
  }
  MoveTo(end);
}

// Passes over a comment, a declaration or the document type. False if there's none.
bool XmlScanner::SkipMarkup() {
  if (IsAt("<!--")) {
    MoveTo(cursor + 4);
    MoveBehind("-->");
  } else if (IsAt("<?")) {
    MoveBehind("?>");
  } else if (IsAt("<!") && !IsAt(kCharacterData)) {
    SkipDocumentType();
  } else {
    return false;
  }
  return true;
}

void XmlScanner::SkipDocumentType() {
  MoveTo(cursor + 2);
  int depth = 0;
  while (cursor < text.size()) {
    const char c = Current();
    if (IsAt("<!--")) {
      SkipMarkup();
    } else if (c == '"' || c == '\'') {
      MoveTo(cursor + 1);
      MoveBehind({&c, 1});
    } else {
      depth += (c == '[' ? 1 : 0) - (c == ']' ? 1 : 0);
      MoveTo(cursor + 1);
      if (c == '>' && depth <= 0) {
        return;
      }
    }
  }
}

std::string XmlScanner::ReadName() {
  const std::size_t start = cursor;
  while (cursor < text.size() && IsNameCharacter(text[cursor])) {
    ++cursor;
  }
  std::string name = text.substr(start, cursor - start);
  std::transform(name.begin(), name.end(), name.begin(), ToUpperAscii);
  return name;
}

bool XmlScanner::NextTag(XmlTag& tag) {
  while (cursor < text.size() && !IsAtTag()) {
    if (IsAt(kCharacterData)) {
      MoveBehind("]]>");
    } else if (!SkipMarkup()) {
      MoveTo(std::min(text.find('<', cursor + 1), text.size()));
    }
  }
  if (cursor >= text.size()) {
    return false;
  }
  tagStart = cursor;
  tagLine = line;
  ++cursor;
  const bool isEnd = Current() == '/';
  cursor += isEnd ? 1 : 0;
  tag.kind = isEnd ? XmlTag::Kind::kEnd : XmlTag::Kind::kStart;
  tag.name = ReadName();
  tag.attributes.clear();
  ReadAttributes(tag);
  return true;
}

// Up to and behind the ">". A "<" before it ends a broken tag.
void XmlScanner::ReadAttributes(XmlTag& tag) {
  for (;;) {
    SkipSpace();
    const char c = Current();
    if (c == '>' || c == '<' || cursor >= text.size()) {
      MoveTo(cursor + (c == '>' ? 1 : 0));
      return;
    }
    if (!IsNameCharacter(c)) {
      tag.kind = c == '/' && tag.kind == XmlTag::Kind::kStart ? XmlTag::Kind::kEmpty : tag.kind;
      MoveTo(cursor + 1);
      continue;
    }
    std::string name = ReadName();
    SkipSpace();
    if (Current() == '=') {
      MoveTo(cursor + 1);
      SkipSpace();
      tag.attributes.emplace_back(std::move(name), ReadAttributeValue());
    }
  }
}

std::string XmlScanner::ReadAttributeValue() {
  const char quote = Current();
  if (quote != '"' && quote != '\'') {
    const std::size_t start = cursor;
    MoveTo(std::min(text.find_first_of(" \t\r\n<>", cursor), text.size()));
    return text.substr(start, cursor - start);
  }
  MoveTo(cursor + 1);
  const char stops[] = {quote, '<', '\0'};
  const std::size_t end = text.find_first_of(stops, cursor);
  if (end == std::string::npos || text[end] == '<') {
    return {};
  }
  const std::string raw = text.substr(cursor, end - cursor);
  MoveTo(end + 1);
  return UndoReferences(raw);
}

void XmlScanner::Back() {
  cursor = tagStart;
  line = tagLine;
}

std::string XmlScanner::ReadText() {
  std::string raw;
  while (cursor < text.size() && !IsAtTag()) {
    const std::size_t start = cursor;
    if (IsAt(kCharacterData)) {
      const std::size_t first = cursor + kCharacterData.size();
      raw.append(text, first, text.find("]]>", first) - first);
      MoveBehind("]]>");
    } else if (SkipMarkup()) {
      raw += ' ';
    } else {
      MoveTo(std::min(text.find('<', cursor + 1), text.size()));
      raw.append(text, start, cursor - start);
    }
  }
  return Trim(UndoReferences(raw));
}

std::string XmlScanner::ReadStrayWord() {
  do {
    SkipSpace();
  } while (SkipMarkup());
  if (cursor >= text.size() || IsAtTag()) {
    return {};
  }
  std::size_t end = cursor + 1;
  while (end < text.size() && IsNameCharacter(text[cursor]) && IsNameCharacter(text[end])) {
    ++end;
  }
  return text.substr(cursor, end - cursor);
}

}  // namespace qvr
