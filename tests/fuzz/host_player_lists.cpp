// Moves of the random host that concern a display list. Arrays are copied into memory of exactly
// the length that the call reads.
#include <algorithm>

#include "host/VornPoly.h"
#include "tests/fuzz/host_player.h"

namespace {

constexpr Call kStates[] = {
    [](Hand& h) { h.list.SetTexture(h.host.Texture()); },
    [](Hand& h) { h.list.SetMaterial(h.host.Material(), h.number); },
    [](Hand& h) { h.list.SetupLights(h.host.Lights()); },
    [](Hand& h) { h.list.SetDepthFunc(h.host.input.IsTame() ? h.x1 % 7 : h.across); },
    [](Hand& h) { h.list.SetProjection(h.flag); },
    [](Hand& h) { h.list.SetDefaultColor(h.color); },
    [](Hand& h) { h.list.OnSize(); },
    [](Hand& h) { h.list.FlushTransparentPolys(); },
};

constexpr Call kInstructions[] = {
    [](Hand& h) { h.list.BeginInstructions(); },
    [](Hand& h) { h.list.EndInstructions(); },
    [](Hand& h) { h.list.ExecuteInstructions(); },
    [](Hand& h) {
      // Its caller sees to the context.
      static_cast<GL3DisplayList&>(h.list).MakeCurrent();
      h.list.FlushArrays();
    },
    [](Hand& h) { h.list.Execute(); },
};

constexpr Call kLines[] = {
    [](Hand& h) { h.list.AddLine(h.a, h.b); },
    [](Hand& h) { h.list.AddLine(h.a, h.b, h.color); },
    [](Hand& h) { h.list.AddLine(h.a, h.color, h.b, h.other); },
    [](Hand& h) { h.list.AddTransformedLine(h.a, h.b); },
    [](Hand& h) { h.list.AddTransformedLine(h.a, h.b, h.color); },
    [](Hand& h) { h.list.AddTransformedLineRef(h.a, h.b); },
    [](Hand& h) { h.list.AddTransformedLineRef(h.a, h.b, h.color); },
    [](Hand& h) { h.list.AddTransformedLine(h.a, h.color, h.b, h.other); },
};

constexpr Call kRectangles[] = {
    [](Hand& h) { h.list.AddRectangle(h.x1, h.y1, h.x2, h.y2, h.number); },
    [](Hand& h) { h.list.AddRectangle(h.x1, h.y1, h.x2, h.y2, h.number, h.color); },
    [](Hand& h) { h.list.AddSolidRectangle(h.x1, h.y1, h.x2, h.y2, h.number); },
    [](Hand& h) { h.list.AddSolidRectangle(h.x1, h.y1, h.x2, h.y2, h.number, h.color); },
    [](Hand& h) {
      h.list.AddRoundRect(h.x1, h.y1, h.x2, h.y2, h.number, h.across, h.down, h.color);
    },
    [](Hand& h) { h.list.AddCP(h.a, h.across, h.color); },
};

constexpr Call kCurves[] = {
    [](Hand& h) { h.list.AddCircle(h.a, h.b, h.c); },
    [](Hand& h) { h.list.AddCircle(h.a, h.b, h.c, h.color); },
    [](Hand& h) { h.list.AddSemiCircle(h.a, h.b, h.c, h.color); },
    [](Hand& h) { h.list.AddTransformedSemiCircle(h.a, h.b, h.c, h.color); },
    [](Hand& h) { h.list.AddTransformedCircle(h.a, h.number); },
    [](Hand& h) { h.list.AddTransformedCircle(h.a, h.number, h.color); },
    [](Hand& h) { h.list.AddSphere(h.a, h.number, h.color); },
    [](Hand& h) { h.list.AddTransformedSphere(h.a, h.number, h.color); },
};

constexpr Call kLineArrays[] = {
    [](Hand& h) {
      const int count = h.host.Count(12);
      std::vector<Vector> points(static_cast<std::size_t>(std::max(count, 0)), h.a);
      h.list.AddTransformedLineList(points.data(), count);
    },
    [](Hand& h) {
      const int count = h.host.Count(12);
      std::vector<Vector> a(static_cast<std::size_t>(std::max(count, 0)), h.a);
      std::vector<Vector> b(a.size(), h.b);
      if (h.flag) {
        h.list.AddTransformedLineList(a.data(), b.data(), count, h.color, h.other);
      } else {
        h.list.AddLineList(a.data(), b.data(), count, h.color, h.other);
      }
    },
    [](Hand& h) {
      Input& input = h.host.input;
      std::vector<GALitVertex> vertices(static_cast<std::size_t>(1 + input.Below(12)));
      std::vector<unsigned int> indices(static_cast<std::size_t>(input.Below(9)));
      for (auto& index : indices) index = input.Byte() % static_cast<unsigned>(vertices.size());
      for (auto& vertex : vertices) vertex.y = input.Float();
      h.list.AddIndexedLineList(vertices, indices);
    },
};

constexpr Call kFaces[] = {
    [](Hand& h) { h.list.AddTransformedTri(h.host.Vertices(4).data(), h.flag); },
    [](Hand& h) {
      const int mode = h.host.input.Below(4);
      h.list.AddTransformedQuad(h.host.Vertices(4).data(), mode, h.flag);
    },
    [](Hand& h) {
      RGBFloat colors[4];
      for (RGBFloat& color : colors) color.red = h.host.input.Float();
      h.list.AddTransformedQuad(h.host.Vertices(4).data(), colors, h.flag);
    },
    [](Hand& h) {
      GALitVertex lit[4];
      for (GALitVertex& vertex : lit) vertex.x = h.host.input.Float();
      h.list.AddTransformedQuad(lit);
    },
};

constexpr Call kPreparations[] = {
    [](Hand& h) { h.list.PrepForLines(); },    [](Hand& h) { h.list.PrepForPoints(); },
    [](Hand& h) { h.list.PrepForPolygons(); }, [](Hand& h) { h.list.PrepForPolygonArray(); },
    [](Hand& h) { h.list.FlushArrays(); },     [](Hand& h) { h.list.AddPoint(0); },
    [](Hand& h) { h.list.AddLine(0, 1); },
};

constexpr Call kVertices[] = {
    [](Hand& h) { h.list.AddOGLVertex(h.a, h.color); },
    [](Hand& h) { h.list.AddTransformedVertex(h.a); },
    [](Hand& h) { h.list.AddTransformedVertex(h.a, h.color); },
    [](Hand& h) {
      h.list.AddTransformedVertex(h.a, h.color, {h.b.x, h.b.y});
    },
    [](Hand& h) { h.list.TransformAndAddVertex(h.a, h.color); },
    [](Hand& h) { h.list.AddTransformedPoint(h.a); },
    [](Hand& h) { h.list.AddTransformedPoint(h.a, h.color); },
};

void AddVertices(HostPlayer& host) {
  for (int i = host.Count(6); i > 0; --i) CallOneOf<kVertices>(host);
}

void MakeList(HostPlayer& host) {
  host.MakeList();
}

void DropList(HostPlayer& host) {
  auto& lists = host.Here().lists;
  if (!lists.empty()) lists.erase(lists.begin());
}

void AddShadedLines(HostPlayer& host) {
  const int count = host.Count(6);
  std::vector<GAShadedLineVertex> points(static_cast<std::size_t>(std::max(count, 1)));
  for (GAShadedLineVertex& point : points) {
    if (const AttrProperty* material = host.Material()) point.material = *material;
    point.position = host.Point();
    point.normal = host.Point();
    point.width = host.Positive();
  }
  host.List().AddTransformedShadedLineList(points.data(), count, host.input.Flag());
}

void AddPolygons(HostPlayer& host) {
  const int count = host.Count(60);
  std::vector<VornPoly> polygons(static_cast<std::size_t>(std::max(count, 1)));
  for (std::size_t i = 0; i < polygons.size(); ++i) {
    VornPoly& polygon = polygons[i];
    polygon = polygons[i / 2];
    if (i < 3) {
      polygon.p0 = host.Point();
      polygon.p1 = host.Point();
      polygon.p2 = host.Point();
      polygon.c0 = host.Color();
      polygon.c2 = host.Color();
      polygon.uv1 = {host.input.Float(), host.input.Float()};
    }
    polygon.depthKey = host.input.Float();
  }
  const bool check = host.input.Flag();
  if (host.input.Flag()) {
    host.List().AddTransformedPolygon(polygons[0], check);
  } else {
    host.List().AddTransformedPolygons(polygons.data(), count, check);
  }
}

void AddPolyline(HostPlayer& host) {
  const int count = host.input.Below(150);
  const int kind = host.input.Flag() ? 0x8000 : 0xC000;
  std::vector<GAVertex> vertices = host.Vertices(std::max(count, 1));
  host.List().AddTransformedQuad(vertices.data(), kind | count, host.input.Flag());
}

/// A fan, or a list of lit triangles with texture coordinates or without.
void AddIndexedTriangles(HostPlayer& host) {
  const int kind = host.input.Below(3);
  const int count = 1 + host.input.Below(40);
  const auto size = static_cast<std::size_t>(count);
  std::vector<unsigned short> indices = host.Indices(host.input.Below(120), count);
  DisplayList& list = host.List();
  if (kind == 0) {
    std::vector<GAVertex> vertices = host.Vertices(count);
    list.AddIndexedTriangleFan(vertices.data(), size, indices.data(), indices.size(),
                               host.input.Flag());
  } else if (kind == 1) {
    std::vector<GALitVertex> vertices(size);
    for (GALitVertex& vertex : vertices) vertex.x = host.input.Float();
    list.AddIndexedLitTriangleList(vertices.data(), size, indices.data(), indices.size(), 0);
  } else {
    std::vector<GALitVertexWT> vertices(size);
    for (GALitVertexWT& vertex : vertices) vertex.u = host.input.Float();
    list.AddIndexedLitTriangleListWT(vertices.data(), size, indices.data(), indices.size(), 0);
  }
}

}  // namespace

Moves ListMoves() {
  return {CallOneOf<kStates>, CallOneOf<kInstructions>, CallOneOf<kLines>, CallOneOf<kRectangles>,
          CallOneOf<kCurves>, CallOneOf<kLineArrays>,   CallOneOf<kFaces>, MakeList,
          DropList,           AddShadedLines,           AddPolygons,       AddPolyline,
          AddIndexedTriangles};
}

Moves WildListMoves() {
  return {CallOneOf<kPreparations>, AddVertices};
}
