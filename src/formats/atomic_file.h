// A file that appears whole or not at all.
#ifndef QVR_FORMATS_ATOMIC_FILE_H
#define QVR_FORMATS_ATOMIC_FILE_H

#include <string>
#include <string_view>

namespace qvr {

// Writes to a temporary file beside the named one, which takes its name when everything is on disk: after a
// failure, or a crash, the old file is whole. The new file has the mode, and if the system lets it the
// owner, of the old one; a symbolic link stays and its target is replaced. What is no regular file, such as
// a device or a pipe, is written to directly.
class AtomicFile {
 public:
  explicit AtomicFile(const std::string& fileName);
  // Without a successful Commit the temporary file goes.
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  [[nodiscard]] bool IsOpen() const { return descriptor >= 0; }
  // False from the first failure on, in which case Commit fails as well. The text may be gathered for later.
  bool Write(std::string_view text);
  // Everything is on disk under the file's name, and the file closed: 0, or -103 with the old file as it was.
  [[nodiscard]] int Commit();
  // The errno of the first failure, 0 before it.
  [[nodiscard]] int GetFailure() const { return failure; }

 private:
  void OpenTemporary(int mode);
  bool Fail();  // keeps the first errno; false
  bool Flush();
  bool Close();
  void RemoveTemporary();

  std::string target;
  std::string temporary;  // empty while there's none
  std::string buffer;
  int descriptor = -1;
  int failure = 0;
};

}  // namespace qvr

#endif
