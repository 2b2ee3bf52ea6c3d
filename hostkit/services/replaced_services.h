// Services that the program has replaced in part, which ends in a crash without a word. Private to
// the services.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace hostkit {

/// The file that a symbol (mangled) of this process comes from; empty for one that is not found.
std::string SupplierOf(const char* symbol);

/// A line for each kind of services whose functions come from several files: which comes from
/// where, and the remedy. `supplierOf` is SupplierOf but in tests.
std::vector<std::string> HalfReplacedServices(
    const std::function<std::string(const char*)>& supplierOf = SupplierOf);

}  // namespace hostkit
