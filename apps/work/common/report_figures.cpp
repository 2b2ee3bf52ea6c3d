// Figures that the reports of all verbs have.
#include "apps/work/common/report_figures.h"

#include <sys/resource.h>

#include <cmath>

namespace gl3 {

double Rounded(double milliseconds) {
  return std::round(milliseconds * 1000) / 1000;
}

std::uint64_t PeakMemory() {
  rusage usage;
  if (getrusage(RUSAGE_SELF, &usage) != 0) return 0;
  return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

}  // namespace gl3
