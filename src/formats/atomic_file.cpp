#include "formats/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "model/status.h"

namespace qvr {
namespace {

constexpr std::size_t kBufferSize = 1 << 16;
constexpr int kAttempts = 100;
constexpr int kMaxLinks = 40;
constexpr std::size_t kMaxStem = 200;  // a file name has at most 255 bytes, and a suffix is to come
constexpr mode_t kPermissions = 0777;
constexpr mode_t kNewFile = 0666;

// What the chain of symbolic links that begins with `path` ends at, whether it exists or not. False, with
// the reason in errno, for a chain without an end and for an empty path.
bool FollowLinks(std::string& path) {
  if (path.empty()) {
    errno = ENOENT;
    return false;
  }
  std::error_code error;
  for (int i = 0; i < kMaxLinks; ++i) {
    if (!std::filesystem::is_symlink(path, error)) {
      return true;
    }
    const std::filesystem::path next = std::filesystem::read_symlink(path, error);
    path = (std::filesystem::path(path).parent_path() / next).string();
  }
  errno = ELOOP;
  return false;
}

// As far as the system lets it: only root may give files away, but the group alone may be allowed.
void KeepOwner(int descriptor, const struct stat& old) {
  if (fchown(descriptor, old.st_uid, old.st_gid) != 0) {
    [[maybe_unused]] const int groupOnly = fchown(descriptor, static_cast<uid_t>(-1), old.st_gid);
  }
}

}  // namespace

AtomicFile::AtomicFile(const std::string& fileName) : target(fileName) {
  struct stat old = {};
  const bool exists = stat(target.c_str(), &old) == 0;
  if (exists && !S_ISREG(old.st_mode)) {
    descriptor = open(target.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) {
      Fail();
    }
    return;
  }
  // Replacing a file needs no right to write to it; whoever took that right away didn't want it replaced.
  if (!FollowLinks(target) || (exists && access(target.c_str(), W_OK) != 0)) {
    Fail();
    return;
  }
  OpenTemporary(static_cast<int>(exists ? old.st_mode & kPermissions : kNewFile));
  if (exists && IsOpen()) {
    KeepOwner(descriptor, old);
    if (fchmod(descriptor, old.st_mode & kPermissions) != 0) {
      Fail();
    }
  }
}

AtomicFile::~AtomicFile() {
  Close();
  RemoveTemporary();
}

// The process number keeps programs that write the same file apart, the count those that left one behind.
void AtomicFile::OpenTemporary(int mode) {
  const std::size_t leaf = target.rfind('/') + 1;  // 0 without a folder
  const std::string stem = target.substr(0, leaf + kMaxStem) + "." + std::to_string(getpid()) + ".";
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    temporary = stem + std::to_string(attempt);
    descriptor = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (descriptor >= 0) {
      return;
    }
    if (errno != EEXIST) {
      break;
    }
  }
  Fail();
  temporary.clear();
}

bool AtomicFile::Fail() {
  if (failure == 0) {
    failure = errno;
  }
  return false;
}

bool AtomicFile::Write(std::string_view text) {
  if (failure != 0) {
    return false;
  }
  buffer.append(text);
  return buffer.size() < kBufferSize || Flush();
}

bool AtomicFile::Flush() {
  std::string_view left = buffer;
  while (failure == 0 && !left.empty()) {
    const ssize_t written = write(descriptor, left.data(), left.size());
    if (written >= 0) {
      left.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      Fail();
    }
  }
  buffer.clear();
  return failure == 0;
}

bool AtomicFile::Close() {
  const int closing = descriptor;
  descriptor = -1;
  return closing < 0 || close(closing) == 0 || Fail();
}

int AtomicFile::Commit() {
  const bool isTemporary = !temporary.empty();
  if (!Flush() || (isTemporary && fsync(descriptor) != 0)) {
    Fail();
  }
  Close();
  if (failure == 0 && isTemporary) {
    if (std::rename(temporary.c_str(), target.c_str()) == 0) {
      temporary.clear();
    } else {
      Fail();
    }
  }
  RemoveTemporary();
  return failure == 0 ? QVR_OKAY : QVR_FILE_IO_FAILED;
}

void AtomicFile::RemoveTemporary() {
  if (!temporary.empty()) {
    std::remove(temporary.c_str());
    temporary.clear();
  }
}

}  // namespace qvr
