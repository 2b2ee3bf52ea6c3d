// The function that a definition in the test executable hides.
#pragma once

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

/// The next definition of a symbol after the executable's own, as a function of type `Function`.
template <typename Function>
Function* NextSymbol(const char* symbol) {
  void* address = dlsym(RTLD_NEXT, symbol);
  if (!address) {
    std::fprintf(stderr, "tests: no library defines %s: %s\n", symbol, dlerror());
    std::abort();
  }
  return reinterpret_cast<Function*>(address);
}
