// Reading XMLBIF: networks, variables and definitions.
#include <algorithm>
#include <optional>

#include "formats/foreign_network.h"
#include "formats/latin1.h"
#include "formats/number_token.h"
#include "formats/table_exchange.h"
#include "formats/xml_speaker.h"
#include "model/identifier.h"
#include "model/network.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

// All real files say "nature"; some say nothing.
int TypeOf(const std::string& word) {
  if (word == "decision") {
    return kTypeList;
  }
  if (word == "utility") {
    return kTypeTable;
  }
  const bool isChance = word.empty() || word == "chance" || word == "nature" || word == "discrete";
  return isChance ? kTypeCpt : QVR_OUT_OF_RANGE;
}

// The words of a text, by white space.
std::vector<std::string> CutWords(const std::string& text) {
  std::vector<std::string> words;
  for (auto next = text.begin();;) {
    const auto first = std::find_if_not(next, text.end(), IsXmlSpace);
    if (first == text.end()) {
      return words;
    }
    next = std::find_if(first, text.end(), IsXmlSpace);
    words.emplace_back(first, next);
  }
}

// Takes the coordinate off the start of the text.
std::optional<int> TakeCoordinate(std::string& text) {
  const char* end = nullptr;
  const double number = ParseDouble(text.c_str(), &end);
  const auto length = static_cast<std::size_t>(end - text.c_str());
  text.erase(0, length);
  return length == 0 ? std::nullopt : ToCoordinate(number);
}

// Of "position = (x, y)", with or without blanks. Nothing from other properties.
std::optional<std::pair<int, int>> ParsePosition(std::string text) {
  std::erase_if(text, IsXmlSpace);
  constexpr std::string_view kStart = "position=(";
  if (!text.starts_with(kStart)) {
    return std::nullopt;
  }
  text.erase(0, kStart.size());
  const std::optional<int> x = TakeCoordinate(text);
  if (!x || !text.starts_with(',')) {
    return std::nullopt;
  }
  text.erase(0, 1);
  const std::optional<int> y = TakeCoordinate(text);
  return y && text.starts_with(')') ? std::optional(std::pair(*x, *y)) : std::nullopt;
}

bool ReadTableNumber(const std::string& word, double& out) {
  double ignored = 0;
  return TextToDouble(word.c_str(), out) >= 0 &&
         (SameBits(out, kUndefined) || SameBits(out, kIllegal) || SameBits(out, kNotAvailable) ||
          ReadWholeDouble(word, ignored));
}

}  // namespace

void QVR_xmlSpeaker::ReadNetworkChild() {
  std::string text;
  if (tag.name == "VARIABLE") {
    ReadVariable();
  } else if (tag.name == "DEFINITION") {
    ReadDefinition();
  } else if (tag.name == "NAME") {
    if (ReadElementText(text)) {
      SetNetworkName(network, text);
    }
  } else if (tag.name == "PROPERTY") {
    ReadElementText(text);
  } else {
    RefuseTag("Unknown Net Field");
  }
}

void QVR_xmlSpeaker::ReadVariable() {
  Variable variable;
  if (const std::string* type = tag.FindAttribute("TYPE"); type != nullptr) {
    variable.type = *type;
  }
  if (ReadChildren("VARIABLE", [&] { ReadVariableChild(variable); })) {
    AddVariable(variable);
  }
}

void QVR_xmlSpeaker::ReadVariableChild(Variable& variable) {
  std::string text;
  if (tag.name == "NAME") {
    if (ReadElementText(text)) {
      variable.name = text;
    }
  } else if (tag.name == "OUTCOME") {
    if (ReadElementText(text)) {
      ConvertFileText(text);
      variable.outcomes.push_back(text);
    }
  } else if (tag.name == "PROPERTY") {
    if (ReadElementText(text)) {
      const auto centre = ParsePosition(text);
      variable.centre = centre ? centre : variable.centre;
    }
  } else {
    RefuseTag("Unknown Node Field");
  }
}

