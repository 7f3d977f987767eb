// Answers as text, in UTF-8.
#ifndef QVR_APP_COMMAND_ANSWER_FORMATS_H
#define QVR_APP_COMMAND_ANSWER_FORMATS_H

#include <string>
#include <vector>

#include "app/command/node_answer.h"

namespace qvr {

// A block of lines for each node, with bars for probabilities.
[[nodiscard]] std::string AnswersAsTable(const std::vector<NodeAnswer>& answers);
// A line for each cell: node, condition, outcome, value, valid. No value for an undefined cell.
[[nodiscard]] std::string AnswersAsCsv(const std::vector<NodeAnswer>& answers);
// One object; undefined cells and what isn't finite are null.
[[nodiscard]] std::string AnswersAsJson(const std::string& networkId, int status,
                                        const std::vector<NodeAnswer>& answers);

// The shortest text that reads back as the same number.
[[nodiscard]] std::string ShortestNumber(double number);
// `width` blocks for 1.
[[nodiscard]] std::string Bar(double probability, int width);

}  // namespace qvr

#endif
