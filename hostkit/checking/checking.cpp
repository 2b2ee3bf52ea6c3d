// Switching the checks on.
#include "hostkit/checking/checking.h"

#include "hostkit/checking/thunk.h"
#include "hostkit/services/driver_watch.h"

namespace hostkit {

void CheckCalls(MisuseCallback callback, void* userData) {
  checking::SetListener(callback, userData);
  SetDriverWatch(CheckDriver);
}

void LeaveCallsUnchecked() {
  SetDriverWatch(nullptr);
}

void CheckDriver(GADriver* driver) {
  if (!driver) return;
  checking::Visit visit("CreateDriver", checking::kFree);
  visit.Lock();
  checking::Session& session = visit.State();
  if (session.driver.driver != driver) {
    if (session.driver.driver) {
      visit.Note(checking::Kind::kSecondDriver, "another driver lives, whose statics are the same");
    }
    session.driver = checking::DriverState();
    session.driver.driver = driver;
    session.told.clear();
    session.repeats.clear();
  }
  checking::Watch(driver);
  visit.Unlock();
}

}  // namespace hostkit

/// For programs that ask by the environment: the loader finds it in this library by its name.
extern "C" void Gl3WatchDriver(GADriver* driver) {
  hostkit::CheckDriver(driver);
}
