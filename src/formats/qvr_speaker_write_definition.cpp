// Writing the engine's text format: what each class of definitions states.
#include "definitions/cast.h"
#include "definitions/demorgan.h"
#include "definitions/equation.h"
#include "definitions/list.h"
#include "definitions/mau.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "definitions/truth_table.h"
#include "definitions/utility_table.h"
#include "formats/qvr_speaker.h"
#include "formats/xml_vocabulary.h"
#include "model/network.h"

namespace qvr {
namespace {

// The names as the reader can take them: a decision may have any texts.
void GetWrittenNames(QVR_nodeDefinition& definition, QVR_idArray& names) {
  names.Copy(static_cast<const QVR_stringArray&>(*definition.GetOutcomeNames()));
  names.MakeAllValid();
}

const QVR_doubleArray& CellsOf(QVR_nodeDefinition& definition) {
  static const QVR_doubleArray kNone;
  QVR_Dmatrix* table = nullptr;
  return definition.GetMatrix(table) < 0 ? kNone : table->GetItems();
}

}  // namespace

void QVR_qvrSpeaker::WriteStateNames(QVR_nodeDefinition& definition, const char* keyword) {
  QVR_idArray stateNames;
  GetWrittenNames(definition, stateNames);
  WriteIdentifierListField(keyword, stateNames, 0);
}

void QVR_qvrSpeaker::WriteNumbers(const char* keyword, const std::vector<double>& numbers) {
  QVR_doubleArray list;
  list.Assign(numbers);
  WriteDoubleListField(keyword, list, 1);
}

void QVR_qvrSpeaker::WriteNumberField(const char* keyword, double number) {
  WriteField(keyword, [&] { Write(NumberToText(number)); });
}

void QVR_qvrSpeaker::VisitCpt(QVR_cpt& definition) {
  WriteStateNames(definition, "NAMESTATES");
  WriteDoubleListField("PROBABILITIES", CellsOf(definition), 1);
}

void QVR_qvrSpeaker::VisitTruthTable(QVR_truthTable& definition) {
  WriteStateNames(definition, "NAMESTATES");
  QVR_stringArray states;
  definition.GetResultingStates(states);
  WriteIdentifierListField("RESULTINGSTATES", states, 0);
}

void QVR_qvrSpeaker::VisitList(QVR_list& definition) { WriteStateNames(definition, "NAMECHOICES"); }

void QVR_qvrSpeaker::VisitTable(QVR_table& definition) {
  WriteDoubleListField("UTILITIES", CellsOf(definition), 1);
}

void QVR_qvrSpeaker::VisitMau(QVR_mau& definition) {
  const MauExpressionTable* formulas = definition.GetExpressionTable();
  if (formulas == nullptr) {
    WriteDoubleListField("WEIGHTS", definition.GetWeights().GetItems(), 1);
    return;
  }
  QVR_stringArray texts;
  for (const ExpressionPtr& formula : formulas->View()) {
    texts.Add(formula->GetText().c_str());
  }
  WriteStringListField("EXPRESSIONS", texts, 0);
}

// In full, whatever its length: a formula that is cut is none.
void QVR_qvrSpeaker::VisitEquation(QVR_equation& definition) {
  WriteField("EQUATION", [&] { WriteQuoted(definition.GetEquation().GetText()); });
  WriteNumberField("LOWER", definition.GetLowerBound());
  WriteNumberField("UPPER", definition.GetUpperBound());
  if (definition.GetDiscIntervals().empty()) {
    return;
  }
  QVR_stringArray labels;
  std::vector<double> bounds;
  for (const DiscretizationInterval& interval : definition.GetDiscIntervals()) {
    labels.Add(interval.id.c_str());
    bounds.push_back(interval.upperBound);
  }
  WriteStringListField("INTERVAL_NAMES", labels, 0);
  WriteNumbers("INTERVAL_BOUNDS", bounds);
}

void QVR_qvrSpeaker::VisitDeMorgan(QVR_demorgan& definition) {
  WriteStateNames(definition, "NAMESTATES");
  QVR_stringArray words;
  for (const int type : definition.GetParentTypes()) {
    words.Add(WordOf(type, kInfluenceWords, kCause));
  }
  WriteIdentifierListField("TYPES", words, 0);
  WriteNumbers("WEIGHTS", definition.GetParentWeights());
  WriteNumberField("PRIORBELIEF", definition.GetPriorBelief());
}

void QVR_qvrSpeaker::VisitCast(QVR_cast& definition) {
  WriteStateNames(definition, "NAMESTATES");
  WriteNumbers("PWEIGHTS", definition.GetPositiveWeights());
  WriteNumbers("NWEIGHTS", definition.GetNegativeWeights());
  WriteNumberField("BASELINE", definition.GetBaseline());
}

void QVR_qvrSpeaker::VisitNoisyAdder(QVR_noisyAdder& definition) {
  WriteStateNames(definition, "NAMESTATES");
  WriteDoubleListField("PROBABILITIES", definition.GetCiWeights().GetItems(), 1);
  QVR_intArray states = {definition.GetDistinguishedState()};
  for (const int state : definition.GetParentDistinguishedStates()) {
    states.Add(state);
  }
  WriteIntListField("DSTATES", states, 0);
  WriteNumbers("WEIGHTS", definition.GetParentWeights());
  WriteIntField("FUNCTION", definition.GetFunction());
}

void QVR_qvrSpeaker::VisitNoisyMax(QVR_noisyMAX& definition) {
  WriteStateNames(definition, "NAMESTATES");
  WriteDoubleListField("PROBABILITIES", definition.GetCiWeights().GetItems(), 1);
  WriteField("STRENGTHS", [&] { WriteStrengths(definition); });
}

void QVR_qvrSpeaker::WriteStrengths(const QVR_noisyMAX& definition) {
  const QVR_intArray& parents = network.GetParents(definition.GetHandle());
  Write("(");
  for (int i = 0; i < parents.GetNumItems(); ++i) {
    QVR_idArray outcomes;
    GetWrittenNames(*network.NodeAt(parents[i])->definition, outcomes);
    QVR_stringArray ordered;
    for (const int outcome : definition.GetStrengths(i)) {
      ordered.Add(outcomes.Get(outcome));
    }
    Write(i > 0 ? ", " : "");
    WriteIdentifierList(ordered, 0);
  }
  Write(")");
}

void QVR_qvrSpeaker::WriteExtraDefinition(const QVR_node& node) {
  const QVR_extraDefinition& extra = *node.extra;
  WriteBlockHeader("EXTRA_DEFINITION");
  WriteStringField("DIAGNOSIS_TYPE", WordOf(extra.diagnosisType, kDiagnosisTypes, kAuxiliary), false, false);
  WriteBoolField("RANKED", extra.ranked != 0);
  WriteBoolField("MANDATORY", extra.mandatory != 0);
  WriteBoolField("SETASDEFAULT", extra.setAsDefault != 0);
  WriteIntField("SHOWAS", extra.showAs);
  if (node.GetNumberOfOutcomes() > 0) {
    WriteIntListField("FAULT_STATES", extra.GetFaultStates(), 0);
    WriteStringListField("FAULT_NAMES", extra.GetFaultNames(), 0);
    WriteStringListField("FAULT_LABELS", extra.GetFaultLabels(), 0);
    const bool isOutcome = extra.GetDefaultOutcome() < node.GetNumberOfOutcomes();
    WriteIntField("DEFAULT_STATE", isOutcome ? extra.GetDefaultOutcome() : 0);
    WriteStringListField("STATECOMMENTS", extra.GetStateComments(), 0);
    WriteStringListField("STATEREPAIRINFO", extra.GetRepairInfo(), 0);
  }
  WriteQuotedField("QUESTION", extra.question.c_str());
  WriteBlockEnd();
}

}  // namespace qvr
