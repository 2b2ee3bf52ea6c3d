// The version of the interface between hosts and modules.
#pragma once

/// What a module and a host must have in common, besides the machine: the symbol version of the
/// module's three exports. `dlvsym(module, "CreateDriver", kHostVersion)` answers null for a module
/// of another version, and hostkit::LoadedModule refuses it before any of its code runs.
///
/// The number is raised with every change after which what was built before no longer fits: another
/// order of virtual operations, another layout of a record, another service, in host/, platform/ or
/// the installed headers of the host kit. The build takes it from here, for the names of the
/// libraries as well (libgl3scene.so.1).
inline constexpr char kHostVersion[] = "GL3_HOST_1";

/// What the version of every interface begins with; a number follows.
inline constexpr char kHostVersionPrefix[] = "GL3_HOST_";
