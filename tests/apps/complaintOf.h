#pragma once

#include <gtest/gtest.h>

#include <string>

#include "files/niftiVolume.h"
#include "terminal/HostError.h"

/// The message that reading a volume throws, as bad input; empty if it is read. There must be no
/// other output.
inline std::string complaintOf(const std::string& path) {
  std::string complaint;
  testing::internal::CaptureStderr();
  try {
    (void)host::readNifti(path);
  } catch (const host::HostError& error) {
    EXPECT_EQ(error.exitCode, 2);
    complaint = error.what();
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  return complaint;
}
