// qvr check: what the reader has to say about a file, and which nodes aren't consistent.
#include <array>
#include <cmath>

#include "app/command/commands.h"
#include "app/command/network_input.h"
#include "app/command/output.h"
#include "definitions/ci_definition.h"
#include "definitions/probability_row.h"
#include "formats/latin1.h"
#include "model/error_log.h"
#include "model/special_numbers.h"

namespace qvr {

namespace {

bool IsMissing(double number) {
  return !std::isfinite(number) || IsUndefined(number) || IsNotAvailable(number) ||
         SameBits(number, kIllegal);
}

std::string NumberText(double number) { return FormatGeneral(number, 9); }

// The parents' outcomes at a row of the table, as "given A=x, B=y: "; empty without parents.
std::string RowCondition(const QVR_network& network, int handle, const QVR_Dmatrix& table, int firstCell) {
  QVR_intArray coordinates;
  if (coordinates.SetSize(table.GetNumDimensions()) < 0 ||
      table.IndexToCoordinates(firstCell, coordinates) < 0) {
    return "";
  }
  std::string text;
  const QVR_intArray& parents = network.GetParents(handle);
  for (int i = 0; i < parents.GetNumItems() && i + 1 < table.GetNumDimensions(); ++i) {
    const std::vector<std::string> outcomes = OutcomeIds(*network.NodeAt(parents[i]));
    const auto outcome = static_cast<std::size_t>(coordinates[i]);
    text += (text.empty() ? "given " : ", ") + NodeId(network, parents[i]) + "=";
    text += outcome < outcomes.size() ? outcomes[outcome] : "?";
  }
  return text.empty() ? "" : text + ": ";
}

// What is wrong with a row of probabilities; empty if nothing is.
std::string RowFault(std::span<const double> row) {
  double sum = 0;
  for (const double number : row) {
    if (IsMissing(number)) {
      return "a number is missing";
    }
    if (number < 0 || number > 1) {
      return "the number " + NumberText(number) + " isn't between 0 and 1";
    }
    sum += number;
  }
  return IsProbabilitySum(sum) ? "" : "the numbers sum to " + NumberText(sum) + ", not 1";
}

std::string TableFault(const QVR_network& network, int handle, const QVR_Dmatrix& table) {
  const int length = table.GetDimension(table.GetNumDimensions() - 1);
  const std::span<const double> cells = table.GetItems().View();
  for (int first = 0; first + length <= table.GetNumElements(); first += length) {
    const auto row = cells.subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(length));
    if (const std::string fault = RowFault(row); !fault.empty()) {
      return RowCondition(network, handle, table, first) + fault;
    }
  }
  return "";
}

// The reason in words, the most particular that can be told.
std::string Reason(QVR_network& network, int handle) {
  const QVR_node& node = *network.NodeAt(handle);
  if (node.definition == nullptr) {
    return "it has no definition";
  }
  if (node.definition->IsConsistent()) {
    return node.info->IsConsistent() ? "its value doesn't fit its definition"
                                     : "its identifier or its properties aren't valid";
  }
  if (const auto* canonical = dynamic_cast<const QVR_ciDefinition*>(node.definition.get())) {
    std::array<char, 256> message{};
    if (canonical->ValidateCiWeights(canonical->GetCiWeights(), message.data(), message.size()) < 0) {
      return ToUtf8(message.data());
    }
  }
  QVR_Dmatrix* table = nullptr;
  if (node.definition->GetOutcomeNames() != nullptr && node.definition->GetMatrix(table) >= 0 &&
      table != nullptr && table->GetNumDimensions() > 0) {
    if (std::string fault = TableFault(network, handle, *table); !fault.empty()) {
      return fault;
    }
  }
  return std::string("its definition (") + node.definition->GetTypeName() + ") isn't consistent";
}

// Prints the reader's messages; returns how many. The one about consistency names only the first node.
int ReportMessages() {
  QVR_errorLog& log = GetErrorLog();
  int count = 0;
  for (int i = 0; i < log.GetCount(); ++i) {
    if (log.GetCode(i) != QVR_INCONSISTENT) {
      PrintResult(MessageLine(i));
      ++count;
    }
  }
  log.Clear();
  return count;
}

int ReportNodes(QVR_network& network) {
  int count = 0;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    if (!network.NodeAt(handle)->IsConsistent()) {
      PrintResult("node '" + NodeId(network, handle) + "': " + Reason(network, handle) + "\n");
      ++count;
    }
  }
  return count;
}

}  // namespace

Failure Check(const CheckOptions& options) {
  QVR_network network;
  Failure notLoaded = OpenNetwork(options.file, network);
  const int messages = ReportMessages();
  if (notLoaded) {
    return notLoaded;
  }
  const int nodes = ReportNodes(network);
  if (messages + nodes == 0) {
    PrintResult(options.file + ": " + std::to_string(network.GetNumberOfNodes()) +
                " nodes, no fault found\n");
    return std::nullopt;
  }
  return options.file + ": " + std::to_string(messages) + " messages of the reader, " +
         std::to_string(nodes) + " nodes that aren't consistent";
}

}  // namespace qvr
