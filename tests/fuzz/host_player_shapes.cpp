// Moves of the random host that draw shapes and arrays. Arrays are copied into memory of exactly
// the length that the call reads.
#include <algorithm>

#include "host/VornPoly.h"
#include "tests/fuzz/host_player.h"

void HostPlayer::AddLines() {
  DisplayList& list = List();
  const int kind = m_input.Below(8);
  const Vector a = Point(), b = Point();
  GAColor& color = Color();
  GAColor& other = Color();
  const Things things = {
      [&] { list.AddLine(a, b); },
      [&] { list.AddLine(a, b, color); },
      [&] { list.AddLine(a, color, b, other); },
      [&] { list.AddTransformedLine(a, b); },
      [&] { list.AddTransformedLine(a, b, color); },
      [&] { list.AddTransformedLineRef(a, b); },
      [&] { list.AddTransformedLineRef(a, b, color); },
      [&] { list.AddTransformedLine(a, color, b, other); },
  };
  Do(kind, things);
}

void HostPlayer::AddLineArrays() {
  DisplayList& list = List();
  const int count = Count(12);
  const auto size = static_cast<std::size_t>(std::max(count, 0));
  std::vector<Vector> a(size, Point());
  std::vector<Vector> b(size, Point());
  std::vector<GALitVertex> vertices(size);
  std::vector<unsigned int> indices(size > 0 ? static_cast<std::size_t>(m_input.Below(9)) : 0);
  const int kind = m_input.Below(4);
  GAColor& color = Color();
  GAColor& other = Color();
  const Things things = {
      [&] { list.AddTransformedLineList(a.data(), count); },
      [&] { list.AddTransformedLineList(a.data(), b.data(), count, color, other); },
      [&] { list.AddLineList(a.data(), b.data(), count, color, other); },
      [&] {
        for (auto& index : indices) index = m_input.Byte() % static_cast<unsigned>(size);
        for (auto& vertex : vertices) vertex.y = m_input.Float();
        list.AddIndexedLineList(vertices, indices);
      },
  };
  Do(kind, things);
}

void HostPlayer::AddShadedLines() {
  const int count = Count(6);
  std::vector<GAShadedLineVertex> points(static_cast<std::size_t>(std::max(count, 1)));
  for (GAShadedLineVertex& point : points) {
    if (const AttrProperty* material = Material()) point.material = *material;
    point.position = Point();
    point.normal = Point();
    point.width = Positive();
  }
  List().AddTransformedShadedLineList(points.data(), count, m_input.Flag());
}

void HostPlayer::AddRectangles() {
  DisplayList& list = List();
  const int x1 = Pixel(), y1 = Pixel(), x2 = Pixel(), y2 = Pixel();
  const float z = m_input.Float();
  const int kind = m_input.Below(6), across = m_input.Int(), down = m_input.Int();
  const Things things = {
      [&] { list.AddRectangle(x1, y1, x2, y2, z); },
      [&] { list.AddRectangle(x1, y1, x2, y2, z, Color()); },
      [&] { list.AddSolidRectangle(x1, y1, x2, y2, z); },
      [&] { list.AddSolidRectangle(x1, y1, x2, y2, z, Color()); },
      [&] { list.AddRoundRect(x1, y1, x2, y2, z, across, down, Color()); },
      [&] {
        const Vector place = Point();
        list.AddCP(place, across, Color());
      },
  };
  Do(kind, things);
}

void HostPlayer::AddCurves() {
  DisplayList& list = List();
  const int kind = m_input.Below(8);
  const float radius = m_input.Float();
  const Vector a = Point(), b = Point(), c = Point();
  GAColor& color = Color();
  const Things things = {
      [&] { list.AddCircle(a, b, c); },
      [&] { list.AddCircle(a, b, c, color); },
      [&] { list.AddSemiCircle(a, b, c, color); },
      [&] { list.AddTransformedSemiCircle(a, b, c, color); },
      [&] { list.AddTransformedCircle(a, radius); },
      [&] { list.AddTransformedCircle(a, radius, color); },
      [&] { list.AddSphere(a, radius, color); },
      [&] { list.AddTransformedSphere(a, radius, color); },
  };
  Do(kind, things);
}

void HostPlayer::AddPolygons() {
  DisplayList& list = List();
  const int count = Count(60);
  std::vector<VornPoly> polygons(static_cast<std::size_t>(std::max(count, 1)));
  for (std::size_t i = 0; i < polygons.size(); ++i) {
    VornPoly& polygon = polygons[i];
    polygon = polygons[i / 2];
    if (i < 3) {
      polygon.p0 = Point();
      polygon.p1 = Point();
      polygon.p2 = Point();
      polygon.c0 = Color();
      polygon.c2 = Color();
      polygon.uv1 = {m_input.Float(), m_input.Float()};
    }
    polygon.depthKey = m_input.Float();
  }
  const bool check = m_input.Flag();
  if (m_input.Flag()) {
    list.AddTransformedPolygon(polygons[0], check);
  } else {
    list.AddTransformedPolygons(polygons.data(), count, check);
  }
}

void HostPlayer::AddTriangles() {
  DisplayList& list = List();
  std::vector<GAVertex> vertices = Vertices(4);
  RGBFloat colors[4];
  GALitVertex lit[4];
  const Things things = {
      [&] { list.AddTransformedTri(vertices.data(), m_input.Flag()); },
      [&] {
        const int mode = m_input.Below(4);
        list.AddTransformedQuad(vertices.data(), mode, m_input.Flag());
      },
      [&] {
        for (RGBFloat& color : colors) color.red = m_input.Float();
        list.AddTransformedQuad(vertices.data(), colors, m_input.Flag());
      },
      [&] {
        for (GALitVertex& vertex : lit) vertex.x = m_input.Float();
        list.AddTransformedQuad(lit);
      },
  };
  DoOne(things);
}

void HostPlayer::AddPolyline() {
  const int count = m_input.Below(150);
  std::vector<GAVertex> vertices = Vertices(std::max(count, 1));
  const int kind = m_input.Flag() ? 0x8000 : 0xC000;
  List().AddTransformedQuad(vertices.data(), kind | count, m_input.Flag());
}

void HostPlayer::AddFan() {
  const int vertexCount = 1 + m_input.Below(20);
  const int indexCount = m_input.Below(120);
  std::vector<GAVertex> vertices = Vertices(vertexCount);
  std::vector<unsigned short> indices = Indices(indexCount, vertexCount);
  List().AddIndexedTriangleFan(vertices.data(), vertices.size(), indices.data(), indices.size(),
                               m_input.Flag());
}

void HostPlayer::AddIndexedLists() {
  DisplayList& list = List();
  const int vertexCount = 1 + m_input.Below(40);
  std::vector<unsigned short> indices = Indices(m_input.Below(60), vertexCount);
  if (m_input.Flag()) {
    std::vector<GALitVertex> vertices(static_cast<std::size_t>(vertexCount));
    for (GALitVertex& vertex : vertices) vertex.x = m_input.Float();
    list.AddIndexedLitTriangleList(vertices.data(), vertices.size(), indices.data(), indices.size(),
                                   0);
  } else {
    std::vector<GALitVertexWT> vertices(static_cast<std::size_t>(vertexCount));
    for (GALitVertexWT& vertex : vertices) vertex.u = m_input.Float();
    list.AddIndexedLitTriangleListWT(vertices.data(), vertices.size(), indices.data(),
                                     indices.size(), 0);
  }
}
