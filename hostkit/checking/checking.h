// Tells the author of a host what it calls wrongly.
//
// Between host and module stands nothing: a host holds the module's own objects, and the module
// casts them back to its classes, so that no object of ours can take their place. What is exchanged
// instead is the pointer to an object's table of virtual functions: a copy of that table, in which
// the slots of the interface lead through checks to the functions that stood there before. The
// object's address, its data and its type (the table's words for dynamic_cast) stay, no page of the
// module is written to, and objects that the module makes for itself, or that were made while this
// was off, are not touched.
#pragma once

#include <string>

class GADriver;

namespace hostkit {

/// Something that was called wrongly. Texts are valid during the callback.
struct Misuse {
  const char* name;       ///< What it is, in a word that stays: "z-outside", "no-projection", …
  const char* operation;  ///< What was called: "GABuffer::TransparentBlit".
  std::string values;     ///< What is wrong about the call, with the values in question.
  const char* remedy;     ///< What to do instead.
};

/// Is told a misuse, on the thread that made the call and as a rule before the call reaches the
/// module. `userData` is what CheckCalls was given, and must stay as long as a driver is checked.
/// It may call the interface itself, unchecked; what it throws ends the process.
using MisuseCallback = void (*)(const Misuse& misuse, void* userData);

/// Has every driver checked that LoadedModule makes from now on, with all that it makes, and
/// `callback` told each misuse once an operation and driver; what one mistake makes of every call,
/// such as drawing without a surface, once in all, and how often more at the driver's end. Null for
/// a line on standard error each. The module does what it would have done, and so do the calls.
/// From any thread, before the driver is made.
///
/// GL3_CHECK=1 in the environment does the same for a program that does not call this, with lines
/// on standard error; without either, nothing of this library is loaded or run.
void CheckCalls(MisuseCallback callback = nullptr, void* userData = nullptr);

/// Leaves drivers unchecked that are made from now on, unless GL3_CHECK asks for it.
void LeaveCallsUnchecked();

/// Has one driver checked, and what it makes from now on: for hosts that load the module in a way
/// of their own, before it has made anything, since what is not known counts as deleted. Null is
/// harmless, and so is a driver that is checked already.
void CheckDriver(GADriver* driver);

}  // namespace hostkit