void QVR_xmlSpeaker::AddVariable(const Variable& variable) {
  const int type = TypeOf(variable.type);
  if (type < 0) {
    Report(QVR_SYNTAX_ERROR, "ERROR: " + variable.type + " : Unknown node type");
    return;
  }
  const int handle = variable.name.empty() ? QVR_OUT_OF_RANGE : names->AddNode(type, variable.name);
  if (handle < 0) {
    Report(handle, "ERROR: Couldn't Create Node");
    return;
  }
  // Only now: names of other alphabets would all look alike.
  std::string title = variable.name;
  ConvertFileText(title);
  network.NodeAt(handle)->info->header.SetName(title.c_str());
  if (variable.centre) {
    SetNodeCentre(network, handle, variable.centre->first, variable.centre->second);
  }
  if (type != kTypeTable) {
    SetOutcomes(handle, variable.outcomes);
  }
}

void QVR_xmlSpeaker::SetOutcomes(int handle, const std::vector<std::string>& outcomes) {
  QVR_stringArray list;
  int status = outcomes.size() < 2 ? QVR_OUT_OF_RANGE : QVR_OKAY;
  for (const std::string& outcome : outcomes) {
    if (!IsPlainIdentifier(outcome)) {
      Report(QVR_ILLEGAL_IDENTIFIER, "ERROR: " + outcome + " : Invalid outcome name");
    }
    status = std::min(status, list.Add(outcome.c_str()));
  }
  if (status >= 0) {
    status = SetOutcomeNames(network, handle, list);
  }
  if (status < 0) {
    Report(status, "ERROR: Invalid Outcomes");
  }
}

void QVR_xmlSpeaker::ReadDefinition() {
  Definition definition;
  definition.line = scanner->GetLine();
  if (!ReadChildren("DEFINITION", [&] { ReadDefinitionChild(definition); })) {
    return;
  }
  if (definition.subjects.empty()) {
    ReportMissingTag("FOR");
  } else if (IsComplete(definition)) {
    Apply(definition);
  } else {
    postponed.push_back(std::move(definition));
  }
}

void QVR_xmlSpeaker::ReadDefinitionChild(Definition& definition) {
  std::string text;
  if (tag.name == "FOR") {
    if (!ReadElementText(text)) {
      return;
    }
    if (definition.subjects.empty()) {
      definition.subjects.push_back(text);
    } else {
      Report(QVR_SYNTAX_ERROR, "ERROR: " + text + " : Extra [FOR] entry. Ignored.");
    }
  } else if (tag.name == "GIVEN") {
    if (ReadElementText(text)) {
      definition.parents.push_back(text);
    }
  } else if (tag.name == "TABLE") {
    ReadTable(definition);
  } else if (tag.name == "PROPERTY") {
    ReadElementText(text);
  } else {
    RefuseTag("Unknown Definition Field");
  }
}

void QVR_xmlSpeaker::ReadTable(Definition& definition) {
  std::string text;
  if (!ReadElementText(text)) {
    return;
  }
  definition.numbers.clear();
  for (const std::string& word : CutWords(text)) {
    double number = 0;
    if (!ReadTableNumber(word, number)) {
      Report(QVR_SYNTAX_ERROR, "ERROR: '" + word + "' : Real Number expected");
      return;
    }
    definition.numbers.push_back(number);
  }
}

bool QVR_xmlSpeaker::IsComplete(const Definition& definition) const {
  const auto isKnown = [this](const std::string& name) { return names->Find(name) >= 0; };
  return isKnown(definition.subjects.front()) &&
         std::all_of(definition.parents.begin(), definition.parents.end(), isKnown);
}

void QVR_xmlSpeaker::Apply(const Definition& definition) {
  const int child = names->Find(definition.subjects.front());
  if (child < 0) {
    Report(child, "ERROR: " + definition.subjects.front() + " : Node not found");
    return;
  }
  AddParents(child, definition);
  if (network.NodeAt(child)->GetType() != kTypeList && SetTable(network, child, definition.numbers) < 0) {
    Report(QVR_OUT_OF_RANGE, WrongCountMessage(network, child, static_cast<int>(definition.numbers.size())));
  }
}

void QVR_xmlSpeaker::AddParents(int child, const Definition& definition) {
  for (const std::string& name : definition.parents) {
    const int parent = names->Find(name);
    if (parent < 0) {
      Report(parent, "ERROR: " + name + " : Invalid parent");
      continue;
    }
    const int status = AddTableParent(network, parent, child, definition.numbers.size());
    if (status < 0) {
      Report(status, "ERROR: Couldn't add arc from node [" + network.NodeAt(parent)->GetId() + "] to node [" +
                         network.NodeAt(child)->GetId() + "]");
    }
  }
}

}  // namespace qvr
