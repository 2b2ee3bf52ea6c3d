// How values of options are read, and what is said about wrong ones.
#pragma once

#include <Imath/ImathVec.h>

#include <string>
#include <vector>

#include "apps/base/text.h"
#include "apps/options/option_parser.h"

namespace gl3 {

/// "#rgb", "#rrggbb", three numbers from 0 to 1 or a name, into display-referred values.
bool ReadColor(const std::string& text, float rgb[3], std::string* error);

/// A whole number from `least` to `most`.
Reader IntegerReader(int least, int most, int* number);

/// A name and what it stands for.
template <class Value>
struct Choice {
  const char* name;
  Value value;
};

/// One of a table's names; `what` is what they are, as in "a set of lights".
template <class Value, std::size_t count>
Reader ChoiceReader(const Choice<Value> (&choices)[count], const char* what, Value* chosen) {
  return [&choices, what, chosen](const std::string& text, std::string* error) {
    std::vector<std::string> names;
    for (const Choice<Value>& choice : choices) {
      names.emplace_back(choice.name);
      if (text != choice.name) continue;
      *chosen = choice.value;
      return true;
    }
    *error = ShellQuote(text) + " is not " + what + "; give one of " + JoinNames(names);
    return false;
  };
}

/// A point or direction, into anything that a vector of doubles can be assigned to.
template <class Vector>
Reader TripleReader(Vector* vector) {
  return [vector](const std::string& text, std::string* error) {
    double triple[3];
    if (ParseTriple(text, triple)) {
      *vector = Imath::V3d(triple[0], triple[1], triple[2]);
      return true;
    }
    *error = ShellQuote(text) + " is not a point; give three numbers such as 0,1.5,-4";
    return false;
  };
}

}  // namespace gl3
