// The driver that the host draws with.
#include "hostkit/services/current_driver.h"

#include <atomic>

#include "host/Services.h"

namespace {

constinit std::atomic<GADriver*> currentDriver{nullptr};

}  // namespace

GADriver* GetDriver() {
  return currentDriver.load(std::memory_order_acquire);
}

GADriver* hostkit::SetDriver(GADriver* driver) {
  return currentDriver.exchange(driver, std::memory_order_acq_rel);
}
