// Units of length by their names.
#include "hostkit/import/length_units.h"

#include <utility>

namespace hostkit {

double MetersOf(std::string_view unit) {
  constexpr std::pair<std::string_view, double> kUnits[] = {{"micron", 1e-6}, {"centimeter", 0.01},
                                                            {"inch", 0.0254}, {"foot", 0.3048},
                                                            {"feet", 0.3048}, {"meter", 1}};
  for (const auto& [name, meters] : kUnits) {
    if (unit == name) return meters;
  }
  return 0.001;
}

}  // namespace hostkit
