#pragma once

#include <string>

#include "affineRegistration.h"
#include "displacementError.h"
#include "elasticRegistration.h"
#include "targetError.h"

namespace host {

/// Exit code of a run that Ctrl-C has cut short and that has written what it had reached.
constexpr int interruptedExitCode = 130;

/// Prints the metric's value and the time to standard output.
void printResult(const AffineResult& result);

/// Prints the grid, whether there is a mask, and the time.
void printResult(const ElasticResult& result);

/// Prints mean and maximum.
void printTargetError(const std::string& name, const TargetError& error);

/// Prints mean, 95th percentile and maximum.
void printDisplacementError(const std::string& name, const DisplacementError& error);

}  // namespace host
