// What a text holds.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

/// Whether every one of the parts is in the text; tells the first that is not.
inline testing::AssertionResult Holds(const std::string& text,
                                      const std::vector<std::string>& parts) {
  for (const std::string& part : parts) {
    if (text.find(part) == std::string::npos) {
      return testing::AssertionFailure() << '"' << part << "\" is not in: " << text;
    }
  }
  return testing::AssertionSuccess();
}
