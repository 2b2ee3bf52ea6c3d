// Who looks at a new driver before the program has it.
#pragma once

class GADriver;

namespace hostkit {

/// Is given each driver that LoadedModule makes.
using DriverWatch = void (*)(GADriver* driver);

/// Name of a function of that type in libgl3checking.so.
constexpr const char* kDriverWatchEntry = "Gl3WatchDriver";

/// Has `watch` look at drivers from now on; null for none but that of the environment.
void SetDriverWatch(DriverWatch watch);

/// Shows `driver` to who was set last; else, where the environment has GL3_CHECK=1, to
/// libgl3checking.so, which is loaded then. A library that cannot be had is told on standard error.
void ShowToWatch(GADriver* driver);

}  // namespace hostkit
