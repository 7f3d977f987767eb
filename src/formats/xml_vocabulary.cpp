#include "formats/xml_vocabulary.h"

#include <algorithm>

#include "definitions/binary_gate.h"
#include "model/node.h"
#include "model/status.h"

namespace qvr {

int FindWord(const std::string& word, std::span<const char* const> words, int fallback) {
  if (word.empty()) {
    return fallback;
  }
  const auto found = std::find(words.begin(), words.end(), word);
  return found == words.end() ? QVR_OUT_OF_RANGE : static_cast<int>(found - words.begin());
}

const char* WordOf(int number, std::span<const char* const> words, int fallback) {
  const bool isKnown = number >= 0 && number < static_cast<int>(words.size());
  return words[static_cast<std::size_t>(isKnown ? number : fallback)];
}

const char* OutcomeWord(const QVR_node& node, int outcome) {
  if (outcome < 0 || outcome >= node.GetNumberOfOutcomes()) {
    return nullptr;
  }
  const bool isGate = dynamic_cast<const QVR_binaryGate*>(node.definition.get()) != nullptr;
  return isGate ? QVR_binaryGate::kOutcomeNames[outcome] : node.definition->GetOutcomeNames()->Get(outcome);
}

}  // namespace qvr
