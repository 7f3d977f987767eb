#include "app/result_table.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "model/special_numbers.h"

namespace qvr {

namespace {

constexpr int kSignificantDigits = 6;

// Removed unless it was renamed.
class TemporaryFile {
 public:
  // A new file beside the named one; the process number keeps runs in one folder apart.
  explicit TemporaryFile(const std::string& fileName) {
    const std::string stem = fileName + "." + std::to_string(getpid()) + ".";
    for (int attempt = 0; attempt < kAttempts && file == nullptr; ++attempt) {
      name = stem + std::to_string(attempt);
      file = std::fopen(name.c_str(), "wbx");
      if (file == nullptr && errno != EEXIST) {
        break;
      }
    }
    exists = file != nullptr;
  }
  ~TemporaryFile() {
    if (file != nullptr) {
      std::fclose(file);
    }
    if (exists) {
      std::remove(name.c_str());
    }
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  [[nodiscard]] bool IsOpen() const { return file != nullptr; }

  // False, with the reason in errno, as for all below.
  bool Write(const std::string& text) {
    return std::fwrite(text.data(), 1, text.size(), file) == text.size();
  }

  // Everything is on disk and the file closed.
  bool Finish() {
    const bool stored = std::fflush(file) == 0 && fsync(fileno(file)) == 0;
    const int reason = errno;
    const bool closed = std::fclose(file) == 0;
    file = nullptr;
    if (!stored) {
      errno = reason;
    }
    return stored && closed;
  }

  bool RenameTo(const std::string& fileName) {
    exists = std::rename(name.c_str(), fileName.c_str()) != 0;
    return !exists;
  }

 private:
  static constexpr int kAttempts = 100;

  std::FILE* file = nullptr;
  std::string name;
  bool exists = false;
};

bool WriteRows(TemporaryFile& file, const std::vector<std::vector<double>>& resultRows,
               const std::vector<std::string>& resultHeader) {
  std::string line;
  for (const std::string& cell : resultHeader) {
    line += cell;
    line += ',';
  }
  line += '\n';
  if (!file.Write(line)) {
    return false;
  }
  for (const std::vector<double>& row : resultRows) {
    line.clear();
    for (double cell : row) {
      line += FormatGeneral(cell, kSignificantDigits);
      line += ',';
    }
    line += '\n';
    if (!file.Write(line)) {
      return false;
    }
  }
  return true;
}

}  // namespace

Failure WriteResultTable(const std::string& fileName, const std::vector<std::vector<double>>& resultRows,
                         const std::vector<std::string>& resultHeader) {
  TemporaryFile file(fileName);
  if (file.IsOpen() && WriteRows(file, resultRows, resultHeader) && file.Finish() &&
      file.RenameTo(fileName)) {
    return std::nullopt;
  }
  return fileName + ": can't write the file: " + std::generic_category().message(errno);
}

}  // namespace qvr
