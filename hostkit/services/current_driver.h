// The driver that the host draws with: what GetDriver() answers.
#pragma once

class GADriver;

namespace hostkit {

/// Makes `driver` (not owned, may be null) the current driver and returns the one before. A
/// LoadedModule does so for its own driver as long as it lives. On the drawing thread.
GADriver* SetDriver(GADriver* driver);

}  // namespace hostkit
