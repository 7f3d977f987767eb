// The elements of the canonical nodes: noisy-MAX, noisy adder, CAST and DeMorgan.
#include <algorithm>
#include <utility>

#include "definitions/cast.h"
#include "definitions/demorgan.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "formats/number_token.h"
#include "formats/xml_net_loader.h"
#include "formats/xml_vocabulary.h"
#include "model/network.h"

namespace qvr {
namespace {

// As strtol in base 10 if it consumes the whole text and finds an int.
bool ReadWholeInt(const std::string& text, int& out) {
  const char* end = nullptr;
  const long long value = ReadLeadingInteger(text.c_str(), end);
  if (text.empty() || end != text.data() + text.size() || !std::in_range<int>(value)) {
    return false;
  }
  out = static_cast<int>(value);
  return true;
}

// The outcomes by their places, from the places by outcomes. What isn't such a list leaves a -1.
std::vector<int> InvertPlaces(std::span<const int> places) {
  std::vector<int> owners(places.size(), -1);
  for (std::size_t outcome = 0; outcome < places.size(); ++outcome) {
    if (const int place = places[outcome]; place >= 0 && place < static_cast<int>(places.size())) {
      owners[static_cast<std::size_t>(place)] = static_cast<int>(outcome);
    }
  }
  return owners;
}

std::string WrongSize(int size, int expected) {
  return "Invalid weights vector size " + std::to_string(size) + ", expected " + std::to_string(expected);
}

}  // namespace

void XmlNetLoader::AddCanonicalNodes(Binding& nodes) {
  const auto addDoubles = [this](Binding& node, const char* name, Callbacks::Member end) {
    node.AddChild(NewBinding(name, {.end = end, .token = &XmlNetLoader::TakeDouble}), 0);
  };
  const auto addInts = [this](Binding& node, const char* name, Callbacks::Member end) {
    node.AddChild(NewBinding(name, {.end = end, .token = &XmlNetLoader::TakeInt}), 0);
  };
  Binding& cast = NewNodeBinding("cast", kTypeCast, false, {.end = &XmlNetLoader::EndCast});
  cast.AddChild(NewBinding("baseline", {.end = &XmlNetLoader::EndBaseline}), kXmlRequired);
  addDoubles(cast, "pweights", &XmlNetLoader::EndPositiveWeights);
  addDoubles(cast, "nweights", &XmlNetLoader::EndNegativeWeights);

  Binding& demorgan = NewNodeBinding("demorgan", kTypeDeMorgan, false, {.end = &XmlNetLoader::EndDeMorgan});
  demorgan.AddChild(NewBinding("priorbelief", {.end = &XmlNetLoader::EndPriorBelief}), kXmlRequired);
  addDoubles(demorgan, "weights", &XmlNetLoader::EndParentWeights);
  demorgan.AddChild(NewBinding("types", {.token = &XmlNetLoader::TakeParentType}), 0);

  Binding& noisyMax = NewNodeBinding("noisymax", kTypeNoisyMax, true, {.end = &XmlNetLoader::EndNoisyMax});
  addInts(noisyMax, "strengths", &XmlNetLoader::EndStrengths);
  addDoubles(noisyMax, "parameters", &XmlNetLoader::EndCiParameters);

  Binding& adder = NewNodeBinding("noisyadder", kTypeNoisyAdder, true, {.end = &XmlNetLoader::EndNoisyAdder});
  adder.AddAttribute("function", 0);
  addInts(adder, "dstates", &XmlNetLoader::EndDistinguishedStates);
  addDoubles(adder, "weights", &XmlNetLoader::EndParentWeights);
  addDoubles(adder, "parameters", &XmlNetLoader::EndCiParameters);

  for (Binding* node : {&cast, &demorgan, &noisyMax, &adder}) {
    node->AddChild(*propertyBinding, kXmlRepeated);
    nodes.AddChild(*node, kXmlRepeated);
  }
}

bool XmlNetLoader::ReadAdderFunction() {
  std::string word;
  GetStringAttribute("function", word);
  canonical.function = FindWord(word, kFunctionWords, kAdderAverage);
  if (canonical.function < 0) {
    ReportQuoted("Invalid noisy adder function", word);
    return false;
  }
  return true;
}

void XmlNetLoader::TakeInt(IXmlReader& /*reader*/) {
  int value = 0;
  if (!ReadWholeInt(GetRawText(), value)) {
    Abort("Can't read list of integers, failed at element " + std::to_string(ints.size() + 1));
    return;
  }
  ints.push_back(value);
}

void XmlNetLoader::TakeParentType(IXmlReader& /*reader*/) {
  const int type = FindWord(GetRawText(), kInfluenceWords, QVR_OUT_OF_RANGE);
  if (type < 0) {
    Abort("Invalid parent type '" + GetRawText() + "' at element " +
          std::to_string(canonical.parentTypes.GetNumItems() + 1));
    return;
  }
  canonical.parentTypes.Add(type);
}

void XmlNetLoader::EndBaseline(IXmlReader& /*reader*/) {
  if (!ReadWholeDouble(GetRawText(), canonical.baseline)) {
    Abort("Can't read baseline");
  }
}

void XmlNetLoader::EndPriorBelief(IXmlReader& /*reader*/) {
  if (!ReadWholeDouble(GetRawText(), canonical.priorBelief)) {
    Abort("Can't read prior belief");
  }
}

void XmlNetLoader::EndStrengths(IXmlReader& /*reader*/) { canonical.strengths.swap(ints); }

void XmlNetLoader::EndDistinguishedStates(IXmlReader& /*reader*/) {
  canonical.distinguishedStates.swap(ints);
}

void XmlNetLoader::EndPositiveWeights(IXmlReader& /*reader*/) { MoveDoubles(canonical.positiveWeights); }

void XmlNetLoader::EndNegativeWeights(IXmlReader& /*reader*/) { MoveDoubles(canonical.negativeWeights); }

void XmlNetLoader::EndParentWeights(IXmlReader& /*reader*/) { MoveDoubles(canonical.parentWeights); }

void XmlNetLoader::EndCiParameters(IXmlReader& /*reader*/) { MoveDoubles(canonical.ciParameters); }

void XmlNetLoader::EndCast(IXmlReader& /*reader*/) {
  auto& cast = static_cast<QVR_cast&>(*definition);
  const bool hasParents = network.GetNumberOfParents(currentNode) > 0;
  if (cast.SetBaseline(canonical.baseline) < 0) {
    Abort("SetBaseline failed");
  } else if (hasParents && cast.SetPositiveWeights(canonical.positiveWeights) < 0) {
    Abort("SetPositiveWeights failed");
  } else if (hasParents && cast.SetNegativeWeights(canonical.negativeWeights) < 0) {
    Abort("SetNegativeWeights failed");
  }
}

void XmlNetLoader::EndDeMorgan(IXmlReader& /*reader*/) {
  auto& demorgan = static_cast<QVR_demorgan&>(*definition);
  const bool hasParents = network.GetNumberOfParents(currentNode) > 0;
  if (demorgan.SetPriorBelief(canonical.priorBelief) < 0) {
    Abort("SetPriorBelief failed");
  } else if (hasParents && demorgan.SetParentWeights(canonical.parentWeights) < 0) {
    Abort("SetParentWeights failed");
  } else if (hasParents && demorgan.SetParentTypes(canonical.parentTypes) < 0) {
    Abort("SetParentTypes failed");
  }
}

void XmlNetLoader::EndNoisyMax(IXmlReader& /*reader*/) {
  auto& noisyMax = static_cast<QVR_noisyMAX&>(*definition);
  if (!canonical.strengths.empty() && !SetStrengths(noisyMax)) {
    Abort("SetParentOutcomeStrengths failed");
    return;
  }
  SetCiParameters(noisyMax);
}

// The file has the place of each outcome, the definition the outcome of each place. What is left over at
// the end of the list is ignored.
bool XmlNetLoader::SetStrengths(QVR_noisyMAX& noisyMax) {
  std::span<const int> left = canonical.strengths;
  std::vector<std::vector<int>> strengths;
  for (int parent = 0; parent < network.GetNumberOfParents(currentNode); ++parent) {
    const std::size_t count = noisyMax.GetStrengths(parent).size();
    if (count > left.size()) {
      return false;
    }
    strengths.push_back(InvertPlaces(left.first(count)));
    left = left.subspan(count);
  }
  return noisyMax.SetOutcomeStrengths(std::move(strengths)) >= 0;
}

void XmlNetLoader::SetCiParameters(QVR_ciDefinition& ci) {
  const int expected = ci.GetCiWeights().GetNumElements();
  if (canonical.ciParameters.GetSize() != expected) {
    Abort(WrongSize(canonical.ciParameters.GetSize(), expected));
    return;
  }
  ci.SetValues(canonical.ciParameters);
}

void XmlNetLoader::EndNoisyAdder(IXmlReader& /*reader*/) {
  auto& adder = static_cast<QVR_noisyAdder&>(*definition);
  if (!SetDistinguishedStates(adder)) {
    return;
  }
  const int weightCount = canonical.parentWeights.GetSize();
  if (weightCount > 0 && adder.SetParentWeights(canonical.parentWeights) < 0) {
    Abort(WrongSize(weightCount, network.GetNumberOfParents(currentNode) + 1));
    return;
  }
  adder.SetFunction(canonical.function);
  if (canonical.ciParameters.GetSize() > 0) {
    SetCiParameters(adder);
  }
}

bool XmlNetLoader::SetDistinguishedStates(QVR_noisyAdder& adder) {
  const std::vector<int>& states = canonical.distinguishedStates;
  const int parentCount = network.GetNumberOfParents(currentNode);
  if (static_cast<int>(states.size()) != parentCount + 1) {
    Abort("Size of distinguished state vector is invalid: " + std::to_string(states.size()) + ", expected" +
          std::to_string(parentCount + 1));
  } else if (adder.SetDistinguishedState(states[0]) < 0) {
    Abort("SetDistinguishedState call fails");
  } else if (adder.SetParentDistinguishedStates(std::span(states).subspan(1)) < 0) {
    Abort("SetParentDistinguishedState call fails");
  }
  return !IsAborted();
}

// The parameters of noisy-MAX and noisy adder: their table is only made when a solver asks for it. An adder
// without any in the file has the default ones, as many as a matrix can hold.
bool XmlNetLoader::RefuseOversizedParameters(long long most) {
  long long rows = 1;
  for (const int parent : parents) {
    rows += std::max(network.NodeAt(parent)->GetNumberOfOutcomes(), 0);
  }
  const auto states = static_cast<long long>(std::max<std::size_t>(stateIds.size(), 2));
  const int size = canonical.ciParameters.GetSize();
  if (definition->GetType() == kTypeNoisyAdder && size == 0) {
    most = QVR_Dmatrix::kMaxElements;
  }
  if (rows * states > std::max<long long>(most, size)) {
    Abort("Invalid weights vector size " + std::to_string(size) + ", expected " +
          std::to_string(rows * states));
  }
  return IsAborted();
}

// The table of CAST and DeMorgan gates follows from few numbers, but they have to be there.
bool XmlNetLoader::RefuseOversizedGate(long long configurations, long long most) {
  const auto hasOneEach = [this](int count) { return count == static_cast<int>(parents.size()); };
  const bool isCast = definition->GetType() == kTypeCast;
  if (configurations * 2 > QVR_Dmatrix::kMaxElements) {
    Abort("AddArc failed");
  } else if (configurations * 2 <= most) {
    return false;
  } else if (isCast && !hasOneEach(canonical.positiveWeights.GetSize())) {
    Abort("SetPositiveWeights failed");
  } else if (isCast && !hasOneEach(canonical.negativeWeights.GetSize())) {
    Abort("SetNegativeWeights failed");
  } else if (!isCast && !hasOneEach(canonical.parentWeights.GetSize())) {
    Abort("SetParentWeights failed");
  } else if (!isCast && !hasOneEach(canonical.parentTypes.GetNumItems())) {
    Abort("SetParentTypes failed");
  }
  return IsAborted();
}

}  // namespace qvr
