// Reading the engine's text format: the parameters of canonical models.
#include "definitions/cast.h"
#include "definitions/demorgan.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "formats/qvr_speaker.h"
#include "formats/xml_vocabulary.h"
#include "model/network.h"

namespace qvr {
namespace {

QVR_intArray ReversedOrder(int count) {
  QVR_intArray order;
  for (int i = count - 1; i >= 0; --i) {
    order.Add(i);
  }
  return order;
}

}  // namespace

int QVR_qvrSpeaker::SetNoisyMaxParameters(const QVR_doubleArray& numbers) {
  auto& noisyMax = *DefinitionAs<QVR_noisyMAX>();
  const int outcomes = noisyMax.GetNumberOfOutcomes();
  if (open.readAsNoisyAnd) {
    noisyMax.ReorderOutcomes(ReversedOrder(outcomes));
    for (int parent = 0; parent < ParentCount(); ++parent) {
      noisyMax.PermuteParentBlock(parent,
                                  ReversedOrder(static_cast<int>(noisyMax.GetStrengths(parent).size())));
    }
  }
  const int all = noisyMax.GetCiWeights().GetNumElements();
  const int count = numbers.GetNumItems();
  if (open.readAsNoisyOr || open.readAsNoisyAnd) {
    return ReportRefusal(noisyMax.SetCompoundParameters(numbers), "SetCompoundParameters",
                         all - ParentCount() * outcomes, count);
  }
  return ReportRefusal(count == all ? noisyMax.SetValues(numbers) : QVR_OUT_OF_RANGE, "SetValues", all,
                       count);
}

int QVR_qvrSpeaker::SetPositiveWeights(const QVR_doubleArray& numbers) {
  auto* cast = DefinitionAs<QVR_cast>();
  return cast == nullptr ? ReportNotApplicable("PWEIGHTS")
                         : ReportRefusal(cast->SetPositiveWeights(numbers), "SetPositiveWeights",
                                         ParentCount(), numbers.GetNumItems());
}

int QVR_qvrSpeaker::SetNegativeWeights(const QVR_doubleArray& numbers) {
  auto* cast = DefinitionAs<QVR_cast>();
  return cast == nullptr ? ReportNotApplicable("NWEIGHTS")
                         : ReportRefusal(cast->SetNegativeWeights(numbers), "SetNegativeWeights",
                                         ParentCount(), numbers.GetNumItems());
}

int QVR_qvrSpeaker::SetBaseline(double value) {
  auto* cast = DefinitionAs<QVR_cast>();
  return cast == nullptr ? ReportNotApplicable("BASELINE")
                         : ReportRefusal(cast->SetBaseline(value), "SetBaseline", 1, 1);
}

int QVR_qvrSpeaker::SetPriorBelief(double value) {
  auto* demorgan = DefinitionAs<QVR_demorgan>();
  return demorgan == nullptr ? ReportNotApplicable("PRIORBELIEF")
                             : ReportRefusal(demorgan->SetPriorBelief(value), "SetPriorBelief", 1, 1);
}

int QVR_qvrSpeaker::SetInfluences(const QVR_stringArray& words) {
  auto* demorgan = DefinitionAs<QVR_demorgan>();
  if (demorgan == nullptr) {
    return ReportNotApplicable("TYPES");
  }
  QVR_intArray types;
  for (int i = 0; i < words.GetNumItems(); ++i) {
    const int type = FindWord(words.Get(i), kInfluenceWords, QVR_OUT_OF_RANGE);
    if (type < 0) {
      return Report(type, std::string("Invalid parent type '") + words.Get(i) + "' at element " +
                              std::to_string(i + 1));
    }
    types.Add(type);
  }
  return ReportRefusal(demorgan->SetParentTypes(types), "SetParentTypes", ParentCount(), words.GetNumItems());
}

// One list of identifiers for each parent, in parentheses and with commas between.
int QVR_qvrSpeaker::ReadStrengths() {
  std::vector<std::vector<std::string>> lists;
  int status = ReadBlockHeader("STRENGTHS");
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, "(");
  }
  while (status == QVR_OKAY && NextIsOpenParen() == 1) {
    QVR_stringArray list;
    status = ReadIdentifierList(list);
    std::vector<std::string>& outcomes = lists.emplace_back();
    for (int i = 0; i < list.GetNumItems(); ++i) {
      outcomes.emplace_back(list.Get(i));
    }
    TryExpect(kTokenPunctuator, ",");
  }
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, ")");
  }
  return status < 0 ? status : Defer(kNumbers, [this, lists] { return SetStrengths(lists); });
}

int QVR_qvrSpeaker::SetStrengths(const std::vector<std::vector<std::string>>& lists) {
  auto* noisyMax = DefinitionAs<QVR_noisyMAX>();
  if (noisyMax == nullptr) {
    return ReportNotApplicable("STRENGTHS");
  }
  const QVR_intArray& parents = network.GetParents(open.node->handle);
  for (int i = 0; i < parents.GetNumItems(); ++i) {
    const auto& outcomes =
        static_cast<const QVR_idArray&>(*network.NodeAt(parents[i])->definition->GetOutcomeNames());
    QVR_intArray strengths;
    if (i < static_cast<int>(lists.size())) {
      for (const std::string& name : lists[static_cast<std::size_t>(i)]) {
        strengths.Add(outcomes.FindId(name));
      }
    }
    if (const int status = noisyMax->SetParentOutcomeStrengths(i, strengths); status < 0) {
      Report(status, "ERROR: NoisyMAX strengths are inconsistent for parent " + std::to_string(i));
    }
  }
  return QVR_OKAY;
}

int QVR_qvrSpeaker::SetDistinguishedStates(const QVR_intArray& states) {
  auto* adder = DefinitionAs<QVR_noisyAdder>();
  if (adder == nullptr) {
    return ReportNotApplicable("DSTATES");
  }
  const std::span<const int> all = states.View();
  if (all.size() != static_cast<std::size_t>(ParentCount()) + 1) {
    return ReportRefusal(QVR_OUT_OF_RANGE, "SetDistinguishedState", ParentCount() + 1, states.GetNumItems());
  }
  if (const int status = adder->SetDistinguishedState(all.front()); status < 0) {
    return Report(status, "SetDistinguishedState call fails");
  }
  const int status = adder->SetParentDistinguishedStates(all.subspan(1));
  return status < 0 ? Report(status, "SetParentDistinguishedState call fails") : status;
}

int QVR_qvrSpeaker::SetFunction(int function) {
  auto* adder = DefinitionAs<QVR_noisyAdder>();
  return adder == nullptr ? ReportNotApplicable("FUNCTION")
                          : ReportRefusal(adder->SetFunction(function), "SetFunction", 1, 1);
}

}  // namespace qvr
