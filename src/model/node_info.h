// Identifier, name and comment of a node or submodel, and what else describes a node.
#ifndef QVR_MODEL_NODE_INFO_H
#define QVR_MODEL_NODE_INFO_H

#include <string>

#include "model/metadata.h"
#include "model/object.h"

namespace qvr {

class QVR_node;
class QVR_submodelHandler;

class QVR_header : public QVR_object {
 public:
  QVR_header() { SetReady(true); }

  void CheckConsistency(int deep) override;  // holds exactly for a valid identifier

  [[nodiscard]] const std::string& GetId() const { return id; }
  [[nodiscard]] const std::string& GetName() const { return name; }
  [[nodiscard]] const std::string& GetComment() const { return comment; }

  // -30 with "Illegal identifier" for a text that is none; -30 alone if the owner's network has it
  // already. The network and the children's definitions are told of the change.
  int SetId(const char* text);
  // Null clears. The text may point into the present content.
  int SetName(const char* text);
  int SetComment(const char* text);
  int Copy(const QVR_header& other);  // -567 if the source isn't ready; by SetId's rules
  // The three texts as they stand, untested and with nobody told; whom the header belongs to stays.
  void Clone(const QVR_header& other);

  QVR_node* owner = nullptr;                 // null for a header of no node
  QVR_submodelHandler* submodels = nullptr;  // that holds the header's submodel in `submodelSlot`, or null
  int submodelSlot = -1;

 private:
  std::string id;
  std::string name;
  std::string comment;
};

class QVR_nodeInfo : public QVR_object {
 public:
  QVR_nodeInfo() { SetReady(true); }
  QVR_nodeInfo(const QVR_nodeInfo& other);
  QVR_nodeInfo& operator=(const QVR_nodeInfo&) = delete;

  void CleanUp(int deep) override;
  void CheckReady(int deep) override;
  void CheckConsistency(int deep) override;

  QVR_header header;
  QVR_screenInfo screen;
  QVR_userProperties userProperties;
  QVR_documentation documentation;
};

}  // namespace qvr

#endif
