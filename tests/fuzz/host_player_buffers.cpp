// Moves of the random host that concern the driver, a frame buffer, and what is drawn with.
#include <algorithm>
#include <cstring>
#include <string>

#include "host/Bitmap.h"
#include "platform/mfc.h"
#include "tests/fuzz/host_player.h"
#include "tests/support/transparent_queue.h"

namespace {

void BeginScene(HostPlayer& host) {
  host.Buffer().SetBackground(host.Color());
  host.Buffer().Clear();
  host.Buffer().SetProjection(host.input.Flag());
  host.Buffer().BeginScene();
  DisplayList& list = host.List();
  list.BeginInstructions();
  list.SetupLights(host.Lights());
  list.SetMaterial(host.Material(), 0);
}

void EndScene(HostPlayer& host) {
  DisplayList& list = host.List();
  list.ExecuteInstructions();
  list.FlushTransparentPolys();
  list.EndInstructions();
  host.Buffer().EndScene();
  host.Buffer().IsFogEnabled();  // makes its context current
  host.CheckErrors();
}

void ChooseBuffer(HostPlayer& host) {
  host.here = static_cast<std::size_t>(host.input.Below(3));
  if (!host.Here().buffer) host.RemakeBuffer();
}

void RemakeBuffer(HostPlayer& host) {
  host.RemakeBuffer();
}

void Reallocate(HostPlayer& host) {
  const int width = host.Side(), height = host.Side();
  const bool isTame = host.input.IsTame();
  if (!isTame && host.input.Below(16) == 15) {
    host.Buffer().Destroy();
    if (host.input.Flag()) host.Buffer().AllocateforShader(16, 16);
    return;
  }
  const int made = host.Buffer().Reallocate(width, height, isTame ? 1 : host.input.Int());
  if (width > 0 && height > 0 && width < 100 && height < 100) {
    Require(made == 1, "a small surface was refused");
  }
  host.Buffer().ComputeProjectionMatrices();
}

void ChangeView(HostPlayer& host) {
  Input& input = host.input;
  RenderInfo& info = host.Here().info;
  SceneRecord& scene = host.Here().scene;
  info.environment.mode = input.Flag();
  info.flags = input.Byte();
  float& turn = host.Here().objectToView[input.Below(12)];
  for (float* value : {&scene.ambientAmount, &info.environment.ambientRed,
                       &info.environment.ambientIntensity, &turn, &info.offsetX}) {
    *value = input.Float();
  }
  for (float* value : {&info.scaleX, &info.scaleY}) *value = host.Positive();
  info.perspective = input.Flag() ? -host.Positive() : 0;
  if (!input.IsTame()) {
    info.scene = input.Flag() ? &scene : nullptr;
    for (float* value : {&info.nearZ, &info.farZ, &info.viewLeft, &info.viewRight, &info.viewTop}) {
      *value = input.Float();
    }
    for (auto* value : {&info.imageWidth, &info.imageHeight, &info.pixelLeft, &info.pixelRight}) {
      *value = input.Int();
    }
  }
  host.Buffer().ComputeProjectionMatrices();
}

void SetFog(HostPlayer& host) {
  SceneRecord& scene = host.Here().scene;
  scene.fogStart = host.input.Float();
  scene.fogEnd = host.input.Float();
  scene.fogRed = host.input.Float();
  host.Buffer().SetFogDensity(host.Positive());
  host.Buffer().SetFogState(host.input.Flag());
  host.Buffer().SetFogColor(host.Buffer().GetFogColor());
  host.Buffer().IsFogEnabled();
}

/// Where something lies over the picture. A tame host's planes are before the near one or on it.
float Plane(Hand& hand) {
  constexpr float kPlanes[] = {-1, -1000, -5, 0};
  return hand.host.input.IsTame() ? hand.host.input.OneOf(kPlanes) : hand.number;
}

constexpr Call kOverlays[] = {
    [](Hand& h) {
      const std::string text = h.host.input.Text(5);
      h.host.Buffer().TextOutA(h.x1, h.y1, text.c_str(), h.color, 0);
    },
    [](Hand& h) { h.host.Buffer().TextOutA(0, 0, nullptr, h.color, 0); },
    [](Hand& h) { h.host.Buffer().AfxFillRect(h.x1, h.y1, h.x2, h.y2, Plane(h), h.color); },
    [](Hand& h) {
      GL3GATexture* const texture = h.host.Texture();
      const CRect rect{h.x1, h.y1, h.x2, h.y2};
      const Vector2 scale{h.a.x, h.a.y};
      h.host.Buffer().TransparentBlit(texture, rect, Plane(h), scale, h.a.z);
    },
};

void ReadBack(HostPlayer& host) {
  const int width = host.input.IsTame() ? host.input.Below(40) : std::min(host.input.Int(), 60);
  const int height = host.input.Below(40);
  const hostkit::BitmapPtr node(new HBitmapNode(width, height));
  Require(host.Buffer().FillBitmapNode(node.get(), host.input.Flag()) == 1,
          "nothing was read back");
  const HBitmapBuffer* buffer = node->FindBuffer("ColorAlpha");
  Require(!buffer == (width <= 0 || height <= 0), "read back without pixels");
  const int x = host.Pixel(), y = host.Pixel();
  host.Buffer().GetZValue(x, y);
}

void BlitSomething(HostPlayer& host) {
  // The pixels are as long as the record says.
  const auto size = static_cast<std::size_t>(host.input.Byte()) * 8;
  std::vector<unsigned char> bytes(sizeof(tagBITMAPINFO) + size);
  BITMAPINFOHEADER header{};
  header.biSizeImage = static_cast<DWORD>(size);
  std::memcpy(bytes.data(), &header, sizeof header);
  host.Buffer().Blit(reinterpret_cast<tagBITMAPINFO*>(bytes.data()));
  host.Buffer().Blit(nullptr);
  host.Buffer().BlitToFront(nullptr, 0, 0);
  host.Buffer().RepaintFront(CRect(), nullptr, 0, 0);
  host.Buffer().CopyObjects(&host.Buffer(), 0);
}

/// Many records in orders that are hard to sort, which must come out in order; those without a
/// depth may stand anywhere.
void QueueRecords(HostPlayer& host) {
  GL3GABuffer& buffer = host.Buffer();
  const int most = host.input.IsTame() ? 40 : 4000;
  const int count = host.input.Byte() * most / 256;
  const int order = host.input.Below(5);
  const int end = host.input.Below(4);
  const GAVertex base = host.Vertex();
  AttrProperty* material = host.Material();
  LightListNode* lights = host.Lights();
  GL3GATexture* texture = host.Texture();
  buffer.MakeRoomForTransparentPolys(count);
  for (int i = 0; i < count; ++i) {
    const int steps[] = {0, i, -i, std::min(i, count - i), i * 7919 % 1009};
    GAVertex v = base;
    v.z = base.z + static_cast<float>(steps[order]);
    if (order == 4 && i % 5 == 0) v.z = host.input.Float();
    if (i % 16 == 3) {
      buffer.AddTransparentPoly(v, base, material, lights);
    } else {
      buffer.AddTransparentPoly(v, v, base, texture, material, lights);
    }
  }
  const int last = TransparentQueue::Count(buffer) - 1;
  if (end == 0) buffer.QuickDepthSortInverse(0, last);
  if (end == 1 && last < 400) buffer.QuickSortTransparency(0, last);
  if (end == 2) buffer.RenderTransparentPolys();
  if (end == 3) buffer.QuickDepthSort(0, last);
}

constexpr Call kBufferStates[] = {
    [](Hand& h) { h.host.Buffer().SetRenderState(); },
    [](Hand& h) { h.host.Buffer().OnSize(); },
    [](Hand& h) { h.host.Buffer().SetupLights(h.host.Lights()); },
    [](Hand& h) { h.host.Buffer().SetMaterial(h.host.Material(), h.number); },
    [](Hand& h) { h.host.Buffer().SetMaterial(h.flag); },
    [](Hand& h) { h.host.Buffer().SetProjection(h.across); },
};

void RestartDriver(HostPlayer& host) {
  if (host.input.Flag()) host.driver->Terminate();
  if (host.input.Flag()) Require(host.driver->Initialize() == 1, "no second driver");
}

constexpr Call kColors[] = {
    [](Hand& h) { h.color = GAColor(); },
    [](Hand& h) { h.color = h.other; },
    [](Hand& h) {
      const RGBFloat rgb = {h.a.x, h.a.y, h.a.z};
      h.color = GAColor(HostPlayer::driver->CreateColor(rgb));
      if (h.color.Native()) h.color.Native()->SetAlpha(h.color.Native()->Red());
    },
    [](Hand& h) {
      const Vector4 rgba = {h.a.x, h.a.y, h.a.z, h.number};
      h.color = GAColor(HostPlayer::driver->CreateColor(rgba));
    },
    [](Hand& h) { h.color = GAColor(HostPlayer::driver->CreateColor(h.other)); },
    [](Hand& h) {
      Input& input = h.host.input;
      const std::array<unsigned char, 4> c{input.Byte(), input.Byte(), input.Byte(), input.Byte()};
      h.color.Set(c[0], c[1], c[2], c[3]);
    },
};

void ChangeMaterial(HostPlayer& host) {
  AttrProperty& material = host.OneOf(host.materials);
  material.base = {host.input.Float(), host.input.Float(), host.input.Float()};
  material.ambientSource = host.input.Byte();
  material.specularSource = host.input.Byte();
  for (AnimatableValue* value :
       {&material.ambient.red, &material.ambientFactor, &material.specular.blue,
        &material.specularFactor, &material.transparency}) {
    *value = host.input.Float();
  }
  material.roughness = host.Positive();
}

void ChangeLight(HostPlayer& host) {
  Input& input = host.input;
  GALight& light = host.OneOf(host.lights);
  const int switches = input.Byte();
  light.on = !(switches & 1);
  light.hidden = switches & 2;
  light.diffuseOn = switches & 4;
  light.specularOn = switches & 8;
  host.owner.visible = !(switches & 16);
  light.type = input.IsTame() ? input.Below(3) : input.Int();
  light.position = host.Point();
  light.target = host.Point();
  light.placement[input.Below(12)] = input.Float();
  for (float* value : {&light.red, &light.intensity, &light.coneAngle}) *value = input.Float();
  light.coneSoftness = input.IsTame() ? static_cast<float>(input.Below(11)) : input.Float();
  light.range = host.Positive();
}

void MakeTexture(HostPlayer& host) {
  auto& texture = host.OneOf(host.textures);
  if (!texture) texture.reset(static_cast<GL3GATexture*>(host.driver->CreateTexture()));
  texture->FreeGATexture();
  const int width = host.input.Below(20);
  const int height = host.input.Below(20);
  const std::uint8_t shade = host.input.Byte();
  if (host.input.Below(4) == 0) {
    texture->m_width = width;
    texture->m_height = height;
    std::vector<unsigned char> planes(static_cast<std::size_t>(width * height * 4) + 1, shade);
    texture->MakeGATexture(planes.data());
    return;
  }
  const hostkit::BitmapPtr bitmap(new HBitmapNode(width, height));
  HRGBABuffer* pixels =
      bitmap->CreateRGBABuffer("Color", HBitmapBuffer::kByteChannel, width, height);
  bitmap->AddBuffer(pixels);
  if (pixels->AllocateData(0)) {
    auto* bytes = static_cast<unsigned char*>(pixels->Data());
    for (int i = 0; i < width * height * 4; ++i) bytes[i] = static_cast<unsigned char>(shade + i);
  }
  texture->MakeGATexture(bitmap.get(), host.input.Below(3), 0, 0);
}

void FreeTexture(HostPlayer& host) {
  if (GL3GATexture* texture = host.Texture()) texture->FreeGATexture();
}

/// Nothing may be left that was drawn with the texture.
void DeleteTexture(HostPlayer& host) {
  for (PlayedBuffer& played : host.buffers) {
    if (!played.buffer) continue;
    for (const auto& list : played.lists) {
      list->ExecuteInstructions();
      list->SetTexture(nullptr);
    }
    played.buffer->EndScene();
  }
  host.OneOf(host.textures).reset();
}

}  // namespace

Moves BufferMoves() {
  return {BeginScene,  EndScene,      ChooseBuffer,  RemakeBuffer,         Reallocate,
          ChangeView,  SetFog,        ReadBack,      BlitSomething,        QueueRecords,
          MakeTexture, FreeTexture,   DeleteTexture, CallOneOf<kOverlays>, CallOneOf<kColors>,
          ChangeLight, ChangeMaterial};
}

Moves WildBufferMoves() {
  return {CallOneOf<kBufferStates>, RestartDriver};
}
