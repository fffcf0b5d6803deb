#pragma once

#include <voxreg.h>

#include <random>

namespace host {

// The standard's distributions differ between libraries; these do not.

double uniform(std::mt19937& random, double low, double high);
NmVec3d uniformVector(std::mt19937& random, double low, double high);

/// Approximately normal, with mean 0 and standard deviation 1: the sum of twelve uniform numbers.
double normal(std::mt19937& random);

}  // namespace host
