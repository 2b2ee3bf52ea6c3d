// Checks of a display list's state: what is set, what waits, and in which order.
#include <fmt/format.h>

#include "hostkit/checking/gl_errors.h"
#include "hostkit/checking/list_checks.h"
#include "platform/gl.h"

namespace hostkit::checking {
namespace {

using Prepared = ListState::Prepared;

bool OpensBlock(Prepared prepared) {
  return prepared == Prepared::kPoints || prepared == Prepared::kLines ||
         prepared == Prepared::kPolygons;
}

/// Something was added that is drawn with its batch, or with the end of the scene when it is
/// transparent and the adder looks at that.
void KeepAdded(Visit& visit, DisplayList& self, bool check) {
  ListState* list = visit.State().Find(&self);
  BufferState* buffer = list ? visit.State().BufferOf(*list) : nullptr;
  if (!buffer) return;
  if (!check || !visit.State().IsTransparent(*list)) {
    list->batchesWait = true;
    return;
  }
  if (!buffer->glassWaits) buffer->glassProjection = buffer->projection;
  buffer->glassWaits = true;
  if (list->texture) buffer->waitingTextures.insert(list->texture);
}

void SetSwitch(Visit& visit, DisplayList& self, int function) {
  if (function < DisplayList::kDepthTestOff || function > DisplayList::kLightingOff) return;
  if (ListState* list = visit.State().Find(&self)) {
    list->switches.at(static_cast<std::size_t>(function) / 2) = function;
  }
}

/// The link behind it, one of a list of lights or of their owners.
const LightListNode* Next(const LightListNode& node) {
  return node.next;
}
const LightOwner* Next(const LightOwner& owner) {
  return owner.owner;
}

/// Whether a chain leads back to itself: one walk at twice the speed of the other meets it.
template <class Link>
bool IsCircle(const Link* first) {
  const Link *slow = first, *fast = first;
  while (fast && Next(*fast)) {
    slow = Next(*slow);
    fast = Next(*Next(*fast));
    if (slow == fast) return true;
  }
  return false;
}

/// Whether a list of lights has an end, and each light's owners too.
bool AreLightsEnded(const LightListNode* lights) {
  if (IsCircle(lights)) return false;
  for (const LightListNode* node = lights; node; node = node->next) {
    if (node->light && IsCircle(node->light->owner)) return false;
  }
  return true;
}

/// Notes lights beyond those of the GL, which cannot be asked while a block is open.
void CheckLightCount(Visit& visit, const LightListNode* lights) {
  constexpr int kLeastLights = 8;  // of every GL
  const int most = GlInteger(GL_MAX_LIGHTS, kLeastLights);
  int shining = 0;
  for (const LightListNode* node = lights; node; node = node->next) {
    if (node->light && node->light->Shines()) ++shining;
  }
  if (shining <= most) return;
  visit.Note(Kind::kManyLights, fmt::format("{} lights shine, and the GL has {}", shining, most));
}

}  // namespace

void BeforeSetDepthFunc(Visit& visit, DisplayList& self, int function) {
  if (function < DisplayList::kDepthTestOff || function > DisplayList::kLightingOff) {
    visit.Note(Kind::kUnknownNumber, fmt::format("{} switches nothing", function));
    return;
  }
  const ListState* list = visit.State().Find(&self);
  const BufferState* buffer = list ? visit.State().BufferOf(*list) : nullptr;
  if (!buffer) return;
  if (list->batchesWait && list->switches.at(static_cast<std::size_t>(function) / 2) != function) {
    visit.Note(Kind::kBatchesWait,
               fmt::format("what waits in batches will be drawn after switch {}", function));
  }
  if (function == DisplayList::kLightingOff && list->hasHeadlight && buffer->glassWaits) {
    visit.Note(Kind::kHeadlightOut,
               "glass waits for EndScene, and its one light, the headlight of "
               "SetupLights(nullptr), goes out");
  }
}

void AfterSetDepthFunc(Visit& visit, DisplayList& self, int function) {
  SetSwitch(visit, self, function);
}

void BeforeSetTexture(Visit& visit, DisplayList&, GATexture* texture) {
  if (!texture || visit.State().Find(texture)) return;
  visit.Note(Kind::kTextureUnknown, "the texture is none that lives");
}

void AfterSetTexture(Visit& visit, DisplayList& self, GATexture* texture) {
  ListState* list = visit.State().Find(&self);
  if (!list) return;
  list->texture = texture;
  const BufferState* buffer = visit.State().BufferOf(*list);
  const TextureState* known = texture ? visit.State().Find(texture) : nullptr;
  if (!known || !known->hasPicture || list->isBlockOpen || !buffer) return;
  if (buffer->surface != BufferState::Surface::kReady || IsGlEnabled(GL_TEXTURE_2D)) return;
  visit.Note(Kind::kTextureLost,
             "texturing stays off: textured glass of the scene before, or TransparentBlit, has "
             "switched it off in the GL alone");
}

void BeforeListProjection(Visit& visit, DisplayList& self, int mode) {
  const ListState* list = visit.State().Find(&self);
  const BufferState* buffer = list ? visit.State().BufferOf(*list) : nullptr;
  if (!buffer || !buffer->isProjected) return;
  if (mode == list->projection && (mode != 0) != (buffer->projection != 0)) {
    visit.Note(Kind::kStaleProjection,
               fmt::format("the list takes {} for loaded, and the buffer has loaded {} since", mode,
                           buffer->projection));
  }
  if (list->batchesWait && mode != list->projection) {
    visit.Note(Kind::kBatchesWait, "what waits in batches will be drawn in the other projection");
  }
}

void AfterListProjection(Visit& visit, DisplayList& self, int mode) {
  ListState* list = visit.State().Find(&self);
  if (!list || list->projection == mode) return;
  list->projection = mode;
  list->isBlockOpen = false;
  if (BufferState* buffer = visit.State().BufferOf(*list)) buffer->projection = mode != 0;
}

/// Before, since the module may not come back.
void BeforeSetupLights(Visit& visit, DisplayList&, LightListNode* lights) {
  if (AreLightsEnded(lights)) return;
  visit.Note(Kind::kLightCircle, "lights or their owners lead back to themselves, without an end");
}

void AfterSetupLights(Visit& visit, DisplayList& self, LightListNode* lights) {
  if (AreLightsEnded(lights)) CheckLightCount(visit, lights);
  SetSwitch(visit, self, DisplayList::kLightingOn);
  ListState* list = visit.State().Find(&self);
  BufferState* buffer = list ? visit.State().BufferOf(*list) : nullptr;
  if (!buffer) return;
  list->hasHeadlight = !lights;
  buffer->knowsLooks = true;
  if (buffer->surface != BufferState::Surface::kReady || IsGlEnabled(GL_LIGHTING)) return;
  visit.Note(Kind::kLightingLost,
             "lighting stays off: the scene before has left it on for the buffer alone");
}

void AfterSetMaterial(Visit& visit, DisplayList& self, AttrProperty* material, float) {
  ListState* list = visit.State().Find(&self);
  if (!list) return;
  list->isMaterialTransparent = material && material->transparency.Current() != 0;
  BufferState* buffer = visit.State().BufferOf(*list);
  if (buffer && material) buffer->knowsLooks = true;
}

void BeforeBeginInstructions(Visit& visit, DisplayList& self) {
  const ListState* list = visit.State().Find(&self);
  if (!list || !list->isInFrame) return;
  visit.Note(Kind::kFrameOpen, "the instructions before have not ended");
}

void AfterBeginInstructions(Visit& visit, DisplayList& self) {
  ListState* list = visit.State().Find(&self);
  if (!list) return;
  list->isInFrame = true;
  list->texture = nullptr;
  list->surfaces = {};
}

void BeforeEndInstructions(Visit& visit, DisplayList& self) {
  const ListState* list = visit.State().Find(&self);
  if (!list) return;
  CheckSurfaces(visit, *list);
  if (!list->isInFrame) visit.Note(Kind::kOutsideFrame, "there was no BeginInstructions");
}

void AfterEndInstructions(Visit& visit, DisplayList& self) {
  SetSwitch(visit, self, DisplayList::kLightingOff);
  if (ListState* list = visit.State().Find(&self)) list->isInFrame = false;
}

void BeforeFlushTransparent(Visit& visit, DisplayList& self) {
  const ListState* list = visit.State().Find(&self);
  if (!list || !list->batchesWait) return;
  visit.Note(Kind::kBatchesWait, "batches wait, and will cover what is drawn now");
}

void AfterFlushTransparent(Visit& visit, DisplayList& self) {
  ListState* list = visit.State().Find(&self);
  BufferState* buffer = list ? visit.State().BufferOf(*list) : nullptr;
  if (buffer) buffer->KeepGlassDrawn();
}

void BeforeDeleteList(Visit& visit, DisplayList& self) {
  Session& session = visit.State();
  const ListState* list = session.Find(&self);
  if (!list) return;
  if (list->isBufferGone) visit.Note(Kind::kListAfterBuffer, "the list's buffer is deleted");
  BufferState* buffer = session.BufferOf(*list);
  if (buffer && buffer->list == &self) buffer->list = nullptr;
  session.lists.erase(&self);
}

void BeforePrepare(Visit& visit, DisplayList& self, Prepared prepared) {
  const ListState* list = visit.State().Find(&self);
  if (!list || list->prepared != prepared || list->isBlockOpen || !OpensBlock(prepared)) return;
  visit.Note(Kind::kPreparedBefore,
             "nothing is opened: the list was prepared so last, and that block is closed");
}

void AfterPrepare(Visit& visit, DisplayList& self, Prepared prepared) {
  ListState* list = visit.State().Find(&self);
  if (!list || list->prepared == prepared) return;
  list->prepared = prepared;
  list->isBlockOpen = OpensBlock(prepared);
  if (prepared == Prepared::kPoints || prepared == Prepared::kLines) {
    SetSwitch(visit, self, DisplayList::kLightingOff);
  } else {
    list->texture = nullptr;
  }
}

void BeforeNothing(Visit& visit, DisplayList&, int) {
  visit.Note(Kind::kNothingDone, "the operation does nothing");
}
void BeforeNoLine(Visit& visit, DisplayList&, int, int) {
  visit.Note(Kind::kNothingDone, "the operation does nothing");
}

void BeforeTransformAndAdd(Visit& visit, DisplayList& self, const Vector&, const GAColor&) {
  const ListState* list = visit.State().Find(&self);
  if (!list || list->info->objectToView) return;
  visit.Note(Kind::kNull, "RenderInfo::objectToView is null");
}

void CheckListDepth(Visit& visit, const DisplayList& self, float z) {
  const ListState* list = visit.State().Find(&self);
  if (!list) return;
  const RenderInfo& info = *list->info;
  if (z <= info.nearZ && z >= info.farZ) return;
  visit.Note(Kind::kDepthOutside, fmt::format("z is {}, with nearZ {} and farZ {}: nothing is seen",
                                              z, info.nearZ, info.farZ));
}

void BeforeRectangle(Visit& visit, DisplayList& self, int, int, int, int, float z) {
  CheckListDepth(visit, self, z);
}

void BeforeColoredRectangle(Visit& visit, DisplayList& self, int, int, int, int, float z,
                            const GAColor&) {
  CheckListDepth(visit, self, z);
}

void BeforeRoundRect(Visit& visit, DisplayList& self, int, int, int, int, float z, int, int,
                     const GAColor&) {
  CheckListDepth(visit, self, z);
}

void AfterQuad(Visit& visit, DisplayList& self, GAVertex*, int mode, int) {
  if (mode & DisplayList::kQuadPolyline) return;  // drawn at once
  KeepAdded(visit, self,
            mode != DisplayList::kQuadBatched && mode != DisplayList::kQuadDefaultColor);
}

void AfterTriangle(Visit& visit, DisplayList& self, GAVertex*, int check) {
  KeepAdded(visit, self, check != 0);
}

/// Coloured triangles are sorted only where depth is tested.
void AfterPolygon(Visit& visit, DisplayList& self, const VornPoly&, int check) {
  const ListState* list = visit.State().Find(&self);
  KeepAdded(visit, self,
            check && list && list->switches[ListState::kDepthTest] == DisplayList::kDepthTestOn);
}

void AfterPolygons(Visit& visit, DisplayList& self, const VornPoly*, int, int check) {
  AfterPolygon(visit, self, VornPoly(), check);
}

/// A fan that does not wait is drawn at once.
void AfterFan(Visit& visit, DisplayList& self, GAVertex*, unsigned long, unsigned short*,
              unsigned long, int check) {
  ListState* list = visit.State().Find(&self);
  if (!list) return;
  const bool waited = list->batchesWait;
  KeepAdded(visit, self, check != 0);
  list->batchesWait = waited;
}

void AfterIndexedLines(Visit& visit, DisplayList& self, std::vector<GALitVertex>&,
                       std::vector<unsigned int>&) {
  SetSwitch(visit, self, DisplayList::kLightingOff);
}

void AfterLitTriangles(Visit& visit, DisplayList& self, GALitVertex*, unsigned long,
                       unsigned short*, unsigned long, int) {
  SetSwitch(visit, self, DisplayList::kLightingOff);
}

}  // namespace hostkit::checking
