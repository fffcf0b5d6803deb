#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

/// A file of the folder of real volumes, which is next to the repository on some machines.
inline std::string sharedData(const std::string& name) {
  return (std::filesystem::path(VOXREG_SHARED_DATA) / name).string();
}

/// For the start of a test that needs real volumes.
#define VOXREG_SKIP_WITHOUT_SHARED_DATA()            \
  if (!std::filesystem::exists(sharedData("pairs"))) \
  GTEST_SKIP() << "no folder of real volumes at " << VOXREG_SHARED_DATA
