#pragma once

/// The processor that the process runs on.
class NmCPUInfo {
 public:
  static const NmCPUInfo& instance();

  /// The x86 feature word (CPUID leaf 1, EDX); 0 on other processors.
  unsigned int featureWord() const { return featureWord_; }

  bool hasSse2() const { return (featureWord_ >> 26 & 1u) != 0; }

 private:
  NmCPUInfo();
  unsigned int featureWord_ = 0;
};
