#include <voxreg.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <string>

#include "HostError.h"
#include "affineCommand.h"
#include "demoCommand.h"

namespace {

/// Information stays out of the way of the progress line.
void keepOnlyErrors() {
  getTheLogInstance().setSink([](bool isError, const std::string& line) {
    if (isError) (void)std::fprintf(stderr, "voxreg: %s\n", line.c_str());
  });
}

int complain(std::string text, int exitCode) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  (void)std::fprintf(stderr, "voxreg: %s\n", text.c_str());
  return exitCode;
}

int run(int argc, char** argv) {
  CLI::App app("Registration of volumetric images", "voxreg");
  app.set_version_flag("--version", VOXREG_VERSION);
  app.require_subcommand(1);
  int exitCode = 0;
  host::addAffineCommand(app, exitCode);
  host::addDemoCommand(app, exitCode);
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
  try {
    keepOnlyErrors();
    return run(argc, argv);
  } catch (const host::HostError& error) {
    return complain(error.what(), error.exitCode);
  } catch (const std::exception& error) {
    return complain(error.what(), host::HostError::failedRun);
  }
}
