#include "foundation/NmCPUInfo.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

NmCPUInfo::NmCPUInfo() {
#if defined(__x86_64__) || defined(__i386__)
  unsigned int eax = 0;
  unsigned int ebx = 0;
  unsigned int ecx = 0;
  unsigned int edx = 0;
  if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0) featureWord_ = edx;
#endif
}

const NmCPUInfo& NmCPUInfo::instance() {
  static const NmCPUInfo info;
  return info;
}
