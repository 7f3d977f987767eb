#include "app/command/answer_formats.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "app/command/text_layout.h"
#include "model/special_numbers.h"

namespace qvr {

namespace {

constexpr int kTableDigits = 6;
constexpr int kBarWidth = 40;
constexpr const char* kBlock = "\u2588";
constexpr const char* kSliver = "\u258f";

// What a cell is about: conditions, then the outcome.
std::string CellLabel(const NodeAnswer& answer, std::size_t cell) {
  std::string label = answer.CellCondition(cell, ", ");
  if (!answer.outcomes.empty()) {
    label += (label.empty() ? "" : ": ") + answer.CellOutcome(cell);
  }
  return label;
}

std::string Heading(const NodeAnswer& answer) {
  std::string text = answer.id + " (" + answer.type;
  if (!answer.evidence.empty()) {
    text += ", ";
    text += answer.evidence;
  }
  if (!answer.valid) {
    text += answer.values.empty() ? ", not computed" : ", not valid";
  }
  return text + ")\n";
}

std::string AnswerAsTable(const NodeAnswer& answer) {
  std::vector<std::string> labels;
  std::size_t width = 0;
  for (std::size_t cell = 0; cell < answer.values.size(); ++cell) {
    labels.push_back(CellLabel(answer, cell));
    width = std::max(width, DisplayWidth(labels.back()));
  }
  std::string text = Heading(answer);
  for (std::size_t cell = 0; cell < answer.values.size(); ++cell) {
    const double value = answer.values[cell];
    const std::string number = IsUndefined(value) ? "-" : FormatGeneral(value, kTableDigits);
    const bool hasBar = answer.isProbability && !IsUndefined(value);
    const std::string bar = hasBar ? Bar(value, kBarWidth) : "";
    text += "  " + PadRight(labels[cell], width) + "  ";
    text += bar.empty() ? number : PadRight(number, 12) + bar;
    text += '\n';
  }
  return text;
}

}  // namespace

std::string ShortestNumber(double number) {
  std::array<char, 32> buffer;
  const std::to_chars_result result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  return {buffer.data(), result.ptr};
}

std::string Bar(double probability, int width) {
  if (!(probability > 0)) {
    return "";
  }
  const int blocks = static_cast<int>(std::lround(std::min(probability, 1.0) * width));
  std::string bar = blocks == 0 ? kSliver : "";
  for (int i = 0; i < blocks; ++i) {
    bar += kBlock;
  }
  return bar;
}

std::string AnswersAsTable(const std::vector<NodeAnswer>& answers) {
  std::string text;
  for (const NodeAnswer& answer : answers) {
    text += AnswerAsTable(answer);
  }
  return text;
}

std::string AnswersAsCsv(const std::vector<NodeAnswer>& answers) {
  std::string text = "node,condition,outcome,value,valid\n";
  for (const NodeAnswer& answer : answers) {
    for (std::size_t cell = 0; cell < answer.values.size(); ++cell) {
      text += answer.id + "," + answer.CellCondition(cell, ";") + ",";
      text += answer.outcomes.empty() ? "" : answer.CellOutcome(cell);
      text += "," + (IsUndefined(answer.values[cell]) ? "" : ShortestNumber(answer.values[cell]));
      text += answer.valid ? ",true\n" : ",false\n";
    }
  }
  return text;
}

}  // namespace qvr
