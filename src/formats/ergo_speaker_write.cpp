// Writing the Ergo format.
#include <algorithm>

#include "formats/ergo_speaker.h"
#include "formats/foreign_network.h"
#include "formats/table_exchange.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {
namespace {

bool FitsFormat(QVR_network& network, const QVR_intArray& handles) {
  return std::all_of(handles.begin(), handles.end(), [&network](int handle) {
    const int outcomes = network.NodeAt(handle)->GetNumberOfOutcomes();
    return HasProbabilities(network.NodeAt(handle)->GetType()) && outcomes <= kMaxStatedOutcomes &&
           HasWritableTable(network, handle);
  });
}

}  // namespace

int QVR_ergoSpeaker::WriteFile(const char* fileName) {
  QVR_intArray handles;
  network.GetAllNodes(handles);
  if (!FitsFormat(network, handles)) {
    return GetErrorLog().Log(QVR_OUT_OF_RANGE, "ERROR: This Network cannot be saved in Ergo format");
  }
  if (const int status = StartWriting(fileName); status < 0) {
    return status;
  }
  WriteHeader(handles);
  WriteNames(handles);
  WriteCenters(handles);
  WriteTables(handles);
  return textFile.Close();
}

// Parents are counted from 1.
void QVR_ergoSpeaker::WriteHeader(const QVR_intArray& handles) {
  std::vector<int> places(static_cast<std::size_t>(network.GetTableSize()));
  Write(std::to_string(handles.GetNumItems()) + "\n\n");
  for (int i = 0; i < handles.GetNumItems(); ++i) {
    places[static_cast<std::size_t>(handles[i])] = i + 1;
    Write(std::to_string(network.NodeAt(handles[i])->GetNumberOfOutcomes()) + " ");
  }
  Write("\n\n");
  for (int handle : handles) {
    const QVR_intArray& parents = network.GetParents(handle);
    Write(std::to_string(parents.GetNumItems()));
    for (int parent : parents) {
      Write(" " + std::to_string(places[static_cast<std::size_t>(parent)]));
    }
    Write("\n");
  }
}

// A name has a line of its own, however long it is.
void QVR_ergoSpeaker::WriteNames(const QVR_intArray& handles) {
  Write("\n/*\tNames\t*/\n");
  const std::vector<std::string> writtenIds = MakeWrittenIds(network);
  for (int handle : handles) {
    textFile.WriteRaw(writtenIds[static_cast<std::size_t>(handle)] + "\n", kWritePlain);
  }
  Write("\n/*\tLabels\t*/\n");
  for (int handle : handles) {
    const QVR_stringArray& names = *network.NodeAt(handle)->definition->GetOutcomeNames();
    for (int i = 0; i < names.GetNumItems(); ++i) {
      Write(names.Get(i));
      Write(i + 1 < names.GetNumItems() ? " " : "\n");
    }
  }
}

void QVR_ergoSpeaker::WriteCenters(const QVR_intArray& handles) {
  Write("\n/*\tCenters\t*/\n");
  for (int handle : handles) {
    const QVR_rectangle& position = network.NodeAt(handle)->info->screen.position;
    Write(std::to_string(position.centerX) + "\t" + std::to_string(position.centerY) + "\n");
  }
}

// The number of entries, then a line, or more, for each row.
void QVR_ergoSpeaker::WriteTables(const QVR_intArray& handles) {
  Write("\n/*\tProbabilities\t*/\n");
  for (int handle : handles) {
    const std::span<const double> cells = GetWritableTable(network, handle)->GetItems().Vector();
    const auto outcomes = static_cast<std::size_t>(network.NodeAt(handle)->GetNumberOfOutcomes());
    Write(std::to_string(cells.size()) + "\n");
    for (std::size_t i = 0; i < cells.size(); ++i) {
      Write(NumberToText(cells[i]));
      Write((i + 1) % outcomes == 0 ? "\n" : " ");
    }
  }
}

}  // namespace qvr
