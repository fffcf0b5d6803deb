#pragma once

#include <string>

#include "displacementError.h"
#include "elasticRegistration.h"
#include "targetError.h"

namespace host {

/// Exit code of a run that Ctrl-C has cut short and that has written what it had reached.
constexpr int interruptedExitCode = 130;

/// Prints the metric's value and the time to standard output.
void printSearch(double metric, double seconds, bool interrupted);

/// Prints the grid, whether there is a mask and why, and the time.
void printElastic(const ElasticResult& result);

/// Prints the smallest value of a transform's Jacobian.
void printJacobian(double smallest);

/// Print the error, millimetres.
void printTargetError(const std::string& name, const TargetError& error);
void printDisplacementError(const std::string& name, const DisplacementError& error);

}  // namespace host
