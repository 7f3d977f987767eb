// Reads the input as the draws of a random life: each edit must leave the network whole and every number in
// its place, and a copy must be whole as well.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "agreement/editor.h"
#include "model/error_log.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr int kMaxSteps = 200;
  testing::GTEST_FLAG(break_on_failure) = true;
  qvr::Editor editor(qvr::TestRandom({data, size}));
  for (int step = 0; step < kMaxSteps && editor.random.HasBytes(); ++step) {
    editor.EditOnce();
    editor.RepairTables();
    static_cast<void>(editor.network.UpdateBeliefs());
  }
  const qvr::QVR_network copy(editor.network);
  if (!copy.CheckInvariants().empty()) {
    std::abort();
  }
  qvr::GetErrorLog().Clear();
  return 0;
}
