// What the checks remember of a driver and its objects.
#pragma once

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>

#include "host/DisplayList.h"
#include "host/RenderInfo.h"
#include "hostkit/checking/misuses.h"
#include "platform/cgl.h"

class GABuffer;
class GADriver;
class GAShaderProgram;
class GATexture;

namespace hostkit::checking {

/// The part of a RenderInfo that projections are computed from.
using ViewValues = std::array<float, 11>;
ViewValues ViewOf(const RenderInfo& info);

struct DriverState {
  GADriver* driver = nullptr;  ///< That lives; null for none.
  bool initialized = false;
  bool hasGlyphs = false;              ///< Whether a buffer of a window had a Reallocate.
  std::set<std::string> effectsSetUp;  ///< Effect, parameters and size as text.
  std::thread::id thread;              ///< That drew last; none at first.
  /// Whether that thread still runs.
  std::shared_ptr<std::atomic<bool>> threadLives;
};

struct BufferState {
  enum class Surface { kNone, kFailed, kReady };

  RenderInfo* info = nullptr;
  int mode = 0;
  DisplayList* list = nullptr;  ///< That lives and draws into it.
  Surface surface = Surface::kNone;
  int width = 0, height = 0;
  bool hasDepth = false;
  bool isProjected = false;
  ViewValues view{};                           ///< That the projections were computed from.
  int projection = 0;                          ///< That is loaded; GABuffer::Projection.
  bool knowsLooks = false;                     ///< Material or lights were set in its context.
  bool isFogLinear = true;                     ///< By its density.
  bool glassWaits = false;                     ///< Something transparent was added since EndScene.
  int glassProjection = 0;                     ///< That was loaded when the first of it was added.
  bool drewGlass = false;                      ///< Such was drawn in its context.
  CGLContextObj context = nullptr;             ///< Null when not seen yet.
  std::set<const GATexture*> waitingTextures;  ///< Of what waits for EndScene.

  /// Nothing waits for EndScene any more.
  void ForgetWaiting() {
    glassWaits = false;
    waitingTextures.clear();
  }
  /// The same, since it was drawn.
  void KeepGlassDrawn() {
    drewGlass = drewGlass || glassWaits;
    ForgetWaiting();
  }
};

/// Lit surfaces.
struct SurfaceCounts {
  /// Those turned have all normals on the side that is not seen.
  struct Normals {
    int lit = 0, turned = 0;
  };
  Normals drawn, waiting;
  /// After a scene with glass, what is drawn and its corners run clockwise, or counter-clockwise,
  /// as seen by the viewer: areas on the screen, each divided by the distance.
  double clockwise = 0, counterClockwise = 0;
};

struct ListState {
  /// What a PrepFor call prepared.
  enum class Prepared { kNothing, kPoints, kLines, kPolygons, kPolygonArray };
  /// Of SetDepthFunc, by half of its number.
  enum SwitchGroup { kDepthTest, kBlending, kLighting };

  RenderInfo* info = nullptr;
  GABuffer* buffer = nullptr;
  bool isBufferGone = false;
  bool isInFrame = false;
  bool isBlockOpen = false;
  bool batchesWait = false;
  Prepared prepared = Prepared::kNothing;
  std::array<int, 3> switches = {DisplayList::kDepthTestOn, DisplayList::kNormalBlending,
                                 DisplayList::kLightingOff};
  int projection = 1;
  const GATexture* texture = nullptr;
  bool isMaterialTransparent = false;
  bool hasHeadlight = false;  ///< Of SetupLights(nullptr).
  SurfaceCounts surfaces;     ///< Since BeginInstructions.
};

struct TextureState {
  bool hasPicture = false;
  bool isTransparent = false;
};

struct EffectState {
  struct SetUp {
    bool works = false;
    int width = 0, height = 0;  ///< As its parameters have them.
    bool needsDestination = false;
  };
  RenderInfo* info = nullptr;
  std::array<SetUp, 2> setUps;
};

/// Everything, for one thread at a time.
struct Session {
  std::mutex mutex;
  DriverState driver;
  std::unordered_map<const GABuffer*, BufferState> buffers;
  std::unordered_map<const DisplayList*, ListState> lists;
  std::unordered_map<const GATexture*, TextureState> textures;
  std::unordered_map<const GAShaderProgram*, EffectState> effects;
  std::set<std::pair<Kind, std::string_view>> told;  ///< With operations, or empty for any.
  /// Calls more of the kinds that are told of one operation alone.
  std::map<Kind, int> repeats;

  /// Null for an object that is not checked.
  BufferState* Find(const GABuffer* buffer);
  ListState* Find(const DisplayList* list);
  TextureState* Find(const GATexture* texture);
  EffectState* Find(const GAShaderProgram* program);
  /// The buffer that a list draws into; null when it is gone.
  BufferState* BufferOf(const ListState& list);
  /// The list that draws into a buffer; null when there is none.
  ListState* ListOf(const BufferState& buffer);
  bool IsBlockOpen() const;
  /// Whether what is added to a list now may be seen through: by its texture or its material.
  bool IsTransparent(const ListState& list);
};

/// The process's one, which is never destroyed.
Session& TheSession();

}  // namespace hostkit::checking
