// The commands of qvr: what each can be told, and the command itself. Texts are as the user typed them. A
// command prints its results; what it fails with becomes one line on standard error.
#ifndef QVR_APP_COMMAND_COMMANDS_H
#define QVR_APP_COMMAND_COMMANDS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/failure.h"

namespace qvr {

// Empty or absent means: as the network file says, or else the engine's default.
struct SolverOptions {
  std::string algorithm;
  std::string decisionAlgorithm;
  std::optional<int> samples;
  std::optional<std::uint32_t> seed;
};

// Each text is NODE=OUTCOME, or NODE=p0,p1,... for soft evidence.
struct EvidenceOptions {
  std::vector<std::string> evidence;
  std::vector<std::string> soft;

  [[nodiscard]] bool IsEmpty() const { return evidence.empty() && soft.empty(); }
};

struct InferOptions {
  std::string file;
  EvidenceOptions evidence;
  std::vector<std::string> targets;
  std::string format = "table";
  SolverOptions solver;
};
[[nodiscard]] Failure Infer(const InferOptions& options);

// An empty file name stands for the usual one, in `folder`.
struct BatchOptions {
  std::string folder;
  std::string network;
  std::string cases;
  std::string symptomNames;
  std::string resultNames;
  std::string results;
  int jobs = 1;
  int precision = 6;
  bool header = false;
  SolverOptions solver;
};
[[nodiscard]] Failure Batch(const BatchOptions& options);

struct InfoOptions {
  std::string file;
};
[[nodiscard]] Failure Info(const InfoOptions& options);

struct CheckOptions {
  std::string file;
};
[[nodiscard]] Failure Check(const CheckOptions& options);

struct SampleOptions {
  std::string file;
  std::int64_t count = 1;
  std::optional<std::uint32_t> seed;
};
[[nodiscard]] Failure Sample(const SampleOptions& options);

struct EvalOptions {
  std::string expression;
  std::vector<std::string> variables;  // NAME=VALUE
  std::optional<std::uint32_t> seed;
};
[[nodiscard]] Failure Eval(const EvalOptions& options);

struct DrawOptions {
  std::string file;
  std::string output;
  EvidenceOptions evidence;
  SolverOptions solver;
};
[[nodiscard]] Failure Draw(const DrawOptions& options);

}  // namespace qvr

#endif
