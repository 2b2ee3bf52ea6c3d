// Has a test fail where the module is called wrongly: for hostkit::CheckCalls.
#pragma once

#include <gtest/gtest.h>

#include "hostkit/checking/checking.h"

inline void FailTheTest(const hostkit::Misuse& misuse, void*) {
  ADD_FAILURE() << misuse.operation << ": " << misuse.values << "; " << misuse.remedy;
}
