// Material libraries of OBJ files.
#pragma once

#include <Imath/ImathVec.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hostkit {

/// A picture of a material with the options before its name.
struct ObjPicture {
  std::string name;                      ///< "": none.
  Imath::V2f scale{1, 1}, offset{0, 0};  ///< Of texture coordinates: scaled, then moved.
  bool isClamped = false;
};

/// Colours are display-referred.
struct ObjMaterial {
  std::string name;
  std::optional<Imath::V3f> diffuse;
  Imath::V3f specular{0, 0, 0}, emission{0, 0, 0};
  float exponent = 0;
  std::optional<float> opacity, transparency;
  int illumination = -1;  ///< -1: not said.
  ObjPicture diffusePicture, opacityPicture, emissionPicture;
};

/// Adds the materials of a library to the list. What is none of a material is passed over.
void ReadObjLibrary(std::string_view text, std::vector<ObjMaterial>* materials);

}  // namespace hostkit
