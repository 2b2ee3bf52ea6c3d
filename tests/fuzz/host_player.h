// A host that plays at random: the bytes of an input become calls of driver, buffers, display
// lists, textures, colours and effects.
//
// The host keeps its side of the interface: arrays have the length that a call reads, materials,
// lights and textures live until nothing that was drawn with them waits, a list goes before its
// buffer does, effects before their surfaces do. Beyond that any call comes at any time, with any
// values. Arguments are read from the input one after the other, never within one argument list,
// whose order is the compiler's: an input means the same everywhere.
#pragma once

#include <array>
#include <deque>
#include <memory>
#include <vector>

#include "buffer/GL3Buffer.h"
#include "displaylist/GL3DisplayL.h"
#include "driver/GL3Driver.h"
#include "host/RenderInfo.h"
#include "hostkit/services/bitmap_ptr.h"
#include "shader/Gl3ShaderProgram.h"
#include "tests/fuzz/input.h"
#include "texture/GL3Texture.h"

/// A buffer with the view that it draws.
struct PlayedBuffer {
  RenderInfo info;
  SceneRecord scene;
  float objectToView[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
  std::unique_ptr<GABuffer> buffer;
  std::vector<std::unique_ptr<DisplayList>> lists;
};

using Buffers = std::vector<std::unique_ptr<GABuffer>>;

/// Hands the surfaces that effects make, and never release, to whoever asks for them.
class PlayedDriver final : public GL3GADriver {
 public:
  GABuffer* CreateBuffer(RenderInfo* info, int mode, int compatibleDC) override;

  Buffers* keeper = nullptr;  ///< Not owned; null: who makes a buffer has it.
};

/// A shader program with its effects' surfaces.
struct PlayedProgram {
  struct Size {
    int width = 0, height = 0;
  };

  RenderInfo info;
  Buffers surfaces;
  std::unique_ptr<GL3GAShaderProgram> program;
  std::array<Size, 2> sizes;  ///< That blur and filter are set up for; 0: they are not.
};

/// What the host has, and the values that its calls take.
struct HostPlayer {
  explicit HostPlayer(Input& from);
  HostPlayer(const HostPlayer&) = delete;
  HostPlayer& operator=(const HostPlayer&) = delete;
  ~HostPlayer();

  /// Makes the driver that one player after the other uses: making it costs more than most games.
  static void MakeSharedDriver();
  /// Plays until the input is used up.
  void Play();
  void RemakeBuffer();
  /// A tame host causes no GL error. A wild one hands the GL values that it refuses, calls it
  /// between the vertices of an open block, and draws where there is no surface; nothing else goes
  /// wrong.
  void CheckErrors() const;

  PlayedBuffer& Here() { return buffers[here]; }
  GL3GABuffer& Buffer() { return static_cast<GL3GABuffer&>(*Here().buffer); }
  void MakeList();
  /// One of the buffer's lists; made when there is none.
  DisplayList& List();
  template <class T, std::size_t kCount>
  T& OneOf(std::array<T, kCount>& things) {
    return things[static_cast<std::size_t>(input.Below(static_cast<int>(kCount)))];
  }
  /// One of the values; for tame hosts one of the first `tame`.
  template <class T, std::size_t kCount>
  const T& FirstOf(const T (&values)[kCount], int tame) {
    return values[input.Below(input.IsTame() ? tame : static_cast<int>(kCount))];
  }
  GAColor& Color() { return OneOf(colors); }
  AttrProperty* Material();
  LightListNode* Lights();
  GL3GATexture* Texture();
  Vector Point() { return {input.Float(), input.Float(), input.Float()}; }
  /// A screen coordinate.
  int Pixel() { return input.IsTame() ? input.Below(16) : input.Int(); }
  /// A picture's side.
  int Side();
  /// A number that GL wants positive.
  float Positive();
  /// A count that a call may be given: now and then 0 or negative.
  int Count(int most);
  /// Any record of floats, and arrays of them: the first few from the input, the others like them.
  GAVertex Vertex();
  std::vector<GAVertex> Vertices(int count);
  std::vector<unsigned short> Indices(int count, int vertices);

  static inline PlayedDriver* driver = nullptr;  // stays when the process ends
  Input& input;
  std::array<PlayedBuffer, 3> buffers;
  std::size_t here = 0;
  std::array<GAColor, 4> colors;
  std::array<AttrProperty, 4> materials;
  std::array<GALight, 6> lights;
  LightOwner owner;
  std::deque<std::array<LightListNode, 6>> lightLists;  // queued records keep pointers
  std::array<std::unique_ptr<GL3GATexture>, 4> textures;
  std::array<PlayedProgram, 2> programs;
};

/// Values for a call.
struct Hand {
  HostPlayer& host;
  DisplayList& list;
  Vector a, b, c;
  float number;
  int x1, y1, x2, y2, across, down;
  GAColor &color, &other;
  bool flag;
};
using Call = void (*)(Hand& hand);

/// A call or a few that belong together.
using Move = void (*)(HostPlayer& host);
using Moves = std::vector<Move>;

/// The move that does one of a table's calls.
template <const auto& kCalls>
void CallOneOf(HostPlayer& host) {
  const Call call = host.input.OneOf(kCalls);
  Input& in = host.input;
  Hand hand = {host,       host.List(),  host.Point(), host.Point(), host.Point(),
               in.Float(), host.Pixel(), host.Pixel(), host.Pixel(), host.Pixel(),
               in.Int(),   in.Int(),     host.Color(), host.Color(), in.Flag()};
  call(hand);
}

/// The moves that leave no block of vertices open. These come first, for seeds to find them.
enum SeededMove : int { kBeginScene, kEndScene, kInitEffect, kRunEffect };
Moves TameMoves();
Moves BufferMoves();  // BeginScene and EndScene first
Moves EffectMoves();  // InitEffect and RunEffect first
Moves ListMoves();
/// Those of wild hosts alone.
Moves WildMoves();
Moves WildBufferMoves();
Moves WildListMoves();
