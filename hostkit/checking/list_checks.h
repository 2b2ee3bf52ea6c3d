// Checks of the display list's operations that have more to look at than positions, for the rows of
// list_operations.cpp.
#pragma once

#include <vector>

#include "host/AttrProperty.h"
#include "host/DisplayList.h"
#include "hostkit/checking/arguments.h"
#include "hostkit/checking/visit.h"

namespace hostkit::checking {

// State.
void BeforeSetDepthFunc(Visit& visit, DisplayList& self, int function);
void AfterSetDepthFunc(Visit& visit, DisplayList& self, int function);
void BeforeSetTexture(Visit& visit, DisplayList& self, GATexture* texture);
void AfterSetTexture(Visit& visit, DisplayList& self, GATexture* texture);
void BeforeListProjection(Visit& visit, DisplayList& self, int mode);
void AfterListProjection(Visit& visit, DisplayList& self, int mode);
void BeforeSetupLights(Visit& visit, DisplayList& self, LightListNode* lights);
void AfterSetupLights(Visit& visit, DisplayList& self, LightListNode* lights);
void AfterSetMaterial(Visit& visit, DisplayList& self, AttrProperty* material, float scale);
void BeforeBeginInstructions(Visit& visit, DisplayList& self);
void AfterBeginInstructions(Visit& visit, DisplayList& self);
void BeforeEndInstructions(Visit& visit, DisplayList& self);
void AfterEndInstructions(Visit& visit, DisplayList& self);
void BeforeFlushTransparent(Visit& visit, DisplayList& self);
void AfterFlushTransparent(Visit& visit, DisplayList& self);
void BeforeDeleteList(Visit& visit, DisplayList& self);

// Preparations.
void BeforePrepare(Visit& visit, DisplayList& self, ListState::Prepared prepared);
void AfterPrepare(Visit& visit, DisplayList& self, ListState::Prepared prepared);
template <ListState::Prepared prepared>
void BeforePrep(Visit& visit, DisplayList& self) {
  BeforePrepare(visit, self, prepared);
}
template <ListState::Prepared prepared>
void AfterPrep(Visit& visit, DisplayList& self) {
  AfterPrepare(visit, self, prepared);
}

/// Without an effect, whatever it is given.
void BeforeNothing(Visit& visit, DisplayList& self, int);
void BeforeNoLine(Visit& visit, DisplayList& self, int, int);
void BeforeTransformAndAdd(Visit& visit, DisplayList& self, const Vector&, const GAColor&);

// Rectangles: their depth.
void CheckListDepth(Visit& visit, const DisplayList& self, float z);
void BeforeRectangle(Visit& visit, DisplayList& self, int, int, int, int, float z);
void BeforeColoredRectangle(Visit& visit, DisplayList& self, int, int, int, int, float z,
                            const GAColor&);
void BeforeRoundRect(Visit& visit, DisplayList& self, int, int, int, int, float z, int, int,
                     const GAColor&);

// Lines and polygons in pixels: their depth.
void BeforeLine(Visit& visit, DisplayList& self, const Vector& a, const Vector& b);
void BeforeColoredLine(Visit& visit, DisplayList& self, const Vector& a, const Vector& b,
                       const GAColor&);
void BeforePolygon(Visit& visit, DisplayList& self, const VornPoly& polygon, int);

// Arrays.
void BeforePoints(Visit& visit, DisplayList& self, const Vector* points, int count);
void BeforeSegments(Visit& visit, DisplayList& self, const Vector* a, const Vector* b, int count,
                    const GAColor&, const GAColor&);
void BeforeShadedLines(Visit& visit, DisplayList& self, const GAShadedLineVertex* points, int count,
                       int);
void BeforeIndexedLines(Visit& visit, DisplayList& self, const std::vector<GALitVertex>& vertices,
                        const std::vector<unsigned int>& indices);
void BeforePolygons(Visit& visit, DisplayList& self, const VornPoly* polygons, int count, int);
void BeforeQuad(Visit& visit, DisplayList& self, const GAVertex* vertices, int mode, int);
void BeforeColoredQuad(Visit& visit, DisplayList& self, const GAVertex* vertices,
                       const RGBFloat* colors, int);
void BeforeLitQuad(Visit& visit, DisplayList& self, const GALitVertex* vertices);
/// Tells when most lit surfaces since BeginInstructions have turned normals, or are handed in so
/// that a driver lights them wrong.
void CheckSurfaces(Visit& visit, const ListState& list);
void BeforeTriangle(Visit& visit, DisplayList& self, const GAVertex* vertices, int check);
void BeforeFan(Visit& visit, DisplayList& self, const GAVertex* vertices, unsigned long vertexCount,
               const unsigned short* indices, unsigned long indexCount, int);
void BeforeLitTriangles(Visit& visit, DisplayList& self, const GALitVertex* vertices,
                        unsigned long vertexCount, const unsigned short* indices,
                        unsigned long indexCount, int);
void BeforeTexturedTriangles(Visit& visit, DisplayList& self, const GALitVertexWT* vertices,
                             unsigned long vertexCount, const unsigned short* indices,
                             unsigned long indexCount, int);

// What adders leave behind: something that waits for the end of the scene, or in a batch.
void AfterQuad(Visit& visit, DisplayList& self, GAVertex*, int mode, int);
void AfterTriangle(Visit& visit, DisplayList& self, GAVertex*, int check);
void AfterPolygon(Visit& visit, DisplayList& self, const VornPoly&, int check);
void AfterPolygons(Visit& visit, DisplayList& self, const VornPoly*, int, int check);
void AfterFan(Visit& visit, DisplayList& self, GAVertex*, unsigned long, unsigned short*,
              unsigned long, int check);
/// Lighting is off.
void AfterIndexedLines(Visit& visit, DisplayList& self, std::vector<GALitVertex>&,
                       std::vector<unsigned int>&);
void AfterLitTriangles(Visit& visit, DisplayList& self, GALitVertex*, unsigned long,
                       unsigned short*, unsigned long, int);

}  // namespace hostkit::checking
