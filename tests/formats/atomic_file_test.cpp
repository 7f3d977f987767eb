#include "formats/atomic_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>

#include "model/status.h"
#include "support/test_folder.h"

namespace qvr {
namespace {

namespace fs = std::filesystem;

int WriteAll(const std::string& path, const std::string& text, int& failure) {
  AtomicFile file(path);
  file.Write(text);
  const int result = file.Commit();
  failure = file.GetFailure();
  return result;
}

// Writes of more than so many bytes to one file fail while this lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &saved);
    const rlimit small = {.rlim_cur = bytes, .rlim_max = saved.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, oldHandler);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit saved = {};
  void (*oldHandler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST(AtomicFile, ReplacesWhatTheNameStandsForAndKeepsItsMode) {
  const TestFolder folder;
  folder.Write("old", "old text");
  folder.Write(std::string(250, 'n'), "a name without room for a suffix");
  chmod(folder.Path(std::string(250, 'n')).c_str(), 0644);
  chmod(folder.Path("old").c_str(), 0640);
  fs::create_directories(folder.Path("sub"));
  fs::create_symlink("../old", folder.Path("sub/link"));
  fs::create_symlink("sub/link", folder.Path("chain"));
  fs::create_symlink("made", folder.Path("dangling"));
  struct {
    std::string name;
    std::string written;
    fs::perms mode;
  } const cases[] = {
      {"new", "new", fs::perms(0644)},
      {"old", "old", fs::perms(0640)},
      {"chain", "old", fs::perms(0640)},
      {"dangling", "made", fs::perms(0644)},
      {std::string(250, 'n'), std::string(250, 'n'), fs::perms(0644)},
  };
  const std::string text(200'000, 'x');
  const mode_t savedMask = umask(022);
  for (const auto& c : cases) {
    int failure = 0;
    EXPECT_EQ(WriteAll(folder.Path(c.name), c.name + text, failure), QVR_OKAY) << c.name;
    EXPECT_EQ(folder.Read(c.written), c.name + text);
    EXPECT_EQ(fs::status(folder.Path(c.written)).permissions(), c.mode) << c.name;
  }
  umask(savedMask);
  EXPECT_TRUE(fs::is_symlink(folder.Path("chain")) && fs::is_symlink(folder.Path("dangling")));
  EXPECT_EQ(folder.FileNames().size(), 7U) << "temporary files are left";
}

TEST(AtomicFile, AFailureLeavesEverythingAsItWas) {
  const TestFolder folder;
  folder.Write("old", "old text");
  fs::create_directories(folder.Path("directory"));
  fs::create_symlink("loop", folder.Path("loop"));
  const std::string large(300'000, 'x');
  struct {
    std::string path;
    int failure;
  } const cases[] = {
      {folder.Path("directory"), EISDIR},
      {folder.Path("old/below"), ENOTDIR},
      {folder.Path("loop"), ELOOP},
      {folder.Path("no/folder"), ENOENT},
      {"", ENOENT},
      {"/dev/full", ENOSPC},
      {folder.Path("old"), EFBIG},
      {folder.Path("absent"), EFBIG},
  };
  const std::set<std::string> before = folder.FileNames();
  const FileSizeLimit limit(100'000);
  for (const auto& c : cases) {
    int failure = 0;
    EXPECT_EQ(WriteAll(c.path, large, failure), QVR_FILE_IO_FAILED) << c.path;
    EXPECT_EQ(failure, c.failure) << c.path;
  }
  {
    AtomicFile abandoned(folder.Path("old"));
    EXPECT_TRUE(abandoned.Write(large.substr(0, 80'000)));
  }
  EXPECT_EQ(folder.Read("old"), "old text");
  EXPECT_EQ(folder.FileNames(), before);
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

}  // namespace
}  // namespace qvr
