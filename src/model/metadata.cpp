#include "model/metadata.h"

#include <algorithm>

#include "model/identifier.h"
#include "model/status.h"

namespace qvr {

void QVR_creation::CleanUp(int deep) {
  creator.clear();
  created.clear();
  modified.clear();
  QVR_object::CleanUp(deep);
}

void QVR_userProperties::CleanUp(int deep) {
  names.CleanUp(deep);
  values.CleanUp(deep);
  QVR_object::CleanUp(deep);
}

void QVR_userProperties::CheckConsistency(int deep) {
  names.CheckConsistency(deep);
  SetConsistent(names.IsConsistent() && names.GetNumItems() == values.GetNumItems());
}

const char* QVR_userProperties::GetValue(int i) const {
  const char* const value = values.Get(i);
  return value != nullptr ? value : "";
}

int QVR_userProperties::Add(const char* name, const char* value) { return Insert(GetCount(), name, value); }

int QVR_userProperties::Insert(int i, const char* name, const char* value) {
  if (names.IsValidNew(name) == 0) {
    return QVR_OUT_OF_RANGE;
  }
  if (const int status = values.Insert(i, value); status < 0) {
    return status;
  }
  const int status = names.Insert(i, name);
  if (status < 0) {
    values.Delete(i);
  }
  return status;
}

int QVR_userProperties::Find(const char* name) const {
  return name != nullptr ? names.FindId(name) : QVR_OUT_OF_RANGE;
}

int QVR_userProperties::Delete(int i) {
  if (i < 0 || i >= GetCount()) {
    return QVR_OUT_OF_RANGE;
  }
  values.Delete(i);
  return names.Delete(i);
}

int QVR_userProperties::Set(int position, const char* name, const char* value) {
  const int former = Find(name);
  if (former < 0) {
    return Insert(position, name, value);
  }
  if (former == position) {
    return values.SetItem(position, value);
  }
  const int place = std::max(position - 1, 0);
  if (position < 0 || place >= GetCount() || !IsPlainIdentifier(name)) {
    return QVR_OUT_OF_RANGE;
  }
  const std::string keptName = name;  // both texts may be the ones that go
  const std::string keptValue = value != nullptr ? value : "";
  Delete(former);
  return Insert(place, keptName.c_str(), keptValue.c_str());
}

int QVR_userProperties::Copy(const QVR_userProperties& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  int status = names.Copy(other.names);
  if (status == QVR_OKAY) {
    status = values.Copy(other.values);
  }
  if (status < 0) {
    CleanUp(0);
  }
  return status;
}

void QVR_documentation::CleanUp(int deep) {
  titles.CleanUp(deep);
  links.CleanUp(deep);
  QVR_object::CleanUp(deep);
}

void QVR_documentation::CheckConsistency(int deep) {
  titles.CheckConsistency(deep);
  SetConsistent(titles.IsConsistent() && titles.GetNumItems() == links.GetNumItems());
}

int QVR_documentation::Copy(const QVR_documentation& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  int status = titles.Copy(other.titles);
  if (status == QVR_OKAY) {
    status = links.Copy(other.links);
  }
  if (status < 0) {
    CleanUp(0);
  }
  return status;
}

int QVR_screenInfo::InheritFrom(const QVR_screenInfo& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const auto inherit = [](int& own, int marker, int others) {
    if (own == marker) {
      own = others;
    }
  };
  inherit(position.width, 0, other.position.width);
  inherit(position.height, 0, other.position.height);
  inherit(color, kInherit, other.color);
  inherit(selectionColor, kInherit, other.selectionColor);
  inherit(font, kInherit, other.font);
  inherit(fontColor, kInherit, other.fontColor);
  inherit(borderThickness, kInherit, other.borderThickness);
  inherit(borderColor, kInherit, other.borderColor);
  return QVR_OKAY;
}

}  // namespace qvr
