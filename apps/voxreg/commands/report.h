#pragma once

#include <string>

#include "commands/RunReport.h"
#include "commands/placeError.h"

namespace host {

/// Exit code of a run that a signal has stopped and that has written the result so far.
constexpr int interruptedExitCode = 130;

/// Each prints to standard output: a summary of a report;
void printReport(const RunReport& report);

/// the metric's value, if there is one, and the time;
void printSearch(const std::optional<double>& metric, double seconds, bool interrupted);

/// the grid or lattice, and whether there is a mask and why;
void printElastic(const voxreg::ElasticRegistration& found);

/// an error, millimetres.
void printPlaceError(const std::string& name, const PlaceError& error);

}  // namespace host
