// qvr: graphical decision models on the command line.
#include <csignal>
#include <cstdio>
#include <exception>

#include "app/command/command_line.h"

int main(int argumentCount, char** arguments) {
  // A limit on file sizes then fails the write, and the run ends like any other that can't write.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return qvr::RunCommandLine(argumentCount, arguments);
  } catch (const std::exception&) {  // what containers throw when memory is short
    std::fputs("qvr: out of memory\n", stderr);
    return 1;
  }
}
