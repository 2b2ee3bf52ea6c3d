// Buffer views that EXT_meshopt_compression packs.
#pragma once

#include <vector>

#include "hostkit/import/gltf/gltf_document.h"

namespace hostkit::gltf {

/// Unpacks what the extension says of `packed`; false where that is broken.
bool DecodeMeshopt(Json extension, Bytes packed, std::vector<unsigned char>* bytes);

}  // namespace hostkit::gltf
