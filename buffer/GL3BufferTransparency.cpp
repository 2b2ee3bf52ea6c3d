// The transparent-polygon queue: adding, sorting by depth, and the pass that draws it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "buffer/ClientArray.h"
#include "buffer/GL3Buffer.h"
#include "buffer/TransparentQueueMemory.h"
#include "texture/GL3Texture.h"

std::int32_t GL3GABuffer::m_maxtransparentpolys = 0;
std::int32_t GL3GABuffer::m_inversesort = 0;

namespace {

struct FarFirst {
  static bool Before(float a, float b) { return a > b; }
};
struct NearFirst {
  static bool Before(float a, float b) { return a < b; }
};

/// Quicksort of whole records around the middle one's key. The two sides of a partition do not
/// depend on each other, so the smaller one is recursed into, which bounds the depth of the stack
/// by the logarithm of the count for every order of keys.
template <class Order>
void DepthSort(TransparentRecord* records, int first, int last) {
  while (last - first > 1) {
    const float pivot = records[first + (last - first) / 2].depthKey;
    int i = first;
    int j = last;
    while (i <= j) {
      while (Order::Before(records[i].depthKey, pivot)) ++i;
      while (Order::Before(pivot, records[j].depthKey)) --j;
      if (j < i) break;
      std::swap(records[i], records[j]);
      ++i;
      --j;
    }
    if (j - first < last - i) {
      DepthSort<Order>(records, first, j);
      first = i;
    } else {
      DepthSort<Order>(records, i, last);
      last = j;
    }
  }
  if (last - first == 1 && Order::Before(records[last].depthKey, records[first].depthKey)) {
    std::swap(records[first], records[last]);
  }
}

/// Moves the records that belong before the last one's key to the front. Returns the index at which
/// the last record ends up, between the two sides.
int PartitionAroundLast(TransparentRecord* records, int first, int last) {
  const float pivot = records[last].depthKey;
  int place = first;
  for (int i = first; i < last; ++i) {
    if (records[i].depthKey >= pivot) std::swap(records[i], records[place++]);
  }
  std::swap(records[place], records[last]);
  return place;
}

}  // namespace

int GL3GABuffer::MakeRoomForTransparentPolys(int count) {
  if (!m_transparentPolys) {
    // One record more than the setting says, and two at least: a quad takes this answer for both
    // of its triangles.
    const auto capacity = static_cast<std::size_t>(std::max(m_maxtransparentpolys, 1)) + 1;
    m_transparentPolys = transparent_queue_memory::Take(capacity);
    if (!m_transparentPolys) return 0;
    m_transparentCapacity = capacity;
    return 1;
  }
  return static_cast<std::int64_t>(m_transparentCount) + count <= m_maxtransparentpolys;
}

TransparentRecord* GL3GABuffer::AddTransparentPoly(const GAVertex& a, const GAVertex& b,
                                                   const GAVertex& c, GL3GATexture* texture,
                                                   AttrProperty* attribute, LightListNode* lights) {
  if (IsTransparentQueueFull()) return nullptr;
  // The line flag is 0 already: the queue's memory arrives zero-filled and is used once.
  TransparentRecord& record = m_transparentPolys[m_transparentCount++];
  record.a = a;
  record.b = b;
  record.c = c;
  record.texture = texture;
  record.attribute = attribute;
  record.lights = lights;
  record.depthKey = -((a.z + b.z + c.z) * 0.33333334f);
  return &record;
}

TransparentRecord* GL3GABuffer::AddTransparentPoly(const GAVertex& a, const GAVertex& b,
                                                   AttrProperty* attribute, LightListNode* lights) {
  if (IsTransparentQueueFull()) return nullptr;
  TransparentRecord& record = m_transparentPolys[m_transparentCount++];
  record.isLine = 1;
  record.a = a;
  record.b = b;
  record.attribute = attribute;
  record.lights = lights;
  record.depthKey = -((a.z + b.z) * 0.5f);
  return &record;
}

void GL3GABuffer::FreeTransparentQueue() {
  if (m_transparentPolys) {
    transparent_queue_memory::GiveBack(m_transparentPolys, m_transparentCapacity);
  }
  m_transparentPolys = nullptr;
  m_transparentCapacity = 0;
  m_transparentCount = 0;
}

void GL3GABuffer::QuickDepthSort(int first, int last) {
  DepthSort<FarFirst>(m_transparentPolys, first, last);
}

void GL3GABuffer::QuickDepthSortInverse(int first, int last) {
  DepthSort<NearFirst>(m_transparentPolys, first, last);
}

void GL3GABuffer::QuickSortTransparency(int first, int last) {
  while (last - first > 1) {
    std::swap(m_transparentPolys[first + (last - first) / 2], m_transparentPolys[last]);
    const int pivot = PartitionAroundLast(m_transparentPolys, first, last);
    if (pivot - first < last - pivot) {
      QuickSortTransparency(first, pivot - 1);
      first = pivot + 1;
    } else {
      QuickSortTransparency(pivot + 1, last);
      last = pivot - 1;
    }
  }
  if (last - first == 1 && m_transparentPolys[last].depthKey > m_transparentPolys[first].depthKey) {
    std::swap(m_transparentPolys[first], m_transparentPolys[last]);
  }
}

/// Draws sorted records: triangles of equal state in one indexed draw, lines at once.
class TransparentPass {
 public:
  /// `triangles` is the most that are drawn in one run.
  TransparentPass(GL3GABuffer& buffer, std::size_t triangles);
  void Draw(const TransparentRecord& record);
  /// Draws what is left. Puts back depth test, culling, line smoothing and the diffuse colour;
  /// switches off texturing, when a texture is current, and lighting. Lights, the other material
  /// values and the line width stay as the last records left them.
  void Finish();

