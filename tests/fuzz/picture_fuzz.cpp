// Fuzzes picture files: whatever the bytes, there is a picture with pixels, or one line that says
// why not.
#include <string>

#include "hostkit/pictures/picture_in.h"
#include "hostkit/services/host_heaps.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/picture_seeds.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const hostkit::HeapCounts before = hostkit::CountHeaps();
  {
    std::string error;
    const hostkit::BitmapPtr bitmap =
        hostkit::LoadPictureFromMemory(data, size, "picture.png", &error);
    if (bitmap) {
      Require(error.empty(), "a message with a picture");
      Require(bitmap->GetWidth() > 0 && bitmap->GetHeight() > 0, "a picture without a size");
      int flags = 0;
      HByteBlock* block = bitmap->CreateByteBlock(0, &flags, 0);
      Require(block != nullptr, "a picture without pixels");
      block->DeleteHandle();
    } else {
      Require(error.rfind("picture.png: ", 0) == 0 && error.find('\n') == std::string::npos,
              "not one line with the name: " + error);
    }
  }
  Require(hostkit::CountHeaps().ext.blocks == before.ext.blocks, "memory is left behind");
  return 0;
}

Inputs Seeds() {
  return PictureSeeds();
}

Inputs Regressions() {
  return {};
}
