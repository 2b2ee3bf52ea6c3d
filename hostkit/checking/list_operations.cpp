// The display list's operations, with what is asked of each.
#include "hostkit/checking/list_checks.h"
#include "hostkit/checking/thunk.h"

namespace hostkit::checking {
namespace {

using List = DisplayList;
using Prepared = ListState::Prepared;
template <class... Arguments>
using Adder = Overload<List, Arguments...>;
template <class... Arguments>
using VertexAdder = int (List::*)(Arguments...);

constexpr unsigned kDrawsBatched = kDraws | kBatches;
constexpr unsigned kVertex = kDrawsNow | kInBlock;
constexpr unsigned kDrawsList = kDraws | kClosesBlock | kFlushes;

using Rows = std::vector<SlotChange>;

Rows StateRows() {
  return {
      DeletingThunk<List, BeforeDeleteList>::Install("~DisplayList"),
      On<&List::OnSize>("DisplayList::OnSize", kSurface | kOutOfBlock),
      On<&List::SetDefaultColor>("DisplayList::SetDefaultColor", kFree),
      On<&List::SetDepthFunc, BeforeSetDepthFunc, AfterSetDepthFunc>("DisplayList::SetDepthFunc",
                                                                     kSurface | kClosesBlock),
      On<&List::SetTexture, BeforeSetTexture, AfterSetTexture>("DisplayList::SetTexture",
                                                               kSurface | kOutOfBlock | kFlushes),
      On<&List::FlushTransparentPolys, BeforeFlushTransparent, AfterFlushTransparent>(
          "DisplayList::FlushTransparentPolys", kSurface | kOutOfBlock),
      On<&List::BeginInstructions, BeforeBeginInstructions, AfterBeginInstructions>(
          "DisplayList::BeginInstructions", kSurface),
      On<&List::EndInstructions, BeforeEndInstructions, AfterEndInstructions>(
          "DisplayList::EndInstructions", kSurface | kInContext | kClosesBlock | kFlushes),
      On<&List::ExecuteInstructions>("DisplayList::ExecuteInstructions",
                                     kSurface | kClosesBlock | kFlushes),
      On<&List::FlushArrays>("DisplayList::FlushArrays",
                             kSurface | kInContext | kOutOfBlock | kFlushes),
      On<&List::Execute>("DisplayList::Execute", kFree),
      On<&List::SetProjection, BeforeListProjection, AfterListProjection>(
          "DisplayList::SetProjection", kSurface | kProjected),
      On<&List::SetupLights, BeforeSetupLights, AfterSetupLights>(
          "DisplayList::SetupLights", kSurface | kClosesBlock | kFlushes),
      On<&List::SetMaterial, kNone, AfterSetMaterial>("DisplayList::SetMaterial",
                                                      kSurface | kFlushes),
      On<&List::PrepForLines, BeforePrep<Prepared::kLines>, AfterPrep<Prepared::kLines>>(
          "DisplayList::PrepForLines", kSurface | kInFrame),
      On<&List::PrepForPoints, BeforePrep<Prepared::kPoints>, AfterPrep<Prepared::kPoints>>(
          "DisplayList::PrepForPoints", kSurface | kInFrame),
      On<&List::PrepForPolygons, BeforePrep<Prepared::kPolygons>, AfterPrep<Prepared::kPolygons>>(
          "DisplayList::PrepForPolygons", kSurface | kInFrame),
      On<&List::PrepForPolygonArray, BeforePrep<Prepared::kPolygonArray>,
         AfterPrep<Prepared::kPolygonArray>>("DisplayList::PrepForPolygonArray", kSurface),
  };
}

Rows VertexRows() {
  return {
      On<&List::AddOGLVertex>("DisplayList::AddOGLVertex", kVertex),
      On<VertexAdder<const Vector&>(&List::AddTransformedVertex)>(
          "DisplayList::AddTransformedVertex", kVertex),
      On<VertexAdder<const Vector&, const GAColor&>(&List::AddTransformedVertex)>(
          "DisplayList::AddTransformedVertex", kVertex),
      On<VertexAdder<const Vector&, const GAColor&, const Vector2&>(&List::AddTransformedVertex)>(
          "DisplayList::AddTransformedVertex", kVertex),
      On<&List::TransformAndAddVertex, BeforeTransformAndAdd>("DisplayList::TransformAndAddVertex",
                                                              kVertex),
      On<Adder<const Vector&>(&List::AddTransformedPoint)>("DisplayList::AddTransformedPoint",
                                                           kVertex),
      On<Adder<const Vector&, const GAColor&>(&List::AddTransformedPoint)>(
          "DisplayList::AddTransformedPoint", kVertex),
      On<&List::AddPoint, BeforeNothing>("DisplayList::AddPoint", kFree),
  };
}

Rows LineRows() {
  return {
      On<Adder<int, int>(&List::AddLine), BeforeNoLine>("DisplayList::AddLine", kFree),
      On<Adder<Vector, Vector>(&List::AddLine)>("DisplayList::AddLine", kDrawsBatched),
      On<Adder<Vector, Vector, const GAColor&>(&List::AddLine)>("DisplayList::AddLine",
                                                                kDrawsBatched),
      On<Adder<Vector, GAColor&, Vector, GAColor&>(&List::AddLine)>("DisplayList::AddLine",
                                                                    kDrawsBatched),
      On<&List::AddLineList, BeforeSegments>("DisplayList::AddLineList", kDrawsBatched),
      On<Adder<const Vector&, const Vector&>(&List::AddTransformedLine), BeforeLine>(
          "DisplayList::AddTransformedLine", kDrawsBatched),
      On<Adder<const Vector&, const Vector&, const GAColor&>(&List::AddTransformedLine),
         BeforeColoredLine>("DisplayList::AddTransformedLine", kDrawsBatched),
      On<Adder<const Vector&, const Vector&>(&List::AddTransformedLineRef), BeforeLine>(
          "DisplayList::AddTransformedLineRef", kDrawsBatched),
      On<Adder<const Vector&, const Vector&, const GAColor&>(&List::AddTransformedLineRef),
         BeforeColoredLine>("DisplayList::AddTransformedLineRef", kDrawsBatched),
      On<Adder<const Vector&, const GAColor&, const Vector&, const GAColor&>(
          &List::AddTransformedLine)>("DisplayList::AddTransformedLine", kDrawsBatched),
      On<Adder<Vector*, int>(&List::AddTransformedLineList), BeforePoints>(
          "DisplayList::AddTransformedLineList", kDrawsBatched),
      On<Adder<Vector*, Vector*, int, GAColor&, GAColor&>(&List::AddTransformedLineList),
         BeforeSegments>("DisplayList::AddTransformedLineList", kDrawsBatched),
      On<&List::AddTransformedShadedLineList, BeforeShadedLines>(
          "DisplayList::AddTransformedShadedLineList", kDrawsNow),
      On<&List::AddIndexedLineList, BeforeIndexedLines, AfterIndexedLines>(
          "DisplayList::AddIndexedLineList", kDrawsList),
  };
}

Rows OutlineRows() {
  using Colored = Adder<int, int, int, int, float, GAColor&>;
  using Plain = Adder<int, int, int, int, float>;
  return {
      On<Plain(&List::AddRectangle), BeforeRectangle>("DisplayList::AddRectangle", kDrawsNow),
      On<Colored(&List::AddRectangle), BeforeColoredRectangle>("DisplayList::AddRectangle",
                                                               kDrawsNow),
      On<Plain(&List::AddSolidRectangle), BeforeRectangle>("DisplayList::AddSolidRectangle",
                                                           kDrawsNow),
      On<Colored(&List::AddSolidRectangle), BeforeColoredRectangle>(
          "DisplayList::AddSolidRectangle", kDrawsNow),
      On<&List::AddRoundRect, BeforeRoundRect>("DisplayList::AddRoundRect", kDrawsBatched),
      On<Adder<const Vector&, const Vector&, const Vector&>(&List::AddCircle)>(
          "DisplayList::AddCircle", kDrawsBatched),
      On<Adder<const Vector&, const Vector&, const Vector&, GAColor&>(&List::AddCircle)>(
          "DisplayList::AddCircle", kDrawsBatched),
      On<&List::AddSemiCircle>("DisplayList::AddSemiCircle", kDrawsBatched),
      On<&List::AddTransformedSemiCircle>("DisplayList::AddTransformedSemiCircle", kDrawsBatched),
      On<Adder<const Vector&, const float&>(&List::AddTransformedCircle)>(
          "DisplayList::AddTransformedCircle", kDrawsBatched),
      On<Adder<const Vector&, const float&, const GAColor&>(&List::AddTransformedCircle)>(
          "DisplayList::AddTransformedCircle", kDrawsBatched),
      On<&List::AddSphere>("DisplayList::AddSphere", kDrawsBatched),
      On<&List::AddTransformedSphere>("DisplayList::AddTransformedSphere", kDrawsBatched),
      On<&List::AddCP>("DisplayList::AddCP", kDrawsBatched),
  };
}

Rows SurfaceRows() {
  return {
      On<&List::AddTransformedPolygon, BeforePolygon, AfterPolygon>(
          "DisplayList::AddTransformedPolygon", kDraws),
      On<&List::AddTransformedPolygons, BeforePolygons, AfterPolygons>(
          "DisplayList::AddTransformedPolygons", kDraws),
      On<Adder<GAVertex*, int, int>(&List::AddTransformedQuad), BeforeQuad, AfterQuad>(
          "DisplayList::AddTransformedQuad", kDraws),
      On<&List::AddTransformedTri, BeforeTriangle, AfterTriangle>("DisplayList::AddTransformedTri",
                                                                  kDraws),
      On<Adder<GAVertex*, RGBFloat*, int>(&List::AddTransformedQuad), BeforeColoredQuad>(
          "DisplayList::AddTransformedQuad", kDrawsNow),
      On<Adder<GALitVertex*>(&List::AddTransformedQuad), BeforeLitQuad>(
          "DisplayList::AddTransformedQuad", kDrawsNow),
      On<&List::AddIndexedTriangleFan, BeforeFan, AfterFan>("DisplayList::AddIndexedTriangleFan",
                                                            kDrawsNow),
      On<&List::AddIndexedLitTriangleList, BeforeLitTriangles, AfterLitTriangles>(
          "DisplayList::AddIndexedLitTriangleList", kDrawsList),
      On<&List::AddIndexedLitTriangleListWT, BeforeTexturedTriangles>(
          "DisplayList::AddIndexedLitTriangleListWT", kDrawsList),
  };
}

Rows AllRows() {
  Rows all;
  for (const Rows& rows : {StateRows(), VertexRows(), LineRows(), OutlineRows(), SurfaceRows()}) {
    all.insert(all.end(), rows.begin(), rows.end());
  }
  return all;
}

}  // namespace

void Watch(DisplayList* list) {
  static const Rows rows = AllRows();
  if (list) ExchangeTable(list, rows);
}

}  // namespace hostkit::checking
