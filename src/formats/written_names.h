// Nodes by the names that stand in a file, which need not be identifiers.
#ifndef QVR_FORMATS_WRITTEN_NAMES_H
#define QVR_FORMATS_WRITTEN_NAMES_H

#include <string>
#include <unordered_map>

namespace qvr {

class QVR_network;

// Serves one load. A node gets its written name as identifier if that is one and free, else the nearest one
// that is; whatever it got, the file's references find it by the name as written.
class WrittenNames {
 public:
  explicit WrittenNames(QVR_network& newNetwork) : network(newNetwork) {}

  // The new handle; -2 for a name written before, or the code of QVR_network::AddNode.
  int AddNode(int definitionType, const std::string& name);
  void DeleteNode(const std::string& name);
  // For a node that the file names after it was made. False for a name written before.
  bool NameNode(int handle, const std::string& name);
  [[nodiscard]] int Find(const std::string& name) const;  // the handle, or -2

 private:
  [[nodiscard]] std::string MakeIdentifier(const std::string& name);

  QVR_network& network;
  std::unordered_map<std::string, int> handles;
  std::unordered_map<std::string, int> lastNumbers;  // behind the identifiers that had to be told apart
};

}  // namespace qvr

#endif