 private:
  void UseTexture(GL3GATexture* texture);
  void UseLights(LightListNode* lights);
  void UseAttribute(AttrProperty* attribute);
  void DrawLine(const TransparentRecord& record);
  void Flush();
  void EnableLighting();

  GL3GABuffer& m_buffer;
  GLfloat m_savedDiffuse[4] = {0, 0, 0, 0};
  bool m_smoothingWasOn;
  bool m_depthTestWasOn;
  bool m_cullingWasOn;
  GLint m_cullFaceMode = GL_BACK;
  bool m_lightingOn;
  GL3GATexture* m_texture = nullptr;
  AttrProperty* m_attribute = nullptr;
  LightListNode* m_lights = nullptr;
  std::vector<GAVertex> m_vertices;
  std::vector<std::uint32_t> m_indices;
};

TransparentPass::TransparentPass(GL3GABuffer& buffer, std::size_t triangles)
    : m_buffer(buffer),
      m_smoothingWasOn(buffer.HasState(GL3GABuffer::kSmoothingOn)),
      m_depthTestWasOn(buffer.HasState(GL3GABuffer::kDepthTestOn)),
      m_cullingWasOn(false),
      m_lightingOn(buffer.HasState(GL3GABuffer::kLightingOn)) {
  // Grown step by step, the arrays of a full queue would take as long as its sort.
  m_vertices.reserve(triangles * 3);
  m_indices.reserve(triangles * 3);
  glGetMaterialfv(GL_FRONT, GL_DIFFUSE, m_savedDiffuse);
  if (!m_smoothingWasOn) glEnable(GL_LINE_SMOOTH);
  if (!m_depthTestWasOn) glEnable(GL_DEPTH_TEST);
  m_cullingWasOn = glIsEnabled(GL_CULL_FACE);
  glGetIntegerv(GL_CULL_FACE_MODE, &m_cullFaceMode);
  glCullFace(GL_FRONT);
  glEnable(GL_CULL_FACE);
}

void TransparentPass::Draw(const TransparentRecord& record) {
  if (record.texture != m_texture) UseTexture(record.texture);
  if (!record.attribute) return;
  if (record.lights != m_lights) UseLights(record.lights);
  if (record.attribute != m_attribute) UseAttribute(record.attribute);
  if (record.isLine) {
    DrawLine(record);
    return;
  }
  const auto base = static_cast<std::uint32_t>(m_vertices.size());
  m_vertices.insert(m_vertices.end(), {record.a, record.b, record.c});
  m_indices.insert(m_indices.end(), {base, base + 1, base + 2});
}

void TransparentPass::UseTexture(GL3GATexture* texture) {
  Flush();
  if (texture && texture->m_texture) {
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, texture->m_texture);
    m_texture = texture;
  } else {
    glDisable(GL_TEXTURE_2D);
    m_texture = nullptr;
  }
}

void TransparentPass::UseLights(LightListNode* lights) {
  Flush();
  m_buffer.SetupLights(lights);
  m_lights = lights;
}

void TransparentPass::UseAttribute(AttrProperty* attribute) {
  Flush();
  if (m_buffer.NeedsSetMaterial(attribute, 0.0f)) {
    m_buffer.SetMaterial(0);
  } else if (m_texture || !m_attribute || m_lights) {
    m_buffer.SetMaterial(1);
  }
  m_attribute = attribute;
}

/// A line is drawn at once: before the triangles that wait in the batch, although they are farther
/// away.
void TransparentPass::DrawLine(const TransparentRecord& record) {
  EnableLighting();
  GLfloat diffuse[4];
  std::copy_n(m_savedDiffuse, 4, diffuse);
  glLineWidth(record.a.v);
  glBegin(GL_LINES);
  for (const GAVertex* vertex : {&record.a, &record.b}) {
    glNormal3fv(&vertex->nx);
    diffuse[3] = (1 - vertex->u) * m_savedDiffuse[3];
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, diffuse);
    glVertex3fv(&vertex->x);
  }
  glEnd();
}

void TransparentPass::EnableLighting() {
  if (!m_lightingOn) glEnable(GL_LIGHTING);
  m_lightingOn = true;
}

void TransparentPass::Flush() {
  if (m_indices.empty()) return;
  EnableLighting();
  const GAVertex* v = m_vertices.data();
  DrawIndexed(GL_TRIANGLES, m_indices.data(), m_indices.size(), PositionArray(v), NormalArray(v),
              TexCoordArray(v));
  m_vertices.clear();
  m_indices.clear();
}

void TransparentPass::Finish() {
  Flush();
  if (!m_depthTestWasOn) glDisable(GL_DEPTH_TEST);
  if (m_texture) glDisable(GL_TEXTURE_2D);
  // Lighting goes off in the GL alone: the buffer's flag stays as it is.
  if (m_lightingOn) glDisable(GL_LIGHTING);
  if (!m_cullingWasOn) glDisable(GL_CULL_FACE);
  if (!m_smoothingWasOn) glDisable(GL_LINE_SMOOTH);
  glCullFace(static_cast<GLenum>(m_cullFaceMode));
  m_buffer.SetDiffuseMaterial(m_savedDiffuse);
}

void GL3GABuffer::RenderTransparentPolys() {
  MakeCurrent(0);
  QuickDepthSort(0, m_transparentCount - 1);
  TransparentPass pass(*this, static_cast<std::size_t>(m_transparentCount));
  for (int i = 0; i < m_transparentCount; ++i) pass.Draw(m_transparentPolys[i]);
  pass.Finish();
  FreeTransparentQueue();
}
