#include <algorithm>
#include <string_view>

#include "model/error_log.h"
#include "model/network.h"

namespace qvr {

namespace {

constexpr const char* kTestGroupProperty = "DIAG_TESTGROUPCOST";

char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

int QVR_network::AddCostArc(int parent, int child) {
  if (!IsValidHandle(parent) || !IsValidHandle(child) || parent == child) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_intArray& children = Entry(parent).costChildren;
  QVR_intArray& parents = Entry(child).costParents;
  if (int status = children.Add(child); status < 0) {
    return status;
  }
  if (int status = parents.Add(parent); status < 0) {
    children.Delete(children.GetNumItems() - 1);
    return status;
  }
  if (Entry(child).node->cost->AddCostParent(parent) < 0) {
    children.Delete(children.GetNumItems() - 1);
    parents.Delete(parents.GetNumItems() - 1);
    return GetErrorLog().Log(QVR_OUT_OF_RANGE, "Arc cannot be added");
  }
  return QVR_OKAY;
}

int QVR_network::RemoveCostArc(int parent, int child) {
  if (!IsValidHandle(parent) || !IsValidHandle(child) || parent == child ||
      !HasArc(parent, child, kCostLayer)) {
    return QVR_OUT_OF_RANGE;
  }
  const int status = Entry(child).node->cost->RemoveCostParent(parent);
  QVR_intArray& children = Entry(parent).costChildren;
  children.DeleteValue(child);
  if (children.GetNumItems() == 0 && IsTestGroupCost(parent)) {
    // A test group exists only while it has members.
    QVR_userProperties& properties = Entry(parent).node->info->userProperties;
    properties.Delete(properties.Find(kTestGroupProperty));
  }
  Entry(child).costParents.DeleteValue(parent);
  if (status == QVR_OUT_OF_MEMORY) {
    Entry(child).node->cost->Rebuild();  // its table couldn't follow
  }
  return QVR_OKAY;
}

void QVR_network::RebuildCostChildren(int handle) {
  const QVR_intArray& list = GetChildren(handle, kCostLayer);
  std::vector<int> children(list.begin(), list.end());
  std::sort(children.begin(), children.end());
  children.erase(std::unique(children.begin(), children.end()), children.end());
  for (int child : children) {
    Entry(child).node->cost->Rebuild();
  }
}

bool QVR_network::IsTestGroupCost(int handle) const {
  const QVR_node* node = NodeAt(handle);
  const int position = node != nullptr ? node->info->userProperties.Find(kTestGroupProperty) : -1;
  if (position < 0) {
    return false;
  }
  const std::string_view value = node->info->userProperties.GetValue(position);
  const std::string_view wanted = "true";
  return std::equal(value.begin(), value.end(), wanted.begin(), wanted.end(),
                    [](char a, char b) { return LowerAscii(a) == b; });
}

}  // namespace qvr
