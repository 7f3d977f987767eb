#include "app/command/command_line.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "app/command/assignment.h"
#include "app/command/commands.h"
#include "app/command/network_input.h"
#include "app/command/output.h"

namespace qvr {

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

// What the parser fills in, and the command that was named.
struct CommandLine {
  InferOptions infer;
  BatchOptions batch;
  InfoOptions info;
  CheckOptions check;
  SampleOptions sample;
  EvalOptions eval;
  DrawOptions draw;
  std::string name;
  std::function<Failure()> run;
};

std::string TestEvidence(const std::string& text) {
  return SplitAssignment(text) ? "" : "'" + text + "' isn't of the form NODE=OUTCOME";
}

std::string TestSoftEvidence(const std::string& text) {
  const std::optional<Assignment> given = SplitAssignment(text);
  return given && ParseNumbers(given->value) ? "" : "'" + text + "' isn't of the form NODE=p0,p1,...";
}

std::string TestVariable(const std::string& text) {
  const std::optional<Assignment> given = SplitAssignment(text);
  return given && ParseNumber(given->value) ? "" : "'" + text + "' isn't of the form NAME=NUMBER";
}

std::string TestPicture(const std::string& file) {
  const bool known = file.ends_with(".dot") || file.ends_with(".svg") || file.ends_with(".png");
  return known ? "" : "'" + file + "' doesn't end in .dot, .svg or .png";
}

CLI::App* AddCommand(CLI::App& app, const std::string& name, const std::string& purpose,
                     const std::string& example) {
  CLI::App* const command = app.add_subcommand(name, purpose);
  command->footer("Example: " + example);
  return command;
}

void AddNetworkFile(CLI::App& command, std::string& file) {
  command.add_option("FILE", file, "the network")->required()->type_name("");
}

void AddSeed(CLI::App& command, std::optional<std::uint32_t>& seed) {
  command.add_option("--seed", seed, "makes random numbers repeat")->type_name("N");
}

void AddSolver(CLI::App& command, SolverOptions& solver) {
  command.add_option("-a,--algorithm", solver.algorithm, "how chance nodes are solved")
      ->check(CLI::IsMember(AlgorithmNames()));
  command.add_option("--decision-algorithm", solver.decisionAlgorithm, "how decisions are solved")
      ->check(CLI::IsMember(DecisionAlgorithmNames()));
  command.add_option("--samples", solver.samples, "samples of the sampling algorithms")
      ->check(CLI::Range(1, std::numeric_limits<int>::max()))
      ->type_name("N");
  AddSeed(command, solver.seed);
}

void AddEvidence(CLI::App& command, EvidenceOptions& evidence) {
  command.add_option("-e,--evidence", evidence.evidence, "an observed outcome, by identifier or number")
      ->allow_extra_args(false)
      ->check(TestEvidence)
      ->type_name("NODE=OUTCOME");
  command.add_option("--soft", evidence.soft, "a likelihood for each outcome")
      ->allow_extra_args(false)
      ->check(TestSoftEvidence)
      ->type_name("NODE=p0,p1,...");
}

void AddInfer(CLI::App& app, CommandLine& line) {
  CLI::App* const command = AddCommand(app, "infer", "Posteriors of a network, given evidence",
                                       "qvr infer car.xqvr -e engine=dead -t battery");
  AddNetworkFile(*command, line.infer.file);
  AddEvidence(*command, line.infer.evidence);
  command->add_option("-t,--target", line.infer.targets, "a node to be told about; all without")
      ->allow_extra_args(false)
      ->type_name("NODE");
  command->add_option("--format", line.infer.format, "how to show the answers")
      ->check(CLI::IsMember({"table", "json", "csv"}))
      ->capture_default_str();
  AddSolver(*command, line.infer.solver);
  command->callback([&line] { line.run = [&line] { return Infer(line.infer); }; });
}

void AddBatch(CLI::App& app, CommandLine& line) {
  BatchOptions& options = line.batch;
  CLI::App* const command =
      AddCommand(app, "batch", "Posteriors for each case of a table", "qvr batch --dir cases --jobs 2");
  const auto addFile = [command](const char* name, std::string& file, const char* purpose) {
    command->add_option(name, file, purpose)->type_name("FILE");
  };
  command->add_option("--dir", options.folder, "where files are that aren't named")->type_name("FOLDER");
  addFile("--network", options.network, "the network (kvtnetwork.xqvr)");
  addFile("--cases", options.cases, "outcome numbers, a line for each case (csvofanalyzedata.csv)");
  addFile("--symptoms", options.symptomNames, "the observed nodes, a line for each column (csvofsymps.csv)");
  addFile("--results", options.resultNames, "the nodes to be told about (csvofresult.csv)");
  addFile("-o,--output", options.results, "the table to write (resultdata.csv)");
  command->add_option("-j,--jobs", options.jobs, "worker threads")
      ->check(CLI::Range(1, 1024))
      ->type_name("N");
  command->add_option("--precision", options.precision, "significant digits")
      ->check(CLI::Range(1, 17))
      ->capture_default_str()
      ->type_name("N");
  command->add_flag("--header", options.header, "columns named NODE=OUTCOME, and a row for each case");
  AddSolver(*command, options.solver);
  command->callback([&line] { line.run = [&line] { return Batch(line.batch); }; });
}

void AddInspectors(CLI::App& app, CommandLine& line) {
  CLI::App* const info =
      AddCommand(app, "info", "What a network consists of, and what it costs to solve", "qvr info car.xqvr");
  AddNetworkFile(*info, line.info.file);
  info->callback([&line] { line.run = [&line] { return Info(line.info); }; });

  CLI::App* const check = AddCommand(app, "check", "What is wrong with a network file", "qvr check car.xqvr");
  AddNetworkFile(*check, line.check.file);
  check->callback([&line] { line.run = [&line] { return Check(line.check); }; });
}

void AddSample(CLI::App& app, CommandLine& line) {
  CLI::App* const command = AddCommand(app, "sample", "Random cases from a network, as CSV",
                                       "qvr sample car.xqvr --count 1000 > cases.csv");
  AddNetworkFile(*command, line.sample.file);
  command->add_option("-n,--count", line.sample.count, "how many cases")
      ->required()
      ->check(CLI::Range(std::int64_t{0}, std::numeric_limits<std::int64_t>::max()))
      ->type_name("N");
  AddSeed(*command, line.sample.seed);
  command->callback([&line] { line.run = [&line] { return Sample(line.sample); }; });
}

void AddEval(CLI::App& app, CommandLine& line) {
  CLI::App* const command =
      AddCommand(app, "eval", "The value of an expression", "qvr eval \"-x^2 + Min(x, y)\" x=3 y=4");
  command->set_help_flag("--help", "Print this help message and exit");  // -h may be an expression
  command->add_option("EXPR", line.eval.expression, "a formula, as in equations")->required()->type_name("");
  command->add_option("VARIABLES", line.eval.variables, "the values of its variables")
      ->check(TestVariable)
      ->type_name("NAME=VALUE");
  AddSeed(*command, line.eval.seed);
  command->callback([&line] { line.run = [&line] { return Eval(line.eval); }; });
}

void AddDraw(CLI::App& app, CommandLine& line) {
  CLI::App* const command = AddCommand(app, "draw", "The graph as a picture, with posteriors given evidence",
                                       "qvr draw car.xqvr car.svg -e engine=dead");
  AddNetworkFile(*command, line.draw.file);
  command->add_option("OUT", line.draw.output, "the picture: .dot, .svg or .png")
      ->required()
      ->check(TestPicture)
      ->type_name("");
  AddEvidence(*command, line.draw.evidence);
  AddSolver(*command, line.draw.solver);
  command->callback([&line] { line.run = [&line] { return Draw(line.draw); }; });
}

void Describe(CLI::App& app, CommandLine& line) {
  app.name("qvr");
  app.footer("Example: qvr infer car.xqvr -e engine=dead\n'qvr COMMAND --help' tells about a command.");
  app.set_version_flag("--version", "qvr " QVR_VERSION);
  app.require_subcommand(1);
  AddInfer(app, line);
  AddBatch(app, line);
  AddInspectors(app, line);
  AddSample(app, line);
  AddEval(app, line);
  AddDraw(app, line);
}

// The arguments behind the program's name. For "eval" all but options of its own come behind a "--": an
// expression may begin with "-".
std::vector<std::string> ListArguments(int argumentCount, const char* const* arguments) {
  std::vector<std::string> list;
  std::vector<std::string> expressions;
  const bool isEval = argumentCount > 1 && std::string_view(arguments[1]) == "eval";
  for (int i = 1; i < argumentCount; ++i) {
    const std::string argument = arguments[i];
    const bool hasValue = argument == "--seed" && i + 1 < argumentCount;
    const bool isOption = hasValue || argument == "--help" || argument.starts_with("--seed=");
    if (!isEval || i == 1 || isOption) {
      list.push_back(argument);
      if (isEval && hasValue) {
        list.emplace_back(arguments[++i]);
      }
    } else if (argument != "--") {
      expressions.push_back(argument);
    }
  }
  if (!expressions.empty()) {
    list.emplace_back("--");
    list.insert(list.end(), expressions.begin(), expressions.end());
  }
  return list;
}

bool HasCommand(CLI::App& app, const std::string& name) {
  return !app.get_subcommands([&name](const CLI::App* command) { return command->get_name() == name; })
              .empty();
}

int RunCommand(const CommandLine& line) {
  Failure failure = line.run();
  PrintMessages();
  if (Failure unwritten = FinishOutput(); unwritten && !failure) {
    failure = unwritten;
  }
  if (!failure) {
    return 0;
  }
  std::fprintf(stderr, "qvr %s: %s\n", line.name.c_str(), OneLine(*failure).c_str());
  return kFailed;
}

}  // namespace

int RunCommandLine(int argumentCount, const char* const* arguments) {
  CLI::App app("Graphical decision models: inference, batches of cases, pictures.");
  CommandLine line;
  Describe(app, line);
  std::vector<std::string> list = ListArguments(argumentCount, arguments);
  if (!list.empty() && !list[0].starts_with('-') && !HasCommand(app, list[0])) {
    std::fprintf(stderr, "There is no command '%s'\nRun with --help for more information.\n",
                 list[0].c_str());
    return kWrongUse;
  }
  std::reverse(list.begin(), list.end());  // the parser takes them from the end
  try {
    app.parse(std::move(list));
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kWrongUse;
  }
  line.name = app.get_subcommands().front()->get_name();
  return RunCommand(line);
}

}  // namespace qvr
