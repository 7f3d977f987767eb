#include "formats/written_names.h"

#include "model/identifier.h"
#include "model/network.h"

namespace qvr {

int WrittenNames::AddNode(int definitionType, const std::string& name) {
  if (handles.contains(name)) {
    return QVR_OUT_OF_RANGE;
  }
  const int handle = network.AddNode(definitionType, MakeIdentifier(name).c_str());
  if (handle >= 0) {
    handles.emplace(name, handle);
  }
  return handle;
}

void WrittenNames::DeleteNode(const std::string& name) {
  if (const auto found = handles.find(name); found != handles.end()) {
    network.DeleteNode(found->second);
    handles.erase(found);
  }
}

bool WrittenNames::NameNode(int handle, const std::string& name) {
  if (handles.contains(name)) {
    return false;
  }
  QVR_node& node = *network.NodeAt(handle);
  if (node.GetId() != name && node.SetId(MakeIdentifier(name).c_str()) < 0) {
    return false;
  }
  handles.emplace(name, handle);
  return true;
}

int WrittenNames::Find(const std::string& name) const {
  const auto found = handles.find(name);
  return found == handles.end() ? QVR_OUT_OF_RANGE : found->second;
}

std::string WrittenNames::MakeIdentifier(const std::string& name) {
  std::string base = name.empty() ? "x" : name;
  if (!IsPlainIdentifier(base)) {
    MakeValidIdentifier(base);
  }
  std::string id = base;
  if (network.IsIdentifierTaken(id.c_str(), -1)) {
    int& number = lastNumbers.try_emplace(base, 1).first->second;
    do {
      id = base + std::to_string(++number);
    } while (network.IsIdentifierTaken(id.c_str(), -1));
  }
  return id;
}

}  // namespace qvr
