// Moves of the random host that concern a frame buffer.
#include <algorithm>
#include <climits>
#include <cstring>
#include <string>

#include "host/Bitmap.h"
#include "platform/mfc.h"
#include "tests/fuzz/host_player.h"
#include "tests/support/transparent_queue.h"

void HostPlayer::Reallocate() {
  constexpr int kSides[] = {16, 1, 2, 3, 7, 17, 31, 16, 0, -1, 65552, INT_MAX, INT_MIN};
  const int known = m_input.IsTame() ? 8 : 13;
  const int width = kSides[m_input.Below(known)];
  const int height = kSides[m_input.Below(known)];
  if (!m_input.IsTame() && m_input.Below(16) == 15) {
    Buffer().Destroy();
    if (m_input.Flag()) Buffer().AllocateforShader(16, 16);
    return;
  }
  const int made = Buffer().Reallocate(width, height, m_input.IsTame() ? 1 : m_input.Int());
  if (width > 0 && height > 0 && width < 100 && height < 100) {
    Require(made == 1, "a small surface was refused");
  }
  Buffer().ComputeProjectionMatrices();
}

void HostPlayer::ChangeView() {
  RenderInfo& info = Here().info;
  SceneRecord& scene = Here().scene;
  scene.ambientAmount = m_input.Float();
  info.environment.mode = m_input.Flag();
  info.environment.ambientRed = m_input.Float();
  info.environment.ambientIntensity = m_input.Float();
  info.flags = m_input.Byte();
  Here().objectToView[m_input.Below(12)] = m_input.Float();
  info.scaleX = Positive();
  info.scaleY = Positive();
  info.offsetX = m_input.Float();
  info.perspective = m_input.Flag() ? -Positive() : 0;
  if (!m_input.IsTame()) {
    info.scene = m_input.Flag() ? &scene : nullptr;
    info.nearZ = m_input.Float();
    info.farZ = m_input.Float();
    info.viewLeft = m_input.Float();
    info.viewRight = m_input.Float();
    info.viewTop = m_input.Float();
    info.imageWidth = m_input.Int();
    info.imageHeight = m_input.Int();
    info.pixelLeft = m_input.Int();
    info.pixelRight = m_input.Int();
  }
  Buffer().ComputeProjectionMatrices();
}

void HostPlayer::BeginScene() {
  Buffer().SetBackground(Color());
  Buffer().Clear();
  Buffer().SetProjection(m_input.Flag());
  Buffer().BeginScene();
  DisplayList& list = List();
  list.BeginInstructions();
  list.SetupLights(Lights());
  list.SetMaterial(Material(), 0);
}

void HostPlayer::EndScene() {
  DisplayList& list = List();
  list.ExecuteInstructions();
  list.FlushTransparentPolys();
  list.EndInstructions();
  Buffer().EndScene();
  Buffer().IsFogEnabled();  // makes its context current
  CheckErrors();
}

void HostPlayer::SetFog() {
  Here().scene.fogStart = m_input.Float();
  Here().scene.fogEnd = m_input.Float();
  Here().scene.fogRed = m_input.Float();
  Buffer().SetFogDensity(Positive());
  Buffer().SetFogState(m_input.Flag());
  Buffer().SetFogColor(Buffer().GetFogColor());
  Buffer().IsFogEnabled();
}

void HostPlayer::Overlay() {
  constexpr float kPlanes[] = {-1, -1000, -5, 0};
  const float z = m_input.IsTame() ? m_input.OneOf(kPlanes) : m_input.Float();
  const Things things = {
      [&] {
        const std::string text = m_input.Text(5);
        const int x = Pixel(), y = Pixel();
        Buffer().TextOutA(x, y, text.c_str(), Color(), 0);
      },
      [&] { Buffer().TextOutA(0, 0, nullptr, Color(), 0); },
      [&] {
        const CRect rect{Pixel(), Pixel(), Pixel(), Pixel()};
        Buffer().AfxFillRect(rect.left, rect.top, rect.right, rect.bottom, z, Color());
      },
      [&] {
        GL3GATexture* const texture = Texture();
        const CRect rect{Pixel(), Pixel(), Pixel(), Pixel()};
        const Vector2 scale{m_input.Float(), m_input.Float()};
        Buffer().TransparentBlit(texture, rect, z, scale, m_input.Float());
      },
  };
  DoOne(things);
}

void HostPlayer::ReadBack() {
  const int width = m_input.IsTame() ? m_input.Below(40) : std::min(m_input.Int(), 60);
  const int height = m_input.Below(40);
  const PlayedBitmap node(new HBitmapNode(width, height));
  Require(Buffer().FillBitmapNode(node.get(), m_input.Flag()) == 1, "nothing was read back");
  const HBitmapBuffer* buffer = node->FindBuffer("ColorAlpha");
  Require(!buffer == (width <= 0 || height <= 0), "read back without pixels");
  const int x = Pixel(), y = Pixel();
  Buffer().GetZValue(x, y);
}

void HostPlayer::BlitSomething() {
  // The pixels are as long as the record says.
  const auto size = static_cast<std::size_t>(m_input.Byte()) * 8;
  std::vector<unsigned char> bytes(sizeof(tagBITMAPINFO) + size);
  BITMAPINFOHEADER header{};
  header.biSizeImage = static_cast<DWORD>(size);
  std::memcpy(bytes.data(), &header, sizeof header);
  Buffer().Blit(reinterpret_cast<tagBITMAPINFO*>(bytes.data()));
  Buffer().Blit(nullptr);
  Buffer().BlitToFront(nullptr, 0, 0);
  Buffer().RepaintFront(CRect(), nullptr, 0, 0);
  Buffer().CopyObjects(&Buffer(), 0);
}

/// Many records in orders that are hard to sort, which must come out in order; those without a
/// depth may stand anywhere.
void HostPlayer::QueueRecords() {
  const int most = m_input.IsTame() ? 40 : 4000;
  const int count = m_input.Byte() * most / 256;
  const int order = m_input.Below(5);
  const GAVertex base = Vertex();
  AttrProperty* material = Material();
  LightListNode* lights = Lights();
  GL3GATexture* texture = Texture();
  Buffer().MakeRoomForTransparentPolys(count);
  for (int i = 0; i < count; ++i) {
    const int steps[] = {0, i, -i, std::min(i, count - i), i * 7919 % 1009};
    GAVertex v = base;
    v.z = base.z + static_cast<float>(steps[order]);
    if (order == 4 && i % 5 == 0) v.z = m_input.Float();
    if (i % 16 == 3) {
      Buffer().AddTransparentPoly(v, base, material, lights);
    } else {
      Buffer().AddTransparentPoly(v, v, base, texture, material, lights);
    }
  }
  const int last = TransparentQueue::Count(Buffer()) - 1;
  const Things things = {
      [&] { Buffer().QuickDepthSortInverse(0, last); },
      [&] {
        if (last < 400) Buffer().QuickSortTransparency(0, last);
      },
      [&] { Buffer().RenderTransparentPolys(); },
      [&] { Buffer().QuickDepthSort(0, last); },
  };
  DoOne(things);
}

void HostPlayer::SetBufferState() {
  const int what = m_input.Below(6);
  if (what == 0) Buffer().SetRenderState();
  if (what == 1) Buffer().OnSize();
  if (what == 2) Buffer().SetupLights(Lights());
  AttrProperty* const material = Material();
  if (what == 3) Buffer().SetMaterial(material, m_input.Float());
  if (what == 4) Buffer().SetMaterial(m_input.Flag());
  if (what == 5) Buffer().SetProjection(m_input.Int());
}
