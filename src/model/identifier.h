// The rule for identifiers, and the repairs of texts that break it. Bytes are tested as in the "C"
// locale whatever the process has set.
#ifndef QVR_MODEL_IDENTIFIER_H
#define QVR_MODEL_IDENTIFIER_H

#include <string>
#include <string_view>

namespace qvr {

[[nodiscard]] bool IsAsciiLetter(char c);
[[nodiscard]] bool IsAsciiLetterOrDigit(char c);

// A letter, then letters, digits and "_"; or anything that begins with "@": such names are the
// engine's own auxiliary nodes.
[[nodiscard]] bool IsValidIdentifier(std::string_view text);
// The same without the at-sign exception: outcomes, properties.
[[nodiscard]] bool IsPlainIdentifier(std::string_view text);

// Overwrites what isn't allowed: a bad first character by "x", any other by "_". -2 for an empty text.
int FixIdentifier(std::string& text);
// Puts "x" in front of a bad first character, overwrites the others by "_". -2 for an empty text.
int MakeValidIdentifier(std::string& text);
// Rewrites a text that is no plain identifier, with "o__<index>__" in front if index is 0 or more.
// True if it changed the text.
bool FixOutcomeId(std::string& text, int index);

}  // namespace qvr

#endif
