// Moves of the random host that change a display list's state or hand over single vertices.
#include "tests/fuzz/host_player.h"

void HostPlayer::SetListState() {
  DisplayList& list = List();
  switch (m_input.Below(8)) {
    case 0:
      list.SetTexture(Texture());
      break;
    case 1:
      list.SetMaterial(Material(), m_input.Float());
      break;
    case 2:
      list.SetupLights(Lights());
      break;
    case 3:
      list.SetDepthFunc(m_input.IsTame() ? m_input.Below(7) : m_input.Int());
      break;
    case 4:
      list.SetProjection(m_input.Flag());
      break;
    case 5:
      list.SetDefaultColor(Color());
      break;
    case 6:
      list.OnSize();
      break;
    default:
      list.FlushTransparentPolys();
      break;
  }
}

void HostPlayer::Instruct() {
  DisplayList& list = List();
  switch (m_input.Below(5)) {
    case 0:
      list.BeginInstructions();
      break;
    case 1:
      list.EndInstructions();
      break;
    case 2:
      list.ExecuteInstructions();
      break;
    case 3:
      // Its caller sees to the context.
      static_cast<GL3DisplayList&>(list).MakeCurrent();
      list.FlushArrays();
      break;
    default:
      list.Execute();
      break;
  }
}

void HostPlayer::Prepare() {
  DisplayList& list = List();
  switch (m_input.Below(5)) {
    case 0:
      list.PrepForLines();
      break;
    case 1:
      list.PrepForPoints();
      break;
    case 2:
      list.PrepForPolygons();
      break;
    case 3:
      list.PrepForPolygonArray();
      break;
    default:
      list.FlushArrays();
      break;
  }
}

void HostPlayer::AddVertices() {
  DisplayList& list = List();
  for (int i = Count(6); i > 0; --i) {
    switch (m_input.Below(5)) {
      case 0:
        list.AddOGLVertex(Point(), Color());
        break;
      case 1:
        list.AddTransformedVertex(Point());
        break;
      case 2:
        list.AddTransformedVertex(Point(), Color());
        break;
      case 3:
        list.AddTransformedVertex(Point(), Color(), {m_input.Float(), m_input.Float()});
        break;
      default:
        list.TransformAndAddVertex(Point(), Color());
        break;
    }
  }
}

void HostPlayer::AddPoints() {
  DisplayList& list = List();
  for (int i = Count(5); i > 0; --i) {
    m_input.Flag() ? list.AddTransformedPoint(Point()) : list.AddTransformedPoint(Point(), Color());
  }
  list.AddPoint(0);
  list.AddLine(0, 1);
}
