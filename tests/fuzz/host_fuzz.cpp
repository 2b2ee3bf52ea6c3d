// Fuzzes the module by playing a random host. Nothing may crash, no memory or handle may be left
// behind, and the GL may complain about nothing that a host could not have done wrong itself.
#include "hostkit/services/host_heaps.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"
#include "tests/fuzz/host_player.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  HostPlayer::MakeSharedDriver();
  const hostkit::HeapCounts heaps = hostkit::CountHeaps();
  const platform::HandleCounts handles = platform::CountHandles();
  {
    Input input(data, size);
    HostPlayer player(input);
    player.Play();
  }
  hostkit::ReloadRegistry();
  const hostkit::HeapCounts heapsNow = hostkit::CountHeaps();
  Require(heapsNow.gassist.blocks == heaps.gassist.blocks, "objects are left behind");
  Require(heapsNow.ogl.blocks == heaps.ogl.blocks, "transparent queues are left behind");
  Require(heapsNow.ext.blocks == heaps.ext.blocks, "blits, staging or bitmaps are left behind");
  Require(heapsNow.string.blocks == heaps.string.blocks, "strings are left behind");
  const platform::HandleCounts handlesNow = platform::CountHandles();
  Require(handlesNow.contexts == handles.contexts, "contexts are left behind");
  Require(handlesNow.pbuffers == handles.pbuffers, "pbuffers are left behind");
  Require(handlesNow.windows == handles.windows, "windows are left behind");
  Require(handlesNow.deviceContexts == handles.deviceContexts, "device contexts are left behind");
  return 0;
}

Inputs Seeds() {
  const std::string settings("\3\2\0\0\0", 5);
  const std::string tame = std::string(1, '\0') + settings, wild = "\1" + settings;
  Inputs seeds;
  // BeginScene with colour 0, as projection 0, two lights and the second material.
  const std::string begin("\0\0\0\2\0\1\1", 7);
  const std::string end(2, '\1');
  const int moves = static_cast<int>(TameMoves().size() + WildMoves().size());
  for (int number = 0; number < moves; ++number) {
    // The move in the middle of a scene, with values of all kinds; then on the edge of what there
    // is: the largest and the smallest int, NaN, infinity.
    const auto move = static_cast<char>(number);
    std::string values;
    for (int i = 0; i < 60; ++i) values += static_cast<char>(i * 29 + move * 5);
    seeds.push_back(tame + begin + move + values.substr(0, 24) + end);
    seeds.push_back(wild + begin + move + values + end);
    for (char edge : {'\x87', '\x80', '\xC0', '\xC1'}) {
      seeds.push_back(wild + begin + move + std::string(70, edge) + move);
    }
  }
  // Each effect, into a new buffer and over the picture.
  for (const char effect : {'\0', '\1'}) {
    for (const char mode : {'\0', '\1'}) {
      const std::string name{'\0', effect}, picture{'\0', mode, '\0', '\x63'};
      seeds.push_back(tame + static_cast<char>(kInitEffect) + name +
                      std::string{'\0', '\1', '\x8', mode, '\1'} + static_cast<char>(kRunEffect) +
                      name + picture + picture);
    }
  }
  return seeds;
}

Inputs Regressions() {
  return {
      // Text at the largest coordinates.
      "0100000000000f00000000000000000000008787000000000000004141414141",
      // A blit into a picture of the largest size.
      "010000000000070000000000000000000000000000000000878700000a01",
  };
}
