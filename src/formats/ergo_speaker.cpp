#include "formats/ergo_speaker.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <utility>

#include "formats/ascii_case.h"
#include "formats/foreign_network.h"
#include "formats/table_exchange.h"
#include "formats/written_names.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {
namespace {

std::string Trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return std::string(text.substr(first, text.find_last_not_of(kBlanks) + 1 - first));
}

std::vector<std::string> SplitWords(const std::vector<std::string>& lines) {
  std::vector<std::string> words;
  for (const std::string& line : lines) {
    std::istringstream stream(line);
    for (std::string word; stream >> word;) {
      words.push_back(std::move(word));
    }
  }
  return words;
}

}  // namespace

int QVR_ergoSpeaker::ReadFile(const char* fileName) {
  int status = StartReading(fileName, kLexerBlankSeparated);
  if (status == QVR_OKAY) {
    status = ReadHeader(fileName);
  }
  if (status == QVR_OKAY && !nodes.empty()) {
    ReadSections();
    status = BuildNetwork();
  }
  lexer.reset();
  return status;
}

int QVR_ergoSpeaker::ReadHeader(const char* fileName) {
  int count = 0;
  if (const int status = ExpectInt(count); status < 0) {
    return status;
  }
  std::error_code noSize;
  const auto fileSize = std::filesystem::file_size(fileName, noSize);
  // Each node takes at least two numbers.
  if (count < 0 || (count > 0 && !noSize && 2 * static_cast<std::uintmax_t>(count) >= fileSize)) {
    return Report(QVR_OUT_OF_RANGE, "ERROR: (\"" + std::to_string(count) + "\") : Invalid number of nodes");
  }
  for (int i = 0; i < count; ++i) {
    if (const int status = ReadOutcomeCount(nodes.emplace_back()); status < 0) {
      return status;
    }
  }
  for (FileNode& node : nodes) {
    if (const int status = ReadParents(node); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int QVR_ergoSpeaker::ReadOutcomeCount(FileNode& node) {
  if (const int status = ExpectInt(node.outcomes); status < 0) {
    return status;
  }
  if (node.outcomes < 2 || node.outcomes > kMaxStatedOutcomes) {
    Report(QVR_OUT_OF_RANGE, "ERROR: '" + std::to_string(node.outcomes) + "' : Invalid number of states");
    node.outcomes = 2;
  }
  return QVR_OKAY;
}

int QVR_ergoSpeaker::ReadParents(FileNode& node) {
  int count = 0;
  if (const int status = ExpectInt(count); status < 0) {
    return status;
  }
  if (count < 0) {
    Report(QVR_OUT_OF_RANGE, "ERROR:'" + std::to_string(count) + "' : Invalid number of parents");
  }
  for (int i = 0, parent = 0; i < count; ++i) {
    if (const int status = ExpectInt(parent); status < 0) {
      return status;
    }
    node.parents.push_back(parent);
  }
  return QVR_OKAY;
}

void QVR_ergoSpeaker::ReadSections() {
  while (!AtFileEnd()) {
    if (TryExpect(kTokenPunctuator, "/") < 0) {
      ReportUnknown("'/*' expected");
      SkipSection();
    } else if (ReadSection(ReadMark()) < 0) {
      SkipSection();
    }
  }
}

// To the next mark.
int QVR_ergoSpeaker::SkipSection() {
  if (!AtFileEnd() && NextIsPunctuator("/") != 1) {
    Consume();
    TakeLines();
  }
  return QVR_OKAY;
}

// The word between "/*", of which the first character is read, and "*/". The lexer takes the marks for tokens
// of their own or for parts of others, as the blanks fall.
std::string QVR_ergoSpeaker::ReadMark() {
  std::string text;
  while (!(text.size() >= 3 && text.ends_with("*/")) && !AtFileEnd()) {
    text += token.text;
    Consume();
  }
  std::erase_if(text, [](char c) { return c == '*' || c == '/'; });
  return text;
}

int QVR_ergoSpeaker::ReadSection(const std::string& word) {
  const std::string known = ToLowerAscii(word);
  if (known == "probabilities") {
    return ReadTables();
  }
  if (known == "centers") {
    return ReadCenters();
  }
  if (known == "names") {
    TakeNames();
    return QVR_OKAY;
  }
  if (known == "labels") {
    TakeLabels();
    return QVR_OKAY;
  }
  return Report(QVR_SYNTAX_ERROR, "ERROR: (\"" + word + "\") : Unknown Section");
}

int QVR_ergoSpeaker::ReadTables() {
  for (FileNode& node : nodes) {
    if (const int status = ReadTable(node); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int QVR_ergoSpeaker::ReadTable(FileNode& node) {
  if (const int status = ExpectInt(node.entries); status < 0) {
    return status;
  }
  node.line = lexer->GetLineCount();
  node.table.CleanUp();
  double number = 0;
  for (int i = 0; i < node.entries; ++i) {
    if (const int status = ExpectNumber(number); status < 0) {
      return status;
    }
    if (const int status = node.table.Add(number); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int QVR_ergoSpeaker::ReadCenters() {
  for (FileNode& node : nodes) {
    int status = ExpectInt(node.centerX);
    if (status == QVR_OKAY) {
      status = ExpectInt(node.centerY);
    }
    if (status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

std::vector<std::string> QVR_ergoSpeaker::TakeLines() {
  std::vector<std::string> lines;
  std::string_view rest;
  while (lexer->PeekLine(rest) == QVR_OKAY) {
    const std::size_t mark = rest.find("/*");
    const std::string_view text = rest.substr(0, mark);
    if (std::string line = Trim(text); !line.empty()) {
      lines.push_back(std::move(line));
    }
    lexer->ConsumeCharacters(text.size());
    if (mark != std::string_view::npos) {
      break;
    }
  }
  return lines;
}

// One a line, as every writer does, so that a name may hold blanks.
void QVR_ergoSpeaker::TakeNames() {
  std::vector<std::string> names = TakeLines();
  if (names.size() != nodes.size()) {
    names = SplitWords(names);
  }
  for (std::size_t i = 0; i < std::min(names.size(), nodes.size()); ++i) {
    nodes[i].name = names[i];
  }
}

void QVR_ergoSpeaker::TakeLabels() {
  const std::vector<std::string> words = SplitWords(TakeLines());
  std::size_t first = 0;
  for (FileNode& node : nodes) {
    const auto count = static_cast<std::size_t>(node.outcomes);
    if (words.size() - first < count) {
      Report(QVR_SYNTAX_ERROR, "ERROR: Wrong number of labels");
      return;
    }
    node.labels.Flush();
    for (std::size_t i = 0; i < count; ++i) {
      node.labels.Add(words[first + i].c_str());
    }
    first += count;
  }
}

// From where the file counts parents: 1, as our own files do, unless something speaks for 0.
int QVR_ergoSpeaker::FindBase() const {
  const auto occurs = [this](int index) {
    return std::any_of(nodes.begin(), nodes.end(), [index](const FileNode& node) {
      return std::find(node.parents.begin(), node.parents.end(), index) != node.parents.end();
    });
  };
  if (occurs(0)) {
    return 0;
  }
  return occurs(static_cast<int>(nodes.size())) || FitsBase(1) || !FitsBase(0) ? 1 : 0;
}

bool QVR_ergoSpeaker::FitsBase(int base) const {
  for (const FileNode& node : nodes) {
    long long cells = node.outcomes;
    for (int parent : node.parents) {
      const long long index = static_cast<long long>(parent) - base;
      if (index < 0 || index >= static_cast<long long>(nodes.size())) {
        return false;
      }
      // No file has more entries than an int can count.
      cells = std::min(cells * nodes[static_cast<std::size_t>(index)].outcomes, 1LL << 32);
    }
    if (node.line > 0 && cells != node.entries) {
      return false;
    }
  }
  return IsAcyclic(base);
}

// Takes away nodes without parents until there is none. All indices are those of nodes.
bool QVR_ergoSpeaker::IsAcyclic(int base) const {
  std::vector<std::vector<std::size_t>> children(nodes.size());
  std::vector<std::size_t> parentsLeft(nodes.size());
  std::vector<std::size_t> open;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    for (int parent : nodes[i].parents) {
      children[static_cast<std::size_t>(parent - base)].push_back(i);
    }
    parentsLeft[i] = nodes[i].parents.size();
    if (parentsLeft[i] == 0) {
      open.push_back(i);
    }
  }
  std::size_t taken = 0;
  for (; !open.empty(); ++taken) {
    const std::size_t i = open.back();
    open.pop_back();
    for (std::size_t child : children[i]) {
      if (--parentsLeft[child] == 0) {
        open.push_back(child);
      }
    }
  }
  return taken == nodes.size();
}

int QVR_ergoSpeaker::BuildNetwork() {
  if (const int status = BuildNodes(); status < 0) {
    return status;
  }
  BuildArcs(FindBase());
  BuildTables();
  return QVR_OKAY;
}

// Outcomes before any arc: a node with children keeps its number of them.
int QVR_ergoSpeaker::BuildNodes() {
  WrittenNames names(network);
  for (FileNode& node : nodes) {
    int handle = QVR_OUT_OF_RANGE;
    if (!node.name.empty()) {
      handle = names.AddNode(kTypeCpt, node.name);
      if (handle < 0) {
        Report(handle, "ERROR: [" + node.name + "] Duplicated Identifier");
      }
    }
    if (handle < 0) {
      handle = network.AddNode(kTypeCpt, nullptr);
    }
    if (handle < 0 || network.NodeAt(handle)->definition == nullptr) {
      return QVR_OUT_OF_MEMORY;
    }
    nodeHandles.push_back(handle);
    QVR_node& made = *network.NodeAt(handle);
    made.definition->SetNumberOfOutcomes(node.outcomes);
    if (node.labels.GetNumItems() > 0) {
      made.definition->RenameOutcomes(node.labels);
    }
    SetNodeCentre(network, handle, node.centerX, node.centerY);
  }
  return QVR_OKAY;
}

void QVR_ergoSpeaker::BuildArcs(int base) {
  if (base == 0) {
    GetErrorLog().Log(QVR_FILE_ERROR_100, "Warning: The file counts parents from 0");
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    for (int parent : nodes[i].parents) {
      const long long index = static_cast<long long>(parent) - base;
      const bool isNode = index >= 0 && index < static_cast<long long>(nodes.size());
      const int handle = isNode ? nodeHandles[static_cast<std::size_t>(index)] : QVR_OUT_OF_RANGE;
      const auto entries = static_cast<std::size_t>(nodes[i].table.GetNumItems());
      const int status = isNode ? AddTableParent(network, handle, nodeHandles[i], entries) : QVR_OUT_OF_RANGE;
      if (status < 0) {
        Report(status, "ERROR: Couldn't Add Arc From Parent Node (\"" +
                           (isNode ? network.NodeAt(handle)->GetId() : std::to_string(parent)) + "\")");
      }
    }
  }
}

void QVR_ergoSpeaker::BuildTables() {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    FileNode& node = nodes[i];
    QVR_node& made = *network.NodeAt(nodeHandles[i]);
    if (node.line == 0) {
      continue;
    }
    if (node.entries != made.definition->GetSize()) {
      ReportAt(node.line, QVR_OUT_OF_RANGE, "ERROR:'" + made.GetId() + "' : Invalid table size");
    } else if (const int status = SetProbabilityRows(network, nodeHandles[i], std::move(node.table));
               status < 0) {
      ReportAt(node.line, status, "ERROR: Couldn't set probabilities");
    }
  }
}

}  // namespace qvr
