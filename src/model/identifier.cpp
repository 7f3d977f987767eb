#include "model/identifier.h"

#include <algorithm>

#include "model/status.h"

namespace qvr {
namespace {

bool IsIdentifierCharacter(char c) { return IsAsciiLetterOrDigit(c) || c == '_'; }

void ReplaceBadCharacters(std::string& text, std::size_t from) {
  for (std::size_t i = from; i < text.size(); ++i) {
    if (!IsIdentifierCharacter(text[i])) {
      text[i] = '_';
    }
  }
}

}  // namespace

bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool IsAsciiLetterOrDigit(char c) { return IsAsciiLetter(c) || (c >= '0' && c <= '9'); }

bool IsValidIdentifier(std::string_view text) {
  return (!text.empty() && text.front() == '@') || IsPlainIdentifier(text);
}

bool IsPlainIdentifier(std::string_view text) {
  return !text.empty() && IsAsciiLetter(text.front()) &&
         std::all_of(text.begin(), text.end(), IsIdentifierCharacter);
}

int FixIdentifier(std::string& text) {
  if (text.empty()) {
    return QVR_OUT_OF_RANGE;
  }
  if (!IsAsciiLetter(text.front())) {
    text.front() = 'x';
  }
  ReplaceBadCharacters(text, 1);
  return QVR_OKAY;
}

int MakeValidIdentifier(std::string& text) {
  if (text.empty()) {
    return QVR_OUT_OF_RANGE;
  }
  if (!IsAsciiLetter(text.front())) {
    text.insert(text.begin(), 'x');
  }
  ReplaceBadCharacters(text, 1);
  return QVR_OKAY;
}

bool FixOutcomeId(std::string& text, int index) {
  if (IsPlainIdentifier(text)) {
    return false;
  }
  ReplaceBadCharacters(text, 0);
  if (index >= 0) {
    text.insert(0, "o__" + std::to_string(index) + "__");
  }
  return true;
}

}  // namespace qvr
