#include "app/command/dot_graph.h"

#include <algorithm>
#include <cmath>

#include "app/command/network_input.h"
#include "app/command/node_answer.h"
#include "formats/latin1.h"
#include "model/special_numbers.h"

namespace qvr {

namespace {

// Text for a label or its markup, in UTF-8. Characters that XML doesn't have become "?".
std::string Escape(std::string_view utf8) {
  std::string text;
  for (const char c : utf8) {
    switch (c) {
      case '&':
        text += "&amp;";
        break;
      case '<':
        text += "&lt;";
        break;
      case '>':
        text += "&gt;";
        break;
      case '"':
        text += "&quot;";
        break;
      case '\\':
        text += "&#92;";  // starts an escape of the language itself
        break;
      default:
        text += static_cast<unsigned char>(c) < ' ' ? '?' : c;
    }
  }
  return text;
}

std::string Title(const QVR_network& network, int handle) {
  const std::string& name = network.NodeAt(handle)->info->header.GetName();
  return Escape(name.empty() ? NodeId(network, handle) : ToUtf8(name));
}

struct Look {
  const char* shape;
  const char* rest;  // shows beside bars, too, which need the corners of a box
};

Look LookOf(int type) {
  if ((type & kTypeBitUtility) != 0) {
    return {"hexagon", "fillcolor=\"#fbe3c0\""};
  }
  if (type == kTypeList) {
    return {"box", "fillcolor=\"#d5e8d0\""};
  }
  if (type == kTypeTruthTable) {
    return {"ellipse", "peripheries=2, fillcolor=\"#dce8f5\""};
  }
  if ((type & kTypeBitDiscrete) != 0) {
    return {"ellipse", "fillcolor=\"#dce8f5\""};
  }
  return {"ellipse", "style=\"filled,dashed\", fillcolor=\"#eae0f2\""};
}

// A bar of this share of its room, and what is left of that.
std::string BarCells(double share) {
  constexpr int kRoom = 60;
  const int filled = static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * kRoom));
  const auto piece = [](int width, const char* color) {
    return width == 0 ? std::string()
                      : "<td fixedsize=\"true\" height=\"8\" width=\"" + std::to_string(width) +
                            "\" bgcolor=\"" + color + "\"></td>";
  };
  return "<td><table border=\"0\" cellborder=\"0\" cellspacing=\"0\" cellpadding=\"0\"><tr>" +
         piece(filled, "#3f6fa8") + piece(kRoom - filled, "#e4e4e4") + "</tr></table></td>";
}

// A row for each cell of the answer.
std::string AnswerRows(const NodeAnswer& answer) {
  std::string rows;
  for (std::size_t cell = 0; cell < answer.values.size(); ++cell) {
    const double value = answer.values[cell];
    std::string label = answer.CellCondition(cell, ", ");
    if (!answer.outcomes.empty()) {
      label += (label.empty() ? "" : ": ") + answer.CellOutcome(cell);
    }
    rows += "<tr><td align=\"left\">" + Escape(label) + "</td>";
    rows += answer.isProbability && !IsUndefined(value) ? BarCells(value) : "";
    rows += "<td align=\"right\">" + (IsUndefined(value) ? "-" : FormatGeneral(value, 4)) + "</td></tr>";
  }
  return rows;
}

std::string TableLabel(const std::string& title, const NodeAnswer& answer) {
  const std::string heading =
      answer.evidence.empty() ? title : title + " (" + std::string(answer.evidence) + ")";
  return "<<table border=\"0\" cellborder=\"0\" cellspacing=\"1\"><tr><td colspan=\"3\"><b>" + heading +
         "</b></td></tr>" + AnswerRows(answer) + "</table>>";
}

std::string NodeLine(QVR_network& network, int handle, bool withBars) {
  const std::string title = Title(network, handle);
  const Look look = LookOf(network.NodeAt(handle)->GetType());
  std::string label = "\"" + title + "\"";
  std::string shape = look.shape;
  if (withBars) {
    const std::vector<NodeAnswer> answers = CollectAnswers(network, {handle});
    if (!answers.empty() && !answers[0].values.empty()) {
      label = TableLabel(title, answers[0]);
      shape = answers[0].evidence.empty() ? "box" : "box, penwidth=2.5";
    }
  }
  return "  n" + std::to_string(handle) + " [label=" + label + ", shape=" + shape + ", " + look.rest + "];\n";
}

}  // namespace

std::string DotGraph(QVR_network& network, bool withBars) {
  std::string text = "digraph \"" + Escape(NetworkId(network)) +
                     "\" {\n  charset=\"UTF-8\";\n  node [style=filled, fontname=\"sans-serif\"];\n";
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    text += NodeLine(network, handle, withBars);
  }
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    for (const int parent : network.GetParents(handle)) {
      text += "  n" + std::to_string(parent) + " -> n" + std::to_string(handle) + ";\n";
    }
  }
  return text + "}\n";
}

}  // namespace qvr
