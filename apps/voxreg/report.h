#pragma once

#include <string>

#include "affineRegistration.h"
#include "targetError.h"

namespace host {

/// Exit code of a run that Ctrl-C has cut short and that has written what it had reached.
constexpr int interruptedExitCode = 130;

/// Prints the metric's value and the time to standard output.
void printResult(const AffineResult& result);

/// Prints mean and maximum.
void printTargetError(const std::string& name, const TargetError& error);

}  // namespace host
