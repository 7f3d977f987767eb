#include <nlohmann/json.hpp>

#include "app/command/answer_formats.h"
#include "model/special_numbers.h"

namespace qvr {

namespace {

using Json = nlohmann::ordered_json;

Json ValuesAsJson(const std::vector<double>& values) {
  Json list = Json::array();
  for (const double value : values) {
    list.push_back(IsUndefined(value) ? Json() : Json(value));
  }
  return list;
}

Json AnswerAsJson(const NodeAnswer& answer) {
  Json node = {{"id", answer.id}, {"type", answer.type}};
  if (!answer.outcomes.empty()) {
    node["outcomes"] = answer.outcomes;
  }
  node["valid"] = answer.valid;
  if (!answer.values.empty()) {
    node["values"] = ValuesAsJson(answer.values);
    node["dimensions"] = answer.dimensions;
  }
  for (const AnswerDimension& parent : answer.indexingParents) {
    node["indexingParents"].push_back(parent.id);
  }
  return node;
}

}  // namespace

// One line for each node: easy to look at, and short.
std::string AnswersAsJson(const std::string& networkId, int status, const std::vector<NodeAnswer>& answers) {
  std::string text = "{\"network\": " + Json(networkId).dump() + ", \"status\": " + std::to_string(status) +
                     ", \"nodes\": [";
  const char* separator = "\n  ";
  for (const NodeAnswer& answer : answers) {
    text += separator + AnswerAsJson(answer).dump();
    separator = ",\n  ";
  }
  return text + "\n]}\n";
}

}  // namespace qvr
