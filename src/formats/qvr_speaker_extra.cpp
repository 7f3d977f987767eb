// Reading the engine's text format: diagnostic attributes.
#include "formats/qvr_speaker.h"
#include "formats/xml_vocabulary.h"
#include "model/network.h"

namespace qvr {

int QVR_qvrSpeaker::ReadExtraDefinition() {
  QVR_extraDefinition& extra = *open.node->extra;
  const auto texts = [this](const char* keyword, int (QVR_qvrSpeaker::*apply)(const QVR_stringArray&)) {
    return std::pair(keyword, [=, this] {
      return DeferList(keyword, kAttributes, &QVR_fileFormat::ReadStringList, apply);
    });
  };
  const Statements statements = {
      {"DIAGNOSIS_TYPE", [this] { return ReadDiagnosisType(); }},
      {"RANKED", [&] { return ReadFlag("RANKED", extra.ranked); }},
      {"MANDATORY", [&] { return ReadFlag("MANDATORY", extra.mandatory); }},
      {"SETASDEFAULT", [&] { return ReadFlag("SETASDEFAULT", extra.setAsDefault); }},
      {"SHOWAS", [&] { return ReadIntField("SHOWAS", extra.showAs); }},
      {"FAULT_STATES",
       [this] {
         return DeferList("FAULT_STATES", kAttributes, &QVR_fileFormat::ReadIntList,
                          &QVR_qvrSpeaker::SetFaultStates);
       }},
      texts("FAULT_NAMES", &QVR_qvrSpeaker::SetFaultNames),
      texts("FAULT_LABELS", &QVR_qvrSpeaker::SetFaultLabels),
      {"DEFAULT_STATE",
       [this] { return DeferInt("DEFAULT_STATE", kAttributes, &QVR_qvrSpeaker::SetDefaultState); }},
      texts("STATECOMMENTS", &QVR_qvrSpeaker::SetStateComments),
      texts("STATEREPAIRINFO", &QVR_qvrSpeaker::SetRepairInfo),
      {"QUESTION",
       [&] {
         return ReadTextField("QUESTION", [&](const char* text) {
           extra.question = text;
           return QVR_OKAY;
         });
       }},
  };
  return ReadNamedBlock("EXTRA_DEFINITION", statements, "Unknown Definition Statement");
}

int QVR_qvrSpeaker::ReadDiagnosisType() {
  std::string word;
  int status = ReadField("DIAGNOSIS_TYPE", kTokenIdentifier);
  if (status == QVR_OKAY) {
    status = ExpectIdentifier(word);
  }
  if (status < 0) {
    return status;
  }
  const int type = FindWord(word, kDiagnosisTypes, QVR_OUT_OF_RANGE);
  if (type < 0) {
    return Report(type, "ERROR: '" + word + "' : Unknown Diagnosis Type");
  }
  // Deferred, since a change of type resets it where there are no outcomes.
  return Defer(kAttributes, [this, type] {
    open.node->extra->diagnosisType = type;
    return QVR_OKAY;
  });
}

int QVR_qvrSpeaker::ReadFlag(const char* keyword, char& flag) {
  bool value = false;
  const int status = ReadBoolField(keyword, value);
  if (status == QVR_OKAY) {
    flag = value ? 1 : 0;
  }
  return status;
}

int QVR_qvrSpeaker::SetFaultStates(const QVR_intArray& states) {
  return ReportRefusal(open.node->extra->SetFaults(states), "SetFaults", open.node->GetNumberOfOutcomes(),
                       states.GetNumItems());
}

int QVR_qvrSpeaker::SetFaultNames(const QVR_stringArray& faultNames) {
  QVR_extraDefinition& extra = *open.node->extra;
  const int count = open.node->GetNumberOfOutcomes();
  if (faultNames.GetNumItems() != count) {
    return ReportRefusal(QVR_OUT_OF_RANGE, "SetFaultName", count, faultNames.GetNumItems());
  }
  for (int i = 0; i < count; ++i) {
    extra.SetFaultName(i, faultNames.Get(i));
  }
  return QVR_OKAY;
}

int QVR_qvrSpeaker::SetFaultLabels(const QVR_stringArray& labels) {
  return ReportRefusal(open.node->extra->SetFaultLabels(labels), "SetFaultLabels",
                       open.node->GetNumberOfOutcomes(), labels.GetNumItems());
}

int QVR_qvrSpeaker::SetDefaultState(int state) {
  return ReportRefusal(open.node->extra->SetDefaultOutcome(state), "SetDefaultOutcome", 1, 1);
}

int QVR_qvrSpeaker::SetStateComments(const QVR_stringArray& comments) {
  return SetStateTexts(comments, "Wrong number of state comments", [this](int i, const char* text) {
    return open.node->extra->SetStateComment(i, text);
  });
}

int QVR_qvrSpeaker::SetRepairInfo(const QVR_stringArray& texts) {
  return SetStateTexts(texts, "Wrong number of repair comments",
                       [this](int i, const char* text) { return open.node->extra->SetRepairInfo(i, text); });
}

int QVR_qvrSpeaker::SetStateTexts(const QVR_stringArray& texts, const char* message,
                                  const std::function<int(int, const char*)>& store) {
  if (texts.GetNumItems() != open.node->GetNumberOfOutcomes()) {
    return Report(QVR_OUT_OF_RANGE, message);
  }
  for (int i = 0; i < texts.GetNumItems(); ++i) {
    store(i, texts.Get(i));
  }
  return QVR_OKAY;
}

}  // namespace qvr
