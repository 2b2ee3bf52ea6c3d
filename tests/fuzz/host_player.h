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
#include <functional>
#include <memory>
#include <vector>

#include "buffer/GL3Buffer.h"
#include "displaylist/GL3DisplayL.h"
#include "driver/GL3Driver.h"
#include "host/Bitmap.h"
#include "host/RenderInfo.h"
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

struct ReleaseBitmap {
  void operator()(HBitmapNode* bitmap) const { bitmap->DeleteHandle(); }
};
using PlayedBitmap = std::unique_ptr<HBitmapNode, ReleaseBitmap>;

class HostPlayer {
 public:
  static const int kMoveCount;
  static const int kInitEffect;  // its number; RunEffect is the next

  /// Makes the driver that one player after the other uses: making it costs more than most games.
  static void MakeSharedDriver();

  explicit HostPlayer(Input& input);
  HostPlayer(const HostPlayer&) = delete;
  HostPlayer& operator=(const HostPlayer&) = delete;
  ~HostPlayer();

  /// Plays until the input is used up.
  void Play();

 private:
  using Move = void (HostPlayer::*)();
  using Things = std::vector<std::function<void()>>;
  static void Do(int which, const Things& things) { things[static_cast<std::size_t>(which)](); }
  void DoOne(const Things& things) { Do(m_input.Below(static_cast<int>(things.size())), things); }

  // host_player.cpp: the driver, what buffers and lists are made of, and what must hold.
  void ChooseSettings();
  void RestartDriver();
  void ChooseBuffer();
  void RemakeBuffer();
  void MakeList();
  void DropList();
  void ChangeColor();
  void ChangeMaterial();
  void ChangeLight();
  void MakeTexture();
  void FreeTexture();
  void DeleteTexture();
  void CheckErrors();

  // host_player_buffers.cpp
  void Reallocate();
  void ChangeView();
  void BeginScene();
  void EndScene();
  void SetFog();
  void Overlay();
  void ReadBack();
  void BlitSomething();
  void QueueRecords();
  void SetBufferState();

  // host_player_lists.cpp: state, and what is drawn vertex by vertex.
  void SetListState();
  void Prepare();
  void Instruct();
  void AddVertices();
  void AddPoints();

  // host_player_shapes.cpp: adders that take shapes and arrays.
  void AddLines();
  void AddLineArrays();
  void AddShadedLines();
  void AddRectangles();
  void AddCurves();
  void AddPolygons();
  void AddTriangles();
  void AddPolyline();
  void AddFan();
  void AddIndexedLists();

  // host_player_effects.cpp: the shader program, and what its class does for the effects.
  void MakeProgram();
  void DropProgram();
  void InitEffect();
  void RunEffect();
  void UploadPicture();
  void MergePixels();
  void CompileShaders();
  void Occlude();

  static const Move kMoves[];
  static const int kTameMoves;  // how many of them leave no open block behind

  PlayedBuffer& Here() { return m_buffers[m_here]; }
  GL3GABuffer& Buffer() { return static_cast<GL3GABuffer&>(*Here().buffer); }
  /// One of the buffer's lists; made when there is none.
  DisplayList& List();
  GAColor& Color() { return m_colors[static_cast<std::size_t>(m_input.Below(4))]; }
  AttrProperty* Material();
  LightListNode* Lights();
  GL3GATexture* Texture();
  /// One of the shader programs; made when it is not there.
  PlayedProgram& Program();
  PlayedBitmap Picture(PlayedProgram::Size size);
  PlayedProgram::Size PictureSize();
  Vector Point() { return {m_input.Float(), m_input.Float(), m_input.Float()}; }
  /// A screen coordinate.
  int Pixel() { return m_input.IsTame() ? m_input.Below(16) : m_input.Int(); }
  /// A number that GL wants positive.
  float Positive();
  /// A count that a call may be given: now and then 0 or negative.
  int Count(int most);
  /// Any record of floats, and arrays of them: the first few from the input, the others like them.
  GAVertex Vertex();
  std::vector<GAVertex> Vertices(int count);
  std::vector<unsigned short> Indices(int count, int vertices);

  static PlayedDriver* m_driver;  // stays when the process ends
  Input& m_input;
  std::array<PlayedBuffer, 3> m_buffers;
  std::size_t m_here = 0;
  std::array<GAColor, 4> m_colors;
  std::array<AttrProperty, 4> m_materials;
  std::array<GALight, 6> m_lights;
  LightOwner m_owner;
  std::deque<std::array<LightListNode, 6>> m_lightLists;  // queued records keep pointers
  std::array<std::unique_ptr<GL3GATexture>, 4> m_textures;
  std::array<PlayedProgram, 2> m_programs;
};
