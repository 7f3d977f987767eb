// Whatever loads from the XML network format is saved and loaded again without loss.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "formats/xml_net_loader.h"
#include "formats/xml_net_saver.h"
#include "model/error_log.h"
#include "support/network_builder.h"
#include "support/network_equality.h"

namespace qvr {
namespace {

void Demand(bool holds, const std::string& what) {
  if (!holds) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::abort();
  }
}

std::string LastMessage() {
  const int count = GetErrorLog().GetCount();
  return count == 0 ? "" : GetErrorLog().GetMessage(count - 1);
}

bool Load(const std::string& text, QVR_network& network) {
  return LoadXmlNetwork(nullptr, text.c_str(), network, nullptr);
}

std::string Save(QVR_network& network) {
  std::string text;
  Demand(SaveXmlNetwork(nullptr, &text, network, nullptr), LastMessage());
  return text;
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < ' '; }

// Identifiers are attributes, which lose control characters: two could become one.
bool HasPlainIdentifiers(const QVR_network& network) {
  const std::vector<int> handles = AllNodes(network);
  return std::none_of(handles.begin(), handles.end(), [&network](int handle) {
    const std::string& id = network.NodeAt(handle)->GetId();
    return std::any_of(id.begin(), id.end(), IsControl);
  });
}

// With what attributes lose, and what stands in its place, taken away.
NetworkFields ListLastingFields(QVR_network& network) {
  NetworkFields fields = ListFields(network);
  for (auto& [path, text] : fields.texts) {
    std::erase_if(text, [](char c) { return IsControl(c) || c == '.'; });
  }
  return fields;
}

void CheckRoundTrip(QVR_network& network) {
  constexpr double kDigits = 1e-15;
  const std::string text = Save(network);
  QVR_network again;
  Demand(Load(text, again), LastMessage());
  Demand(again.CheckInvariants().empty(), again.CheckInvariants());
  const std::string difference =
      FirstDifference(ListLastingFields(network), ListLastingFields(again), kDigits);
  Demand(difference.empty(), difference);
  Demand(Save(again) == text, "the second save differs");
}

}  // namespace
}  // namespace qvr

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qvr::QVR_network network;
  if (qvr::Load(std::string(data, data + size), network) && qvr::HasPlainIdentifiers(network)) {
    qvr::CheckRoundTrip(network);
  }
  qvr::GetErrorLog().Clear();
  return 0;
}
