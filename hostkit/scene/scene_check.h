// What every part of the renderer relies on in a scene.
#pragma once

#include <string>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// Whether all indices of the scene name something, vertex arrays are as long as their positions,
/// numbers are finite and within the ranges that scene.h tells, and keys are in order of time; else
/// `*why` names the first part that is not so. Scenes of the importer are; one that comes from
/// another process or is built by a program need not be.
bool CheckScene(const Scene& scene, std::string* why);

}  // namespace hostkit
