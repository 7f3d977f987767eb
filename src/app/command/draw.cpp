// qvr draw: the graph of a network as a picture.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

#include "app/command/commands.h"
#include "app/command/dot_graph.h"
#include "app/command/network_input.h"
#include "app/command/node_answer.h"
#include "formats/atomic_file.h"

namespace qvr {

namespace {

Failure WriteFailure(const std::string& file, int error) {
  return file + ": can't write the file: " + std::generic_category().message(error);
}

Failure WriteFile(const std::string& file, const std::string& content) {
  AtomicFile output(file);
  if (output.IsOpen() && output.Write(content) && output.Commit() == QVR_OKAY) {
    return std::nullopt;
  }
  return WriteFailure(file, output.GetFailure());
}

// Writes everything to the pipe and closes it. What a reader that has gone didn't take shows in its exit
// code.
void Feed(int pipeEnd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(pipeEnd, text.data(), text.size());
    if (written < 0 && errno != EINTR) {
      break;
    }
    text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
  }
  close(pipeEnd);
}

int ExitCodeOf(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs Graphviz's dot on the graph.
Failure LayOut(const std::string& dot, const std::string& type, const std::string& file) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    return "can't start Graphviz: " + std::generic_category().message(errno);
  }
  std::string typeOption = "-T" + type;
  std::string outputOption = "-o" + file;
  std::string program = "dot";
  const std::array<char*, 4> arguments = {program.data(), typeOption.data(), outputOption.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
  pid_t process = 0;
  const int error = posix_spawnp(&process, "dot", &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[0]);
  if (error != 0) {
    close(ends[1]);
    return file + ": drawing ." + type + " needs the program 'dot' of Graphviz (Debian package graphviz): " +
           std::generic_category().message(error);
  }
  std::signal(SIGPIPE, SIG_IGN);
  Feed(ends[1], dot);
  if (ExitCodeOf(process) != 0) {
    return file + ": Graphviz's dot couldn't draw it";
  }
  return std::nullopt;
}

}  // namespace

Failure Draw(const DrawOptions& options) {
  QVR_network network;
  if (Failure failure = OpenNetwork(options.file, network)) {
    return failure;
  }
  const bool withBars = !options.evidence.IsEmpty();
  if (withBars) {
    ApplySolver(options.solver, network);
    network.ClearAllTargets();
    if (Failure failure = EnterEvidence(options.evidence, network)) {
      return failure;
    }
    if (Failure failure = UpdateFailure(network.UpdateBeliefs())) {
      return failure;
    }
  }
  const std::string dot = DotGraph(network, withBars);
  const std::string type = options.output.substr(options.output.rfind('.') + 1);
  return type == "dot" ? WriteFile(options.output, dot) : LayOut(dot, type, options.output);
}

}  // namespace qvr
