#include <voxreg.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "commands/affineCommand.h"
#include "commands/applyCommand.h"
#include "commands/deformCommand.h"
#include "commands/demoCommand.h"
#include "commands/elasticCommand.h"
#include "commands/nonAffineCommand.h"
#include "commands/resampleCommand.h"
#include "terminal/HostError.h"
#include "terminal/endingSignals.h"
#include "terminal/similarName.h"

namespace {

/// Keeps the library's last error line, which explains a failure of the command. Information lines
/// are dropped so as not to disturb the progress line.
class LibraryErrors {
 public:
  LibraryErrors() {
    before_ = getTheLogInstance().setSink([this](bool isError, const std::string& line) {
      if (isError) last_ = line;
    });
  }
  LibraryErrors(const LibraryErrors&) = delete;
  LibraryErrors& operator=(const LibraryErrors&) = delete;
  ~LibraryErrors() { getTheLogInstance().setSink(before_); }

  std::string last() const { return last_; }

 private:
  NmLogFile::Sink before_;
  std::string last_;
};

int complain(std::string text, int exitCode) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  (void)std::fprintf(stderr, "voxreg: %s\n", text.c_str());
  return exitCode;
}

/// CLI11 would only report that a command is missing.
void requireKnownCommand(const CLI::App& app, int argc, char** argv) {
  if (argc < 2 || argv[1][0] == '-') return;
  const std::string name = argv[1];
  std::vector<std::string> names;
  for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; }))
    names.push_back(command->get_name());
  if (std::find(names.begin(), names.end(), name) != names.end()) return;
  const std::string meant = host::similarName(name, names);
  throw host::HostError("there is no command " + name +
                        (meant.empty() ? " (see voxreg --help)" : "; did you mean " + meant + "?"));
}

int run(int argc, char** argv) {
  CLI::App app("Registration of volumetric images", "voxreg");
  app.set_version_flag("--version", VOXREG_VERSION);
  app.require_subcommand(1);
  int exitCode = 0;
  host::addAffineCommand(app, exitCode);
  host::addDeformCommand(app, exitCode);
  host::addDemoCommand(app, exitCode);
  host::addElasticCommand(app, exitCode);
  host::addNonAffineCommand(app, exitCode);
  host::addApplyCommand(app, exitCode);
  host::addResampleCommand(app, exitCode);
  requireKnownCommand(app, argc, argv);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool wasQuestion = error.get_exit_code() == 0;
    return wasQuestion ? app.exit(error) : complain(error.what(), host::HostError::badInput);
  }
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  host::catchEndingSignals();
  const LibraryErrors errors;
  const auto explained = [&](const std::exception& error) {
    return errors.last().empty() ? error.what() : error.what() + (" (" + errors.last() + ")");
  };
  try {
    return run(argc, argv);
  } catch (const host::HostError& error) {
    return complain(explained(error), error.exitCode);
  } catch (const std::exception& error) {
    return complain(explained(error), host::HostError::failedRun);
  }
}
