#include "formats/latin1.h"

namespace qvr {
namespace {

bool IsAscii(const std::string& text) {
  unsigned char all = 0;
  for (char c : text) {
    all |= static_cast<unsigned char>(c);
  }
  return all < 0x80;
}

// What a lead byte says: the sequence's length and the bits that it contributes itself. A continuation
// byte that stands where a lead byte should counts as the first of five.
struct Lead {
  int length;
  unsigned bits;
};

Lead DecodeLead(unsigned char byte) {
  if (byte < 0x80) {
    return {1, byte};
  }
  if (byte < 0xC0) {
    return {5, byte & 0x3FU};
  }
  if (byte < 0xE0) {
    return {2, byte & 0x1FU};
  }
  if (byte < 0xF0) {
    return {3, byte & 0x0FU};
  }
  if (byte < 0xF8) {
    return {4, byte & 0x07U};
  }
  if (byte < 0xFC) {
    return {5, byte & 0x03U};
  }
  return {6, byte & 0x01U};
}

// Decodes the character at `next` and moves behind it.
unsigned DecodeCharacter(const std::string& text, std::size_t& next) {
  const Lead lead = DecodeLead(static_cast<unsigned char>(text[next++]));
  unsigned value = lead.bits;
  for (int i = 1; i < lead.length && next < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[next]);
    if (byte < 0x80 || byte >= 0xC0) {
      break;
    }
    value = (value << 6) | (byte & 0x3FU);
    ++next;
  }
  return value;
}

// Whether the value needs a sequence of this length, and is a character.
bool IsCharacter(unsigned value, int length) {
  constexpr unsigned kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  return value >= kLeast[length] && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

}  // namespace

bool IsValidUtf8(const std::string& text) {
  for (std::size_t next = 0; next < text.size();) {
    const std::size_t first = next;
    const int length = DecodeLead(static_cast<unsigned char>(text[first])).length;
    const unsigned value = DecodeCharacter(text, next);
    if (length > 4 || next - first != static_cast<std::size_t>(length) || !IsCharacter(value, length)) {
      return false;
    }
  }
  return true;
}

void ConvertFileText(std::string& text) {
  if (IsValidUtf8(text)) {
    ConvertToLatin1(text);
  }
}

void ConvertToLatin1(std::string& text) {
  if (IsAscii(text)) {
    return;
  }
  std::size_t length = 0;  // what is written never overtakes what is read
  for (std::size_t next = 0; next < text.size();) {
    const unsigned value = DecodeCharacter(text, next);
    text[length++] = value <= 0xFF ? static_cast<char>(value) : '?';
  }
  text.resize(length);
}

std::string ToUtf8(std::string_view latin1) {
  std::string text;
  text.reserve(latin1.size());
  for (const char c : latin1) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      text += c;
    } else {
      text += static_cast<char>(0xC0 | (byte >> 6));
      text += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return text;
}

}  // namespace qvr
