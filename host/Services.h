// What the host offers the module beside its classes and heaps. The module calls these on the
// host's drawing thread. Who does not want those of the host kit defines functions of the same
// names in the program, which come before the library's.
#pragma once

#include "host/String.h"

class CWnd;
class GADriver;

/// The host's current driver, null before there is one. Not owned. The module takes it for its own
/// class: the very object that CreateDriver returned, of the module that asks.
GADriver* GetDriver();

/// The stored integer of `key` in `section`, or `fallback` when there is none. Asked by
/// CreateDriver (settings of the section "OpenGL3", and "OpenMP Threads" of "General").
int GetRegistryValue(const String& section, const String& key, int fallback);
/// Stores an integer. Failures are reported to the user by the host. Called when the settings page
/// is confirmed.
void SetRegistryValue(const String& section, const String& key, int value);

/// Asks the user for a file to save to. `name` is the proposed name, and the chosen path
/// afterwards; `filter` offers kinds of files, as "what it is (*.end)|*.end|" one after the other;
/// `extension` is for a name that has none, without its dot; `type` is the kind by its short name;
/// `option` is the host's own number for the question; `parent`, the window it belongs to, and
/// `kind`, which of the kinds was chosen, from 0, may be null. Returns 1, or 0 when the user
/// cancels; then `name` is as it was.
int SaveRequest(const String& title, const String& filter, String* name, const String& extension,
                const String& type, int option, CWnd* parent, int* kind);
