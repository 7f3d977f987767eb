#include "definitions/outcome_names.h"

#include "model/status.h"

namespace qvr {

int NameCount(const QVR_stringArray& names) {
  return names.GetNumItems() > 0 ? names.GetNumItems() : names.GetSize();
}

int TakeNames(QVR_idArray& target, const QVR_stringArray& names) {
  if (const auto* ids = dynamic_cast<const QVR_idArray*>(&names)) {
    target.SetAllowEmpty(ids->AllowsEmpty());
  }
  if (!names.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  QVR_stringArray list;
  for (int i = 0; i < NameCount(names); ++i) {
    if (int status = list.Add(names.Get(i)); status < 0) {
      return status;
    }
  }
  return target.Copy(list);
}

int ReplaceNames(QVR_idArray& names, const QVR_stringArray& given, int count) {
  if (NameCount(given) < count) {
    return QVR_OUT_OF_RANGE;
  }
  const QVR_stringArray source(given);
  names.Flush();
  for (int i = 0; i < count; ++i) {
    if (int status = names.AddUniqueId(source.Get(i), -1); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int InsertName(QVR_idArray& names, int position, const char* name, const char* base) {
  return names.Insert(position, name) >= 0 ? QVR_OKAY
                                           : names.InsertUniqueId(base, names.GetNumItems(), position);
}

int FillUpNames(QVR_idArray& names, const char* base, int count) {
  for (int i = names.GetNumItems(); i < count; ++i) {
    if (int status = names.AddUniqueId(base, i); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
