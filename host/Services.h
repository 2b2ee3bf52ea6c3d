// What the host offers the module beside its classes and heaps.
#pragma once

#include "host/String.h"

class GADriver;

/// The host's current driver, null before there is one. Not owned.
GADriver* GetDriver();

/// The stored integer of `key` in `section`, or `fallback` when there is none.
int GetRegistryValue(const String& section, const String& key, int fallback);
/// Stores an integer. Failures are reported to the user by the host.
void SetRegistryValue(const String& section, const String& key, int value);

/// Asks the user for a file to save to. `suggestion` is the proposed name, `filter` describes the
/// file kind. Returns 1 and the chosen path, or 0 when the user cancels.
int SaveRequest(const String& title, const String& suggestion, const String& filter, String* path);
